// The KURVALUX desktop application.
#include "app/startup.h"

int main(int argc, char** argv) {
    return kurvalux_app::RunApplication(argc, argv);
}

// The tests run on a QApplication of the off-screen platform, with a settings folder of their
// own so that the user's settings are neither read nor written.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>
#include <cstdlib>

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QTemporaryDir config;
    setenv("XDG_CONFIG_HOME", config.path().toLocal8Bit().constData(), 1);
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

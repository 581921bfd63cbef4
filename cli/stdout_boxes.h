#pragma once
// Message boxes on standard output, for the commands whose boxes are their result (the web
// commands): the title on one line, then each line of the box. Failure boxes are counted.
#include <cstdio>
#include <string>
#include <vector>

#include "platform/message_box.h"

namespace kurvalux_cli {

class CStdoutBoxes : public kurvalux_platform::CMessageBoxSink {
public:
    kurvalux_platform::MessageAnswer Show(const std::string& title,
                                          const std::vector<std::string>& lines,
                                          kurvalux_platform::MessageIcon icon,
                                          kurvalux_platform::MessageButtons buttons) override {
        std::printf("%s\n", title.c_str());
        for (const std::string& line : lines) std::printf("%s\n", line.c_str());
        std::fflush(stdout);
        if (icon == kurvalux_platform::MessageIcon::Error) ++failures;
        return kurvalux_platform::DefaultAnswer(buttons, false);
    }
    int failures = 0;
};

}  // namespace kurvalux_cli

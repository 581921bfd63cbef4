#include "platform/message_box.h"

namespace kurvalux_platform {

MessageAnswer DefaultAnswer(MessageButtons buttons, bool affirmative) {
    switch (buttons) {
        case MessageButtons::Ok:
            return MessageAnswer::Ok;
        case MessageButtons::OkCancel:
            return affirmative ? MessageAnswer::Ok : MessageAnswer::Cancel;
        case MessageButtons::YesNo:
            return affirmative ? MessageAnswer::Yes : MessageAnswer::No;
        case MessageButtons::YesNoCancel:
            return affirmative ? MessageAnswer::Yes : MessageAnswer::Cancel;
    }
    return MessageAnswer::Cancel;
}

MessageAnswer CRecordingMessageBoxSink::Show(const std::string& title,
                                             const std::vector<std::string>& lines,
                                             MessageIcon icon, MessageButtons buttons) {
    records_.push_back({title, lines, icon, buttons});
    if (!answers_.empty()) {
        MessageAnswer a = answers_.front();
        answers_.pop_front();
        return a;
    }
    return DefaultAnswer(buttons, affirmative_);
}

MessageAnswer CStreamMessageBoxSink::Show(const std::string& title,
                                          const std::vector<std::string>& lines, MessageIcon,
                                          MessageButtons buttons) {
    std::fprintf(stream_, "%s:", title.c_str());
    for (const std::string& line : lines) std::fprintf(stream_, " %s", line.c_str());
    std::fprintf(stream_, "\n");
    std::fflush(stream_);
    return DefaultAnswer(buttons, affirmative_);
}

}  // namespace kurvalux_platform

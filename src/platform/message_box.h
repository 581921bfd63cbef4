#pragma once
// The one way a failure or a question reaches the user. The core calls Show(); the GUI answers
// with a real dialog, the command line prints to stderr and answers from its flags, and the
// tests record every box so that titles and texts can be asserted exactly.
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

namespace kurvalux_platform {

enum class MessageIcon { Information, Warning, Error, Question };
enum class MessageButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class MessageAnswer { Ok, Cancel, Yes, No };

struct MessageBoxRecord {
    std::string title;
    std::vector<std::string> lines;
    MessageIcon icon = MessageIcon::Information;
    MessageButtons buttons = MessageButtons::Ok;
};

class CMessageBoxSink {
public:
    virtual ~CMessageBoxSink() = default;
    virtual MessageAnswer Show(const std::string& title, const std::vector<std::string>& lines,
                               MessageIcon icon, MessageButtons buttons) = 0;
    MessageAnswer Error(const std::string& title, const std::vector<std::string>& lines) {
        return Show(title, lines, MessageIcon::Error, MessageButtons::Ok);
    }
};

// The answer a non-interactive front end gives to a box with the given buttons: the affirmative
// one when `affirmative` is set, otherwise the one that changes nothing.
MessageAnswer DefaultAnswer(MessageButtons buttons, bool affirmative);

// Keeps every box; answers from a queue of scripted answers, then with the default answer.
class CRecordingMessageBoxSink : public CMessageBoxSink {
public:
    MessageAnswer Show(const std::string& title, const std::vector<std::string>& lines,
                       MessageIcon icon, MessageButtons buttons) override;
    void QueueAnswer(MessageAnswer answer) { answers_.push_back(answer); }
    void SetAffirmative(bool affirmative) { affirmative_ = affirmative; }
    const std::vector<MessageBoxRecord>& Records() const { return records_; }
    void Clear() { records_.clear(); }

private:
    std::vector<MessageBoxRecord> records_;
    std::deque<MessageAnswer> answers_;
    bool affirmative_ = false;
};

// Writes "title: line / line" blocks to a stream (stderr for the command line).
class CStreamMessageBoxSink : public CMessageBoxSink {
public:
    explicit CStreamMessageBoxSink(std::FILE* stream, bool affirmative = false)
        : stream_(stream), affirmative_(affirmative) {}
    MessageAnswer Show(const std::string& title, const std::vector<std::string>& lines,
                       MessageIcon icon, MessageButtons buttons) override;
    void SetAffirmative(bool affirmative) { affirmative_ = affirmative; }

private:
    std::FILE* stream_;
    bool affirmative_;
};

}  // namespace kurvalux_platform

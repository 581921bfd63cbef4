#pragma once
// A main window on a copy of the test field in a folder of its own, with every message box
// recorded, file dialogs answered from a queue and dialogs run by a script.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QWidget>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/main_window.h"
#include "platform/message_box.h"

namespace kurvalux_app {

// Records every box and, like a real modal box, takes the keyboard focus while it is shown (a
// box being edited loses it, as when the user's answer is awaited) and gives it back after.
class CModalRecordingSink : public kurvalux_platform::CRecordingMessageBoxSink {
public:
    kurvalux_platform::MessageAnswer Show(const std::string& title,
                                          const std::vector<std::string>& lines,
                                          kurvalux_platform::MessageIcon icon,
                                          kurvalux_platform::MessageButtons buttons) override {
        QPointer<QWidget> focus = QApplication::focusWidget();
        if (focus) focus->clearFocus();
        const kurvalux_platform::MessageAnswer answer =
            CRecordingMessageBoxSink::Show(title, lines, icon, buttons);
        if (focus) focus->setFocus();
        return answer;
    }
};

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder_.isValid());
        for (const char* name : {"test.kvf", "night1.txt", "night2.txt"})
            ASSERT_TRUE(QFile::copy(QString(KURVALUX_TEST_DATA_DIR "/app/") + name,
                                    folder_.filePath(name)));
        ShellOptions options;
        options.settings_path = Path("kurvalux.ini");
        options.messages = &boxes_;
        options.files = [this](FileRequest request, const std::string& suggested) {
            file_requests_.push_back({request, suggested});
            if (file_answers_.empty()) return std::string();
            std::string answer = file_answers_.front();
            file_answers_.pop_front();
            return answer;
        };
        options.dialogs = [this](QDialog& dialog) {
            dialog_titles_.push_back(dialog.windowTitle().toStdString());
            if (scripts_.empty()) return static_cast<int>(QDialog::Rejected);
            auto script = std::move(scripts_.front());
            scripts_.pop_front();
            return script(dialog);
        };
        window_ = std::make_unique<CKurvalux>(options);
    }

    std::string Path(const char* name) const { return folder_.filePath(name).toStdString(); }
    bool OpenTestField() { return window_->OpenField(Path("test.kvf")); }
    std::string Title() const { return window_->windowTitle().toStdString(); }
    const std::vector<kurvalux_platform::MessageBoxRecord>& Boxes() const {
        return boxes_.Records();
    }
    // The boxes shown so far as "title: line | line".
    std::vector<std::string> BoxTexts() const {
        std::vector<std::string> texts;
        for (const auto& box : boxes_.Records()) {
            std::string t = box.title + ":";
            for (size_t i = 0; i < box.lines.size(); ++i) t += (i ? " | " : " ") + box.lines[i];
            texts.push_back(t);
        }
        return texts;
    }

    QTemporaryDir folder_;
    CModalRecordingSink boxes_;
    struct FileRequestRecord {
        FileRequest request;
        std::string suggested;
    };
    std::vector<FileRequestRecord> file_requests_;
    std::deque<std::string> file_answers_;
    std::vector<std::string> dialog_titles_;
    std::deque<std::function<int(QDialog&)>> scripts_;
    std::unique_ptr<CKurvalux> window_;
};

}  // namespace kurvalux_app

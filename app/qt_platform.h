#pragma once
// The platform seams of the core implemented with Qt: message boxes as QMessageBox, posted
// worker messages as queued Qt events delivered on the GUI thread.
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <functional>

#include "platform/message_box.h"
#include "platform/posting.h"

#include <memory>

class QWidget;
class QMessageBox;

namespace kurvalux_app {

// The message box of a title and lines with its icon and buttons, not yet shown.
std::unique_ptr<QMessageBox> MakeMessageBox(QWidget* parent, const std::string& title,
                                            const std::vector<std::string>& lines,
                                            kurvalux_platform::MessageIcon icon,
                                            kurvalux_platform::MessageButtons buttons);

class CQtMessageBoxSink : public kurvalux_platform::CMessageBoxSink {
public:
    explicit CQtMessageBoxSink(QWidget* parent) : parent_(parent) {}
    kurvalux_platform::MessageAnswer Show(const std::string& title,
                                          const std::vector<std::string>& lines,
                                          kurvalux_platform::MessageIcon icon,
                                          kurvalux_platform::MessageButtons buttons) override;

private:
    QPointer<QWidget> parent_;
};

// The event that carries a posted message.
class CPostedEvent : public QEvent {
public:
    static QEvent::Type EventType();
    CPostedEvent(uint32_t message, intptr_t a, intptr_t b)
        : QEvent(EventType()), message(message), a(a), b(b) {}
    uint32_t message;
    intptr_t a, b;
};

// Posts to a receiver object; safe to call from any thread. The receiver handles
// CPostedEvent in its event() (or through CPostReceiver below).
class CQtPoster : public kurvalux_platform::CPoster {
public:
    explicit CQtPoster(QObject* receiver) : receiver_(receiver) {}
    void Post(uint32_t message, intptr_t a, intptr_t b) override;

private:
    QObject* receiver_;
};

// A small object that turns posted events into a callback on the GUI thread.
class CPostReceiver : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<void(uint32_t, intptr_t, intptr_t)>;
    explicit CPostReceiver(Handler handler, QObject* parent = nullptr)
        : QObject(parent), handler_(std::move(handler)) {}
    bool event(QEvent* e) override;

private:
    Handler handler_;
};

}  // namespace kurvalux_app

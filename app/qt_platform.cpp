#include "app/qt_platform.h"

#include <QApplication>
#include <QMessageBox>
#include <QStringList>

namespace kurvalux_app {

using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

std::unique_ptr<QMessageBox> MakeMessageBox(QWidget* parent, const std::string& title,
                                            const std::vector<std::string>& lines, MessageIcon icon,
                                            MessageButtons buttons) {
    QStringList text;
    for (const std::string& line : lines) text << QString::fromStdString(line);
    auto box = std::make_unique<QMessageBox>(parent);
    box->setWindowTitle(QString::fromStdString(title));
    box->setText(text.join('\n'));
    switch (icon) {
        case MessageIcon::Information:
            box->setIcon(QMessageBox::Information);
            break;
        case MessageIcon::Warning:
            box->setIcon(QMessageBox::Warning);
            break;
        case MessageIcon::Error:
            box->setIcon(QMessageBox::Critical);
            break;
        case MessageIcon::Question:
            box->setIcon(QMessageBox::Question);
            break;
    }
    switch (buttons) {
        case MessageButtons::Ok:
            box->setStandardButtons(QMessageBox::Ok);
            break;
        case MessageButtons::OkCancel:
            box->setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case MessageButtons::YesNo:
            box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
        case MessageButtons::YesNoCancel:
            box->setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
    }
    return box;
}

MessageAnswer CQtMessageBoxSink::Show(const std::string& title,
                                      const std::vector<std::string>& lines, MessageIcon icon,
                                      MessageButtons buttons) {
    std::unique_ptr<QMessageBox> box = MakeMessageBox(parent_.data(), title, lines, icon, buttons);
    // A box may come while a busy pointer is up (a long fit): the user must see an arrow.
    bool busy = QApplication::overrideCursor() != nullptr;
    if (busy) QApplication::setOverrideCursor(Qt::ArrowCursor);
    int answer = box->exec();
    if (busy) QApplication::restoreOverrideCursor();
    switch (answer) {
        case QMessageBox::Yes:
            return MessageAnswer::Yes;
        case QMessageBox::No:
            return MessageAnswer::No;
        case QMessageBox::Cancel:
            return MessageAnswer::Cancel;
        case QMessageBox::Ok:
            return MessageAnswer::Ok;
        default:
            // Closed with Escape or the title bar: the answer that changes nothing.
            return kurvalux_platform::DefaultAnswer(buttons, false);
    }
}

QEvent::Type CPostedEvent::EventType() {
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

void CQtPoster::Post(uint32_t message, intptr_t a, intptr_t b) {
    QCoreApplication::postEvent(receiver_, new CPostedEvent(message, a, b));
}

bool CPostReceiver::event(QEvent* e) {
    if (e->type() == CPostedEvent::EventType()) {
        auto* posted = static_cast<CPostedEvent*>(e);
        if (handler_) handler_(posted->message, posted->a, posted->b);
        return true;
    }
    return QObject::event(e);
}

}  // namespace kurvalux_app

#include "app/guide_viewer.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace kurvalux_app {

bool ShowGuideWindow(QWidget* parent, const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QString markdown = QString::fromUtf8(file.readAll());

    // Not modal: the guide stays open beside the chart while the user works.
    auto* window = new QDialog(parent);
    window->setObjectName("UsersGuideWindow");
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle("User's Guide");
    auto* browser = new QTextBrowser(window);
    browser->setObjectName("UsersGuideText");
    browser->setOpenExternalLinks(true);
    // Relative links and images in the guide resolve against its own folder.
    browser->document()->setBaseUrl(
        QUrl::fromLocalFile(QFileInfo(file.fileName()).absolutePath() + "/"));
    browser->setMarkdown(markdown);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, window);
    QObject::connect(buttons, &QDialogButtonBox::rejected, window, &QDialog::close);
    auto* layout = new QVBoxLayout(window);
    layout->addWidget(browser);
    layout->addWidget(buttons);
    window->resize(760, 640);
    window->show();
    return true;
}

}  // namespace kurvalux_app

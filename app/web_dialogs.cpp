#include "app/web_dialogs.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/form_dialog.h"
#include "app/shell_strings.h"
#include "platform/text.h"

namespace kurvalux_app {

namespace {

void HidePassword(CFormDialog& dialog, const char* label) {
    if (auto* edit = qobject_cast<QLineEdit*>(dialog.Box(label)))
        edit->setEchoMode(QLineEdit::Password);
}

}  // namespace

void FillRepositoryDialog(CFormDialog& dialog, const kurvalux_data::Settings& settings) {
    dialog.AddText(kServerLabel, Q(settings.web_repository_server), 259);
    dialog.AddText(kPathLabel, Q(settings.web_repository_path), 259);
    dialog.AddText(kUserLabel, Q(settings.web_repository_user), 63);
    dialog.AddText(kPasswordLabel, Q(settings.web_repository_password), 128);
    HidePassword(dialog, kPasswordLabel);
    dialog.AddCheck(kCipherLabel, settings.use_encrypted_password);
    dialog.AddNote("A server without \"https://\" is reached over plain HTTP.");
}

void ReadRepositoryDialog(const CFormDialog& dialog, kurvalux_data::Settings& settings) {
    using kurvalux_platform::AssignCut;
    AssignCut(settings.web_repository_server, dialog.Text(kServerLabel), 259);
    AssignCut(settings.web_repository_path, dialog.Text(kPathLabel), 259);
    AssignCut(settings.web_repository_user, dialog.Text(kUserLabel), 63);
    AssignCut(settings.web_repository_password, dialog.Text(kPasswordLabel), 128);
    settings.use_encrypted_password = dialog.Checked(kCipherLabel);
}

void FillPasswordDialog(CFormDialog& dialog) {
    for (const char* label : {kCurrentPasswordLabel, kNewPasswordLabel, kRepeatPasswordLabel}) {
        dialog.AddText(label, QString(), 128);
        HidePassword(dialog, label);
    }
}

std::string RepositoryObjectText(const kurvalux_web::CWebObjectListElem& entry) {
    std::string text = entry.name + " (Publisher: " + entry.publisher + "; Contributors:";
    for (size_t i = 0; i < entry.contributors.size(); ++i)
        text += (i ? ", " : " ") + entry.contributors[i];
    return text + ")";
}

std::vector<RepositoryChoice> GroupRepositoryObjects(
    const std::vector<kurvalux_web::CWebObjectListElem>& list, const kurvalux_data::Field& field,
    const std::string& user_id, const std::string& user_name) {
    auto in_field = [&field](const std::string& token) {
        return std::any_of(field.objects.begin(), field.objects.end(),
                           [&](const auto& o) { return !token.empty() && o->token == token; });
    };
    enum Group { kPublished, kImported, kAvailable };
    auto group_of = [&](const kurvalux_web::CWebObjectListElem& e) {
        if (!e.publisher.empty() && (e.publisher == user_id || e.publisher == user_name))
            return kPublished;
        return in_field(e.token) ? kImported : kAvailable;
    };
    const char* headings[] = {"Published:", "Imported:", "Available:"};
    std::vector<RepositoryChoice> choices;
    for (int group : {kPublished, kImported, kAvailable}) {
        bool heading = false;
        for (size_t i = 0; i < list.size(); ++i) {
            if (group_of(list[i]) != group) continue;
            if (!heading) {
                choices.push_back({headings[group], true, false, 0});
                heading = true;
            }
            choices.push_back({RepositoryObjectText(list[i]), false, !in_field(list[i].token), i});
        }
    }
    return choices;
}

CRepositoryObjectsDialog::CRepositoryObjectsDialog(std::vector<RepositoryChoice> choices,
                                                   QWidget* parent)
    : QDialog(parent), choices_(std::move(choices)) {
    setWindowTitle(kAddObjectsTitle);
    auto* layout = new QVBoxLayout(this);
    list_ = new QListWidget(this);
    list_->setObjectName("repository objects");
    for (const RepositoryChoice& choice : choices_) {
        auto* item = new QListWidgetItem(Q(choice.heading ? choice.text : "    " + choice.text));
        if (choice.heading) {
            QFont bold = item->font();
            bold.setBold(true);
            item->setFont(bold);
            item->setFlags(Qt::ItemIsEnabled);
        } else if (choice.selectable) {
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Unchecked);
        } else {
            item->setFlags(Qt::NoItemFlags);  // in the field already
        }
        list_->addItem(item);
    }
    layout->addWidget(new QLabel("Objects of the repository to take into the field:", this));
    layout->addWidget(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(520, 360);
}

std::vector<size_t> CRepositoryObjectsDialog::Chosen() const {
    std::vector<size_t> chosen;
    for (int row = 0; row < list_->count(); ++row) {
        const RepositoryChoice& c = choices_[static_cast<size_t>(row)];
        if (c.selectable && list_->item(row)->checkState() == Qt::Checked)
            chosen.push_back(c.entry);
    }
    return chosen;
}

bool CRepositoryObjectsDialog::Choose(size_t entry) {
    for (int row = 0; row < list_->count(); ++row) {
        const RepositoryChoice& c = choices_[static_cast<size_t>(row)];
        if (!c.heading && c.entry == entry) {
            if (!c.selectable) return false;
            list_->item(row)->setCheckState(Qt::Checked);
            return true;
        }
    }
    return false;
}

std::vector<std::string> CRepositoryObjectsDialog::Lines() const {
    std::vector<std::string> lines;
    for (int row = 0; row < list_->count(); ++row)
        lines.push_back(list_->item(row)->text().toStdString());
    return lines;
}

}  // namespace kurvalux_app

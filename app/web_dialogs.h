#pragma once
// The dialogs of the repository commands: the account ("Define Web Repository..."), the
// password change, and the choice of objects from the repository list, grouped by state.
#include <QDialog>
#include <string>
#include <vector>

#include "data/field.h"
#include "data/settings.h"
#include "web/web_objects.h"

class QListWidget;

namespace kurvalux_app {

class CFormDialog;

// The labels of the account dialog, which are also the keys of its boxes.
constexpr const char* kDefineRepositoryTitle = "Define Web Repository";
constexpr const char* kServerLabel = "Server:";
constexpr const char* kPathLabel = "Path:";
constexpr const char* kUserLabel = "User:";
constexpr const char* kPasswordLabel = "Password:";
constexpr const char* kCipherLabel = "Send password enciphered";
// Fills the account dialog from the settings, and the settings from the accepted dialog.
void FillRepositoryDialog(CFormDialog& dialog, const kurvalux_data::Settings& settings);
void ReadRepositoryDialog(const CFormDialog& dialog, kurvalux_data::Settings& settings);

constexpr const char* kChangePasswordTitle = "Change Repository Password";
constexpr const char* kCurrentPasswordLabel = "Current password:";
constexpr const char* kNewPasswordLabel = "New password:";
constexpr const char* kRepeatPasswordLabel = "Repeat new password:";
void FillPasswordDialog(CFormDialog& dialog);

// One line of the object choice: a group heading or an object of the list.
struct RepositoryChoice {
    std::string text;
    bool heading = false;
    bool selectable = false;  // an object not yet in the field
    size_t entry = 0;         // index into the object list (objects only)
};
// "name (Publisher: ann; Contributors: bob, cyd)".
std::string RepositoryObjectText(const kurvalux_web::CWebObjectListElem& entry);
// The list in groups: "Published:" (the session user's own objects), "Imported:" (objects of
// others already in the field), "Available:" (the rest); empty groups are left out. Objects
// whose token is in the field already cannot be chosen again.
std::vector<RepositoryChoice> GroupRepositoryObjects(
    const std::vector<kurvalux_web::CWebObjectListElem>& list, const kurvalux_data::Field& field,
    const std::string& user_id, const std::string& user_name);

constexpr const char* kAddObjectsTitle = "Add Object(s) from Web Repository";

class CRepositoryObjectsDialog : public QDialog {
    Q_OBJECT
public:
    CRepositoryObjectsDialog(std::vector<RepositoryChoice> choices, QWidget* parent = nullptr);
    // The object list indices of the checked lines, in list order.
    std::vector<size_t> Chosen() const;
    // Checks the line of object list index `entry` (as the user would); false if not selectable.
    bool Choose(size_t entry);
    // The lines as shown.
    std::vector<std::string> Lines() const;
    QListWidget* List() const { return list_; }

private:
    std::vector<RepositoryChoice> choices_;
    QListWidget* list_;
};

}  // namespace kurvalux_app

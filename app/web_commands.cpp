#include "app/web_commands.h"

#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QLineEdit>
#include <QSystemTrayIcon>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/main_window.h"
#include "app/shell_strings.h"
#include "app/web_dialogs.h"
#include "platform/text.h"
#include "web/repository_cache.h"
#include "web/web_series.h"

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;

// The repository commands that need a session.
constexpr int kSessionCommands[] = {
    kCmdWebChangePassword, kCmdWebLogout,  kCmdWebSynchronizeField, kCmdWebAddObjects,
    kCmdWebInsertObjects,  kCmdWebPublish, kCmdWebUnpublish,        kCmdWebSynchronizeObject};

// The settings folder: the directory of the settings file.
std::string SettingsFolderOf(const std::string& settings_path) {
    return QFileInfo(Q(settings_path)).absolutePath().toStdString();
}

void CopyIdentity(const kurvalux_web::CWebObjectListElem& e, CObjectListElem& object) {
    using namespace kurvalux_data;
    using kurvalux_platform::AssignCut;
    AssignCut(object.token, e.token, kTokenCapacity);
    AssignCut(object.publisher, e.publisher, kPublisherCapacity);
    AssignCut(object.name, e.name, kNameCapacity);
    AssignCut(object.alternate_name, e.alt_name, kAlternateNameCapacity);
    AssignCut(object.comment, e.comment, kCommentCapacity);
    AssignCut(object.variability_type, e.var_type, kVariabilityTypeCapacity);
    if (std::isfinite(e.m0)) object.m0 = object.saved_m0 = e.m0;
    if (std::isfinite(e.period)) object.period = object.saved_period = e.period;
    CStarRecord& star = object.meta_data.var;
    if (std::isfinite(e.ra) && std::isfinite(e.dec)) {
        star.star_ra = e.ra * kRadians;
        star.star_dec = e.dec * kRadians;
    }
    AssignCut(star.catalog, e.catalog, kCatalogCapacity);
    AssignCut(star.catalog_id, e.catalog_id, kCatalogIdCapacity);
    if (std::isfinite(e.catalog_ra) && std::isfinite(e.catalog_dec)) {
        star.catalog_ra = e.catalog_ra * kRadians;
        star.catalog_dec = e.catalog_dec * kRadians;
    }
    if (std::isfinite(e.catalog_mag)) star.catalog_mag = e.catalog_mag;
}

}  // namespace

CWebCommands::CWebCommands(CKurvalux& window)
    : QObject(&window),
      window_(window),
      poster_(this),
      web_(&poster_, window.Messages()),
      vsx_(&poster_, window.Messages()),
      version_(&poster_) {
    setObjectName("web commands");
    // Handlers notify on the GUI thread, inside Complete(); the code tells the follow-up
    // what came of the request.
    web_.SetNotifier([this](uint32_t, uint32_t code) { last_notify_ = code; });
    ApplySettings();
}

CWebCommands::~CWebCommands() {
    // The workers post to this object: they end before it goes.
    web_.Join();
    vsx_.Join();
    version_.Join();
}

bool CWebCommands::IsWebCommand(int command) {
    return (command >= kCmdWebLogin && command <= kCmdWebSynchronizeObject) ||
           command == kCmdVsxAllObjects || command == kCmdVsxSelectedObject;
}

void CWebCommands::ApplySettings() {
    const kurvalux_data::Settings& s = window_.settings_;
    web_.SetServer(s.web_repository_server, s.web_repository_path);
    web_.SetEncryptedPassword(s.use_encrypted_password);
    web_.SetTimeouts(s.web_connect_timeout, s.web_transfer_timeout);
    web_.SetCacheFolder(SettingsFolderOf(window_.options_.settings_path));
    vsx_.SetServer(s.vsx_server);
    vsx_.SetTimeouts(s.web_connect_timeout, s.web_transfer_timeout);
    version_.SetServer(s.version_server);
    version_.SetTimeouts(s.web_connect_timeout, s.web_transfer_timeout);
    Refresh();
}

WebSession CWebCommands::PanelSession() const {
    const kurvalux_web::WebSession& s = web_.Session();
    WebSession panel;
    panel.logged_in = s.Active();
    panel.busy = Busy();
    panel.user_id = s.user_id;
    panel.user_name = s.user_name;
    panel.rights = s.access;
    const kurvalux_data::Settings& settings = window_.settings_;
    panel.server = settings.web_repository_server + settings.web_repository_path;
    return panel;
}

void CWebCommands::UpdateActions() {
    const bool session = web_.Session().Active();
    const bool idle = !Busy();
    for (int command : kSessionCommands)
        if (QAction* a = window_.Action(command)) a->setEnabled(session && idle);
    for (int command : {int(kCmdWebLogin), int(kCmdWebDefine)})
        if (QAction* a = window_.Action(command)) a->setEnabled(idle);
    for (int command : {int(kCmdVsxAllObjects), int(kCmdVsxSelectedObject)})
        if (QAction* a = window_.Action(command)) a->setEnabled(!vsx_pending_);
}

std::string CWebCommands::UserFolder() const {
    std::string user = web_.Session().user_id;
    if (user.empty()) user = window_.settings_.web_repository_user_id;
    if (user.empty()) return {};
    return kurvalux_web::CacheUserFolder(SettingsFolderOf(window_.options_.settings_path), user);
}

std::function<void(CObjectListElem&, kurvalux_platform::CMessageBoxSink&)>
CWebCommands::WebSeriesLoader() const {
    const std::string folder = UserFolder();
    return [folder](CObjectListElem& object, kurvalux_platform::CMessageBoxSink& messages) {
        kurvalux_web::LoadWebSeries(object, folder, messages);
    };
}

// ---- the commands

void CWebCommands::Run(int command) {
    switch (command) {
        case kCmdWebDefine:
            Define();
            break;
        case kCmdWebLogin:
            Login();
            break;
        case kCmdWebLogout:
            Send(Pending::kLogout, web_.Logout());
            break;
        case kCmdWebChangePassword:
            ChangePassword();
            break;
        case kCmdWebAddObjects:
        case kCmdWebInsertObjects:
            AddObjects(command == kCmdWebInsertObjects);
            break;
        case kCmdWebSynchronizeField:
        case kCmdWebSynchronizeObject:
            Synchronize(command == kCmdWebSynchronizeField);
            break;
        case kCmdWebPublish:
            Publish();
            break;
        case kCmdWebUnpublish:
            Unpublish();
            break;
        case kCmdVsxAllObjects:
        case kCmdVsxSelectedObject:
            LookUp(command == kCmdVsxSelectedObject);
            break;
        default:
            break;
    }
}

void CWebCommands::Define() {
    CFormDialog dialog(kDefineRepositoryTitle, &window_);
    FillRepositoryDialog(dialog, window_.settings_);
    if (window_.RunDialog(dialog) != QDialog::Accepted) return;
    ReadRepositoryDialog(dialog, window_.settings_);
    window_.WriteSettings();
    ApplySettings();
    Refresh();
}

void CWebCommands::Login() {
    if (window_.settings_.web_repository_server.empty()) {
        Define();
        if (window_.settings_.web_repository_server.empty()) return;
    }
    const kurvalux_data::Settings& s = window_.settings_;
    Send(Pending::kLogin, web_.Login(s.web_repository_user, s.web_repository_password));
}

void CWebCommands::ChangePassword() {
    CFormDialog dialog(kChangePasswordTitle, &window_);
    FillPasswordDialog(dialog);
    if (window_.RunDialog(dialog) != QDialog::Accepted) return;
    if (dialog.Text(kCurrentPasswordLabel) != window_.settings_.web_repository_password) {
        window_.Messages().Error("Cannot change repository password",
                                 {"Current password does not match"});
        return;
    }
    if (dialog.Text(kNewPasswordLabel) != dialog.Text(kRepeatPasswordLabel)) {
        window_.Messages().Error("Cannot change repository password",
                                 {"The new password and its repetition differ"});
        return;
    }
    new_password_ = dialog.Text(kNewPasswordLabel);
    Send(Pending::kChangePassword, web_.ChangePassword(new_password_));
}

void CWebCommands::AddObjects(bool insert) {
    insert_ = insert;
    Send(Pending::kListToAdd, web_.ListObjects());
}

void CWebCommands::Synchronize(bool whole_field) {
    const CObjectListElem* current = window_.pane_->CurrentObject();
    request_object_ = whole_field || !current ? 0 : current->serial;
    if (!whole_field && !current) {
        window_.Messages().Error("Synchronize Object with Repository", {"No object selected"});
        return;
    }
    Send(Pending::kListToSynchronize, web_.ListObjects());
}

void CWebCommands::Publish() {
    CObjectListElem* object = window_.pane_->CurrentObject();
    if (!object) {
        window_.Messages().Error("Publish Object in Repository", {"No object selected"});
        return;
    }
    // An imported object (another observer's) takes the observer's own series as a
    // contribution; the record carries only local series either way.
    const bool contribute = !object->token.empty();
    const bool started = contribute ? web_.Contribute(*object) : web_.Publish(*object);
    request_object_ = object->serial;
    Send(contribute ? Pending::kContribute : Pending::kPublish, started);
}

void CWebCommands::Unpublish() {
    CObjectListElem* object = window_.pane_->CurrentObject();
    if (!object || object->token.empty()) {
        window_.Messages().Error("Unpublish Object in Repository",
                                 {"Selected object is not published in repository."});
        return;
    }
    request_object_ = object->serial;
    Send(Pending::kUnpublish, web_.Unpublish(object->token));
}

void CWebCommands::LookUp(bool one_object) {
    CObjectListElem* only = nullptr;
    if (one_object) {
        only = window_.pane_->CurrentObject();
        if (!only) {
            window_.Messages().Error("Cannot lookup stars in VSX", {"No object selected"});
            return;
        }
    }
    if (!vsx_.Start(window_.field_, only)) return;
    vsx_pending_ = true;
    vsx_one_ = one_object;
    vsx_object_ = only ? only->serial : 0;
    Refresh();
}

void CWebCommands::StartVersionCheck() {
    version_.Start();
}

// ---- completion

void CWebCommands::Send(Pending pending, bool started) {
    if (!started) return;  // a request runs: the command waits for the user to try again
    pending_ = pending;
    last_notify_ = 0;
    Refresh();
}

bool CWebCommands::event(QEvent* e) {
    if (e->type() != CPostedEvent::EventType()) return QObject::event(e);
    const auto* posted = static_cast<const CPostedEvent*>(e);
    const int result = static_cast<int>(posted->a);
    switch (posted->message) {
        case kurvalux_platform::kMsgRepositoryDone:
            RepositoryDone(result);
            break;
        case kurvalux_platform::kMsgCatalogueDone: {
            vsx_.Join();
            vsx_pending_ = false;
            CObjectListElem* only = vsx_one_ ? InField(vsx_object_) : nullptr;
            if (vsx_one_ && !only) {
                // The object went while the catalogue was asked: nothing to mark.
                Refresh();
                emit vsxDone();
                return true;
            }
            const size_t changed = vsx_.Complete(result, window_.field_, only);
            if (changed > 0) {
                window_.MarkModified();
                window_.pane_->Refresh();
            }
            Refresh();
            emit vsxDone();
            break;
        }
        case kurvalux_platform::kMsgVersionCheckDone:
            version_.Join();
            notice_ =
                kurvalux_web::CompareVersions(version_.Fetched(), kurvalux_web::ProgramVersion(),
                                              window_.settings_.download_address);
            if (notice_.show) ShowNotice();
            emit versionDone();
            break;
        default:
            break;
    }
    return true;
}

void CWebCommands::ShowNotice() {
    if (!tray_) {
        tray_ = new QSystemTrayIcon(window_.windowIcon(), this);
        tray_->setObjectName("version notice");
        tray_->setToolTip("KURVALUX");
    }
    tray_->show();
    QString text = Q(notice_.text);
    text.replace("\r\n", "\n");
    tray_->showMessage(Q(notice_.title), text, QSystemTrayIcon::Information,
                       kurvalux_web::kVersionBalloonMilliseconds);
}

void CWebCommands::RepositoryDone(int result) {
    const Pending pending = pending_;
    pending_ = Pending::kNone;
    web_.Complete(result);
    const bool ok = result == kurvalux_web::kWebOk;
    switch (pending) {
        case Pending::kLogin:
            if (web_.Session().Active() &&
                web_.Session().user_id != window_.settings_.web_repository_user_id) {
                // Another account: the field's web series come from its cache from now on.
                kurvalux_platform::AssignCut(window_.settings_.web_repository_user_id,
                                             web_.Session().user_id, 63);
                window_.WriteSettings();
                for (auto& object : window_.field_.objects)
                    if (!object->token.empty()) ReloadWebSeries(*object);
                window_.pane_->Refresh();
            }
            break;
        case Pending::kChangePassword: {
            std::string status;
            if (ok && web_.Document().GetString("status", status) && status == "ok") {
                window_.settings_.web_repository_password = new_password_;
                window_.WriteSettings();
            }
            new_password_.clear();
            break;
        }
        case Pending::kListToAdd:
            if (ok && last_notify_ == kurvalux_web::kNotifyListDone) AfterList(true);
            break;
        case Pending::kListToSynchronize:
            if (ok && last_notify_ == kurvalux_web::kNotifyListDone) AfterList(false);
            break;
        case Pending::kObjectData:
            if (ok && last_notify_ == kurvalux_web::kNotifyObjectDataDone) {
                NextFetch();
            } else {
                queue_.clear();  // the first failure ends the synchronisation
                FinishFetches();
            }
            break;
        case Pending::kPublish:
        case Pending::kContribute:
            if (CObjectListElem* object = InField(request_object_);
                ok && last_notify_ == kurvalux_web::kNotifyPublishDone && object &&
                pending == Pending::kPublish) {
                // The repository's token makes the object a shared one.
                kurvalux_platform::AssignCut(object->token, web_.ObjectToken(),
                                             kurvalux_data::kTokenCapacity);
                kurvalux_platform::AssignCut(object->publisher, web_.Session().user_id,
                                             kurvalux_data::kPublisherCapacity);
                window_.MarkModified();
                window_.pane_->RefreshObject();
            }
            break;
        case Pending::kUnpublish:
            if (CObjectListElem* object = InField(request_object_);
                ok && last_notify_ == kurvalux_web::kNotifyPublishDone && object) {
                object->token.clear();
                object->publisher.clear();
                window_.MarkModified();
                window_.pane_->RefreshObject();
            }
            break;
        default:
            break;
    }
    Refresh();
    if (!Busy()) emit repositoryDone();
}

void CWebCommands::AfterList(bool add) {
    auto& list = web_.ObjectList();
    auto& field = window_.field_;
    if (add) {
        CRepositoryObjectsDialog dialog(
            GroupRepositoryObjects(list, field, web_.Session().user_id, web_.Session().user_name),
            &window_);
        if (window_.RunDialog(dialog) != QDialog::Accepted) return;
        const std::vector<size_t> chosen = dialog.Chosen();
        if (chosen.empty()) return;
        // Insert: before the current object, in the order chosen; add: at the end.
        size_t at = field.objects.size();
        const int current = window_.pane_->CurrentObjectIndex();
        if (insert_ && current >= 0 && size_t(current) < field.objects.size()) at = size_t(current);
        for (size_t entry : chosen) {
            auto object = std::make_unique<CObjectListElem>();
            CopyIdentity(list[entry], *object);
            CObjectListElem* added = object.get();
            field.objects.insert(field.objects.begin() + static_cast<long>(at++),
                                 std::move(object));
            QueueFetches(*added);
        }
        window_.MarkModified();
        window_.pane_->Refresh();
    } else {
        std::vector<std::string> missing;
        for (auto& object : field.objects) {
            if (request_object_ != 0 && object->serial != request_object_) continue;
            if (object->token.empty()) continue;
            const bool listed = std::any_of(
                list.begin(), list.end(), [&](const auto& e) { return e.token == object->token; });
            if (listed)
                QueueFetches(*object);
            else
                missing.push_back(object->name);
        }
        if (!missing.empty()) {
            std::vector<std::string> lines{"Not in the repository any more:"};
            lines.insert(lines.end(), missing.begin(), missing.end());
            window_.Messages().Show(request_object_ != 0 ? "Synchronize Object with Repository"
                                                         : "Synchronize Field with Repository",
                                    lines, MessageIcon::Warning, MessageButtons::Ok);
        }
    }
    fetched_.clear();
    NextFetch();
}

void CWebCommands::QueueFetches(CObjectListElem& object) {
    for (const auto& e : web_.ObjectList()) {
        if (e.token != object.token) continue;
        // The publisher's file first: it turns the object's old files into backups.
        queue_.push_back({object.serial, e.token, -1, true});
        for (size_t i = 0; i < e.contributors.size(); ++i)
            queue_.push_back({object.serial, e.token, static_cast<int>(i), false});
        break;
    }
}

void CWebCommands::NextFetch() {
    while (!queue_.empty()) {
        Fetch next = queue_.front();
        queue_.pop_front();
        if (!InField(next.object)) continue;
        if (std::find(fetched_.begin(), fetched_.end(), next.object) == fetched_.end())
            fetched_.push_back(next.object);
        if (web_.GetObjectData(next.token, next.contributor, next.backup)) {
            pending_ = Pending::kObjectData;
            last_notify_ = 0;
            return;
        }
    }
    FinishFetches();
}

void CWebCommands::FinishFetches() {
    for (uint64_t serial : fetched_)
        if (CObjectListElem* object = InField(serial)) ReloadWebSeries(*object);
    if (!fetched_.empty()) window_.pane_->Refresh();
    fetched_.clear();
}

void CWebCommands::ReloadWebSeries(CObjectListElem& object) {
    kurvalux_web::UnloadWebSeries(object);
    kurvalux_web::LoadWebSeries(object, UserFolder(), window_.Messages());
}

CObjectListElem* CWebCommands::InField(uint64_t serial) const {
    if (serial == 0) return nullptr;
    for (const auto& object : window_.field_.objects)
        if (object->serial == serial) return object.get();
    return nullptr;
}

void CWebCommands::Refresh() {
    window_.UpdateStatus();
}

}  // namespace kurvalux_app

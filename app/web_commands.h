#pragma once
// The web commands of the main window: the repository account and session, objects taken from
// and given to the repository, synchronisation, the VSX look-up and the version check at start.
//
// Every request runs on a worker of the core; the worker posts its message (4926 look-up done,
// 4927 repository request done, 4928 version check done) as a Qt event to this object, so the
// completion, its boxes and every change of the field happen on the GUI thread. Requests that
// belong together (the list, then one object data request per object and contributor) are
// queued here and sent one after the other, as the client takes one request at a time.
#include <QObject>
#include <QPointer>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/qt_platform.h"
#include "app/shell_texts.h"
#include "web/version_check.h"
#include "web/vsx_lookup.h"
#include "web/web_interface.h"

class QSystemTrayIcon;

namespace kurvalux_app {

class CKurvalux;

class CWebCommands : public QObject {
    Q_OBJECT
public:
    explicit CWebCommands(CKurvalux& window);
    ~CWebCommands() override;

    // The repository commands 1020 to 1029 and the look-ups 1090 and 1091.
    static bool IsWebCommand(int command);
    void Run(int command);

    // Server, account switches and time-outs from the settings.
    void ApplySettings();
    // The session as the status panel shows it.
    WebSession PanelSession() const;
    // Greys the commands that need a session (or an idle client) and the look-ups while one runs.
    void UpdateActions();

    // The account folder of the repository cache whose files a field's web series come from:
    // the session's user, else the user of the last session; empty when neither is known.
    std::string UserFolder() const;
    // For FieldLoadOptions::web_series.
    std::function<void(kurvalux_data::CObjectListElem&, kurvalux_platform::CMessageBoxSink&)>
    WebSeriesLoader() const;

    // Starts the version check (returns at once).
    void StartVersionCheck();
    // The notice of the last completed version check (shown as a tray balloon).
    const kurvalux_web::VersionNotice& LastNotice() const { return notice_; }

    kurvalux_web::CWebInterface& Interface() { return web_; }
    kurvalux_web::CVsxLookup& Vsx() { return vsx_; }
    kurvalux_web::CVersionCheck& VersionCheck() { return version_; }
    // True while a request or a queue of requests is under way.
    bool Busy() const { return web_.Running() || pending_ != Pending::kNone || !queue_.empty(); }

    bool event(QEvent* e) override;

signals:
    // A repository request and everything that follows from it has been handled.
    void repositoryDone();
    void vsxDone();
    void versionDone();

private:
    enum class Pending {
        kNone,
        kLogin,
        kLogout,
        kChangePassword,
        kListToAdd,
        kListToSynchronize,
        kObjectData,
        kPublish,
        kContribute,
        kUnpublish,
    };
    struct Fetch {
        uint64_t object;  // serial
        std::string token;
        int contributor;
        bool backup;
    };

    void Define();
    void Login();
    void ChangePassword();
    void AddObjects(bool insert);
    void Synchronize(bool whole_field);
    void Publish();
    void Unpublish();
    void LookUp(bool one_object);

    void Send(Pending pending, bool started);
    void RepositoryDone(int result);
    void AfterList(bool insert);
    void QueueFetches(kurvalux_data::CObjectListElem& object);
    void NextFetch();
    void FinishFetches();
    void ReloadWebSeries(kurvalux_data::CObjectListElem& object);
    // The field's object of this serial, or null when it went meanwhile (0: none asked).
    kurvalux_data::CObjectListElem* InField(uint64_t serial) const;
    void Refresh();
    void ShowNotice();

    CKurvalux& window_;
    CQtPoster poster_;
    kurvalux_web::CWebInterface web_;
    kurvalux_web::CVsxLookup vsx_;
    kurvalux_web::CVersionCheck version_;
    QPointer<QSystemTrayIcon> tray_;
    kurvalux_web::VersionNotice notice_;

    Pending pending_ = Pending::kNone;
    uint32_t last_notify_ = 0;
    std::string new_password_;
    uint64_t request_object_ = 0;  // serial; 0 for the whole field
    uint64_t vsx_object_ = 0;
    bool vsx_one_ = false;
    bool vsx_pending_ = false;  // started, completion not handled yet
    bool insert_ = false;
    std::deque<Fetch> queue_;
    std::vector<uint64_t> fetched_;  // serials
};

}  // namespace kurvalux_app

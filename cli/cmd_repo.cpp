// kurvalux-cli repo: the web repository from the command line. Each run performs one call
// through the same client the desktop application uses, waits for its worker, and prints the
// boxes the application would show on standard output, the title first and then each line,
// so that scripts can drive the repository and read its answers.
#include <cstdio>
#include <string>

#include "cli/cli.h"
#include "cli/repo_session.h"
#include "cli/stdout_boxes.h"
#include "data/settings.h"
#include "platform/files.h"
#include "platform/waiting_poster.h"
#include "web/web_interface.h"

namespace kurvalux_cli {
namespace {

struct RepoRun {
    kurvalux_data::Settings settings;
    RepoSession session;
    kurvalux_platform::CWaitingPoster poster;
    CStdoutBoxes boxes;
    kurvalux_web::CWebInterface web{&poster, boxes};

    // Waits for the worker's message and completes the call; true when the call went through
    // without a failure box.
    bool Finish() {
        const int before = boxes.failures;
        for (;;) {
            // The worker always ends: its time-outs bound every exchange.
            auto message = poster.Take(1000);
            if (message && message->number == kurvalux_platform::kMsgRepositoryDone) {
                web.Complete(int(message->a));
                return message->a == kurvalux_web::kWebOk && boxes.failures == before;
            }
        }
    }
};

bool Refuse(const std::string& text) {
    std::fprintf(stderr, "kurvalux-cli repo: %s\n", text.c_str());
    return false;
}

// The server (--server, else the session's, else the settings'), time-outs, cipher switch and
// cache folder.
void Configure(const Args& args, RepoRun& run) {
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), run.settings);
    const bool has_session = LoadRepoSession(run.session);
    const std::string session_server = run.session.server;
    std::string server = run.settings.web_repository_server;
    std::string base = run.settings.web_repository_path;
    if (args.Has("server")) {
        server = args.Get("server");
        base.clear();
    } else if (has_session && !run.session.server.empty()) {
        server = run.session.server;
        base.clear();
    } else if (!base.empty()) {
        server = kurvalux_web::RequestUrl(server, base, "");
        base.clear();
    }
    run.session.server = server;
    run.web.SetServer(server, base);
    run.web.SetTimeouts(run.settings.web_connect_timeout, run.settings.web_transfer_timeout);
    run.web.SetEncryptedPassword(run.settings.use_encrypted_password);
    run.web.SetCacheFolder(kurvalux_platform::SettingsFolder());
    // The token belongs to the server that issued it: it is never sent to another one.
    if (has_session && session_server == server)
        run.web.RestoreSession(run.session.web);
    else
        run.session.web = {};
}

bool NeedSession(RepoRun& run) {
    if (run.web.Session().Active()) return true;
    return Refuse("not logged in to the web repository (run \"kurvalux-cli repo login\" first)");
}

int Login(const Args& args, RepoRun& run) {
    const std::string user = args.Has("user") ? args.Get("user") : run.settings.web_repository_user;
    const std::string password =
        args.Has("password") ? args.Get("password") : run.settings.web_repository_password;
    if (user.empty())
        return Refuse("login needs --user U --password P (or a user in the settings)"), 2;
    run.web.Login(user, password);
    const bool ok = run.Finish() && run.web.Session().Active();
    if (!ok) {
        // A failed login ends the session that was kept.
        if (!run.web.Session().Active()) RemoveRepoSession();
        return 1;
    }
    run.session.web = run.web.Session();
    if (!SaveRepoSession(run.session)) return Refuse("cannot write " + RepoSessionPath()), 1;
    std::printf("user_id %s\nuser_name %s\naccess %s\n", run.session.web.user_id.c_str(),
                run.session.web.user_name.c_str(), run.session.web.access.c_str());
    return 0;
}

void PrintList(const std::vector<kurvalux_web::CWebObjectListElem>& list) {
    for (const auto& e : list) {
        std::string contributors;
        for (const std::string& c : e.contributors)
            contributors += (contributors.empty() ? "" : ",") + c;
        std::printf("%s\t%s\t%s\t%s\n", e.token.c_str(), e.name.c_str(), e.publisher.c_str(),
                    contributors.c_str());
    }
}

int SendObject(const Args& args, RepoRun& run, bool publish) {
    if (args.positional.size() < 2) return Refuse("publish and contribute need FIELD"), 2;
    if (!args.Has("object")) return Refuse("publish and contribute need --object NAME"), 2;
    Args field_args = args;
    field_args.positional = {args.positional[1]};
    kurvalux_data::Field field;
    if (!LoadFieldArgument(field_args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    if (publish ? !run.web.Publish(*object) : !run.web.Contribute(*object)) return 1;
    if (!run.Finish()) return 1;
    if (!run.web.ObjectToken().empty()) std::printf("token %s\n", run.web.ObjectToken().c_str());
    // --save keeps a token assigned by the server in the field, for later calls on the object.
    if (args.Flag("save") && publish && !run.web.ObjectToken().empty() &&
        object->token != run.web.ObjectToken()) {
        object->token = run.web.ObjectToken();
        object->publisher =
            run.web.Session().user_name.substr(0, kurvalux_data::kPublisherCapacity);
        if (!SaveFieldArgument(field_args, field)) return 1;
    }
    return 0;
}

int Repo(const Args& args) {
    const std::string action = args.positional.at(0);
    const bool takes_argument = action == "get" || action == "publish" || action == "contribute" ||
                                action == "unpublish" || action == "passwd";
    const bool known =
        takes_argument || action == "login" || action == "logout" || action == "list";
    if (!known) {
        std::fprintf(stderr,
                     "kurvalux-cli repo: unknown action \"%s\" (login, logout, list, get, "
                     "publish, contribute, unpublish, passwd)\n",
                     action.c_str());
        return 2;
    }
    if (takes_argument != (args.positional.size() == 2)) {
        std::fprintf(stderr,
                     takes_argument ? "kurvalux-cli repo %s: needs its argument\n"
                                    : "kurvalux-cli repo %s: takes no argument\n",
                     action.c_str());
        return 2;
    }
    RepoRun run;
    Configure(args, run);
    if (run.session.server.empty())
        return Refuse("no repository server: give --server URL or set WebRepositoryServer"), 2;
    if (action == "login") return Login(args, run);
    if (!NeedSession(run)) return 1;

    if (action == "logout") {
        run.web.Logout();
        if (!run.Finish()) return 1;
        RemoveRepoSession();
        return 0;
    }
    if (action == "list") {
        run.web.ListObjects();
        if (!run.Finish()) return 1;
        PrintList(run.web.ObjectList());
        return 0;
    }
    if (action == "get") {
        // The list names the publisher and contributors whose files the cache holds.
        run.web.ListObjects();
        if (!run.Finish()) return 1;
        long contributor = 0;
        if (args.Has("contributor")) contributor = *args.Integer("contributor");
        run.web.GetObjectData(args.positional[1], int(contributor) - 1, args.Flag("sync"));
        if (!run.Finish()) return 1;
        std::printf("cache %s\n", run.web.CacheFilePath().c_str());
        return 0;
    }
    if (action == "publish" || action == "contribute")
        return SendObject(args, run, action == "publish");
    if (action == "unpublish") {
        run.web.Unpublish(args.positional[1]);
        return run.Finish() ? 0 : 1;
    }
    run.web.ChangePassword(args.positional[1]);
    return run.Finish() ? 0 : 1;
}

const CommandRegistrar kRepo(
    "repo",
    "The web repository: login, logout, list, get TOKEN, publish FIELD, contribute FIELD, "
    "unpublish TOKEN, passwd NEW. The session is kept in the settings folder until logout.",
    Repo,
    {Required(Positional("ACTION",
                         "login, logout, list, get, publish, contribute, unpublish or passwd"),
              "kurvalux-cli repo needs an action: login, logout, list, get, publish, contribute, "
              "unpublish or passwd"),
     Positional("ARGUMENT",
                "the object token (get, unpublish), the field file (publish, "
                "contribute) or the new password (passwd)"),
     Text("server", "URL",
          "the repository, e.g. https://example.org/kv/ (default: the session's, else the "
          "settings' WebRepositoryServer and WebRepositoryPath)"),
     Text("user", "U", "login: the user (default: the settings' WebRepositoryUser)"),
     Text("password", "P", "login: the password (default: the settings' WebRepositoryPassword)"),
     Text("object", "NAME", "publish, contribute: the object of the field"),
     Flag("save", "publish: keep the token the repository assigns in the field file"),
     Integer("contributor", "K",
             "get: the K-th contributor's data instead of the publisher's (counted from 1)", 1,
             1000000),
     Flag("sync", "get: keep the object's previous cache files as .bak"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli

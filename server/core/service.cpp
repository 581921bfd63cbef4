// The repository service: routing, sessions and the account calls. The object calls are in
// object_calls.cpp.
#include "server/core/service.h"

#include <chrono>
#include <vector>

#include "data/password_cipher.h"
#include "server/core/credentials.h"
#include "web/web_interface.h"

namespace kurvalux_server {

namespace {

// The deepest request of the program is an object record: record, "series", a series,
// "minima", a minimum. Anything deeper is no request of ours.
constexpr size_t kMaxRequestDepth = 8;

size_t Depth(const sjson::CJSONNode& root) {
    size_t deepest = 0;
    std::vector<std::pair<const sjson::CJSONNode*, size_t>> stack{{&root, 1}};
    while (!stack.empty()) {
        auto [node, depth] = stack.back();
        stack.pop_back();
        if (depth > deepest) deepest = depth;
        for (const auto& child : node->ChildNodes())
            if (child->IsContainer()) stack.emplace_back(child.get(), depth + 1);
    }
    return deepest;
}

std::string NormalBasePath(std::string base) {
    if (base.empty() || base.front() != '/') base.insert(base.begin(), '/');
    if (base.back() != '/') base.push_back('/');
    return base;
}

struct Route {
    const char* operation;
    const char* method;
};
constexpr Route kRoutes[] = {
    {"api/v1/login", "POST"},
    {"api/v1/logout", "GET"},
    {"api/v1/change_password", "POST"},
    {"api/v1/list_objects", "GET"},
    {"api/v1/get_object_data", "POST"},
    {"api/v1/publish_object", "POST"},
    {"api/v1/contribute_object", "POST"},
    {"api/v1/unpublish_object", "POST"},
    {"health", "GET"},
};

// The password of a login or change-password request: "password" as typed, or
// "encrypted_password" in the program's cipher.
std::string PasswordOf(const sjson::CJSON& request, const char* plain_key, const char* cipher_key,
                       bool required) {
    std::string password, cipher;
    if (request.GetString(cipher_key, cipher)) {
        if (!kurvalux_data::DecipherPassword(cipher, password))
            throw Refusal{
                400,
                std::string("\"") + cipher_key + "\" is not a password in the program's cipher.",
                false};
        return password;
    }
    if (request.GetString(plain_key, password)) return password;
    if (required)
        throw Refusal{
            400, std::string("The call needs \"") + plain_key + "\" or \"" + cipher_key + "\".",
            false};
    return {};
}

void CheckNewPassword(const std::string& password) {
    if (password.size() < kMinPasswordLength)
        throw Refusal{422, "The new password is too short: at least " +
                               std::to_string(kMinPasswordLength) + " characters."};
    if (password.size() > kMaxPasswordLength)
        throw Refusal{422, "The new password is too long: at most " +
                               std::to_string(kMaxPasswordLength) + " characters."};
}

}  // namespace

bool ValidAccess(const std::string& access) {
    return access == kAccessNone || access == kAccessView || access == kAccessModify ||
           access == kAccessAdministration;
}

bool ValidUserName(const std::string& name, std::string* why) {
    auto refuse = [why](const char* text) {
        if (why) *why = text;
        return false;
    };
    if (name.empty()) return refuse("a user name cannot be empty");
    if (name.size() > kurvalux_web::kUserIdCapacity)
        return refuse("a user name has at most 63 characters");
    if (name == "." || name == "..") return refuse("a user name cannot be \".\" or \"..\"");
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u <= 32 || u == 127 || c == '/' || c == '\\' || c == ':' || c == '"')
            return refuse(
                "a user name has no blanks, control characters, quotes, slashes or colons");
    }
    return true;
}

std::string WriteDocument(const sjson::CJSON& document) {
    kurvalux_platform::CTextBuffer text;
    document.Write(text, 0);
    return text.Release();
}

std::string OkAnswer(const std::function<void(sjson::CJSON&)>& fill) {
    sjson::CJSON answer;
    answer.Reset(false);
    answer.AddString("status", "ok");
    if (fill) fill(answer);
    return WriteDocument(answer);
}

std::string FailAnswer(const std::string& error) {
    sjson::CJSON answer;
    answer.Reset(false);
    answer.AddString("status", "fail");
    answer.AddString("error", error);
    return WriteDocument(answer);
}

CRepositoryService::CRepositoryService(CStore& store, ServiceOptions options)
    : store_(store), options_(std::move(options)) {
    options_.base_path = NormalBasePath(options_.base_path);
}

int64_t CRepositoryService::Now() const {
    if (options_.clock) return options_.clock();
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

HttpAnswer CRepositoryService::Handle(const HttpCall& call) {
    HttpAnswer answer;
    try {
        std::string path = call.path;
        const size_t query = path.find('?');
        if (query != std::string::npos) path.resize(query);
        if (path.rfind(options_.base_path, 0) != 0)
            throw Refusal{404, "No such call: " + path, false};
        const std::string operation = path.substr(options_.base_path.size());
        const Route* route = nullptr;
        for (const Route& r : kRoutes)
            if (operation == r.operation) route = &r;
        if (!route) throw Refusal{404, "No such call: " + path, false};
        if (call.method != route->method)
            throw Refusal{405,
                          std::string("The call ") + route->operation + " takes " + route->method +
                              ", not " + call.method + ".",
                          false};
        if (call.body.size() > options_.max_body)
            throw Refusal{
                413,
                "The request body is larger than " + std::to_string(options_.max_body) + " bytes.",
                false};
        answer = Dispatch(call, operation);
    } catch (const Refusal& refusal) {
        answer.status = refusal.protocol && !options_.http_refusal_status ? 200 : refusal.status;
        answer.body = FailAnswer(refusal.text);
        answer.error = refusal.text;
    } catch (const StoreError& error) {
        answer.status = 500;
        answer.body = FailAnswer("The repository's database failed; try again later.");
        answer.error = error.what();
    } catch (const std::exception& error) {
        answer.status = 500;
        answer.body = FailAnswer("The repository server failed; try again later.");
        answer.error = error.what();
    }
    return answer;
}

void CRepositoryService::ParseBody(const HttpCall& call, sjson::CJSON& document) {
    if (call.body.empty()) throw Refusal{400, "The call needs a JSON record as its body.", false};
    sjson::CJSONSource source(call.body);
    if (!document.Parse(source))
        throw Refusal{400,
                      "Malformed JSON at byte " + std::to_string(source.position) + ": " +
                          (source.error.empty() ? "unreadable value" : source.error),
                      false};
    const sjson::CJSONNode* root = document.Root();
    if (!root || root->Kind() != sjson::EKind::Record)
        throw Refusal{400, "The body must be a JSON record.", false};
    if (Depth(*root) > kMaxRequestDepth)
        throw Refusal{
            400, "JSON nested deeper than " + std::to_string(kMaxRequestDepth) + " levels.", false};
    document.Rewind();
}

HttpAnswer CRepositoryService::Dispatch(const HttpCall& call, const std::string& operation) {
    if (operation == "health") return Health();
    if (operation == "api/v1/logout") return Logout(call);
    sjson::CJSON request;
    if (operation == "api/v1/login") {
        ParseBody(call, request);
        return Login(request);
    }
    Caller caller = Authenticate(call);
    auto need = [&caller](bool allowed, const std::string& what) {
        if (!allowed) throw Refusal{403, "Access \"" + caller.access + "\" may not " + what + "."};
    };
    const bool view = caller.access == kAccessView || caller.access == kAccessModify ||
                      caller.access == kAccessAdministration;
    const bool modify = caller.access == kAccessModify || caller.access == kAccessAdministration;
    HttpAnswer answer;
    if (operation == "api/v1/list_objects") {
        need(view, "list objects");
        answer = ListObjects(caller);
    } else {
        ParseBody(call, request);
        if (operation == "api/v1/change_password") {
            need(view, "change its password");
            answer = ChangePassword(caller, request);
        } else if (operation == "api/v1/get_object_data") {
            need(view, "get object data");
            answer = GetObjectData(caller, request);
        } else if (operation == "api/v1/publish_object") {
            need(modify, "publish objects");
            answer = Publish(caller, request);
        } else if (operation == "api/v1/contribute_object") {
            need(modify, "contribute to objects");
            answer = Contribute(caller, request);
        } else {
            need(modify, "unpublish objects");
            answer = Unpublish(caller, request);
        }
    }
    answer.user = caller.name;
    return answer;
}

CRepositoryService::Caller CRepositoryService::Authenticate(const HttpCall& call) {
    std::string header = call.authorization;
    const std::string scheme = "bearer ";
    std::string token;
    if (header.size() > scheme.size()) {
        std::string start = header.substr(0, scheme.size());
        for (char& c : start) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (start == scheme) token = header.substr(scheme.size());
    }
    while (!token.empty() && token.back() == ' ') token.pop_back();
    if (token.empty())
        throw Refusal{401, "Not logged in: this call needs a session (log in first)."};
    Caller caller;
    caller.token_hash = Sha256Hex(token);
    SessionRow session;
    UserRow user;
    {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        if (!connection->GetSession(caller.token_hash, session) ||
            !connection->GetUser(session.user_name, user))
            throw Refusal{401, "The session is unknown or was ended; log in again."};
        transaction.Commit();
    }
    if (session.expires <= Now()) throw Refusal{401, "The session has expired; log in again."};
    caller.name = user.name;
    caller.access = user.access;
    caller.session_created = session.created;
    return caller;
}

HttpAnswer CRepositoryService::Login(const sjson::CJSON& request) {
    std::string user_name;
    if (!request.GetString("user", user_name, kurvalux_web::kUserIdCapacity + 1) ||
        user_name.empty())
        throw Refusal{400, "The login needs \"user\".", false};
    const std::string password = PasswordOf(request, "password", "encrypted_password", true);
    UserRow user;
    bool known = false;
    {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        known = connection->GetUser(user_name, user);
        transaction.Commit();
    }
    // An unknown name costs as much time as a wrong password, so that the answer's delay
    // does not tell which names exist.
    static const std::string decoy = HashPassword("decoy password of no account");
    const bool verified = VerifyPassword(password, known ? user.password_hash : decoy) && known;
    if (!verified) throw Refusal{401, "Wrong user name or password."};

    const std::string token = NewSessionToken();
    const int64_t now = Now();
    {
        CConnection connection(store_);
        CTransaction transaction(connection, true);
        connection->DeleteExpiredSessions(now);
        connection->InsertSession(Sha256Hex(token),
                                  {user.name, now, now + options_.session_lifetime});
        transaction.Commit();
    }
    HttpAnswer answer;
    answer.user = user.name;
    answer.body = OkAnswer([&](sjson::CJSON& a) {
        a.AddString("user_token", token);
        a.AddString("user_id", user.name);
        a.AddString("user_name", user.name);
        a.AddString("access", user.access);
    });
    return answer;
}

HttpAnswer CRepositoryService::Logout(const HttpCall& call) {
    // Logging out always succeeds: the program forgets its session whatever the answer, so a
    // token that is already gone is simply nothing to revoke.
    HttpAnswer answer;
    answer.status = 204;
    try {
        const Caller caller = Authenticate(call);
        answer.user = caller.name;
        CConnection connection(store_);
        CTransaction transaction(connection, true);
        connection->DeleteSession(caller.token_hash);
        transaction.Commit();
    } catch (const Refusal&) {
    }
    return answer;
}

HttpAnswer CRepositoryService::ChangePassword(const Caller& caller, const sjson::CJSON& request) {
    const std::string password = PasswordOf(request, "password", "encrypted_password", true);
    // The program sends only the new password; the current one was proven at login. So a
    // change needs a recent login, or the current password in "current_password" /
    // "encrypted_current_password" for clients that ask for it again.
    const std::string current =
        PasswordOf(request, "current_password", "encrypted_current_password", false);
    UserRow user;
    {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        if (!connection->GetUser(caller.name, user))
            throw Refusal{401, "The session is unknown or was ended; log in again."};
        transaction.Commit();
    }
    if (!current.empty()) {
        if (!VerifyPassword(current, user.password_hash))
            throw Refusal{403, "The current password is wrong."};
    } else if (Now() - caller.session_created > options_.password_change_window) {
        throw Refusal{403,
                      "Changing the password needs a recent login: log in again and change "
                      "it within " +
                          std::to_string(options_.password_change_window / 60) + " minutes."};
    }
    CheckNewPassword(password);
    const std::string hash = HashPassword(password);
    CConnection connection(store_);
    CTransaction transaction(connection, true);
    connection->UpdatePassword(caller.name, hash);
    // Whoever knew the old password is logged out everywhere but here.
    connection->DeleteSessionsOf(caller.name, caller.token_hash);
    transaction.Commit();
    HttpAnswer answer;
    answer.body = OkAnswer();
    return answer;
}

HttpAnswer CRepositoryService::Health() {
    int64_t version = 0;
    try {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        version = connection->QueryInteger("SELECT MAX(version) FROM schema_version", 0);
        transaction.Commit();
    } catch (const StoreError& error) {
        HttpAnswer answer;
        answer.status = 503;
        answer.body = FailAnswer("The database does not answer.");
        answer.error = error.what();
        return answer;
    }
    HttpAnswer answer;
    answer.body = OkAnswer([&](sjson::CJSON& a) {
        a.AddString("engine", store_.Engine());
        a.AddInteger("schema", version);
    });
    return answer;
}

}  // namespace kurvalux_server

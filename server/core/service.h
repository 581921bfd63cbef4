#pragma once
// The repository service: the eight calls of the program's repository client, a health call,
// accounts with their access words, sessions, and the objects with their contributions. It
// knows nothing of sockets: the HTTP front end (and the fuzz target) hand it one request as
// method, path, Authorization header and body, and send back the answer it builds.
#include <cstdint>
#include <functional>
#include <string>

#include "json/json.h"
#include "server/core/store.h"

namespace kurvalux_server {

// The access words, spelled as the program compares them.
constexpr const char* kAccessNone = "none";
constexpr const char* kAccessView = "view";
constexpr const char* kAccessModify = "modify";
constexpr const char* kAccessAdministration = "admistration";
// True for one of the four words above.
bool ValidAccess(const std::string& access);

// How a refusal travels. The program's client reads an answer only from status 200 and shows
// the "error" text of a "fail" answer to its user; so by default a refusal of a well-formed
// call (wrong password, missing right, unknown object, expired session) is a fail answer
// with 200. With `http_refusal_status` those carry their own status (401, 403, 404, 409, 422)
// for other clients. Requests no client of ours sends (malformed JSON, a body too large, an
// unknown path or method) always get their 4xx status.
struct ServiceOptions {
    std::string base_path = "/";               // the calls live at base_path + "api/v1/..."
    int64_t session_lifetime = 7 * 24 * 3600;  // seconds
    int64_t password_change_window = 15 * 60;  // seconds after login (see ChangePassword)
    size_t max_body = size_t{64} << 20;        // bytes
    bool http_refusal_status = false;
    std::function<int64_t()> clock;  // seconds since 1970; the system's if empty
};

struct HttpCall {
    std::string method, path, authorization, body;
};

struct HttpAnswer {
    int status = 200;
    std::string body;  // JSON, empty for 204
    // For the access log: the user the call ran for ("-" when none) and the refusal text.
    std::string user = "-";
    std::string error;
};

// Password limits of the accounts (bytes).
constexpr size_t kMinPasswordLength = 8;
constexpr size_t kMaxPasswordLength = 1023;
// Names of accounts: 1 to 63 printable characters without blanks, slashes or backslashes
// (they become folder and file names in the program's cache).
bool ValidUserName(const std::string& name, std::string* why = nullptr);

class CRepositoryService {
public:
    CRepositoryService(CStore& store, ServiceOptions options);
    // Never throws: every failure becomes an answer.
    HttpAnswer Handle(const HttpCall& call);

    const ServiceOptions& Options() const { return options_; }
    int64_t Now() const;

    struct Caller {
        std::string name, access, token_hash;
        int64_t session_created = 0;
    };

private:
    HttpAnswer Dispatch(const HttpCall& call, const std::string& operation);
    // The caller of `call`'s Bearer token; refuses a missing, unknown, expired or revoked one.
    Caller Authenticate(const HttpCall& call);
    // Parses the body as one JSON record; refuses malformed or too-deep text.
    void ParseBody(const HttpCall& call, sjson::CJSON& document);

    HttpAnswer Login(const sjson::CJSON& request);
    HttpAnswer Logout(const HttpCall& call);
    HttpAnswer ChangePassword(const Caller& caller, const sjson::CJSON& request);
    HttpAnswer Health();
    HttpAnswer ListObjects(const Caller& caller);  // object_calls.cpp
    HttpAnswer GetObjectData(const Caller& caller, const sjson::CJSON& request);  // "
    HttpAnswer Publish(const Caller& caller, sjson::CJSON& request);              // "
    HttpAnswer Contribute(const Caller& caller, sjson::CJSON& request);           // "
    HttpAnswer Unpublish(const Caller& caller, const sjson::CJSON& request);      // "

    CStore& store_;
    ServiceOptions options_;
};

// A refusal: thrown by the calls, turned into a fail answer by Handle. `protocol` marks the
// refusals of well-formed calls (see ServiceOptions).
struct Refusal {
    int status;
    std::string text;
    bool protocol = true;
};

// {"status":"ok"} plus whatever `fill` adds at the root record, written as the client writes.
std::string OkAnswer(const std::function<void(sjson::CJSON&)>& fill = {});
std::string FailAnswer(const std::string& error);
std::string WriteDocument(const sjson::CJSON& document);

}  // namespace kurvalux_server

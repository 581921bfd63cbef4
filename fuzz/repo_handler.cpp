// The repository server's request handler as a hostile client could call it: any call, any
// session (none, a viewer's, a publisher's, an administrator's, a forged one) and any body.
// Nothing may crash or hang, every answer with a body must be a JSON record whose "status"
// is "ok" or "fail", and a refusal must say why.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "json/json.h"
#include "server/core/credentials.h"
#include "server/core/service.h"
#include "server/core/store.h"

namespace {

using namespace kurvalux_server;

const char* const kPaths[] = {
    "/api/v1/login",
    "/api/v1/logout",
    "/api/v1/change_password",
    "/api/v1/list_objects",
    "/api/v1/get_object_data",
    "/api/v1/publish_object",
    "/api/v1/contribute_object",
    "/api/v1/unpublish_object",
    "/health",
    "/api/v1/",
    "/elsewhere",
};

struct Repository {
    Repository() {
        // Hashes as cheap as Argon2id allows: the fuzzer logs in often.
        SetHashCost({8, 1});
        store = OpenStore("sqlite::memory:", 1);
        Migrate(*store);
        {
            CConnection connection(*store);
            CTransaction transaction(connection, true);
            const char* accounts[][2] = {
                {"viewer", "view"}, {"writer", "modify"}, {"admin", "admistration"}};
            for (const auto& account : accounts)
                connection->InsertUser({account[0], HashPassword("password-1"), account[1], 0});
            transaction.Commit();
        }
        ServiceOptions options;
        options.max_body = size_t{1} << 20;
        service = std::make_unique<CRepositoryService>(*store, options);
        for (const char* user : {"viewer", "writer", "admin"}) {
            const HttpAnswer answer = service->Handle(
                {"POST", "/api/v1/login", "",
                 std::string("{\"user\":\"") + user + "\",\"password\":\"password-1\"}"});
            const size_t at = answer.body.find("\"user_token\":\"");
            if (at == std::string::npos) std::abort();
            tokens.push_back("Bearer " + answer.body.substr(at + 14, 48));
        }
        tokens.push_back("Bearer 000000000000000000000000000000000000000000000000");
        tokens.push_back("");
    }
    std::unique_ptr<CStore> store;
    std::unique_ptr<CRepositoryService> service;
    std::vector<std::string> tokens;
    size_t runs = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Repository repository;
    if (size < 2) return 0;
    // First byte: the call and method; second: the session; the rest: the body.
    const char* path = kPaths[data[0] % (sizeof kPaths / sizeof kPaths[0])];
    const bool get = (data[0] / 16) % 2;
    HttpCall call;
    call.method = get ? "GET" : "POST";
    call.path = path;
    call.authorization = repository.tokens[data[1] % repository.tokens.size()];
    call.body.assign(reinterpret_cast<const char*>(data) + 2, size - 2);
    // Logging out would end the sessions the later inputs need: only forged ones go.
    if (std::string(path) == "/api/v1/logout" && data[1] % repository.tokens.size() < 3)
        call.authorization.clear();
    // A changed password ends the other sessions: keep the service's sessions alive.
    if (std::string(path) == "/api/v1/change_password") call.authorization.clear();

    const HttpAnswer answer = repository.service->Handle(call);
    if (answer.status == 204) {
        if (!answer.body.empty()) std::abort();
    } else {
        sjson::CJSON document;
        sjson::CJSONSource source(answer.body);
        if (!document.Parse(source) || !document.Root() ||
            document.Root()->Kind() != sjson::EKind::Record)
            std::abort();
        std::string status, error;
        if (!document.GetString("status", status)) std::abort();
        if (status == "fail") {
            if (!document.GetString("error", error) || error.empty()) std::abort();
        } else if (status != "ok" || answer.status != 200) {
            std::abort();
        }
        if (answer.status >= 500) std::abort();  // the database never fails here
    }
    // Keep the in-memory database small.
    if (++repository.runs % 5000 == 0) {
        CConnection connection(*repository.store);
        CTransaction transaction(connection, true);
        connection->Execute("DELETE FROM contributions");
        connection->Execute("DELETE FROM objects");
        transaction.Commit();
    }
    return 0;
}

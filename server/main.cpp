// kurvalux-repo: the web repository server of KURVALUX, where observers share their objects.
//
//   kurvalux-repo serve [--listen 127.0.0.1:8080] [--db sqlite:PATH|postgresql://...]
//                       [--base-path /] [--tls-cert F --tls-key F]
//   kurvalux-repo user add NAME --password P --access none|view|modify|admistration --db ...
//   kurvalux-repo user passwd NAME --password P --db ...
//   kurvalux-repo user access NAME --access A --db ...
//   kurvalux-repo user list --db ...
//   kurvalux-repo user remove NAME --db ...
//   kurvalux-repo migrate --db ...
#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>

#include "server/core/credentials.h"
#include "server/core/service.h"
#include "server/core/store.h"
#include "server/http_front.h"

namespace {

using namespace kurvalux_server;

constexpr const char* kDefaultDb = "sqlite:kurvalux-repo.sqlite";

int Fail(const std::string& text) {
    std::fprintf(stderr, "kurvalux-repo: %s\n", text.c_str());
    return 1;
}

// "HOST:PORT", "[V6]:PORT" or ":PORT" (all interfaces).
bool ParseListen(const std::string& text, std::string& host, int& port) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos) return false;
    host = text.substr(0, colon);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    if (host.empty()) host = "0.0.0.0";
    const std::string digits = text.substr(colon + 1);
    if (digits.empty() || digits.size() > 5 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    port = std::stoi(digits);
    return port <= 65535;
}

std::unique_ptr<CStore> OpenMigrated(const std::string& db, int pool) {
    auto store = OpenStore(db, pool);
    Migrate(*store);
    return store;
}

int CheckPassword(const std::string& password) {
    if (password.size() < kMinPasswordLength)
        return Fail("the password needs at least " + std::to_string(kMinPasswordLength) +
                    " characters");
    if (password.size() > kMaxPasswordLength)
        return Fail("the password has at most " + std::to_string(kMaxPasswordLength) +
                    " characters");
    return 0;
}

int CheckAccess(const std::string& access) {
    if (ValidAccess(access)) return 0;
    return Fail("unknown access \"" + access + "\" (none, view, modify or admistration)");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"kurvalux-repo: the web repository server of KURVALUX"};
    app.require_subcommand(1);
    std::string db = kDefaultDb;

    // ---- serve ----
    auto* serve = app.add_subcommand("serve", "Serve the repository until SIGTERM");
    std::string listen = "127.0.0.1:8080";
    ServiceOptions service_options;
    ServeOptions serve_options;
    int64_t max_body_mb = 64;
    int pool = 8;
    serve->add_option("--listen", listen, "address and port, e.g. 127.0.0.1:8080 or :443");
    serve->add_option("--db", db, "sqlite:PATH or postgresql://...");
    serve->add_option("--base-path", service_options.base_path,
                      "the path below which the calls live, e.g. /kv/");
    serve->add_option("--tls-cert", serve_options.tls_cert, "certificate chain (PEM) for HTTPS");
    serve->add_option("--tls-key", serve_options.tls_key, "private key (PEM) for HTTPS");
    serve->add_option("--access-log", serve_options.access_log,
                      "file the access log is appended to (- for standard output)");
    serve
        ->add_option("--session-lifetime", service_options.session_lifetime,
                     "seconds a session lasts after login (default one week)")
        ->check(CLI::Range(int64_t{1}, int64_t{366} * 24 * 3600));
    serve->add_option("--max-body-mb", max_body_mb, "largest request body in MiB (default 64)")
        ->check(CLI::Range(1, 4096));
    serve->add_option("--threads", serve_options.threads, "request threads (default 16)")
        ->check(CLI::Range(1, 1024));
    serve->add_option("--db-connections", pool, "database connections (default 8)")
        ->check(CLI::Range(1, 256));
    serve->add_flag("--http-refusal-status", service_options.http_refusal_status,
                    "refusals carry 401/403/404/409/422 instead of 200 with a fail answer");

    // ---- user ----
    auto* user = app.add_subcommand("user", "Manage the accounts");
    user->require_subcommand(1);
    std::string name, password, access;
    auto* user_add = user->add_subcommand("add", "Create an account");
    user_add->add_option("NAME", name, "the user name")->required();
    user_add->add_option("--password", password, "the password")->required();
    user_add->add_option("--access", access, "none, view, modify or admistration")->required();
    user_add->add_option("--db", db, "sqlite:PATH or postgresql://...");
    auto* user_passwd = user->add_subcommand("passwd", "Set an account's password");
    user_passwd->add_option("NAME", name, "the user name")->required();
    user_passwd->add_option("--password", password, "the new password")->required();
    user_passwd->add_option("--db", db, "sqlite:PATH or postgresql://...");
    auto* user_access = user->add_subcommand("access", "Set an account's access");
    user_access->add_option("NAME", name, "the user name")->required();
    user_access->add_option("--access", access, "none, view, modify or admistration")->required();
    user_access->add_option("--db", db, "sqlite:PATH or postgresql://...");
    auto* user_list = user->add_subcommand("list", "List the accounts");
    user_list->add_option("--db", db, "sqlite:PATH or postgresql://...");
    auto* user_remove = user->add_subcommand("remove", "Remove an account and its sessions");
    user_remove->add_option("NAME", name, "the user name")->required();
    user_remove->add_option("--db", db, "sqlite:PATH or postgresql://...");

    // ---- migrate ----
    auto* migrate = app.add_subcommand("migrate", "Bring the database schema up to date");
    migrate->add_option("--db", db, "sqlite:PATH or postgresql://...");

    // The hashing cost, for the commands that make hashes.
    HashCost cost;
    for (CLI::App* command : {serve, user_add, user_passwd}) {
        command
            ->add_option("--argon2-memory", cost.memory_kib,
                         "KiB of memory per password hash (default 19456)")
            ->check(CLI::Range(8, 4 * 1024 * 1024));
        command->add_option("--argon2-passes", cost.passes, "passes per password hash (default 2)")
            ->check(CLI::Range(1, 100));
    }

    CLI11_PARSE(app, argc, argv);
    SetHashCost(cost);

    try {
        if (*migrate) {
            auto store = OpenStore(db, 1);
            const int before = StoredSchemaVersion(*store);
            const int applied = Migrate(*store);
            std::printf("schema version %d (was %d, %d migration%s applied)\n",
                        CurrentSchemaVersion(), before, applied, applied == 1 ? "" : "s");
            return 0;
        }
        if (*serve) {
            std::string why;
            if (!ParseListen(listen, serve_options.host, serve_options.port))
                return Fail("--listen takes HOST:PORT, e.g. 127.0.0.1:8080");
            if (serve_options.tls_cert.empty() != serve_options.tls_key.empty())
                return Fail("HTTPS needs both --tls-cert and --tls-key");
            service_options.max_body = size_t(max_body_mb) << 20;
            auto store = OpenMigrated(db, pool);
            CRepositoryService service(*store, service_options);
            return Serve(service, serve_options, store->Engine());
        }
        auto store = OpenMigrated(db, 1);
        CConnection connection(*store);
        std::string why;
        if (*user_add) {
            if (!ValidUserName(name, &why)) return Fail(why);
            if (int rc = CheckPassword(password) | CheckAccess(access)) return rc;
            const UserRow row{name, HashPassword(password), access, std::time(nullptr)};
            CTransaction transaction(connection, true);
            if (!connection->InsertUser(row)) return Fail("user " + name + " exists already");
            transaction.Commit();
            std::printf("user %s added with access %s\n", name.c_str(), access.c_str());
        } else if (*user_passwd) {
            if (int rc = CheckPassword(password)) return rc;
            const std::string hash = HashPassword(password);
            CTransaction transaction(connection, true);
            if (!connection->UpdatePassword(name, hash)) return Fail("no user " + name);
            // A new password ends every session opened with the old one.
            connection->DeleteSessionsOf(name, "");
            transaction.Commit();
            std::printf("password of %s changed\n", name.c_str());
        } else if (*user_access) {
            if (int rc = CheckAccess(access)) return rc;
            CTransaction transaction(connection, true);
            if (!connection->UpdateAccess(name, access)) return Fail("no user " + name);
            transaction.Commit();
            std::printf("user %s has access %s\n", name.c_str(), access.c_str());
        } else if (*user_list) {
            CTransaction transaction(connection, false);
            for (const UserRow& row : connection->ListUsers()) {
                char when[32] = "";
                const std::time_t t = row.created;
                std::tm utc{};
                gmtime_r(&t, &utc);
                std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", &utc);
                std::printf("%s\t%s\t%s\n", row.name.c_str(), row.access.c_str(), when);
            }
            transaction.Commit();
        } else if (*user_remove) {
            CTransaction transaction(connection, true);
            if (!connection->DeleteUser(name)) return Fail("no user " + name);
            transaction.Commit();
            std::printf("user %s removed\n", name.c_str());
        }
        return 0;
    } catch (const StoreError& error) {
        return Fail(error.what());
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}

// The store's operations in SQL common to SQLite and PostgreSQL, the schema and its
// migrations, and the choice of engine from the database address.
#include <cstdlib>

#include "server/core/connection_pool.h"
#include "server/core/sql_connection.h"

namespace kurvalux_server {

const std::vector<std::vector<std::string>>& SchemaMigrations() {
    // Only types both engines know: TEXT and BIGINT (times in seconds, or microseconds for
    // the publishing order). Never edit a migration that has shipped: add the next one.
    static const std::vector<std::vector<std::string>> migrations = {
        {
            "CREATE TABLE users (name TEXT PRIMARY KEY, password_hash TEXT NOT NULL, "
            "access TEXT NOT NULL, created BIGINT NOT NULL)",
            "CREATE TABLE sessions (token_hash TEXT PRIMARY KEY, user_name TEXT NOT NULL "
            "REFERENCES users(name) ON DELETE CASCADE, created BIGINT NOT NULL, "
            "expires BIGINT NOT NULL)",
            "CREATE INDEX sessions_user ON sessions(user_name)",
            "CREATE INDEX sessions_expires ON sessions(expires)",
            "CREATE TABLE objects (token TEXT PRIMARY KEY, publisher TEXT NOT NULL, "
            "summary TEXT NOT NULL, record TEXT NOT NULL, published BIGINT NOT NULL, "
            "updated BIGINT NOT NULL)",
            "CREATE INDEX objects_order ON objects(published, token)",
            "CREATE TABLE contributions (token TEXT NOT NULL REFERENCES objects(token) "
            "ON DELETE CASCADE, contributor TEXT NOT NULL, record TEXT NOT NULL, "
            "updated BIGINT NOT NULL, PRIMARY KEY (token, contributor))",
        },
    };
    return migrations;
}

int CurrentSchemaVersion() {
    return static_cast<int>(SchemaMigrations().size());
}

namespace {
constexpr const char* kVersionTable =
    "CREATE TABLE IF NOT EXISTS schema_version (version BIGINT NOT NULL)";
constexpr const char* kReadVersion = "SELECT MAX(version) FROM schema_version";
}  // namespace

int StoredSchemaVersion(CStore& store) {
    CConnection connection(store);
    CTransaction transaction(connection, true);
    connection->Execute(kVersionTable);
    const int64_t version = connection->QueryInteger(kReadVersion, 0);
    transaction.Commit();
    return static_cast<int>(version);
}

int Migrate(CStore& store) {
    const auto& migrations = SchemaMigrations();
    int applied = 0;
    for (;;) {
        CConnection connection(store);
        CTransaction transaction(connection, true);
        connection->Execute(kVersionTable);
        // Two servers started together against one PostgreSQL database must not both apply a
        // migration: the version table is locked for the transaction (SQLite's write lock
        // already is exclusive).
        if (std::string(store.Engine()) == "postgresql")
            connection->Execute("LOCK TABLE schema_version IN EXCLUSIVE MODE");
        const int64_t version = connection->QueryInteger(kReadVersion, 0);
        if (version > static_cast<int64_t>(migrations.size()))
            throw StoreError("the database has schema version " + std::to_string(version) +
                             ", newer than this program's " + std::to_string(migrations.size()) +
                             "; use a newer kurvalux-repo");
        if (version == static_cast<int64_t>(migrations.size())) break;
        for (const std::string& statement : migrations[size_t(version)])
            connection->Execute(statement);
        connection->Execute("DELETE FROM schema_version");
        connection->Execute("INSERT INTO schema_version (version) VALUES (" +
                            std::to_string(version + 1) + ")");
        transaction.Commit();
        ++applied;
    }
    return applied;
}

std::unique_ptr<CStore> OpenStore(const std::string& url, int pool) {
    if (url.rfind("postgresql://", 0) == 0 || url.rfind("postgres://", 0) == 0)
        return OpenPostgresStore(url, pool);
    if (url.rfind("sqlite:", 0) == 0) return OpenSqliteStore(url.substr(7), pool);
    if (url.find("://") != std::string::npos)
        throw StoreError("unknown database address \"" + url +
                         "\" (sqlite:PATH or postgresql://...)");
    return OpenSqliteStore(url, pool);
}

// ---- the operations ----

int64_t CSqlConnection::QueryInteger(const std::string& sql, int64_t fallback) {
    const SqlResult result = Run(sql, {});
    if (result.rows.empty() || result.rows[0].empty() || result.rows[0][0].empty()) return fallback;
    return std::strtoll(result.rows[0][0].c_str(), nullptr, 10);
}

bool CSqlConnection::GetUser(const std::string& name, UserRow& user) {
    const SqlResult r =
        Run("SELECT name, password_hash, access, created FROM users WHERE name = ?", {name});
    if (r.rows.empty()) return false;
    user = {r.rows[0][0], r.rows[0][1], r.rows[0][2], std::strtoll(r.rows[0][3].c_str(), 0, 10)};
    return true;
}

bool CSqlConnection::InsertUser(const UserRow& user) {
    return Run("INSERT INTO users (name, password_hash, access, created) VALUES (?, ?, ?, ?) "
               "ON CONFLICT (name) DO NOTHING",
               {user.name, user.password_hash, user.access, user.created})
               .changed == 1;
}

bool CSqlConnection::UpdatePassword(const std::string& name, const std::string& hash) {
    return Run("UPDATE users SET password_hash = ? WHERE name = ?", {hash, name}).changed == 1;
}

bool CSqlConnection::UpdateAccess(const std::string& name, const std::string& access) {
    return Run("UPDATE users SET access = ? WHERE name = ?", {access, name}).changed == 1;
}

std::vector<UserRow> CSqlConnection::ListUsers() {
    std::vector<UserRow> users;
    for (const auto& row :
         Run("SELECT name, password_hash, access, created FROM users ORDER BY name", {}).rows)
        users.push_back({row[0], row[1], row[2], std::strtoll(row[3].c_str(), nullptr, 10)});
    return users;
}

bool CSqlConnection::DeleteUser(const std::string& name) {
    Run("DELETE FROM sessions WHERE user_name = ?", {name});
    return Run("DELETE FROM users WHERE name = ?", {name}).changed == 1;
}

void CSqlConnection::InsertSession(const std::string& token_hash, const SessionRow& session) {
    Run("INSERT INTO sessions (token_hash, user_name, created, expires) VALUES (?, ?, ?, ?)",
        {token_hash, session.user_name, session.created, session.expires});
}

bool CSqlConnection::GetSession(const std::string& token_hash, SessionRow& session) {
    const SqlResult r =
        Run("SELECT user_name, created, expires FROM sessions WHERE token_hash = ?", {token_hash});
    if (r.rows.empty()) return false;
    session.user_name = r.rows[0][0];
    session.created = std::strtoll(r.rows[0][1].c_str(), nullptr, 10);
    session.expires = std::strtoll(r.rows[0][2].c_str(), nullptr, 10);
    return true;
}

bool CSqlConnection::DeleteSession(const std::string& token_hash) {
    return Run("DELETE FROM sessions WHERE token_hash = ?", {token_hash}).changed == 1;
}

void CSqlConnection::DeleteSessionsOf(const std::string& user, const std::string& keep) {
    Run("DELETE FROM sessions WHERE user_name = ? AND token_hash <> ?", {user, keep});
}

void CSqlConnection::DeleteExpiredSessions(int64_t now) {
    Run("DELETE FROM sessions WHERE expires <= ?", {now});
}

bool CSqlConnection::GetObject(const std::string& token, ObjectRow& object, std::string* record) {
    const SqlResult r =
        Run(record ? "SELECT token, publisher, summary, record FROM objects "
                     "WHERE token = ?"
                   : "SELECT token, publisher, summary FROM objects WHERE token = ?",
            {token});
    if (r.rows.empty()) return false;
    object = {r.rows[0][0], r.rows[0][1], r.rows[0][2]};
    if (record) *record = r.rows[0][3];
    return true;
}

bool CSqlConnection::InsertObject(const ObjectRow& object, const std::string& record, int64_t now) {
    return Run("INSERT INTO objects (token, publisher, summary, record, published, updated) "
               "VALUES (?, ?, ?, ?, ?, ?) ON CONFLICT (token) DO NOTHING",
               {object.token, object.publisher, object.summary, record, now, now})
               .changed == 1;
}

void CSqlConnection::UpdateObject(const ObjectRow& object, const std::string& record, int64_t now) {
    Run("UPDATE objects SET summary = ?, record = ?, updated = ? WHERE token = ?",
        {object.summary, record, now, object.token});
}

bool CSqlConnection::DeleteObject(const std::string& token) {
    Run("DELETE FROM contributions WHERE token = ?", {token});
    return Run("DELETE FROM objects WHERE token = ?", {token}).changed == 1;
}

void CSqlConnection::PutContribution(const std::string& token, const std::string& contributor,
                                     const std::string& record, int64_t now) {
    Run("INSERT INTO contributions (token, contributor, record, updated) VALUES (?, ?, ?, ?) "
        "ON CONFLICT (token, contributor) DO UPDATE SET record = excluded.record, "
        "updated = excluded.updated",
        {token, contributor, record, now});
}

bool CSqlConnection::GetContribution(const std::string& token, const std::string& contributor,
                                     std::string& record) {
    const SqlResult r = Run("SELECT record FROM contributions WHERE token = ? AND contributor = ?",
                            {token, contributor});
    if (r.rows.empty()) return false;
    record = r.rows[0][0];
    return true;
}

std::vector<ObjectRow> CSqlConnection::ListObjects() {
    std::vector<ObjectRow> objects;
    SqlResult r =
        Run("SELECT token, publisher, summary FROM objects ORDER BY published, token", {});
    objects.reserve(r.rows.size());
    for (auto& row : r.rows)
        objects.push_back({std::move(row[0]), std::move(row[1]), std::move(row[2])});
    return objects;
}

std::vector<ContributionRow> CSqlConnection::ListContributions() {
    std::vector<ContributionRow> list;
    SqlResult r =
        Run("SELECT token, contributor FROM contributions ORDER BY token, contributor", {});
    for (auto& row : r.rows) list.push_back({std::move(row[0]), std::move(row[1])});
    return list;
}

}  // namespace kurvalux_server

#pragma once
// The repository's storage: one interface, two engines (an SQLite file for a single machine,
// PostgreSQL for a club that outgrows it). The service above it speaks only this interface.
//
// A request borrows one connection from the store's pool for its whole life and runs its
// reads and writes inside one transaction on it (CTransaction), so a publish either commits
// whole or leaves nothing behind. Every failure of the engine is thrown as StoreError.
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kurvalux_server {

struct StoreError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct UserRow {
    std::string name, password_hash, access;
    int64_t created = 0;  // seconds since 1970
};

struct SessionRow {
    std::string user_name;
    int64_t created = 0, expires = 0;  // seconds since 1970
};

struct ObjectRow {
    std::string token, publisher;
    std::string summary;  // the list members of the object as a JSON record
};

struct ContributionRow {
    std::string token, contributor;
};

// One connection to the database. Not shared between threads: a request holds it alone.
class CStoreConnection {
public:
    virtual ~CStoreConnection() = default;

    // `write`: the transaction will change something (SQLite then takes the write lock at
    // once, so that two writers never deadlock upgrading their read locks).
    virtual void Begin(bool write) = 0;
    virtual void Commit() = 0;
    virtual void Rollback() = 0;
    // Statements of the schema migrations, and one integer read back (`fallback` when the
    // query gives no row or NULL).
    virtual void Execute(const std::string& sql) = 0;
    virtual int64_t QueryInteger(const std::string& sql, int64_t fallback) = 0;

    // ---- accounts ----
    virtual bool GetUser(const std::string& name, UserRow& user) = 0;
    virtual bool InsertUser(const UserRow& user) = 0;  // false: the name is taken
    virtual bool UpdatePassword(const std::string& name, const std::string& hash) = 0;
    virtual bool UpdateAccess(const std::string& name, const std::string& access) = 0;
    virtual std::vector<UserRow> ListUsers() = 0;
    virtual bool DeleteUser(const std::string& name) = 0;  // its sessions go with it

    // ---- sessions, keyed by the hash of their token ----
    virtual void InsertSession(const std::string& token_hash, const SessionRow& session) = 0;
    virtual bool GetSession(const std::string& token_hash, SessionRow& session) = 0;
    virtual bool DeleteSession(const std::string& token_hash) = 0;
    // Every session of `user` but the one whose hash is `keep` (may be empty).
    virtual void DeleteSessionsOf(const std::string& user, const std::string& keep) = 0;
    virtual void DeleteExpiredSessions(int64_t now) = 0;

    // ---- objects and contributions ----
    virtual bool GetObject(const std::string& token, ObjectRow& object, std::string* record) = 0;
    // False when the token is taken (nothing is written then).
    virtual bool InsertObject(const ObjectRow& object, const std::string& record, int64_t now) = 0;
    virtual void UpdateObject(const ObjectRow& object, const std::string& record, int64_t now) = 0;
    virtual bool DeleteObject(const std::string& token) = 0;  // its contributions go with it
    virtual void PutContribution(const std::string& token, const std::string& contributor,
                                 const std::string& record, int64_t now) = 0;
    virtual bool GetContribution(const std::string& token, const std::string& contributor,
                                 std::string& record) = 0;
    // Objects in the order they were first published; contributions by object, then by name.
    virtual std::vector<ObjectRow> ListObjects() = 0;
    virtual std::vector<ContributionRow> ListContributions() = 0;
};

class CStore {
public:
    virtual ~CStore() = default;
    // "sqlite" or "postgresql".
    virtual const char* Engine() const = 0;
    // A connection for one request, or for a command of the operator; given back by
    // Release (a connection whose transaction failed is closed rather than reused).
    virtual std::unique_ptr<CStoreConnection> Acquire() = 0;
    virtual void Release(std::unique_ptr<CStoreConnection> connection, bool healthy) = 0;
};

// Opens the store named by `url`: "sqlite:PATH", a path ending in ".sqlite"/".db", or
// "postgresql://..." / "postgres://...". `pool` bounds the open connections. Throws
// StoreError with a message for the operator.
std::unique_ptr<CStore> OpenStore(const std::string& url, int pool = 8);

// The schema version this program writes, and the one the database holds (0: empty).
int CurrentSchemaVersion();
int StoredSchemaVersion(CStore& store);
// Brings the database to CurrentSchemaVersion(), one migration per transaction; returns the
// number of migrations applied. A database newer than the program is refused.
int Migrate(CStore& store);

// A borrowed connection, handed back when it goes out of scope.
class CConnection {
public:
    explicit CConnection(CStore& store) : store_(store), connection_(store.Acquire()) {}
    ~CConnection() { store_.Release(std::move(connection_), healthy_); }
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;
    CStoreConnection* operator->() { return connection_.get(); }
    CStoreConnection& operator*() { return *connection_; }
    void MarkBroken() { healthy_ = false; }

private:
    CStore& store_;
    std::unique_ptr<CStoreConnection> connection_;
    bool healthy_ = true;
};

// One transaction on a borrowed connection: rolled back unless committed.
class CTransaction {
public:
    CTransaction(CConnection& connection, bool write) : connection_(connection) {
        connection_->Begin(write);
        open_ = true;
    }
    ~CTransaction() {
        if (!open_) return;
        try {
            connection_->Rollback();
        } catch (const StoreError&) {
            connection_.MarkBroken();
        }
    }
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    void Commit() {
        connection_->Commit();
        open_ = false;
    }

private:
    CConnection& connection_;
    bool open_ = false;
};

}  // namespace kurvalux_server

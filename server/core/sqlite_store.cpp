// The SQLite engine: one database file in write-ahead-log mode, so that readers go on while
// one writer commits, and every commit is synced before the answer leaves.
#include <sqlite3.h>

#include <map>

#include "server/core/connection_pool.h"
#include "server/core/sql_connection.h"

namespace kurvalux_server {
namespace {

class CSqliteConnection : public CSqlConnection {
public:
    explicit CSqliteConnection(const std::string& path) {
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        if (sqlite3_open_v2(path.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
            const std::string message = db_ ? sqlite3_errmsg(db_) : "out of memory";
            sqlite3_close(db_);
            db_ = nullptr;
            throw StoreError("cannot open the SQLite database " + path + ": " + message);
        }
        // A writer waits for another's commit instead of failing at once.
        sqlite3_busy_timeout(db_, 30000);
        Execute("PRAGMA journal_mode=WAL");
        // FULL: a commit is on the disk when the answer goes out, even across a power cut.
        Execute("PRAGMA synchronous=FULL");
        Execute("PRAGMA foreign_keys=ON");
    }
    ~CSqliteConnection() override {
        for (auto& [sql, statement] : statements_) sqlite3_finalize(statement);
        sqlite3_close(db_);
    }

    void Begin(bool write) override { Run(write ? "BEGIN IMMEDIATE" : "BEGIN", {}); }
    void Commit() override { Run("COMMIT", {}); }
    void Rollback() override { Run("ROLLBACK", {}); }

protected:
    SqlResult Run(const std::string& sql, const std::vector<SqlParam>& params) override {
        sqlite3_stmt* statement = Prepare(sql);
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
        for (size_t i = 0; i < params.size(); ++i) {
            const int index = static_cast<int>(i + 1);
            if (params[i].integer)
                sqlite3_bind_int64(statement, index, params[i].value);
            else
                sqlite3_bind_text(statement, index, params[i].text.data(),
                                  static_cast<int>(params[i].text.size()), SQLITE_STATIC);
        }
        SqlResult result;
        for (;;) {
            const int rc = sqlite3_step(statement);
            if (rc == SQLITE_DONE) break;
            if (rc != SQLITE_ROW) {
                const std::string message = sqlite3_errmsg(db_);
                sqlite3_reset(statement);
                throw StoreError("SQLite: " + message);
            }
            std::vector<std::string> row;
            const int columns = sqlite3_column_count(statement);
            for (int c = 0; c < columns; ++c) {
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, c));
                row.emplace_back(text
                                     ? std::string(text, size_t(sqlite3_column_bytes(statement, c)))
                                     : std::string());
            }
            result.rows.push_back(std::move(row));
        }
        result.changed = sqlite3_changes(db_);
        sqlite3_reset(statement);
        return result;
    }

private:
    sqlite3_stmt* Prepare(const std::string& sql) {
        auto it = statements_.find(sql);
        if (it != statements_.end()) return it->second;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &statement,
                               nullptr) != SQLITE_OK)
            throw StoreError(std::string("SQLite: ") + sqlite3_errmsg(db_));
        statements_.emplace(sql, statement);
        return statement;
    }

    sqlite3* db_ = nullptr;
    std::map<std::string, sqlite3_stmt*> statements_;
};

}  // namespace

std::unique_ptr<CStore> OpenSqliteStore(const std::string& path, int pool) {
    if (path.empty()) throw StoreError("the SQLite database needs a file name (sqlite:PATH)");
    return std::make_unique<CPooledStore>(
        "sqlite", [path] { return std::make_unique<CSqliteConnection>(path); }, pool);
}

}  // namespace kurvalux_server

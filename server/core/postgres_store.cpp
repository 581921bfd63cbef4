// The PostgreSQL engine: a pool of libpq connections, the statements of the common SQL with
// their "?" placeholders numbered the PostgreSQL way ($1, $2, ...).
#include <libpq-fe.h>

#include <map>

#include "server/core/connection_pool.h"
#include "server/core/sql_connection.h"

namespace kurvalux_server {
namespace {

// "?" -> "$1", "$2", ...; the common SQL has no "?" inside quotes.
std::string Numbered(const std::string& sql) {
    std::string out;
    int n = 0;
    for (char c : sql) {
        if (c == '?')
            out += "$" + std::to_string(++n);
        else
            out.push_back(c);
    }
    return out;
}

class CPostgresConnection : public CSqlConnection {
public:
    explicit CPostgresConnection(const std::string& conninfo) {
        connection_ = PQconnectdb(conninfo.c_str());
        if (!connection_ || PQstatus(connection_) != CONNECTION_OK) {
            const std::string message = connection_ ? PQerrorMessage(connection_) : "out of memory";
            PQfinish(connection_);
            connection_ = nullptr;
            throw StoreError("cannot connect to PostgreSQL: " + Trimmed(message));
        }
        // The server's notices (e.g. "relation already exists, skipping") are not ours to
        // print on the access log.
        PQsetNoticeProcessor(
            connection_, [](void*, const char*) {}, nullptr);
    }
    ~CPostgresConnection() override { PQfinish(connection_); }

    void Begin(bool) override { Run("BEGIN", {}); }
    void Commit() override { Run("COMMIT", {}); }
    void Rollback() override { Run("ROLLBACK", {}); }

protected:
    SqlResult Run(const std::string& sql, const std::vector<SqlParam>& params) override {
        PGresult* result = nullptr;
        if (params.empty()) {
            // Transaction control and the schema's statements: sent as they are.
            result = PQexec(connection_, sql.c_str());
        } else {
            const std::string& name = Prepared(sql);
            std::vector<const char*> values;
            values.reserve(params.size());
            for (const SqlParam& p : params) values.push_back(p.text.c_str());
            result = PQexecPrepared(connection_, name.c_str(), int(values.size()), values.data(),
                                    nullptr, nullptr, 0);
        }
        const ExecStatusType status = PQresultStatus(result);
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
            const std::string message = PQerrorMessage(connection_);
            PQclear(result);
            throw StoreError("PostgreSQL: " + Trimmed(message));
        }
        SqlResult out;
        const int rows = PQntuples(result), columns = PQnfields(result);
        out.rows.reserve(size_t(rows));
        for (int r = 0; r < rows; ++r) {
            std::vector<std::string> row;
            row.reserve(size_t(columns));
            for (int c = 0; c < columns; ++c)
                row.emplace_back(PQgetvalue(result, r, c), size_t(PQgetlength(result, r, c)));
            out.rows.push_back(std::move(row));
        }
        const char* changed = PQcmdTuples(result);
        out.changed = changed && *changed ? std::strtoll(changed, nullptr, 10) : 0;
        PQclear(result);
        return out;
    }

private:
    static std::string Trimmed(std::string text) {
        while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
        return text;
    }

    // Each statement is prepared once per connection under a name of its own.
    const std::string& Prepared(const std::string& sql) {
        auto it = prepared_.find(sql);
        if (it != prepared_.end()) return it->second;
        const std::string name = "s" + std::to_string(prepared_.size());
        PGresult* result = PQprepare(connection_, name.c_str(), Numbered(sql).c_str(), 0, nullptr);
        const bool ok = PQresultStatus(result) == PGRES_COMMAND_OK;
        PQclear(result);
        if (!ok) throw StoreError("PostgreSQL: " + Trimmed(PQerrorMessage(connection_)));
        return prepared_.emplace(sql, name).first->second;
    }

    PGconn* connection_ = nullptr;
    std::map<std::string, std::string> prepared_;
};

}  // namespace

std::unique_ptr<CStore> OpenPostgresStore(const std::string& conninfo, int pool) {
    return std::make_unique<CPooledStore>(
        "postgresql", [conninfo] { return std::make_unique<CPostgresConnection>(conninfo); }, pool);
}

}  // namespace kurvalux_server

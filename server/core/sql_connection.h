#pragma once
// The store's operations written once in SQL that both engines understand; an engine supplies
// only the running of one statement with its parameters ("?" placeholders, in order).
#include <cstdint>
#include <string>
#include <vector>

#include "server/core/store.h"

namespace kurvalux_server {

struct SqlParam {
    SqlParam(const std::string& t) : text(t) {}
    SqlParam(const char* t) : text(t) {}
    SqlParam(int64_t v) : text(std::to_string(v)), integer(true), value(v) {}
    std::string text;
    bool integer = false;
    int64_t value = 0;
};

struct SqlResult {
    std::vector<std::vector<std::string>> rows;  // NULL reads as ""
    int64_t changed = 0;                         // rows inserted, updated or deleted
};

class CSqlConnection : public CStoreConnection {
public:
    void Execute(const std::string& sql) override { Run(sql, {}); }
    int64_t QueryInteger(const std::string& sql, int64_t fallback) override;

    bool GetUser(const std::string& name, UserRow& user) override;
    bool InsertUser(const UserRow& user) override;
    bool UpdatePassword(const std::string& name, const std::string& hash) override;
    bool UpdateAccess(const std::string& name, const std::string& access) override;
    std::vector<UserRow> ListUsers() override;
    bool DeleteUser(const std::string& name) override;

    void InsertSession(const std::string& token_hash, const SessionRow& session) override;
    bool GetSession(const std::string& token_hash, SessionRow& session) override;
    bool DeleteSession(const std::string& token_hash) override;
    void DeleteSessionsOf(const std::string& user, const std::string& keep) override;
    void DeleteExpiredSessions(int64_t now) override;

    bool GetObject(const std::string& token, ObjectRow& object, std::string* record) override;
    bool InsertObject(const ObjectRow& object, const std::string& record, int64_t now) override;
    void UpdateObject(const ObjectRow& object, const std::string& record, int64_t now) override;
    bool DeleteObject(const std::string& token) override;
    void PutContribution(const std::string& token, const std::string& contributor,
                         const std::string& record, int64_t now) override;
    bool GetContribution(const std::string& token, const std::string& contributor,
                         std::string& record) override;
    std::vector<ObjectRow> ListObjects() override;
    std::vector<ContributionRow> ListContributions() override;

protected:
    virtual SqlResult Run(const std::string& sql, const std::vector<SqlParam>& params) = 0;
};

// The schema migrations, oldest first: migration k (counted from 1) brings the database from
// version k-1 to version k.
const std::vector<std::vector<std::string>>& SchemaMigrations();

}  // namespace kurvalux_server

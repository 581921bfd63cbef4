// The storage engines below the service: schema migrations, and a transaction that is not
// committed leaves nothing behind.
#include <gtest/gtest.h>

#include "repo_server/repo_process.h"
#include "server/core/store.h"

namespace kurvalux_test {
namespace {

using namespace kurvalux_server;

TEST(RepoStore, MigrationsRunOnceAndANewerSchemaIsRefused) {
    CTestDatabase database;
    CliRun run = RunRepo({"migrate", "--db", database.Url()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "schema version 1 (was 0, 1 migration applied)\n");
    run = RunRepo({"migrate", "--db", database.Url()});
    EXPECT_EQ(run.out, "schema version 1 (was 1, 0 migrations applied)\n");

    auto store = OpenStore(database.Url(), 2);
    EXPECT_STREQ(store->Engine(), TestEngine().c_str());
    EXPECT_EQ(StoredSchemaVersion(*store), 1);
    {
        CConnection connection(*store);
        CTransaction transaction(connection, true);
        connection->Execute("UPDATE schema_version SET version = 7");
        transaction.Commit();
    }
    run = RunRepo({"user", "list", "--db", database.Url()});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "kurvalux-repo: the database has schema version 7, newer than this program's 1; "
              "use a newer kurvalux-repo\n");
}

TEST(RepoStore, AnUncommittedTransactionLeavesNothing) {
    CTestDatabase database;
    auto store = OpenStore(database.Url(), 2);
    Migrate(*store);
    {
        CConnection connection(*store);
        CTransaction transaction(connection, true);
        ASSERT_TRUE(connection->InsertObject({"T1", "ann", "{}"}, "{\"name\":\"A\"}", 1));
        connection->PutContribution("T1", "bob", "{}", 2);
        // Not committed: a failure between the two would end here too.
    }
    CConnection connection(*store);
    CTransaction transaction(connection, false);
    EXPECT_TRUE(connection->ListObjects().empty());
    EXPECT_TRUE(connection->ListContributions().empty());
    ObjectRow row;
    EXPECT_FALSE(connection->GetObject("T1", row, nullptr));
    transaction.Commit();
}

TEST(RepoStore, UnknownAddressesAreRefused) {
    try {
        OpenStore("mysql://host/db");
        FAIL() << "no error";
    } catch (const StoreError& error) {
        EXPECT_STREQ(error.what(),
                     "unknown database address \"mysql://host/db\" (sqlite:PATH or "
                     "postgresql://...)");
    }
    const CliRun run = RunRepo({"user", "list", "--db", "sqlite:/nonexistent/folder/r.sqlite"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "kurvalux-repo: cannot open the SQLite database /nonexistent/folder/r.sqlite: "
              "unable to open database file\n");
}

}  // namespace
}  // namespace kurvalux_test

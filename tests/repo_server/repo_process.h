#pragma once
// A real kurvalux-repo for the end-to-end tests: its database (an SQLite file in a temporary
// folder, or a fresh PostgreSQL database when the suite runs under pg_virtualenv), the server
// process on a loopback port the system picks, and its command line for the accounts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "cli/cli_run.h"
#include "fielddata/temp_folder.h"

extern char** environ;

namespace kurvalux_test {

// Which engine the suite runs on: "postgresql" when KURVALUX_TEST_ENGINE says so (the
// PostgreSQL run of ctest sets it inside pg_virtualenv), else "sqlite".
inline std::string TestEngine() {
    const char* engine = std::getenv("KURVALUX_TEST_ENGINE");
    return engine && std::string(engine) == "postgresql" ? "postgresql" : "sqlite";
}

// A database of its own for one test: a file, or a database created on the throw-away
// PostgreSQL cluster (whose address pg_virtualenv leaves in the PG* variables).
class CTestDatabase {
public:
    CTestDatabase() {
        if (TestEngine() == "sqlite") {
            url_ = "sqlite:" + folder_.Path() + "repo.sqlite";
            return;
        }
        // A schema of its own on the cluster's database (much quicker to make than a
        // database), named in the address as the connection's search path.
        static std::atomic<int> counter{0};
        name_ = "kv_" + std::to_string(getpid()) + "_" + std::to_string(++counter);
        Admin("CREATE SCHEMA " + name_);
        const char* host = std::getenv("PGHOST");
        const char* port = std::getenv("PGPORT");
        const char* user = std::getenv("PGUSER");
        const char* password = std::getenv("PGPASSWORD");
        const char* dbname = std::getenv("PGDATABASE");
        url_ = std::string("postgresql://") + (user ? user : "postgres") +
               (password ? std::string(":") + password : "") + "@" + (host ? host : "localhost") +
               ":" + (port ? port : "5432") + "/" + (dbname ? dbname : "postgres") +
               "?options=-csearch_path%3D" + name_;
    }
    ~CTestDatabase() {
        if (!name_.empty()) Admin("DROP SCHEMA IF EXISTS " + name_ + " CASCADE");
    }
    const std::string& Url() const { return url_; }
    const TempFolder& Folder() const { return folder_; }

private:
    static void Admin(const std::string& sql) {
        PGconn* connection = PQconnectdb("");
        ASSERT_EQ(PQstatus(connection), CONNECTION_OK) << PQerrorMessage(connection);
        PGresult* result = PQexec(connection, sql.c_str());
        EXPECT_EQ(PQresultStatus(result), PGRES_COMMAND_OK) << PQerrorMessage(connection);
        PQclear(result);
        PQfinish(connection);
    }

    TempFolder folder_;
    std::string url_, name_;
};

// Runs kurvalux-repo with the given words and keeps its status and output.
inline CliRun RunRepo(const std::vector<std::string>& words) {
    TempFolder folder;
    std::string command = ShellQuoted(KURVALUX_REPO_PATH);
    for (const std::string& word : words) command += " " + ShellQuoted(word);
    command +=
        " >" + ShellQuoted(folder.Path() + "out") + " 2>" + ShellQuoted(folder.Path() + "err");
    CliRun run;
    const int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = folder.Read("out");
    run.err = folder.Read("err");
    return run;
}

// One server process: started by Start(), stopped with SIGTERM by Stop() (or the destructor),
// or killed outright by Kill().
class CRepoServer {
public:
    explicit CRepoServer(std::string db) : db_(std::move(db)) {}
    ~CRepoServer() {
        if (pid_ > 0) Stop();
    }

    // Starts `kurvalux-repo serve` on 127.0.0.1 and a free port, with base path /kv/ and the
    // extra words; waits until it listens. False if it did not come up.
    bool Start(const std::vector<std::string>& extra = {}) {
        std::vector<std::string> words = {KURVALUX_REPO_PATH,
                                          "serve",
                                          "--listen",
                                          "127.0.0.1:0",
                                          "--db",
                                          db_,
                                          "--base-path",
                                          "/kv/",
                                          "--access-log",
                                          log_.Path() + "access.log"};
        words.insert(words.end(), extra.begin(), extra.end());
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(w.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        const std::string err = log_.Path() + "stderr";
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        const int rc = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0) return false;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            const std::string text = Stderr();
            const size_t at = text.find("://127.0.0.1:");
            if (at != std::string::npos && text.find('\n', at) != std::string::npos) {
                port_ = std::atoi(text.c_str() + at + 13);
                return port_ > 0;
            }
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    // SIGTERM, then the exit status (-1 if it had to be killed).
    int Stop() {
        if (pid_ <= 0) return -1;
        kill(pid_, SIGTERM);
        int status = 0;
        for (int i = 0; i < 3000; ++i) {
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        Kill();
        return -1;
    }
    void Kill() {
        if (pid_ <= 0) return;
        kill(pid_, SIGKILL);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
    }
    void Signal(int number) { kill(pid_, number); }

    int Port() const { return port_; }
    std::string Host() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string Url() const { return "http://" + Host() + "/kv/"; }
    std::string Stderr() const { return log_.Read("stderr"); }
    std::string AccessLog() const { return log_.Read("access.log"); }

private:
    std::string db_;
    TempFolder log_;
    pid_t pid_ = -1;
    int port_ = 0;
};

}  // namespace kurvalux_test

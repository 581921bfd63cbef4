#pragma once
// A bounded pool of open connections shared by the request threads: a request takes one (or
// waits until one is free), and gives it back; a connection that failed is closed, and the
// next request opens a fresh one in its place.
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "server/core/store.h"

namespace kurvalux_server {

class CConnectionPool {
public:
    using Opener = std::function<std::unique_ptr<CStoreConnection>()>;

    CConnectionPool(Opener opener, int size) : opener_(std::move(opener)), size_(size) {}

    std::unique_ptr<CStoreConnection> Acquire() {
        std::unique_lock lock(mutex_);
        free_.wait(lock, [this] { return !idle_.empty() || open_ < size_; });
        if (!idle_.empty()) {
            auto connection = std::move(idle_.back());
            idle_.pop_back();
            return connection;
        }
        ++open_;
        lock.unlock();
        try {
            return opener_();
        } catch (...) {
            lock.lock();
            --open_;
            free_.notify_one();
            throw;
        }
    }

    void Release(std::unique_ptr<CStoreConnection> connection, bool healthy) {
        std::lock_guard lock(mutex_);
        if (connection && healthy)
            idle_.push_back(std::move(connection));
        else
            --open_;
        free_.notify_one();
    }

private:
    Opener opener_;
    const int size_;
    std::mutex mutex_;
    std::condition_variable free_;
    std::vector<std::unique_ptr<CStoreConnection>> idle_;
    int open_ = 0;
};

// A store whose connections come from a pool: the one kind of store both engines are. One
// connection is opened at once, so that a wrong address is reported at start-up.
class CPooledStore : public CStore {
public:
    CPooledStore(const char* engine, CConnectionPool::Opener opener, int size)
        : engine_(engine), pool_(std::move(opener), size) {
        Release(Acquire(), true);
    }
    const char* Engine() const override { return engine_; }
    std::unique_ptr<CStoreConnection> Acquire() override { return pool_.Acquire(); }
    void Release(std::unique_ptr<CStoreConnection> connection, bool healthy) override {
        pool_.Release(std::move(connection), healthy);
    }

private:
    const char* engine_;
    CConnectionPool pool_;
};

// The engines (sqlite_store.cpp, postgres_store.cpp).
std::unique_ptr<CStore> OpenSqliteStore(const std::string& path, int pool);
std::unique_ptr<CStore> OpenPostgresStore(const std::string& conninfo, int pool);

}  // namespace kurvalux_server

#pragma once
// An HTTP server inside the test process, on a loopback port it picks itself: the tests
// register the answers, the server keeps every request it received.
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kurvalux_test {

struct ReceivedRequest {
    std::string method, path, body;
    std::string target;        // the path with its query, as sent
    httplib::Headers headers;  // names compared without case
    // The value of header `name`, "" when absent.
    std::string Header(const std::string& name) const {
        auto it = headers.find(name);
        return it == headers.end() ? std::string() : it->second;
    }
    bool HasHeader(const std::string& name) const { return headers.count(name) != 0; }
};

class CTestServer {
public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    CTestServer() {
        // One route for everything, set before the server runs; the answers registered later
        // are looked up under the lock (the server's own tables are not for changing while
        // it serves).
        auto dispatch = [this](const httplib::Request& request, httplib::Response& response) {
            Handler handler;
            {
                std::lock_guard lock(mutex_);
                requests_.push_back(
                    {request.method, request.path, request.body, request.target, request.headers});
                auto it = handlers_.find(request.path);
                if (it != handlers_.end()) handler = it->second;
            }
            if (handler)
                handler(request, response);
            else
                response.status = 404;
        };
        server_.Get(".*", dispatch);
        server_.Post(".*", dispatch);
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~CTestServer() {
        release_.store(true);
        server_.stop();
        thread_.join();
    }

    int Port() const { return port_; }
    std::string Host() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string Url() const { return "http://" + Host(); }

    // Answers GET and POST of `path` (every request is recorded, answered or not).
    void On(const std::string& path, Handler handler) {
        std::lock_guard lock(mutex_);
        handlers_[path] = std::move(handler);
    }
    // Answers `path` with `status` and, unless empty, `body` as JSON.
    void Answer(const std::string& path, int status, const std::string& body) {
        On(path, [status, body](const httplib::Request&, httplib::Response& response) {
            response.status = status;
            if (!body.empty()) response.set_content(body, "application/json");
        });
    }
    // Answers `path` only when the test ends (or after `limit`): a server that never answers.
    void Silent(const std::string& path, std::chrono::milliseconds limit) {
        On(path, [this, limit](const httplib::Request&, httplib::Response& response) {
            const auto end = std::chrono::steady_clock::now() + limit;
            while (!release_.load() && std::chrono::steady_clock::now() < end)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            response.set_content("{\"status\":\"ok\"}", "application/json");
        });
    }

    std::vector<ReceivedRequest> Requests() const {
        std::lock_guard lock(mutex_);
        return requests_;
    }

private:
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
    std::atomic<bool> release_{false};
    mutable std::mutex mutex_;
    std::vector<ReceivedRequest> requests_;
    std::map<std::string, Handler> handlers_;
};

}  // namespace kurvalux_test

#include "server/http_front.h"

#include <httplib.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <thread>

namespace kurvalux_server {
namespace {

class CAccessLog {
public:
    explicit CAccessLog(const std::string& path) {
        if (path != "-") file_ = std::fopen(path.c_str(), "a");
        if (path != "-" && !file_)
            std::fprintf(stderr, "kurvalux-repo: cannot open the access log %s\n", path.c_str());
    }
    ~CAccessLog() {
        if (file_) std::fclose(file_);
    }
    bool Ok() const { return file_ || out_ == stdout; }
    void SetToStdout() { out_ = stdout; }

    // One line of key=value pairs, a quoted value where it may hold blanks.
    void Write(const std::string& remote, const std::string& method, const std::string& path,
               int status, size_t bytes_in, size_t bytes_out, double ms, const std::string& user,
               const std::string& error) {
        char stamp[32];
        const std::time_t now = std::time(nullptr);
        std::tm utc{};
        gmtime_r(&now, &utc);
        std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &utc);
        std::string line = std::string("time=") + stamp + " remote=" + remote +
                           " method=" + method + " path=" + Quoted(path) +
                           " status=" + std::to_string(status) + " in=" + std::to_string(bytes_in) +
                           " out=" + std::to_string(bytes_out);
        char duration[32];
        std::snprintf(duration, sizeof duration, " ms=%.1f", ms);
        line += duration;
        line += " user=" + Quoted(user);
        if (!error.empty()) line += " error=" + Quoted(error);
        line.push_back('\n');
        std::lock_guard lock(mutex_);
        std::FILE* out = file_ ? file_ : stdout;
        std::fwrite(line.data(), 1, line.size(), out);
        std::fflush(out);
    }

private:
    static std::string Quoted(const std::string& text) {
        bool plain = !text.empty();
        for (char c : text)
            if (c == ' ' || c == '"' || c == '=' || static_cast<unsigned char>(c) < 32)
                plain = false;
        if (plain) return text;
        std::string out = "\"";
        for (char c : text) {
            if (c == '"' || c == '\\') out.push_back('\\');
            out.push_back(static_cast<unsigned char>(c) < 32 ? '?' : c);
        }
        return out + "\"";
    }

    std::FILE* file_ = nullptr;
    std::FILE* out_ = stdout;
    std::mutex mutex_;
};

}  // namespace

int Serve(CRepositoryService& service, const ServeOptions& options, const std::string& engine) {
    // The stop signals go to one waiting thread, not to whichever thread they hit.
    sigset_t stop_signals;
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGTERM);
    sigaddset(&stop_signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    CAccessLog log(options.access_log);
    if (!log.Ok()) return 1;

    std::unique_ptr<httplib::Server> server;
    const bool tls = !options.tls_cert.empty();
    if (tls) {
        auto secure =
            std::make_unique<httplib::SSLServer>(options.tls_cert.c_str(), options.tls_key.c_str());
        if (!secure->is_valid()) {
            std::fprintf(stderr, "kurvalux-repo: cannot use the certificate %s with the key %s\n",
                         options.tls_cert.c_str(), options.tls_key.c_str());
            return 1;
        }
        server = std::move(secure);
    } else {
        server = std::make_unique<httplib::Server>();
    }
    const int threads = options.threads;
    server->new_task_queue = [threads] { return new httplib::ThreadPool(size_t(threads)); };
    server->set_payload_max_length(service.Options().max_body);
    server->set_read_timeout(60, 0);
    server->set_write_timeout(60, 0);
    server->set_keep_alive_timeout(5);
    // The library closes a kept-alive connection after 5 requests by default: a busy client
    // then reconnects every few requests, against a listen queue of 5, and a request sent on a
    // connection the server is closing gets no answer. Keep connections for many requests.
    server->set_keep_alive_max_count(10000);
    // An answer leaves in two writes (head, then body); with Nagle's algorithm the body waits
    // for the client's delayed acknowledgement of the head, 40 ms on Linux, on every request of
    // a kept-alive connection.
    server->set_tcp_nodelay(true);

    auto handle = [&service, &log](const httplib::Request& request, httplib::Response& response) {
        const auto start = std::chrono::steady_clock::now();
        HttpCall call;
        call.method = request.method;
        call.path = request.path;
        call.authorization = request.get_header_value("Authorization");
        call.body = request.body;
        const HttpAnswer answer = service.Handle(call);
        response.status = answer.status;
        if (!answer.body.empty()) response.set_content(answer.body, "application/json");
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count();
        log.Write(request.remote_addr, request.method, request.path, answer.status,
                  request.body.size(), answer.body.size(), ms, answer.user, answer.error);
    };
    server->Get(".*", handle);
    server->Post(".*", handle);
    auto refuse = [&service, &log](const httplib::Request& request, httplib::Response& response) {
        HttpCall call{request.method, request.path, "", ""};
        HttpAnswer answer = service.Handle(call);  // 404 or 405 with its text
        response.status = answer.status;
        response.set_content(answer.body, "application/json");
        log.Write(request.remote_addr, request.method, request.path, answer.status, 0,
                  answer.body.size(), 0, "-", answer.error);
    };
    server->Put(".*", refuse);
    server->Delete(".*", refuse);
    server->Patch(".*", refuse);
    // Errors cpp-httplib answers itself (a body over the limit: 413, a request it cannot
    // read: 400) get a fail answer too.
    server->set_error_handler([&log](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) return;
        std::string text =
            "The request cannot be served (HTTP " + std::to_string(response.status) + ").";
        if (response.status == 413) text = "The request body is larger than the server accepts.";
        if (response.status == 400) text = "The request is not well-formed HTTP.";
        response.set_content(FailAnswer(text), "application/json");
        log.Write(request.remote_addr, request.method, request.path, response.status,
                  request.body.size(), response.body.size(), 0, "-", text);
    });

    int port = options.port;
    const bool bound = port == 0 ? (port = server->bind_to_any_port(options.host.c_str())) > 0
                                 : server->bind_to_port(options.host.c_str(), port);
    if (!bound) {
        std::fprintf(stderr, "kurvalux-repo: cannot listen on %s:%d\n", options.host.c_str(),
                     options.port);
        return 1;
    }

    std::thread stopper([&server, stop_signals] {
        int number = 0;
        sigwait(&stop_signals, &number);
        std::fprintf(stderr, "kurvalux-repo: %s received, finishing the requests under way\n",
                     number == SIGTERM ? "SIGTERM" : "SIGINT");
        server->stop();
    });
    std::fprintf(stderr, "kurvalux-repo: serving the %s database on %s://%s:%d%s\n", engine.c_str(),
                 tls ? "https" : "http", options.host.c_str(), port,
                 service.Options().base_path.c_str());
    const bool listened = server->listen_after_bind();
    if (!listened) {
        // The loop ended without a stop signal: wake the stopper so it can be joined.
        pthread_kill(stopper.native_handle(), SIGTERM);
    }
    stopper.join();
    server.reset();  // the thread pool joins its workers: every request under way is answered
    std::fprintf(stderr, "kurvalux-repo: stopped\n");
    return 0;
}

}  // namespace kurvalux_server

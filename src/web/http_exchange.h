#pragma once
// One HTTP exchange with a web service, performed on the calling (worker) thread with libcurl,
// and the result codes that a worker posts back to the window that started it.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kurvalux_web {

// Result codes posted by a web worker (message 4926, 4927 or 4928, first argument).
enum EWebResult : int {
    kWebOk = 0,
    kWebNoBox = 1,         // catalogue lookup only: no object of the field has coordinates
    kWebNoNetwork = 2,     // no usable network connection; nothing was sent
    kWebNoSession = 3,     // the transfer handle could not be created
    kWebNoConnection = 4,  // name look-up, connection or TLS hand-shake failed or timed out
    kWebNoRequest = 5,     // the address or the request could not be set up
    kWebNotSent = 6,       // the request could not be sent
    kWebBadStatus = 7,     // no status line arrived in time, or not the expected status
    kWebNoData = 9,        // (kept for the numbering: libcurl has no separate "available" call)
    kWebReadFailed = 10,   // the body broke off, could not be decoded or was too large
};

// A response larger than this is refused (code 10). The largest repository answers, a field
// of many objects with survey photometry, stay well below it.
constexpr size_t kMaxResponseBytes = size_t{256} << 20;

// Defaults of the time-outs (seconds), also the settings' defaults.
constexpr int kDefaultConnectTimeout = 15;
constexpr int kDefaultTransferTimeout = 60;

// Whether a request to `host` can be made at all: a loopback host always can; any other needs
// a network interface that is up and running besides the loopback one.
bool NetworkUsable(std::string_view host);
using NetworkProbe = std::function<bool(std::string_view host)>;

struct HttpRequest {
    std::string url;                   // "http://host[:port]/path" or "https://..."
    std::string method;                // "GET" or "POST"
    std::vector<std::string> headers;  // complete header lines without CR LF
    std::string body;                  // sent with POST
    std::string accept;                // the Accept header's value
    long expected_status = 200;
    int connect_timeout = kDefaultConnectTimeout;    // seconds
    int transfer_timeout = kDefaultTransferTimeout;  // seconds of silence from the server
    NetworkProbe probe;                              // NetworkUsable when empty
    size_t max_body = kMaxResponseBytes;             // a longer body is a read failure (code 10)
};

// Performs the exchange. Returns the result code and, on success, the body in `response`
// (empty when the status was 204). `status` receives the HTTP status, 0 when none arrived;
// `content_length` the length the server announced, -1 when it announced none.
int PerformHttpRequest(const HttpRequest& request, std::string& response, long* status = nullptr,
                       int64_t* content_length = nullptr);

// The result code for a libcurl failure (a CURLcode), given whether the connection had been
// made and whether a status line had arrived. Documented beside the table in the .cpp file.
int ResultCodeForCurl(int curl_code, bool connected, bool status_received);

// "http://" + host unless the host already names its scheme, then the path with one "/"
// between them: ("example.org:8080", "/kv/", "api/v1/login") ->
// "http://example.org:8080/kv/api/v1/login".
std::string RequestUrl(std::string_view host, std::string_view base_path,
                       std::string_view api_path);
// The host name of an address ("https://user@example.org:8443/x" -> "example.org").
std::string HostOfUrl(std::string_view url);

}  // namespace kurvalux_web

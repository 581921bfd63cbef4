// The HTTP exchange on libcurl. One easy handle per exchange: the exchanges are rare (a user's
// command, a look-up, the version check), so nothing is gained by keeping connections, and the
// requests ask the server to close anyway.
#include "web/http_exchange.h"

#include <curl/curl.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <mutex>

namespace kurvalux_web {
namespace {

void GlobalInit() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

bool IsLoopbackHost(std::string_view host) {
    return host == "localhost" || host.starts_with("127.") || host == "::1" || host == "[::1]";
}

struct Transfer {
    std::string* body = nullptr;
    size_t limit = kMaxResponseBytes;
    bool connected = false;
    bool overflow = false;
};

size_t WriteBody(char* data, size_t size, size_t count, void* user) {
    auto* transfer = static_cast<Transfer*>(user);
    const size_t n = size * count;
    if (transfer->body->size() + n > transfer->limit) {
        transfer->overflow = true;
        return 0;  // libcurl ends the transfer with CURLE_WRITE_ERROR
    }
    transfer->body->append(data, n);
    return n;
}

// Called once the connection (and its TLS hand-shake) stands, just before the request goes
// out: from here on a failure is the server's answer, not the way to it.
int ConnectionMade(void* user, char*, char*, int, int) {
    static_cast<Transfer*>(user)->connected = true;
    return CURL_PREREQFUNC_OK;
}

}  // namespace

bool NetworkUsable(std::string_view host) {
    if (IsLoopbackHost(host)) return true;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return false;
    bool usable = false;
    for (ifaddrs* a = list; a && !usable; a = a->ifa_next) {
        if (!a->ifa_addr) continue;
        const int family = a->ifa_addr->sa_family;
        const unsigned flags = a->ifa_flags;
        usable = (family == AF_INET || family == AF_INET6) && (flags & IFF_UP) &&
                 (flags & IFF_RUNNING) && !(flags & IFF_LOOPBACK);
    }
    freeifaddrs(list);
    return usable;
}

// How libcurl's failures map onto the result codes:
//
//   handle cannot be created, out of memory                                   -> 3
//   unsupported scheme, malformed address, option refused                     -> 5
//   host or proxy name not resolved, connection refused, TLS hand-shake or
//   certificate check failed, connect time-out                                -> 4
//   the request body could not be sent                                        -> 6
//   no status line: server closed at once, garbage reply, silent server       -> 7
//   the body broke off (closed mid-body, silent mid-body, bad encoding,
//   longer than the request allows, at most kMaxResponseBytes)                -> 10
//   anything else: 4 before the connection stood, 7 before a status, else 10
int ResultCodeForCurl(int curl_code, bool connected, bool status_received) {
    const int otherwise = !connected         ? kWebNoConnection
                          : !status_received ? kWebBadStatus
                                             : kWebReadFailed;
    switch (static_cast<CURLcode>(curl_code)) {
        case CURLE_OK:
            return kWebOk;
        case CURLE_FAILED_INIT:
        case CURLE_OUT_OF_MEMORY:
            return kWebNoSession;
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT:
        case CURLE_NOT_BUILT_IN:
        case CURLE_BAD_FUNCTION_ARGUMENT:
        case CURLE_UNKNOWN_OPTION:
            return kWebNoRequest;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        case CURLE_SSL_INVALIDCERTSTATUS:
        case CURLE_SSL_CRL_BADFILE:
        case CURLE_SSL_ENGINE_NOTFOUND:
        case CURLE_SSL_ENGINE_SETFAILED:
        case CURLE_SSL_ENGINE_INITFAILED:
            return kWebNoConnection;
        case CURLE_SEND_ERROR:
        case CURLE_SEND_FAIL_REWIND:
        case CURLE_READ_ERROR:
            return connected ? kWebNotSent : kWebNoConnection;
        case CURLE_GOT_NOTHING:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return connected ? kWebBadStatus : kWebNoConnection;
        case CURLE_PARTIAL_FILE:
        case CURLE_WRITE_ERROR:
        case CURLE_BAD_CONTENT_ENCODING:
        case CURLE_FILESIZE_EXCEEDED:
            return kWebReadFailed;
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_RECV_ERROR:
        default:
            return otherwise;
    }
}

std::string RequestUrl(std::string_view host, std::string_view base_path,
                       std::string_view api_path) {
    std::string url;
    if (host.find("://") == std::string_view::npos) url = "http://";
    url.append(host);
    while (!url.empty() && url.back() == '/') url.pop_back();
    std::string path(base_path);
    path.append(api_path);
    if (path.empty() || path.front() != '/') url.push_back('/');
    url.append(path);
    return url;
}

std::string HostOfUrl(std::string_view url) {
    if (const size_t scheme = url.find("://"); scheme != std::string_view::npos)
        url.remove_prefix(scheme + 3);
    url = url.substr(0, url.find_first_of("/?#"));
    if (const size_t at = url.rfind('@'); at != std::string_view::npos) url.remove_prefix(at + 1);
    if (url.starts_with('[')) return std::string(url.substr(0, url.find(']') + 1));
    return std::string(url.substr(0, url.find(':')));
}

int PerformHttpRequest(const HttpRequest& request, std::string& response, long* status,
                       int64_t* content_length) {
    response.clear();
    if (status) *status = 0;
    if (content_length) *content_length = -1;
    const std::string host = HostOfUrl(request.url);
    if (!(request.probe ? request.probe(host) : NetworkUsable(host))) return kWebNoNetwork;

    GlobalInit();
    CURL* curl = curl_easy_init();
    if (!curl) return kWebNoSession;

    curl_slist* headers = nullptr;
    for (const std::string& line : request.headers)
        headers = curl_slist_append(headers, line.c_str());
    // libcurl would otherwise ask for "100-continue" before a larger body: the request carries
    // exactly the headers listed.
    headers = curl_slist_append(headers, "Expect:");
    if (!request.accept.empty())
        headers = curl_slist_append(headers, ("Accept: " + request.accept).c_str());

    Transfer transfer;
    transfer.body = &response;
    transfer.limit = std::min(request.max_body, kMaxResponseBytes);
    bool set = curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str()) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_USERAGENT, "KURVALUX") == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, WriteBody) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, ConnectionMade) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_PREREQDATA, &transfer) == CURLE_OK;
    set = set &&
          curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT,
                           long(request.connect_timeout > 0 ? request.connect_timeout
                                                            : kDefaultConnectTimeout)) == CURLE_OK;
    // A connected server that sends nothing at all for `transfer_timeout` seconds is given up
    // (below one byte a second over that time); a slow but steady answer is not cut short.
    set = set && curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L) == CURLE_OK;
    set = set && curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME,
                                  long(request.transfer_timeout > 0 ? request.transfer_timeout
                                                                    : kDefaultTransferTimeout)) ==
                     CURLE_OK;
    if (request.method == "POST") {
        set = set && curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data()) == CURLE_OK;
        set = set && curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                                      curl_off_t(request.body.size())) == CURLE_OK;
    } else {
        set = set && curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L) == CURLE_OK;
    }

    int code = kWebNoRequest;
    if (set) {
        const CURLcode done = curl_easy_perform(curl);
        long http_status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &http_status);
        if (status) *status = http_status;
        curl_off_t length = -1;
        if (content_length &&
            curl_easy_getinfo(curl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length) == CURLE_OK)
            *content_length = length;
        code = ResultCodeForCurl(done, transfer.connected, http_status != 0);
        if (code == kWebOk && http_status != request.expected_status) code = kWebBadStatus;
    }
    if (code != kWebOk || request.expected_status == 204) response.clear();
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return code;
}

}  // namespace kurvalux_web

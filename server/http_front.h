#pragma once
// The HTTP(S) front of the service: a cpp-httplib server on the address of --listen, one
// structured access-log line per request, and a graceful stop on SIGTERM or SIGINT.
#include <string>

#include "server/core/service.h"

namespace kurvalux_server {

struct ServeOptions {
    std::string host = "127.0.0.1";
    int port = 8080;
    std::string tls_cert, tls_key;  // both or neither
    int threads = 16;
    std::string access_log = "-";  // "-": standard output
};

// Serves until SIGTERM or SIGINT, then lets the requests under way finish. Returns the exit
// status (0 after a clean stop).
int Serve(CRepositoryService& service, const ServeOptions& options, const std::string& engine);

}  // namespace kurvalux_server

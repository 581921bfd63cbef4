#pragma once
// The command line's repository session, kept between runs in the settings folder
// ("repository-session.ini", readable by its owner only): the server it was opened on and
// the user token with the user's id, name and access, so that one "repo login" serves the
// "repo" commands that follow until "repo logout".
#include <string>

#include "web/web_interface.h"

namespace kurvalux_cli {

struct RepoSession {
    std::string server;  // the address the session belongs to
    kurvalux_web::WebSession web;
};

std::string RepoSessionPath();
// False when there is no session file (or it holds no token).
bool LoadRepoSession(RepoSession& session);
bool SaveRepoSession(const RepoSession& session);
void RemoveRepoSession();

}  // namespace kurvalux_cli

#include "cli/repo_session.h"

#include <filesystem>

#include "platform/files.h"

namespace kurvalux_cli {

std::string RepoSessionPath() {
    return kurvalux_platform::SettingsFolder() + "/repository-session.ini";
}

bool LoadRepoSession(RepoSession& session) {
    std::string text;
    if (kurvalux_platform::ReadWholeFile(RepoSessionPath(), 1 << 16, text) !=
        kurvalux_platform::ReadStatus::Ok)
        return false;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = line.substr(0, equals), value = line.substr(equals + 1);
        if (key == "Server")
            session.server = value;
        else if (key == "UserToken")
            session.web.user_token = value;
        else if (key == "UserId")
            session.web.user_id = value;
        else if (key == "UserName")
            session.web.user_name = value;
        else if (key == "Access")
            session.web.access = value;
    }
    return session.web.Active();
}

bool SaveRepoSession(const RepoSession& session) {
    const std::string folder = kurvalux_platform::SettingsFolder();
    if (!kurvalux_platform::FolderExists(folder) && !kurvalux_platform::CreateFolders(folder))
        return false;
    const std::string text =
        "[RepositorySession]\r\nServer=" + session.server +
        "\r\nUserToken=" + session.web.user_token + "\r\nUserId=" + session.web.user_id +
        "\r\nUserName=" + session.web.user_name + "\r\nAccess=" + session.web.access + "\r\n";
    const std::string path = RepoSessionPath();
    if (!kurvalux_platform::WriteWholeFile(path, text)) return false;
    // The token opens the user's account on the server: keep it from other users.
    std::error_code ec;
    std::filesystem::permissions(
        path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
        std::filesystem::perm_options::replace, ec);
    return true;
}

void RemoveRepoSession() {
    kurvalux_platform::RemoveFile(RepoSessionPath());
}

}  // namespace kurvalux_cli

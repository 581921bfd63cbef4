#include "platform/files.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace kurvalux_platform {

std::string NativePath(std::string_view path) {
    std::string p(path);
#ifndef _WIN32
    for (char& c : p)
        if (c == '\\') c = '/';
#endif
    return p;
}

ReadStatus ReadWholeFile(const std::string& path, uint64_t limit, std::string& out) {
#ifdef _WIN32
    std::FILE* f = std::fopen(NativePath(path).c_str(), "rb");
    if (!f) return ReadStatus::CannotOpen;
    struct stat st {};
    if (fstat(fileno(f), &st) != 0 || !S_ISREG(st.st_mode)) {
        std::fclose(f);
        return ReadStatus::CannotOpen;
    }
#else
    // Opened without blocking: opening a FIFO for reading would otherwise wait for a writer
    // forever. Whatever is not a regular file (FIFO, device, folder) is refused.
    const int fd = open(NativePath(path).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return ReadStatus::CannotOpen;
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return ReadStatus::CannotOpen;
    }
    std::FILE* f = fdopen(fd, "rb");
    if (!f) {
        close(fd);
        return ReadStatus::CannotOpen;
    }
#endif
    if (static_cast<uint64_t>(st.st_size) > limit) {
        std::fclose(f);
        return ReadStatus::TooBig;
    }
    out.resize(static_cast<size_t>(st.st_size));
    size_t got = out.empty() ? 0 : std::fread(out.data(), 1, out.size(), f);
    out.resize(got);
    std::fclose(f);
    return ReadStatus::Ok;
}

bool FileExists(const std::string& path) {
    std::error_code ec;
    return fs::is_regular_file(NativePath(path), ec);
}

bool FolderExists(const std::string& path) {
    std::error_code ec;
    return fs::is_directory(NativePath(path), ec);
}

bool RemoveFile(const std::string& path) {
    std::error_code ec;
    return fs::remove(NativePath(path), ec);
}

bool RenameFile(const std::string& from, const std::string& to) {
    std::error_code ec;
    fs::rename(NativePath(from), NativePath(to), ec);
    return !ec;
}

bool CreateFolders(const std::string& path) {
    std::error_code ec;
    fs::create_directories(NativePath(path), ec);
    return fs::is_directory(NativePath(path), ec);
}

bool WriteWholeFile(const std::string& path, std::string_view data) {
    const std::string target = NativePath(path);
    const std::string temp = target + ".tmp~";
    std::FILE* f = std::fopen(temp.c_str(), "wb");
    if (!f) return false;
    bool ok = data.empty() || std::fwrite(data.data(), 1, data.size(), f) == data.size();
    ok = (std::fflush(f) == 0) && ok;
    ok = (std::fclose(f) == 0) && ok;
    if (ok) {
        std::error_code ec;
        fs::rename(temp, target, ec);
        ok = !ec;
    }
    if (!ok) std::remove(temp.c_str());
    return ok;
}

uint64_t LastWriteFileTime(const std::string& path) {
    struct stat st {};
    if (stat(NativePath(path).c_str(), &st) != 0) return 0;
    const uint64_t ticks = static_cast<uint64_t>(st.st_mtim.tv_sec) * 10000000ULL +
                           static_cast<uint64_t>(st.st_mtim.tv_nsec) / 100ULL;
    return ticks + kFileTimeUnixEpoch;
}

bool MatchesMask(std::string_view name, std::string_view mask) {
    // Iterative wildcard match with one backtracking point for the last "*".
    size_t n = 0, m = 0, star = std::string_view::npos, mark = 0;
    auto lower = [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    };
    while (n < name.size()) {
        if (m < mask.size() && (mask[m] == '?' || lower(mask[m]) == lower(name[n]))) {
            ++n;
            ++m;
        } else if (m < mask.size() && mask[m] == '*') {
            star = m++;
            mark = n;
        } else if (star != std::string_view::npos) {
            m = star + 1;
            n = ++mark;
        } else {
            return false;
        }
    }
    while (m < mask.size() && mask[m] == '*') ++m;
    return m == mask.size();
}

std::vector<std::string> ListFolder(const std::string& folder, const std::string& mask) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(NativePath(folder), ec), end; !ec && it != end;
         it.increment(ec)) {
        if (!it->is_regular_file(ec)) continue;
        std::string name = it->path().filename().string();
        if (MatchesMask(name, mask)) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string SettingsFolder() {
#ifdef _WIN32
    const char* appdata = std::getenv("APPDATA");
    return std::string(appdata ? appdata : ".") + "\\KURVALUX";
#else
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg && *xdg) return std::string(xdg) + "/KURVALUX";
    const char* home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.config/KURVALUX";
#endif
}

std::string ReplaceExtension(const std::string& path, const std::string& extension) {
    size_t slash = path.find_last_of("/\\");
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return path + "." + extension;
    return path.substr(0, dot + 1) + extension;
}

}  // namespace kurvalux_platform

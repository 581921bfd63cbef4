// Small conversions the window's source files share.
#pragma once

#include <QString>
#include <string>

namespace kurvalux_app {

inline QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

// The folder part of a path, without the trailing separator; empty for a bare file name.
inline std::string FolderOf(const std::string& path) {
    size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace kurvalux_app

#pragma once
// The local cache of repository objects: one JSON file per object and contributor, below the
// settings folder:
//
//   <settings folder>/KURVALUX Web Repository Cache/<user id>/<object token>_<contributor>.json
//
// A synchronisation keeps the previous file of the object as "<token>_<contributor>.bak".
#include <string>

namespace kurvalux_web {

constexpr const char* kCacheFolderName = "KURVALUX Web Repository Cache";

// The text as a safe single path component: separators, drive colons and control bytes become
// "_", and "", "." and ".." become "_", so that no name from a server leaves the cache folder.
std::string CacheNameComponent(const std::string& name);

std::string CacheRoot(const std::string& settings_folder);
std::string CacheUserFolder(const std::string& settings_folder, const std::string& user_id);
std::string CacheObjectFile(const std::string& settings_folder, const std::string& user_id,
                            const std::string& token, const std::string& contributor);

}  // namespace kurvalux_web

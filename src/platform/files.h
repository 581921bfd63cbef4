#pragma once
// File access for the core. Paths are byte strings; files written on Windows carry "\" and
// drive letters, so every function here accepts both separators and converts to the native
// one before touching the file system.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kurvalux_platform {

// Converts "\" to the native separator (a no-op on Windows).
std::string NativePath(std::string_view path);

enum class ReadStatus { Ok, CannotOpen, TooBig };
// Reads the whole file when it holds at most `limit` bytes.
ReadStatus ReadWholeFile(const std::string& path, uint64_t limit, std::string& out);

bool FileExists(const std::string& path);
bool RemoveFile(const std::string& path);
bool RenameFile(const std::string& from, const std::string& to);
bool CreateFolders(const std::string& path);
bool FolderExists(const std::string& path);

// Writes `data` in one piece: to a temporary file beside the target first, then renamed over
// it, so that a failed write never leaves a truncated file behind.
bool WriteWholeFile(const std::string& path, std::string_view data);

// Last-write time as a Windows file time (100 ns ticks since 1601-01-01 UTC); 0 if unknown.
uint64_t LastWriteFileTime(const std::string& path);
constexpr uint64_t kFileTimeUnixEpoch = 116444736000000000ULL;

// Names (not paths) of the regular files in `folder` whose names match `mask` ("*" and "?",
// case-insensitive as on Windows), sorted.
std::vector<std::string> ListFolder(const std::string& folder, const std::string& mask);
bool MatchesMask(std::string_view name, std::string_view mask);

// $XDG_CONFIG_HOME/KURVALUX, else ~/.config/KURVALUX (%APPDATA%\KURVALUX on Windows); no
// trailing separator.
std::string SettingsFolder();

// The file name with its extension replaced ("field.kvf" -> "field.bak").
std::string ReplaceExtension(const std::string& path, const std::string& extension);

}  // namespace kurvalux_platform

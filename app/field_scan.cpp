#include "app/field_scan.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "data/field_file.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_app {

namespace fs = std::filesystem;
using kurvalux_data::CLocalSeriesTreeElem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::PathBases;

namespace {

bool IsDirectory(const std::string& path) {
    std::error_code ec;
    return !path.empty() && fs::is_directory(kurvalux_platform::NativePath(path), ec);
}

// A path in one canonical spelling, so that a file already in the field is recognised
// whichever separators or relative pieces its stored path has.
std::string Canonical(const std::string& path) {
    std::error_code ec;
    fs::path p = fs::weakly_canonical(fs::path(kurvalux_platform::NativePath(path)), ec);
    if (ec) return kurvalux_platform::NativePath(path);
    return p.lexically_normal().string();
}

void Report(kurvalux_platform::CMessageBoxSink& messages, const std::vector<std::string>& lines) {
    messages.Error("Error", lines);
}

}  // namespace

std::string ObjectFolder(const CObjectListElem& object, const PathBases& bases) {
    if (!bases.root_directory.empty() && !object.relative_path.empty()) {
        std::string candidate = kurvalux_data::JoinPath(bases.root_directory, object.relative_path);
        if (IsDirectory(candidate)) return candidate;
    }
    if (IsDirectory(object.absolute_path)) return object.absolute_path;
    if (!object.relative_path.empty()) {
        if (kurvalux_data::IsAbsoluteStyle(object.relative_path) &&
            IsDirectory(object.relative_path))
            return object.relative_path;
        for (const std::string* base : {&bases.field_folder, &bases.program_folder}) {
            if (base->empty()) continue;
            std::string candidate = kurvalux_data::JoinPath(*base, object.relative_path);
            if (IsDirectory(candidate)) return candidate;
        }
    }
    return "";
}

std::vector<std::string> ScanObjectFiles(const CObjectListElem& object, const PathBases& bases) {
    std::vector<std::string> files;
    const std::string folder = ObjectFolder(object, bases);
    if (folder.empty()) return files;
    std::vector<std::string> folders;
    if (object.dir_key.empty()) {
        folders.push_back(kurvalux_platform::NativePath(folder));
    } else {
        std::error_code ec;
        for (auto it = fs::recursive_directory_iterator(kurvalux_platform::NativePath(folder), ec);
             !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
            std::error_code type_ec;
            if (it->is_directory(type_ec) &&
                kurvalux_platform::MatchesMask(it->path().filename().string(), object.dir_key))
                folders.push_back(it->path().string());
        }
    }
    const std::string mask = object.file_names.empty() ? "*" : object.file_names;
    for (const std::string& f : folders)
        for (const std::string& name : kurvalux_platform::ListFolder(f, mask))
            files.push_back((fs::path(f) / name).string());
    std::sort(files.begin(), files.end());
    return files;
}

ScanResult RescanObject(CObjectListElem& object, const PathBases& bases,
                        kurvalux_platform::CMessageBoxSink& messages) {
    ScanResult result;
    // Take the local series out; web series stay as they are (their points come from the
    // repository cache, and their times were converted once already).
    std::vector<std::unique_ptr<CLocalSeriesTreeElem>> local;
    for (auto it = object.series.begin(); it != object.series.end();) {
        if ((*it)->IsLocal()) {
            local.emplace_back(static_cast<CLocalSeriesTreeElem*>(it->release()));
            it = object.series.erase(it);
        } else {
            ++it;
        }
    }
    // Series that were unavailable get another try: their files may be back.
    std::vector<kurvalux_data::CUnavailableSeries> unavailable;
    unavailable.swap(object.unavailable_series);
    const size_t first_retry = local.size();
    for (auto& kept : unavailable) local.push_back(std::move(kept.series));

    std::vector<std::string> known;
    for (size_t i = 0; i < local.size(); ++i) {
        const auto& series = local[i];
        auto fresh = std::make_unique<CLocalSeriesTreeElem>();
        fresh->absolute_path = series->absolute_path;
        fresh->relative_path = series->relative_path;
        fresh->meta_data = series->meta_data;
        fresh->offset = series->offset;
        fresh->enabled = series->enabled;
        fresh->minima = series->minima;
        std::string error, path;
        if (!kurvalux_data::LoadSeriesData(*fresh, bases, error, path)) {
            // Kept, unused, in the place it had: a file that is gone today may be back
            // tomorrow, and the minima timed on it are the user's work.
            const bool retried = i >= first_retry;
            const double after = retried ? unavailable[i - first_retry].after_time
                                         : std::nextafter(series->FirstTime(), -HUGE_VAL);
            if (!retried)
                Report(messages, {"Cannot load series photometry data:", path, error,
                                  kurvalux_data::kSeriesKeptUnavailable});
            object.unavailable_series.push_back({std::move(local[i]), path, error, after});
            ++result.unavailable;
            continue;
        }
        known.push_back(Canonical(fresh->absolute_path));
        std::string shown = fresh->absolute_path;
        std::vector<std::string> refusal;
        if (object.AddSeries(std::move(fresh), shown, refusal)) {
            ++result.reread;
        } else {
            Report(messages, refusal);
            ++result.removed;
        }
    }

    const std::string folder = ObjectFolder(object, bases);
    for (const std::string& file : ScanObjectFiles(object, bases)) {
        if (std::find(known.begin(), known.end(), Canonical(file)) != known.end()) continue;
        auto series = std::make_unique<CLocalSeriesTreeElem>();
        kurvalux_platform::AssignCut(series->absolute_path, file, kurvalux_data::kPathCapacity);
        // The relative path continues the object's own relative folder, in its style of
        // separators (a field written on Windows keeps "\\").
        std::string below = fs::path(file)
                                .lexically_relative(fs::path(kurvalux_platform::NativePath(folder)))
                                .generic_string();
        std::string relative = below;
        if (!object.relative_path.empty()) {
            const bool windows = object.relative_path.find('\\') != std::string::npos;
            if (windows) std::replace(below.begin(), below.end(), '/', '\\');
            relative = object.relative_path;
            if (relative.back() != '/' && relative.back() != '\\') relative += windows ? '\\' : '/';
            relative += below;
        }
        kurvalux_platform::AssignCut(series->relative_path, relative, kurvalux_data::kPathCapacity);
        std::string error, path;
        if (!kurvalux_data::LoadSeriesData(*series, bases, error, path))
            continue;  // not photometry
        std::vector<std::string> refusal;
        if (object.AddSeries(std::move(series), file, refusal)) {
            ++result.added;
            known.push_back(Canonical(file));
        } else {
            Report(messages, refusal);
        }
    }
    return result;
}

std::vector<std::string> ScanSummary(const ScanResult& result) {
    std::vector<std::string> lines = {std::to_string(result.reread) + " series read again",
                                      std::to_string(result.added) + " new series added",
                                      std::to_string(result.removed) + " series removed"};
    if (result.unavailable > 0)
        lines.push_back(std::to_string(result.unavailable) + " series unavailable");
    return lines;
}

}  // namespace kurvalux_app

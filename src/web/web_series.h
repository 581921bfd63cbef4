#pragma once
// The web series of a repository object: the series of the object's cache files (one file per
// contributor, "<token>_<contributor>.json" in the account's cache folder) read into
// CWebSeriesTreeElem and added to the object like series of photometry files.
//
// What the field keeps about a web series (offset, switch, own meta-data, minima timed on it)
// lives in the object's web-series local data, matched to a series by contributor (user id)
// and file time. A loaded series takes its entry over and writes it back itself; an entry
// whose series is not in the cache (not fetched yet, or its file unreadable) stays in the
// local data and is written back unchanged, so nothing the user did is lost.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_web {

// Cache files larger than this are not read.
constexpr uint64_t kWebSeriesFileLimit = 16ULL * 1024 * 1024;

// The last line of the box about a cache file that cannot be read.
constexpr const char* kWebSeriesKept = "Local data of its series kept in the field";

struct WebSeriesLoadResult {
    int files = 0;       // cache files of the object found
    int unreadable = 0;  // of them: too big, unreadable or not an object record
    int added = 0;       // series added to the object
    int refused = 0;     // series refused (no points, duplicate first time, other value type)
    int missing = 0;     // local-data entries left without their series
};

// Reads one cache document into its series, in the order of the record; `contributor` becomes
// every series' user id and publisher. False with `error` set when the text is not JSON or
// not an object record. A series record without a single readable point is still returned
// (empty); the caller refuses it.
bool ReadWebSeriesDocument(const std::string& text, const std::string& contributor,
                           std::vector<std::unique_ptr<kurvalux_data::CWebSeriesTreeElem>>& series,
                           std::string& error);

// Loads the web series of `object` (which must carry a token) from the account's cache folder
// `user_folder` (see CacheUserFolder), attaching their local data. Every problem is shown in a
// box titled "Error" through `messages`; the object's own data is never touched by a failure.
// An empty `user_folder` (no account known) finds no files.
WebSeriesLoadResult LoadWebSeries(kurvalux_data::CObjectListElem& object,
                                  const std::string& user_folder,
                                  kurvalux_platform::CMessageBoxSink& messages);

// Takes the object's web series out again, keeping what the user set on them as local-data
// entries: the first half of reloading the object after a synchronisation.
void UnloadWebSeries(kurvalux_data::CObjectListElem& object);

// The contributor of a cache file name "<token>_<contributor>.json"; empty when the name does
// not belong to `token`.
std::string ContributorOfCacheFile(const std::string& file_name, const std::string& token);

}  // namespace kurvalux_web

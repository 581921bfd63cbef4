#include "data/field_file.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "data/keyword_scanner.h"
#include "data/kvf_blocks.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/system.h"
#include "platform/text.h"

namespace kurvalux_data {

namespace {

constexpr uint64_t kFieldFileLimit = 1ULL << 31;
constexpr const char* kLoadFailedTitle = "Failed load field description";

// A series block read from the text whose photometry file is still to be read.
struct PendingSeries {
    CObjectListElem* object = nullptr;
    std::unique_ptr<CLocalSeriesTreeElem> series;
    bool loaded = false;
    std::string error;
    std::string path;
};

// What reading the text leaves to do once the photometry files are read, in file order: add
// a series to its object, or show a message about a refused web series.
struct LoadEvent {
    size_t pending = SIZE_MAX;
    std::vector<std::string> message;
};

class FieldTextReader {
public:
    explicit FieldTextReader(std::string_view text)
        : own_scanner_(text), scanner_(own_scanner_), blocks_(scanner_) {}
    // Reads from a scanner that a side text format has already moved past its own header.
    explicit FieldTextReader(CKeywordScanner& scanner)
        : own_scanner_(std::string_view()), scanner_(scanner), blocks_(scanner_) {}

    // Reads everything; on a syntax failure returns false with what was read before it.
    bool Read(Field& field, int& announced_objects);
    const std::string& Error() const { return scanner_.Error(); }

    // Reads the keys of one object block up to its "end_object" into `object`; keys absent
    // from the text keep their values. Series blocks are left in `pending`.
    bool ReadObject(CObjectListElem& object);

    std::vector<PendingSeries> pending;
    std::vector<LoadEvent> events;

private:
    CKeywordScanner own_scanner_;
    CKeywordScanner& scanner_;
    CKvfBlockReader blocks_;
};

bool FieldTextReader::Read(Field& field, int& announced_objects) {
    std::string word;
    if (!scanner_.ReadIdentifier(word) || word != "kurvalux") {
        scanner_.Fail("Missing \"kurvalux\" keyword");
        return false;
    }
    int32_t version = 0;
    announced_objects = 0;
    for (;;) {
        if (!blocks_.Next() || !blocks_.Word(word)) return false;
        if (word == "version") {
            if (!scanner_.ExpectEquals() || !scanner_.ReadInteger(version)) return false;
        } else if (word == "objects") {
            if (!scanner_.ExpectEquals() || !scanner_.ReadInteger(announced_objects)) return false;
        } else {
            break;
        }
    }
    if (version == 0) {
        scanner_.Fail("Missing file version information");
        return false;
    }
    if (version > kFieldFileVersion) {
        scanner_.Fail("File version higher than supported (update KURVALUX)");
        return false;
    }
    for (;;) {
        if (word == "end_kurvalux") return true;
        if (word != "object") return blocks_.Unknown(word);
        CObjectListElem& object = field.AddObject();
        if (!blocks_.Next() || !ReadObject(object)) return false;
        object.CompleteSavedEphemeris();
        if (!blocks_.Next() || !blocks_.Word(word)) return false;
    }
}

bool FieldTextReader::ReadObject(CObjectListElem& o) {
    CKvfBlockReader& r = blocks_;
    std::string word;
    for (;;) {
        if (!r.Word(word)) return false;
        bool ok = true;
        if (word == "end_object") {
            return true;
        } else if (word == "token") {
            ok = r.Quoted(o.token, kTokenCapacity);
        } else if (word == "publisher") {
            ok = r.Quoted(o.publisher, kPublisherCapacity);
        } else if (word == "name" || word == "caption") {
            ok = r.Quoted(o.name, kNameCapacity);
        } else if (word == "alternate_name" || word == "alternate_caption") {
            ok = r.Quoted(o.alternate_name, kAlternateNameCapacity);
        } else if (word == "variability_type") {
            ok = r.Quoted(o.variability_type, kVariabilityTypeCapacity);
        } else if (word == "comment") {
            ok = r.Quoted(o.comment, kCommentCapacity);
        } else if (word == "m0") {
            ok = r.Number(o.m0);
        } else if (word == "period") {
            ok = r.Number(o.period);
        } else if (word == "saved_m0") {
            ok = r.Number(o.saved_m0);
        } else if (word == "saved_period") {
            ok = r.Number(o.saved_period);
        } else if (word == "primary_fit_time_range") {
            ok = r.Number(o.primary_fit_time_range);
        } else if (word == "secondary_fit_time_range") {
            ok = r.Number(o.secondary_fit_time_range);
        } else if (word == "max_magnitude") {
            ok = r.Number(o.max_magnitude);
        } else if (word == "min_magnitude") {
            ok = r.Number(o.min_magnitude);
        } else if (word == "absolute_path") {
            ok = r.Quoted(o.absolute_path, kPathCapacity);
        } else if (word == "relative_path") {
            ok = r.Quoted(o.relative_path, kPathCapacity);
        } else if (word == "dir_key") {
            ok = r.Quoted(o.dir_key, kPathCapacity);
        } else if (word == "file_names") {
            ok = r.Quoted(o.file_names, kPathCapacity);
        } else if (word == "offset_amplitude") {
            ok = r.Number(o.offset_amplitude);
        } else if (word == "period_amplitude") {
            ok = r.Number(o.period_amplitude);
        } else if (word == "meta_data_source") {
            int32_t source = 0;
            ok = scanner_.ExpectEquals() && scanner_.ReadInteger(source);
            o.meta_data_source = static_cast<uint32_t>(source);
        } else if (word == "meta_data") {
            ok = r.Next() && r.ReadMetaData(o.meta_data);
        } else if (word == "fit") {
            ok = r.Next() && r.ReadFit(o.fit);
            o.has_fit = true;
        } else if (word == "use_export_fit_name") {
            ok = r.Boolean(o.use_export_fit_name);
        } else if (word == "export_fit_name") {
            ok = r.Quoted(o.export_fit_name, kPathCapacity);
        } else if (word == "export_fit_prefix") {
            ok = r.Quoted(o.export_fit_prefix, kPathCapacity);
        } else if (word == "export_fit_postfix") {
            ok = r.Quoted(o.export_fit_postfix, kPathCapacity);
        } else if (word == "notes") {
            ok = r.Next() && r.ReadNotes(o.notes);
        } else if (word == "series") {
            auto series = std::make_unique<CLocalSeriesTreeElem>();
            ok = r.Next() && series->Read(scanner_);
            if (ok) {
                events.push_back({pending.size(), {}});
                pending.push_back({&o, std::move(series), false, {}, {}});
            }
        } else if (word == "web_series") {
            auto entry = std::make_unique<CWebSeriesLocalDataTreeElem>();
            ok = r.Next() && r.ReadWebSeries(*entry);
            if (ok) {
                const std::string id =
                    entry->user_id + " " + kurvalux_platform::FormatHex(entry->file_time);
                if (!o.AddWebSeriesLocalData(std::move(entry)))
                    events.push_back({SIZE_MAX,
                                      {"Duplicate web series (same user and file time):", id,
                                       "Series removed from the field"}});
            }
        } else {
            return r.Unknown(word);
        }
        if (!ok || !r.Next()) return false;
    }
}

// Runs work(i) for every i below count, spread over the processors when asked. Each item is
// independent of the others, so the result does not depend on the order they finish in.
template <class Work>
void ForEachItem(size_t count, bool parallel, Work work) {
    std::atomic<size_t> next{0};
    auto worker = [&] {
        for (size_t i = next++; i < count; i = next++) work(i);
    };
    const unsigned threads =
        parallel
            ? static_cast<unsigned>(std::min<size_t>(kurvalux_platform::ProcessorCount(), count))
            : 1;
    if (threads <= 1) {
        worker();
        return;
    }
    std::vector<std::jthread> workers;
    for (unsigned i = 0; i < threads; ++i) workers.emplace_back(worker);
}

// Reads every pending series file; each worker fills only the series it took.
void LoadPendingSeries(std::vector<PendingSeries>& pending, const PathBases& bases, bool parallel) {
    ForEachItem(pending.size(), parallel, [&](size_t i) {
        pending[i].loaded =
            LoadSeriesData(*pending[i].series, bases, pending[i].error, pending[i].path);
    });
}

// The heliocentric conversion of the series' inner points, one series per item; every time
// depends only on itself, so the result is that of a sequential load.
void ConvertDeferred(const std::vector<CObjectListElem::DeferredConversion>& conversions,
                     bool parallel) {
    ForEachItem(conversions.size(), parallel, [&](size_t i) {
        const auto& c = conversions[i];
        ConvertToHeliocentric(*c.series, c.ra, c.dec, 1, c.series->times.size() - 1);
    });
}

}  // namespace

FieldLoadResult LoadField(const std::string& path, Field& field, const FieldLoadOptions& options,
                          kurvalux_platform::CMessageBoxSink& messages) {
    FieldLoadResult result;
    std::string text;
    if (kurvalux_platform::ReadWholeFile(path, kFieldFileLimit, text) !=
        kurvalux_platform::ReadStatus::Ok) {
        messages.Error(kLoadFailedTitle, {"Cannot open file", path});
        return result;
    }
    return LoadFieldText(text, field, options, messages);
}

FieldLoadResult LoadFieldText(const std::string& text, Field& field,
                              const FieldLoadOptions& options,
                              kurvalux_platform::CMessageBoxSink& messages) {
    FieldLoadResult result;
    field.Clear();
    FieldTextReader reader(text);
    int announced = 0;
    const bool syntax_ok = reader.Read(field, announced);

    // The photometry of every series read before any syntax failure, then the series added
    // in file order with their messages, exactly as a sequential load would show them.
    LoadPendingSeries(reader.pending, options.bases, options.parallel);
    std::vector<CObjectListElem::DeferredConversion> conversions;
    const CObjectListElem* last_object = nullptr;
    int objects_done = 0;
    // The first time of the series read last in the current object: where an unavailable
    // series that follows it belongs.
    double previous_first_time = -HUGE_VAL;
    for (LoadEvent& event : reader.events) {
        if (event.pending == SIZE_MAX) {
            messages.Error("Error", event.message);
            result.series_removed = true;
            continue;
        }
        PendingSeries& p = reader.pending[event.pending];
        if (p.object != last_object) {
            if (options.progress) options.progress(objects_done++, announced);
            last_object = p.object;
            previous_first_time = -HUGE_VAL;
        }
        if (!p.loaded) {
            // The file may only be out of reach today: the series, its minima and settings
            // stay in the field, unused, rather than being lost on the next save.
            messages.Error("Error", {"Cannot load series photometry data:", p.path, p.error,
                                     kSeriesKeptUnavailable});
            p.object->unavailable_series.push_back(
                {std::move(p.series), p.path, p.error, previous_first_time});
            ++result.series_unavailable;
            continue;
        }
        CSeriesTreeElem* added = p.series.get();
        std::vector<std::string> refusal;
        CObjectListElem::DeferredConversion conversion;
        if (!p.object->AddSeries(std::move(p.series), p.path, refusal, &conversion)) {
            messages.Error("Error", refusal);
            result.series_removed = true;
        } else {
            previous_first_time = added->FirstTime();
        }
        if (conversion.series) conversions.push_back(conversion);
    }
    ConvertDeferred(conversions, options.parallel);
    if (!syntax_ok) {
        field.Clear();
        messages.Error(kLoadFailedTitle, {"Load data failed", reader.Error()});
        return result;
    }
    if (options.web_series)
        for (auto& object : field.objects)
            if (!object->token.empty()) options.web_series(*object, messages);
    if (options.progress) options.progress(static_cast<int>(field.objects.size()), announced);
    result.ok = true;
    return result;
}

bool ReadObjectBlock(CKeywordScanner& scanner, CObjectListElem& object, const PathBases& bases,
                     ObjectBlockResult& result) {
    result = {};
    // A first pass into a scratch object finds any syntax failure before the object is
    // touched, so that a damaged text leaves it as it was.
    {
        CKeywordScanner probe = scanner;
        FieldTextReader reader(probe);
        CObjectListElem scratch;
        if (!reader.ReadObject(scratch)) {
            scanner = probe;
            return false;
        }
    }
    FieldTextReader reader(scanner);
    if (!reader.ReadObject(object)) return false;
    LoadPendingSeries(reader.pending, bases, true);
    for (LoadEvent& event : reader.events) {
        if (event.pending == SIZE_MAX) {
            ++result.series_refused;
            continue;
        }
        PendingSeries& p = reader.pending[event.pending];
        if (!p.loaded) {
            // Kept, as a field load keeps it, so that the series block is not lost.
            const double after =
                object.series.empty() ? -HUGE_VAL : object.series.back()->FirstTime();
            object.unavailable_series.push_back({std::move(p.series), p.path, p.error, after});
            ++result.series_unavailable;
            continue;
        }
        std::vector<std::string> refusal;
        if (object.AddSeries(std::move(p.series), p.path, refusal))
            ++result.series_added;
        else
            ++result.series_refused;
    }
    return true;
}

std::string FieldToText(const Field& field) {
    CKeywordWriter w;
    w.Begin("kurvalux");
    w.Integer("version", kFieldFileVersion);
    w.Integer("objects", static_cast<long long>(field.objects.size()));
    for (const auto& object : field.objects) WriteObject(w, *object);
    w.End("end_kurvalux");
    return w.Release();
}

bool SaveField(const std::string& path, const Field& field,
               kurvalux_platform::CMessageBoxSink& messages) {
    const std::string text = FieldToText(field);
    if (kurvalux_platform::FileExists(path)) {
        const std::string backup = kurvalux_platform::ReplaceExtension(path, "bak");
        kurvalux_platform::RemoveFile(backup);
        kurvalux_platform::RenameFile(path, backup);
    }
    if (!kurvalux_platform::WriteWholeFile(path, text)) {
        messages.Error("Failed save field description", {"Cannot create file", path});
        return false;
    }
    return true;
}

}  // namespace kurvalux_data

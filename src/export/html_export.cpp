#include "export/html_export.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "export/summaries.h"
#include "lc/chart_views.h"
#include "platform/files.h"
#include "platform/system.h"

namespace kurvalux_export {

using kurvalux_data::CObjectListElem;

int HtmlOptions::Bits() const {
    const bool flags[] = {prefer_alt, type,        ephemeris, mags,   coords,
                          catalog,    catalog_mag, colors,    thumbs, images};
    int bits = 0;
    for (int i = 0; i < 10; ++i)
        if (flags[i]) bits |= 1 << i;
    return bits;
}

HtmlOptions HtmlOptions::FromBits(int bits) {
    HtmlOptions o;
    bool* flags[] = {&o.prefer_alt, &o.type,        &o.ephemeris, &o.mags,   &o.coords,
                     &o.catalog,    &o.catalog_mag, &o.colors,    &o.thumbs, &o.images};
    for (int i = 0; i < 10; ++i) *flags[i] = (bits >> i) & 1;
    return o;
}

std::string PageBaseName(const std::string& page_path) {
    return FieldNameOfPath(page_path);
}

namespace {

bool KeptInFileName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_' || c == '.' || c == '+';
}

std::string Cell(const std::string& text) {
    return "<td>" + HtmlEscape(text) + "</td>";
}

}  // namespace

std::string ImageFileName(const std::string& base, const CObjectListElem& object, bool thumbnail) {
    std::string name = base + "_" + object.name;
    if (!object.alternate_name.empty()) name += "_" + object.alternate_name;
    for (char& c : name)
        if (!KeptInFileName(c)) c = '_';
    return name + (thumbnail ? "_thumb.png" : ".png");
}

std::string HtmlPageText(const kurvalux_data::Field& field, const std::string& field_name,
                         const std::string& base_name, const HtmlOptions& o,
                         const std::vector<bool>* drawn) {
    const std::vector<ObjectReport> reports = SummarizeField(field);
    std::string out;
    out.reserve(1024 + reports.size() * 400);
    const std::string name = HtmlEscape(field_name);
    out += "<html><head><title>Field of" + name + "</title></head>\r\n";
    out += "<body><h1>Field:" + name + "</h1>\r\n";
    out += "<table border=\"1\">\r\n";
    out += "<tr><td><b>Object</b></td>";
    if (o.type) out += "<td><b>Type</b></td>";
    if (o.ephemeris) out += "<td><b>M0</b></td><td><b>Period</b></td>";
    if (o.mags) out += "<td><b>Max. Mag</b></td><td><b>Min. Mag</b></td>";
    if (o.coords) out += "<td><b>R.A.</b></td><td><b>Dec.</b></td>";
    if (o.catalog) out += "<td><b>Catalog Id.</b></td>";
    if (o.catalog_mag) out += "<td><b>Catalog Mag.</b></td>";
    if (o.colors) out += "<td><b>Catalog B-V</b></td><td><b>Catalog J-K</b></td>";
    if (o.AnyImages()) out += "<td><b>Light Curve</b></td>";
    out += "</tr>\r\n";
    for (size_t r = 0; r < reports.size(); ++r) {
        const ObjectSummary& s = reports[r].object;
        const StarSummary& v = reports[r].var;
        const std::string& shown =
            o.prefer_alt && !s.alternate_name.empty() ? s.alternate_name : s.name;
        out += "<tr>" + Cell(shown);
        if (o.type) out += Cell(s.variability_type);
        if (o.ephemeris) out += Cell(s.m0) + Cell(s.period);
        if (o.mags) out += Cell(s.max_mag) + Cell(s.min_mag);
        if (o.coords) out += Cell(v.ra) + Cell(v.dec);
        if (o.catalog) out += Cell(v.catalog_id);
        if (o.catalog_mag) out += Cell(v.catalog_mag);
        if (o.colors) out += Cell(v.catalog_bv) + Cell(v.catalog_jk);
        const std::string prefix = HtmlEscape(o.prefix);
        const CObjectListElem& object = *field.objects[r];
        if (o.AnyImages() && drawn && !(*drawn)[r])
            out += "<td></td>";
        else if (o.thumbs)
            out += "<td><a href=\"" + prefix + ImageFileName(base_name, object, false) +
                   "\"><img src=\"" + prefix + ImageFileName(base_name, object, true) +
                   "\"></a></td>";
        else if (o.images)
            out += "<td><a href = \"" + prefix + ImageFileName(base_name, object, false) +
                   "\">Light Curve</a></td>";
        out += "\r\n</tr>\r\n";
    }
    out += "</table></body></html>\r\n";
    return out;
}

namespace {

struct ImageJob {
    size_t object = 0;
    bool thumbnail = false;
    std::string final_path;
    std::string temp_path;
};

// Draws the object's chart at both sizes. False only when a file could not be written; an
// object whose chart cannot be drawn (no points) gets no image, as on screen.
bool DrawObject(const CObjectListElem& object, const HtmlOptions& o,
                const kurvalux_data::FilterTable* filters, CImageWriter& writer,
                std::vector<ImageJob*>& jobs, std::string& failed_path) {
    kurvalux_lc::ChartRequest request;
    request.view = object.m0 != 0 && object.period != 0 ? kurvalux_lc::ChartView::kPhased
                                                        : kurvalux_lc::ChartView::kTime;
    request.filters = filters;
    std::string message;
    kurvalux_lc::Chart chart = kurvalux_lc::MakeChart(object, request, message);
    if (!chart.pane) return true;
    const std::string title = object.name;
    for (ImageJob* job : jobs) {
        const int w = job->thumbnail ? o.thumb_width : o.image_width;
        const int h = job->thumbnail ? o.thumb_depth : o.image_depth;
        chart.pane->SetThumbnail(job->thumbnail);
        chart.pane->SetRect(kurvalux_lc::CRect{0, 0, w, h});
        chart.Layout();
        if (!writer.WritePng(*chart.pane, w, h, job->thumbnail ? std::string() : title,
                             job->temp_path)) {
            failed_path = job->final_path;
            return false;
        }
    }
    return true;
}

void RemoveAll(const std::vector<ImageJob>& jobs) {
    for (const ImageJob& job : jobs) kurvalux_platform::RemoveFile(job.temp_path);
}

}  // namespace

HtmlExportResult ExportHtml(const kurvalux_data::Field& field, const std::string& page_path,
                            const std::string& field_name, const HtmlOptions& options,
                            const kurvalux_data::FilterTable* filters, CImageWriter* writer,
                            kurvalux_platform::CMessageBoxSink& messages,
                            const HtmlProgress& progress, unsigned threads) {
    constexpr const char* kTitle = "Error exporting HTML";
    HtmlExportResult result;
    const std::string base = PageBaseName(page_path);

    const bool draw = options.AnyImages() && writer;
    std::vector<ImageJob> jobs;
    std::vector<std::vector<ImageJob*>> per_object(field.objects.size());
    if (draw) {
        const size_t slash = page_path.find_last_of("/\\");
        const std::string folder =
            slash == std::string::npos ? std::string() : page_path.substr(0, slash + 1);
        // A run-specific suffix for the temporary files, so that two exports never meet.
        const std::string suffix =
            ".part" + std::to_string(kurvalux_platform::TickCount() % 1000000);
        for (size_t i = 0; i < field.objects.size(); ++i) {
            if (options.images || options.thumbs)
                jobs.push_back(
                    {i, false, folder + ImageFileName(base, *field.objects[i], false), {}});
            if (options.thumbs)
                jobs.push_back(
                    {i, true, folder + ImageFileName(base, *field.objects[i], true), {}});
        }
        for (ImageJob& job : jobs) {
            job.temp_path = job.final_path + suffix;
            per_object[job.object].push_back(&job);
        }
    }

    // The page first, under a temporary name: a folder that cannot take it fails before any
    // image is drawn.
    const std::string page_temp = page_path + ".part";
    if (!kurvalux_platform::WriteWholeFile(page_temp, {})) {
        messages.Error(kTitle, {"Cannot create file", page_path});
        return result;
    }

    if (draw && !jobs.empty()) {
        const size_t total = field.objects.size();
        std::atomic<size_t> next{0}, done{0};
        std::atomic<bool> stop{false}, failed{false};
        std::mutex failure_mutex;
        std::string failed_path;
        unsigned count = threads ? threads : kurvalux_platform::ProcessorCount();
        count = std::max(1u, std::min<unsigned>(count, static_cast<unsigned>(total)));
        {
            std::vector<std::jthread> workers;
            for (unsigned w = 0; w < count; ++w)
                workers.emplace_back([&] {
                    for (;;) {
                        if (stop.load()) return;
                        const size_t i = next.fetch_add(1);
                        if (i >= total) return;
                        std::string path;
                        if (!DrawObject(*field.objects[i], options, filters, *writer, per_object[i],
                                        path)) {
                            std::lock_guard<std::mutex> lock(failure_mutex);
                            if (!failed.exchange(true)) failed_path = path;
                            stop = true;
                            return;
                        }
                        done.fetch_add(1);
                    }
                });
            // The caller's thread reports progress and takes a cancel while the workers draw;
            // the last report comes with every image drawn, and a cancel then still discards
            // the run, since nothing has taken its name yet.
            for (;;) {
                const bool finished = done.load() >= total || stop.load();
                if (progress && !progress(done.load(), total)) {
                    stop = true;
                    result.cancelled = true;
                    break;
                }
                if (finished) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        }
        if (failed || result.cancelled) {
            RemoveAll(jobs);
            kurvalux_platform::RemoveFile(page_temp);
            if (failed)
                messages.Error(
                    kTitle, {"Cannot create file", failed_path.empty() ? page_path : failed_path});
            return result;
        }
    }

    // Everything is drawn: the page names the images that exist, and the files take their
    // names.
    std::vector<bool> drawn(field.objects.size(), false);
    for (const ImageJob& job : jobs)
        if (kurvalux_platform::FileExists(job.temp_path)) drawn[job.object] = true;
    if (!kurvalux_platform::WriteWholeFile(
            page_temp, HtmlPageText(field, field_name, base, options, draw ? &drawn : nullptr))) {
        RemoveAll(jobs);
        kurvalux_platform::RemoveFile(page_temp);
        messages.Error(kTitle, {"Cannot create file", page_path});
        return result;
    }
    for (const ImageJob& job : jobs) {
        if (!kurvalux_platform::FileExists(job.temp_path)) continue;  // a chart without points
        if (!kurvalux_platform::RenameFile(job.temp_path, job.final_path)) {
            RemoveAll(jobs);
            kurvalux_platform::RemoveFile(page_temp);
            messages.Error(kTitle, {"Cannot create file", job.final_path});
            return result;
        }
        result.files.push_back(job.final_path);
        ++result.images;
    }
    if (!kurvalux_platform::RenameFile(page_temp, page_path)) {
        kurvalux_platform::RemoveFile(page_temp);
        for (const std::string& file : result.files) kurvalux_platform::RemoveFile(file);
        messages.Error(kTitle, {"Cannot create file", page_path});
        result.files.clear();
        result.images = 0;
        return result;
    }
    result.files.insert(result.files.begin(), page_path);
    result.ok = true;
    return result;
}

}  // namespace kurvalux_export

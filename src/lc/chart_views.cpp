#include "lc/chart_views.h"

#include <algorithm>
#include <cmath>

#include "analysis/fit_points.h"

namespace kurvalux_lc {

using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;
using kurvalux_data::FilterTable;

bool ParseChartView(const std::string& word, ChartView& view) {
    if (word == "time")
        view = ChartView::kTime;
    else if (word == "compressed")
        view = ChartView::kCompressed;
    else if (word == "phased")
        view = ChartView::kPhased;
    else if (word == "fit")
        view = ChartView::kPhasedFit;
    else if (word == "minimum")
        view = ChartView::kMinimum;
    else
        return false;
    return true;
}

const char* ChartViewName(ChartView view) {
    switch (view) {
        case ChartView::kTime:
            return "Time Series";
        case ChartView::kCompressed:
            return "Compressed Series";
        case ChartView::kPhased:
            return "Phased Curve";
        case ChartView::kPhasedFit:
            return "Phased Curve Fit";
        case ChartView::kMinimum:
            return "Minimum Fit";
    }
    return "";
}

CFont ChartTitleFont(int dpi_y) {
    return CFont{-16 * dpi_y / 96, 700, "sans-serif"};
}

Colour SeriesColour(const CObjectListElem& object, const CSeriesTreeElem& series,
                    const FilterTable& filters) {
    std::string filter = series.EffectiveMetaData().filter;
    if (filter.empty()) filter = object.meta_data.filter;
    const kurvalux_data::CFilterTreeElem* found = filters.Find(filter);
    return found ? found->colour : kUnknownFilterColour;
}

std::string TimeCaption(const CObjectListElem& object) {
    const CSeriesTreeElem* reference = object.ReferenceSeries();
    if (!reference && !object.series.empty()) reference = object.series.front().get();
    if (!reference) return "JD";
    if (reference->hjd_converted) return "HJD";
    switch (reference->EffectiveMetaData().jd_type) {
        case kurvalux_data::kJdHeliocentric:
            return "HJD";
        case kurvalux_data::kJdGeocentric:
            return "GJD";
        default:
            return "JD";
    }
}

namespace {

double ErrorOf(const CSeriesTreeElem& series, size_t i) {
    return i < series.errors.size() ? series.errors[i] : 0.0;
}

void MinimumKind(const kurvalux_data::CMinimaListElem& minimum, uint32_t& kind, Colour& colour) {
    if (!minimum.enabled) {
        kind = kMarkerMinimumUnused;
        colour = kUnusedMinimumColour;
    } else if (minimum.type == kurvalux_data::kMinimumSecondary) {
        kind = kMarkerMinimumSecondary;
        colour = kSecondaryColour;
    } else if (minimum.type == kurvalux_data::kMinimumPrimary) {
        kind = kMarkerMinimumPrimary;
        colour = kPrimaryColour;
    } else {
        kind = kMarkerMinimumPrimary;
        colour = kUndefinedMinimumColour;
    }
}

// The minima the ephemeris predicts inside [from, to] (at most 2000 of each kind).
void AddPredictedMinima(CLightCurvePane& pane, const CObjectListElem& object, double from,
                        double to) {
    double m0 = object.m0, p = object.period;
    if (m0 == 0 || !(p > 0) || !(to > from)) return;
    for (int secondary = 0; secondary < 2; ++secondary) {
        double reference = m0 + (secondary ? p / 2 : 0);
        double first = std::ceil((from - reference) / p), last = std::floor((to - reference) / p);
        if (!(last - first < 2000)) continue;
        for (double e = first; e <= last; ++e)
            pane.AddMarker(reference + e * p, kPredictedColour,
                           secondary ? kMarkerPredictedSecondary : kMarkerPredictedPrimary);
    }
}

void Configure(CLightCurvePane& pane, const ChartRequest& request, bool magnitudes,
               const std::string& below) {
    pane.invert_y = magnitudes;  // brighter magnitudes upward
    pane.show_error_bars = request.show_error_bars;
    pane.show_kind1 = request.show_unused_minima;
    pane.show_kind4 = request.show_predicted_minima;
    pane.show_kind5 = request.show_predicted_minima;
    pane.SetCaptions(magnitudes ? "Mag" : "Flux", below);
    CFont title = ChartTitleFont(96);
    pane.SetTitleFont(&title);
}

size_t EnabledPointCount(const CObjectListElem& object) {
    size_t n = 0;
    for (const auto& s : object.series)
        if (s->enabled) n += s->Count();
    return n;
}

void FillTime(CLightCurvePane& pane, const CObjectListElem& object, const ChartRequest& request,
              const FilterTable& filters) {
    pane.ReservePoints(EnabledPointCount(object));
    double lower = INFINITY, upper = -INFINITY;
    for (size_t k = 0; k < object.series.size(); ++k) {
        const CSeriesTreeElem& series = *object.series[k];
        if (!series.enabled) continue;
        Colour colour = SeriesColour(object, series, filters);
        bool selected = static_cast<int>(k) == request.series;
        for (size_t i = 0; i < series.Count(); ++i)
            pane.AddPoint(series.times[i], series.AdjustedValue(i, object.is_flux),
                          ErrorOf(series, i), colour, selected,
                          CPointSource{static_cast<int>(k), static_cast<int>(i)});
        if (series.Count()) {
            lower = std::min(lower, series.FirstTime());
            upper = std::max(upper, series.LastTime());
        }
        for (size_t j = 0; j < series.minima.size(); ++j) {
            uint32_t kind;
            Colour marker_colour;
            MinimumKind(series.minima[j], kind, marker_colour);
            pane.AddMarker(series.minima[j].time, marker_colour, kind,
                           CPointSource{static_cast<int>(k), static_cast<int>(j)}, selected);
        }
    }
    if (request.show_predicted_minima && lower <= upper) {
        double from = request.to > request.from ? request.from : lower;
        double to = request.to > request.from ? request.to : upper;
        AddPredictedMinima(pane, object, from, to);
    }
}

// The compressed series: the enabled series in time order, each keeping its own time span
// but moved so that it starts a small gap after the previous one ends. The axis counts days
// from the first point; a grey night marker in each gap carries the date of the series that
// follows it. Minima sit at their place within their own series.
void FillCompressed(CLightCurvePane& pane, const CObjectListElem& object,
                    const ChartRequest& request, const FilterTable& filters) {
    double longest = 0;
    for (const auto& s : object.series)
        if (s->enabled && s->Count()) longest = std::max(longest, s->LastTime() - s->FirstTime());
    double gap = longest > 0 ? longest * kCompressedGapFraction : 0.01;
    pane.ReservePoints(EnabledPointCount(object));
    double start = 0;
    bool any = false;
    for (size_t k = 0; k < object.series.size(); ++k) {
        const CSeriesTreeElem& series = *object.series[k];
        if (!series.enabled || series.Count() == 0) continue;
        double shift = start - series.FirstTime();
        Colour colour = SeriesColour(object, series, filters);
        bool selected = static_cast<int>(k) == request.series;
        pane.AddMarkerAt(start - gap / 2, series.FirstTime(), kNightColour, kMarkerNight,
                         CPointSource{static_cast<int>(k), -1});
        for (size_t i = 0; i < series.Count(); ++i)
            pane.AddPoint(series.times[i] + shift, series.AdjustedValue(i, object.is_flux),
                          ErrorOf(series, i), colour, selected,
                          CPointSource{static_cast<int>(k), static_cast<int>(i)});
        for (size_t j = 0; j < series.minima.size(); ++j) {
            uint32_t kind;
            Colour marker_colour;
            MinimumKind(series.minima[j], kind, marker_colour);
            pane.AddMarkerAt(series.minima[j].time + shift, series.minima[j].time, marker_colour,
                             kind, CPointSource{static_cast<int>(k), static_cast<int>(j)},
                             selected);
        }
        start += series.LastTime() - series.FirstTime() + gap;
        any = true;
    }
    if (any) pane.SetXDataRange(-gap / 2, start - gap / 2);
}

void AddPhased(CLightCurvePane& pane, double phase, double value, double error, Colour colour,
               bool selected, CPointSource source) {
    pane.AddPoint(phase, value, error, colour, selected, source);
    if (phase - 1 >= kPhaseFrom) pane.AddPoint(phase - 1, value, error, colour, selected, source);
    if (phase + 1 <= kPhaseTo) pane.AddPoint(phase + 1, value, error, colour, selected, source);
}

void FillPhased(CLightCurvePane& pane, const CObjectListElem& object, const ChartRequest& request,
                const FilterTable& filters) {
    pane.ReservePoints(EnabledPointCount(object) * 5 / 4);
    for (size_t k = 0; k < object.series.size(); ++k) {
        const CSeriesTreeElem& series = *object.series[k];
        if (!series.enabled) continue;
        Colour colour = SeriesColour(object, series, filters);
        bool selected = static_cast<int>(k) == request.series;
        for (size_t i = 0; i < series.Count(); ++i) {
            if (request.to > request.from &&
                (series.times[i] < request.from || series.times[i] > request.to))
                continue;
            double phase = kurvalux_analysis::PhaseOf(series.times[i], object.m0, object.period);
            AddPhased(pane, phase, series.AdjustedValue(i, object.is_flux), ErrorOf(series, i),
                      colour, selected, CPointSource{static_cast<int>(k), static_cast<int>(i)});
        }
    }
    pane.SetXDataRange(kPhaseFrom, kPhaseTo);
}

// The phased curve as the phase fit sees it: magnitudes (flux series converted) with their
// offsets, so that the model and the points share one scale.
void FillPhasedFit(CLightCurveFitPane& pane, const CObjectListElem& object,
                   const ChartRequest& request, const FilterTable& filters) {
    pane.ReservePoints(EnabledPointCount(object) * 5 / 4);
    for (size_t k = 0; k < object.series.size(); ++k) {
        const CSeriesTreeElem& series = *object.series[k];
        if (!series.enabled) continue;
        Colour colour = SeriesColour(object, series, filters);
        bool selected = static_cast<int>(k) == request.series;
        kurvalux_analysis::SeriesPoints points =
            kurvalux_analysis::MagnitudePoints(series, object.is_flux);
        for (size_t i = 0; i < points.Count(); ++i) {
            if (request.to > request.from &&
                (points.times[i] < request.from || points.times[i] > request.to))
                continue;
            double phase = kurvalux_analysis::PhaseOf(points.times[i], object.m0, object.period);
            AddPhased(pane, phase, points.values[i], points.errors[i], colour, selected,
                      CPointSource{static_cast<int>(k), static_cast<int>(i)});
        }
    }
    pane.SetXDataRange(kPhaseFrom, kPhaseTo);
    pane.SetModel(object.fit, object.has_fit);
}

}  // namespace

bool RefillChart(CLightCurvePane& pane, const CObjectListElem& object, const ChartRequest& request,
                 std::string& message, double& visible_from, double& visible_to) {
    message.clear();
    static const FilterTable built_in = FilterTable::BuiltIn();
    const FilterTable& filters = request.filters ? *request.filters : built_in;
    if (request.series >= static_cast<int>(object.series.size())) {
        message = "The object has no series " + std::to_string(request.series);
        return false;
    }
    if (request.series < 0 && request.view == ChartView::kMinimum) {
        message = "The minimum chart needs a series of the object";
        return false;
    }
    bool phased = request.view == ChartView::kPhased || request.view == ChartView::kPhasedFit;
    if (phased && (object.m0 == 0 || object.period == 0)) {
        message = "Cannot draw phased light curve if M0 and/or P is not defined";
        return false;
    }
    auto* fit_pane = dynamic_cast<CLightCurveFitPane*>(&pane);
    auto* minimum_pane = dynamic_cast<CMinimumFitPane*>(&pane);
    if ((request.view == ChartView::kPhasedFit && !fit_pane) ||
        (request.view == ChartView::kMinimum && !minimum_pane)) {
        message = std::string("The pane cannot show the ") + ChartViewName(request.view) + " chart";
        return false;
    }
    pane.ClearData();
    pane.ClearYRange();
    bool zoom = request.to > request.from;
    // An empty range lays out for all the data.
    visible_from = 0;
    visible_to = 0;
    switch (request.view) {
        case ChartView::kTime:
            Configure(pane, request, !object.is_flux, TimeCaption(object));
            FillTime(pane, object, request, filters);
            if (zoom) {
                visible_from = request.from;
                visible_to = request.to;
            }
            break;
        case ChartView::kCompressed:
            Configure(pane, request, !object.is_flux, "Days");
            FillCompressed(pane, object, request, filters);
            break;
        case ChartView::kPhased:
            Configure(pane, request, !object.is_flux, "Phase");
            FillPhased(pane, object, request, filters);
            visible_from = kPhaseFrom;
            visible_to = kPhaseTo;
            break;
        case ChartView::kPhasedFit:
            Configure(pane, request, true, "Phase");
            FillPhasedFit(*fit_pane, object, request, filters);
            visible_from = kPhaseFrom;
            visible_to = kPhaseTo;
            break;
        case ChartView::kMinimum: {
            const CSeriesTreeElem& series = *object.series[request.series];
            Configure(pane, request, true, TimeCaption(object));
            double from = zoom ? request.from : series.FirstTime();
            double to = zoom ? request.to : series.LastTime();
            minimum_pane->SetWindow(from, to);
            minimum_pane->ClearModel();
            Colour colour = SeriesColour(object, series, filters);
            kurvalux_analysis::SeriesPoints points =
                kurvalux_analysis::MagnitudePoints(series, object.is_flux);
            for (size_t i = 0; i < points.Count(); ++i) {
                if (points.times[i] < from || points.times[i] > to) continue;
                pane.AddPoint(points.times[i], points.values[i], points.errors[i], colour, false,
                              CPointSource{request.series, static_cast<int>(i)});
            }
            for (size_t j = 0; j < series.minima.size(); ++j) {
                const kurvalux_data::CMinimaListElem& minimum = series.minima[j];
                if (minimum.time < from || minimum.time > to) continue;
                uint32_t kind;
                Colour marker_colour;
                MinimumKind(minimum, kind, marker_colour);
                pane.AddMarker(minimum.time, marker_colour, kind,
                               CPointSource{request.series, static_cast<int>(j)});
            }
            if (request.has_minimum_fit) minimum_pane->SetModel(request.minimum_fit, 0.0, 1.0);
            pane.SetXDataRange(from, to);
            visible_from = from;
            visible_to = to;
            break;
        }
    }
    if (pane.Points().empty()) {
        message = "No points to draw in the " + std::string(ChartViewName(request.view)) + " chart";
        return false;
    }
    return true;
}

Chart MakeChart(const CObjectListElem& object, const ChartRequest& request, std::string& message) {
    Chart chart;
    switch (request.view) {
        case ChartView::kPhasedFit:
            chart.pane = std::make_unique<CLightCurveFitPane>();
            break;
        case ChartView::kMinimum:
            chart.pane = std::make_unique<CMinimumFitPane>();
            break;
        default:
            chart.pane = std::make_unique<CLightCurvePane>();
            break;
    }
    if (!RefillChart(*chart.pane, object, request, message, chart.visible_from, chart.visible_to))
        chart.pane.reset();
    return chart;
}

}  // namespace kurvalux_lc

#include "data/series_levelling.h"

#include <algorithm>
#include <cmath>

namespace kurvalux_data {

using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

double SeriesLevel(const CSeriesTreeElem& series, LevelStatistic statistic) {
    const std::vector<double>& v = series.values;
    if (v.empty()) return NAN;
    switch (statistic) {
        case LevelStatistic::kMedian: {
            std::vector<double> sorted(v);
            const size_t half = sorted.size() / 2;
            std::nth_element(sorted.begin(), sorted.begin() + half, sorted.end());
            const double upper = sorted[half];
            if (sorted.size() % 2) return upper;
            const double lower = *std::max_element(sorted.begin(), sorted.begin() + half);
            return 0.5 * (lower + upper);
        }
        case LevelStatistic::kRange: {
            const auto [low, high] = std::minmax_element(v.begin(), v.end());
            return 0.5 * (*low + *high);
        }
        case LevelStatistic::kAverage:
            break;
    }
    double sum = 0;
    for (double x : v) sum += x;
    return sum / static_cast<double>(v.size());
}

LevelResult LevelSeries(CObjectListElem& object, LevelStatistic statistic) {
    LevelResult result;
    const bool flux = object.is_flux;
    CSeriesTreeElem* anchor = nullptr;
    for (auto& series : object.series) {
        if (series->enabled && series->Count() > 0) {
            anchor = series.get();
            break;
        }
    }
    if (!anchor) {
        result.message = "The object has no enabled series with points";
        return result;
    }
    const double anchor_raw = SeriesLevel(*anchor, statistic);
    if (flux && !(anchor_raw > 0)) {
        result.message = "The earliest enabled series has no positive flux level";
        return result;
    }
    // The anchor's level as the charts show it.
    result.reference = anchor;
    result.reference_level = flux ? anchor_raw * anchor->offset : anchor_raw + anchor->offset;
    for (auto& series : object.series) {
        if (series.get() == anchor || !series->enabled || series->Count() == 0) continue;
        const double level = SeriesLevel(*series, statistic);
        if (flux) {
            if (!(level > 0)) {
                ++result.skipped_flux_level;
                continue;
            }
            series->offset = result.reference_level / level;
        } else {
            series->offset = result.reference_level - level;
        }
        ++result.levelled;
    }
    result.ok = true;
    return result;
}

int ClearSeriesOffsets(CObjectListElem& object) {
    const double none = object.is_flux ? 1.0 : 0.0;
    int changed = 0;
    for (auto& series : object.series) {
        if (series->offset == none) continue;
        series->offset = none;
        ++changed;
    }
    return changed;
}

bool ConfirmLevelSeries(kurvalux_platform::CMessageBoxSink& messages) {
    return messages.Show("Warning", {"Offsets of selected object series", "will be leveled."},
                         MessageIcon::Warning, MessageButtons::OkCancel) == MessageAnswer::Ok;
}

bool ConfirmClearSeriesOffsets(kurvalux_platform::CMessageBoxSink& messages) {
    return messages.Show("Warning", {"Offsets of selected object series", "will be cleared."},
                         MessageIcon::Warning, MessageButtons::OkCancel) == MessageAnswer::Ok;
}

const char* LevelStatisticName(LevelStatistic statistic) {
    switch (statistic) {
        case LevelStatistic::kMedian:
            return "median";
        case LevelStatistic::kRange:
            return "range";
        case LevelStatistic::kAverage:
            break;
    }
    return "average";
}

}  // namespace kurvalux_data

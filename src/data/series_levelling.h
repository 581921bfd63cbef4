#pragma once
// Levelling: series of one star taken on different nights, with different comparison stars,
// apertures or transparency, sit at different heights. Observers bring them onto one level by
// giving each series an offset (magnitudes) or a factor (flux) so that a chosen statistic of
// its values equals that of the earliest series in use. The earliest series keeps its own
// offset and is the anchor; the statistic is the median (robust to eclipses that cover part
// of a night), the mid-range (the mean of the brightest and faintest point, for series that
// each cover a whole cycle) or the mean.
#include <string>
#include <vector>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_data {

enum class LevelStatistic { kMedian, kRange, kAverage };

struct LevelResult {
    bool ok = false;
    std::string message;  // why nothing was done
    const CSeriesTreeElem* reference = nullptr;
    double reference_level = 0;  // the anchor's statistic, its offset applied
    int levelled = 0;            // series given a new offset, the anchor not counted
    int skipped_flux_level = 0;  // flux series whose level is not positive: no factor exists
};

// The statistic of the raw values (offset not applied) of one series; NaN when it has none.
double SeriesLevel(const CSeriesTreeElem& series, LevelStatistic statistic);

// Levels the enabled series that hold points of `object` onto its earliest one.
LevelResult LevelSeries(CObjectListElem& object, LevelStatistic statistic);

// Every series back to no offset: 0 for magnitudes, factor 1 for flux. Returns how many
// changed.
int ClearSeriesOffsets(CObjectListElem& object);

// The warnings shown before the commands act: true when the user goes on.
bool ConfirmLevelSeries(kurvalux_platform::CMessageBoxSink& messages);
bool ConfirmClearSeriesOffsets(kurvalux_platform::CMessageBoxSink& messages);

const char* LevelStatisticName(LevelStatistic statistic);

}  // namespace kurvalux_data

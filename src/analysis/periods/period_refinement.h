#pragma once
// The period of a key refined by the minima themselves. A key of the search from minima
// instances holds every trial period within 0.0005 d of it, and the search offers their mean.
// Over a long baseline those trial periods belong to different cycle counts, so their mean
// folds the minima badly (seven transits of a hot Jupiter over two years: the mean 1.0911483 d
// has R = 0.08 while 1.0914 d has R = 0.99997). The refinement takes the trial period of the key
// that folds the minima best, counts the cycles with it, and fits T = T0 + P·n to the minima,
// weighted like the O-C ephemeris fit (1/σ², a minimum without error counted with the median
// error, errors scaled up when the scatter exceeds them).
#include <cstdint>
#include <string>
#include <vector>

#include "analysis/periods/period_from_minima.h"

namespace kurvalux_analysis {

struct RefinedPeriod {
    bool ok = false;
    double trial = 0;      // the trial period of the key that folds the minima best
    double coherence = 0;  // its R
    double period = 0;     // the fitted period, days
    double error = 0;      // its standard error, days
};

// Refines the key `key` (thousandths of a day) for `minima` (time order, as gathered for the
// search) with the secondary phase of the search. The trial periods are those of the first and
// the last minimum that fall into the key, and `offered` (the search's value for the key) when
// it is not 0. Not ok when there is no trial period.
RefinedPeriod RefinePeriodKey(const std::vector<SearchMinimum>& minima, int64_t key,
                              double secondary_phase, double offered = 0);

// Fills `refined` and `refined_error` of each entry of a search result.
void RefineFoundPeriods(const std::vector<SearchMinimum>& minima, double secondary_phase,
                        std::vector<kurvalux_data::CPeriodListElem>& periods);

// How an entry reads in the "P:" list: the key's period, and beside it the refined period and
// its error when there is one and it differs in the seven decimals shown or has an error of
// at least 5e-8 d ("1.0911483  fit 1.0914191 ±4.0e-07").
std::string PeriodListText(const kurvalux_data::CPeriodListElem& entry);

}  // namespace kurvalux_analysis

#include "analysis/periods/period_refinement.h"

#include <cmath>
#include <cstdio>

#include "analysis/ephemeris_fit.h"
#include "platform/text.h"

namespace kurvalux_analysis {

namespace {

int UndefinedCount(const std::vector<SearchMinimum>& minima) {
    int undefined = 0;
    for (const SearchMinimum& m : minima)
        if (m.type != kurvalux_data::kMinimumPrimary && m.type != kurvalux_data::kMinimumSecondary)
            ++undefined;
    return undefined;
}

// Weighted straight line through the minima with the cycle counts `period` gives them. Each
// minimum enters at its cycle plus its phase offset from the first minimum, as a primary at a
// fractional cycle, so the one fit serves any secondary phase.
bool FitCounted(const std::vector<SearchMinimum>& minima, const std::vector<uint8_t>& flags,
                double period, double secondary_phase, RefinedPeriod& out) {
    const double t0 = minima.front().time;
    std::vector<OCEntry> table(minima.size());
    for (size_t j = 0; j < minima.size(); ++j) {
        const double offset =
            j == 0 ? 0.0 : MinimaCycleOffset(flags[0], flags[j], 0.0, secondary_phase);
        const double n = std::round((minima[j].time - t0) / period - offset) + offset;
        table[j].type = kurvalux_data::kMinimumPrimary;
        table[j].time = minima[j].time;
        table[j].error = minima[j].error;
        table[j].cycle = n;
        table[j].oc = minima[j].time - (t0 + period * n);
    }
    const EphemerisFitResult fit = FitEphemeris(table, t0, period, EphemerisFitOptions{});
    if (!fit.ok) return false;
    out.period = fit.period;
    out.error = fit.period_error;
    return true;
}

}  // namespace

RefinedPeriod RefinePeriodKey(const std::vector<SearchMinimum>& minima, int64_t key,
                              double secondary_phase, double offered) {
    RefinedPeriod best;
    const size_t n = minima.size();
    if (n < 2 || key <= 0) return best;
    // Whatever the cycle counts, the period that fits all minima also puts the first and the
    // last a whole number of cycles (plus offset) apart: the trial periods of that pair, the
    // finest of all pairs, are enough to find the best one of the key. A key that only partly
    // folds the minima may hold none of them (its periods are wider apart than the key); its
    // offered value is tried as well.
    const double lo = (static_cast<double>(key) - 0.5) / 1000.0;
    const double hi = (static_cast<double>(key) + 0.5) / 1000.0;
    const double delta = minima[n - 1].time - minima[0].time;
    if (!(delta > 0)) return best;
    const uint64_t variants = uint64_t{1} << UndefinedCount(minima);
    std::vector<uint8_t> best_flags;
    for (uint64_t v = 0; v < variants; ++v) {
        const std::vector<uint8_t> flags = MinimaVariantFlags(minima, v);
        const double c = MinimaCycleOffset(flags[0], flags[n - 1], 1.0, secondary_phase);
        const double m_first = std::max(0.0, std::floor(delta / hi - c));
        const double m_last = std::ceil(delta / lo - c);
        auto consider = [&](double trial) {
            const double r = MinimaCoherence(minima, flags, trial, secondary_phase);
            if (r > best.coherence) {
                best.coherence = r;
                best.trial = trial;
                best_flags = flags;
            }
        };
        for (double m = m_first; m <= m_last; ++m) {
            const double trial = delta / (c + m);
            if (PeriodKey(trial) == key) consider(trial);
        }
        if (offered > 0) consider(offered);
    }
    if (best_flags.empty()) return best;
    best.ok = FitCounted(minima, best_flags, best.trial, secondary_phase, best);
    return best;
}

void RefineFoundPeriods(const std::vector<SearchMinimum>& minima, double secondary_phase,
                        std::vector<kurvalux_data::CPeriodListElem>& periods) {
    for (kurvalux_data::CPeriodListElem& entry : periods) {
        const RefinedPeriod refined =
            RefinePeriodKey(minima, entry.key, secondary_phase, entry.period);
        if (!refined.ok) continue;
        entry.refined = refined.period;
        entry.refined_error = refined.error;
    }
}

std::string PeriodListText(const kurvalux_data::CPeriodListElem& entry) {
    std::string text = kurvalux_platform::FormatFixed(entry.period, 7);
    const std::string refined = kurvalux_platform::FormatFixed(entry.refined, 7);
    // A fit that says nothing the seven decimals do not already say is left out.
    const bool adds = refined != text || entry.refined_error >= 5e-8;
    if (entry.refined > 0 && adds) {
        char error[32];
        std::snprintf(error, sizeof error, "%.1e", entry.refined_error);
        text += "  fit " + refined + " \u00b1" + error;
    }
    return text;
}

}  // namespace kurvalux_analysis

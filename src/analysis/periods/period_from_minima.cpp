#include "analysis/periods/period_from_minima.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "analysis/periods/period_refinement.h"
#include "platform/system.h"

namespace kurvalux_analysis {

using kurvalux_data::CObjectListElem;
using kurvalux_data::CPeriodListElem;
using kurvalux_platform::MessageBoxRecord;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

namespace {

constexpr double kTwoPiPhase = 6.283185307179586;
// Keys beyond this cannot be held in 64 bits; such periods (longer than 9e15 days) are not
// periods of anything and are left out.
constexpr double kLargestKeyValue = 9.0e18;
// Slack added to the early-rejection bound of the coherence, so that a rounding difference
// between the partial sums and the final R can never reject a candidate the full sum keeps.
constexpr double kBoundSlack = 1e-9;

struct Candidate {
    int64_t key;
    double period;
};

// The per-variant constants of the coherence: time from the first minimum and the expected
// phase offset of each minimum j = 1 .. n-1.
struct PhaseTable {
    std::vector<double> dt;
    std::vector<double> offset;
};

PhaseTable MakePhaseTable(const std::vector<SearchMinimum>& minima,
                          const std::vector<uint8_t>& flags, double s) {
    PhaseTable table;
    for (size_t j = 1; j < minima.size(); ++j) {
        table.dt.push_back(minima[j].time - minima[0].time);
        table.offset.push_back(MinimaCycleOffset(flags[0], flags[j], 0.0, s));
    }
    return table;
}

// Coherence of one trial period; returns -1 as soon as the remaining minima can no longer lift
// R to `limit` (every remaining unit vector adds at most 1 to the length of the sum). The sums
// are those of the full computation, so a kept candidate gets exactly the full R.
double Coherence(const PhaseTable& table, double period, double limit) {
    const size_t n = table.dt.size() + 1;
    const double target = limit * static_cast<double>(n) - kBoundSlack;
    double sum_cos = 1.0;  // the pair (0, 0): phase difference 0
    double sum_sin = 0.0;
    for (size_t j = 0; j < table.dt.size(); ++j) {
        double d = table.dt[j] / period - table.offset[j];
        d -= d < 0 ? std::ceil(d) : std::floor(d);
        sum_cos += std::cos(kTwoPiPhase * d);
        sum_sin += std::sin(kTwoPiPhase * d);
        const double reach = target - static_cast<double>(table.dt.size() - 1 - j);
        if (reach > 0 && sum_cos * sum_cos + sum_sin * sum_sin < reach * reach) return -1.0;
    }
    const double c = sum_cos / static_cast<double>(n);
    const double s = sum_sin / static_cast<double>(n);
    return std::sqrt(s * s + c * c);
}

// Stable least-significant-digit radix sort by key (keys are non-negative): candidates with
// equal keys stay in the order they were generated, so the mean of a run is summed in that
// order whatever the thread.
void SortByKey(std::vector<Candidate>& items, std::vector<Candidate>& buffer) {
    if (items.empty()) return;
    int64_t largest = 0;
    for (const Candidate& c : items) largest = std::max(largest, c.key);
    constexpr int kBits = 11;
    constexpr size_t kBuckets = size_t{1} << kBits;
    buffer.resize(items.size());
    std::vector<size_t> counts(kBuckets);
    for (int shift = 0; shift < 64 && (largest >> shift) != 0; shift += kBits) {
        std::fill(counts.begin(), counts.end(), 0);
        for (const Candidate& c : items) ++counts[(c.key >> shift) & (kBuckets - 1)];
        size_t total = 0;
        for (size_t& count : counts) {
            size_t here = count;
            count = total;
            total += here;
        }
        for (const Candidate& c : items) buffer[counts[(c.key >> shift) & (kBuckets - 1)]++] = c;
        items.swap(buffer);
    }
}

// Keys within this many thousandths of a day above the minimal period's key are merged in a
// dense table indexed by key (almost every candidate lies there: a pair of minima gives as many
// periods below 65 d as its time span allows and only a few above); the rest are sorted.
constexpr size_t kDenseKeys = size_t{1} << 16;

struct Workspace {
    std::vector<double> dense_sum;
    std::vector<uint32_t> dense_count;
    std::vector<Candidate> sparse;
    std::vector<Candidate> buffer;
};

// One variant: its candidates, merged by key (runs of equal keys to the mean of their periods,
// summed in the order generated), scored; the survivors (R >= limit) in descending key order.
// The order matters: the result keeps equal R in the order offered, and every whole fraction of
// a well-timed interval has R = 1, so the longest periods (the interval itself, its half, ...)
// must come first or the list fills with the shortest aliases near the minimal period.
void SearchVariant(const std::vector<SearchMinimum>& minima, const std::vector<uint8_t>& flags,
                   const PeriodFromMinimaOptions& options, Workspace& ws,
                   std::vector<CPeriodListElem>& survivors) {
    const size_t n = minima.size();
    const double s = options.secondary_phase;
    // Every candidate is at least the minimal period: delta / (c + m) with c + m <= N.
    const int64_t lowest = std::max<int64_t>(0, PeriodKey(options.min_period) - 1);
    ws.dense_sum.assign(kDenseKeys, 0.0);
    ws.dense_count.assign(kDenseKeys, 0);
    ws.sparse.clear();
    for (size_t i = 0; i + 1 < n; ++i) {
        for (size_t j = i + 1; j < n; ++j) {
            const double delta = minima[j].time - minima[i].time;
            const double count = std::trunc(delta / options.min_period);
            if (!(count >= 1)) continue;
            const double c = MinimaCycleOffset(flags[i], flags[j], 1.0, s);
            const int64_t steps = static_cast<int64_t>(count);
            for (int64_t m = 0; m < steps; ++m) {
                const double period = delta / (c + static_cast<double>(m));
                const double scaled = period * 1000.0 + 0.5;
                if (!(scaled < kLargestKeyValue)) continue;
                const int64_t key = static_cast<int64_t>(scaled);
                const uint64_t slot = static_cast<uint64_t>(key - lowest);
                if (slot < kDenseKeys) {
                    ws.dense_sum[slot] += period;
                    ++ws.dense_count[slot];
                } else {
                    ws.sparse.push_back({key, period});
                }
            }
        }
    }
    SortByKey(ws.sparse, ws.buffer);

    const PhaseTable table = MakePhaseTable(minima, flags, s);
    survivors.clear();
    auto score = [&](int64_t key, double period) {
        const double r = Coherence(table, period, options.limit);
        if (!(r < options.limit)) survivors.push_back({period, key, r});
    };
    // Dense keys are all below the sparse ones except those under `lowest` (none in practice),
    // which the sorted list holds first; walk both from the top to keep the global key order.
    const std::vector<Candidate>& sparse = ws.sparse;
    size_t b = sparse.size();  // sparse[0, b) are still to be scored
    auto flush_sparse_above = [&](int64_t key) {
        while (b > 0 && sparse[b - 1].key > key) {
            size_t a = b - 1;
            while (a > 0 && sparse[a - 1].key == sparse[b - 1].key) --a;
            double sum = 0;
            for (size_t k = a; k < b; ++k) sum += sparse[k].period;  // in the order generated
            score(sparse[a].key, sum / static_cast<double>(b - a));
            b = a;
        }
    };
    for (size_t slot = kDenseKeys; slot-- > 0;) {
        if (!ws.dense_count[slot]) continue;
        const int64_t key = lowest + static_cast<int64_t>(slot);
        flush_sparse_above(key);
        score(key, ws.dense_sum[slot] / ws.dense_count[slot]);
    }
    flush_sparse_above(INT64_MIN);
}

}  // namespace

double MinimaCycleOffset(uint8_t fi, uint8_t fj, double same, double s) {
    if (fi == fj) return same;
    return fj == 1 ? s : 1.0 - s;
}

std::vector<uint8_t> MinimaVariantFlags(const std::vector<SearchMinimum>& minima, uint64_t v) {
    std::vector<uint8_t> flags(minima.size());
    int k = 0;
    for (size_t i = 0; i < minima.size(); ++i) {
        switch (minima[i].type) {
            case kurvalux_data::kMinimumPrimary:
                flags[i] = 1;
                break;
            case kurvalux_data::kMinimumSecondary:
                flags[i] = 0;
                break;
            default:
                flags[i] = static_cast<uint8_t>((v >> k++) & 1u);
                break;
        }
    }
    return flags;
}

void MergePeriodIntoResult(std::vector<CPeriodListElem>& result, const CPeriodListElem& candidate) {
    for (const CPeriodListElem& e : result)
        if (e.key == candidate.key) return;
    auto position = std::find_if(result.begin(), result.end(), [&](const CPeriodListElem& e) {
        return e.coherence < candidate.coherence;
    });
    if (position == result.end()) {
        if (result.size() < kPeriodResultCapacity) result.push_back(candidate);
        return;
    }
    result.insert(position, candidate);
    if (result.size() > kPeriodResultCapacity) result.pop_back();
}

int64_t PeriodKey(double period) {
    const double scaled = period * 1000.0 + 0.5;
    if (!(scaled < kLargestKeyValue && scaled > -kLargestKeyValue)) return 0;
    return static_cast<int64_t>(scaled);
}

std::string CheckPeriodFromMinimaOptions(const PeriodFromMinimaOptions& options) {
    if (!(options.min_period > 0) || !std::isfinite(options.min_period))
        return "Minimal period must be a positive number";
    if (!(options.secondary_phase > 0 && options.secondary_phase < 1))
        return "Secondary minimum phase must lie between 0 and 1";
    if (std::isnan(options.limit)) return "Phase difference limit must be a number";
    return {};
}

uint64_t CountMinimaCandidates(const std::vector<SearchMinimum>& minima, double min_period) {
    double total = 0;
    for (size_t i = 0; i + 1 < minima.size(); ++i)
        for (size_t j = i + 1; j < minima.size(); ++j) {
            const double count = std::trunc((minima[j].time - minima[i].time) / min_period);
            if (count >= 1) total += count;
        }
    return total >= 1.8e19 ? UINT64_MAX : static_cast<uint64_t>(total);
}

double MinimaCoherence(const std::vector<SearchMinimum>& minima, const std::vector<uint8_t>& flags,
                       double period, double secondary_phase) {
    if (minima.empty() || flags.size() != minima.size()) return 0;
    return Coherence(MakePhaseTable(minima, flags, secondary_phase), period, -1.0);
}

std::vector<CPeriodListElem> SearchPeriodsFromMinima(const std::vector<SearchMinimum>& minima,
                                                     const PeriodFromMinimaOptions& options) {
    std::vector<CPeriodListElem> result;
    const size_t n = minima.size();
    if (n < kMinimaSearchMinCount || n > kMinimaSearchMaxCount) return result;
    if (!CheckPeriodFromMinimaOptions(options).empty()) return result;
    if (CountMinimaCandidates(minima, options.min_period) > kMaxCandidatesPerVariant) return result;

    int undefined = 0;
    for (const SearchMinimum& m : minima)
        if (m.type != kurvalux_data::kMinimumPrimary && m.type != kurvalux_data::kMinimumSecondary)
            ++undefined;
    const uint64_t variants = uint64_t{1} << undefined;

    unsigned threads = options.threads ? options.threads : kurvalux_platform::ProcessorCount();
    threads = static_cast<unsigned>(std::clamp<uint64_t>(threads, 1, variants));
    std::vector<Workspace> workspaces(threads);

    // Variants are searched in rounds of a few per worker; each round's survivors are merged
    // in variant order before the next round starts, which keeps memory bounded and the result
    // exactly that of the sequential search.
    const uint64_t round_size = uint64_t{threads} * 4;
    std::vector<std::vector<CPeriodListElem>> survivors;
    for (uint64_t base = 0; base < variants; base += round_size) {
        const uint64_t count = std::min(round_size, variants - base);
        survivors.assign(count, {});
        std::atomic<uint64_t> next{0};
        auto work = [&](Workspace& ws) {
            for (uint64_t k; (k = next.fetch_add(1)) < count;)
                SearchVariant(minima, MinimaVariantFlags(minima, base + k), options, ws,
                              survivors[k]);
        };
        if (threads == 1 || count == 1) {
            work(workspaces[0]);
        } else {
            std::vector<std::jthread> workers;
            for (unsigned t = 1; t < threads; ++t)
                workers.emplace_back([&, t] { work(workspaces[t]); });
            work(workspaces[0]);
        }
        for (const auto& list : survivors)
            for (const CPeriodListElem& candidate : list) MergePeriodIntoResult(result, candidate);
    }
    return result;
}

MinimaGathering GatherSearchMinima(const CObjectListElem& object) {
    MinimaGathering gathering;
    std::vector<SearchMinimum>& minima = gathering.minima;
    // A disabled series is only hidden from the charts; its minima are timings of the star like
    // any other. Only a minimum the user marked excluded is left out.
    for (const auto& series : object.series) {
        for (const auto& m : series->minima)
            if (m.enabled) minima.push_back({m.time, m.type, m.error});
    }
    std::stable_sort(
        minima.begin(), minima.end(),
        [](const SearchMinimum& a, const SearchMinimum& b) { return a.time < b.time; });
    if (minima.size() > kMinimaCommandMaxCount) {
        minima.resize(kMinimaCommandMaxCount);
        gathering.messages.push_back({"Too many minima",
                                      {"Only first 8 minima used for estimation"},
                                      MessageIcon::Warning,
                                      MessageButtons::Ok});
    }
    if (minima.size() < kMinimaSearchMinCount) {
        gathering.messages.push_back({"Cannot find period",
                                      {"At last 3 minima needed to find period"},
                                      MessageIcon::Error,
                                      MessageButtons::Ok});
        return gathering;
    }
    gathering.can_search = true;
    return gathering;
}

void PutCurrentPeriodFirst(const CObjectListElem& object, std::vector<CPeriodListElem>& periods) {
    if (object.period == 0) return;
    periods.insert(periods.begin(), CPeriodListElem{object.period, PeriodKey(object.period), 0});
}

PeriodCommandResult RunPeriodsFromMinima(CObjectListElem& object,
                                         const std::vector<SearchMinimum>& minima,
                                         const PeriodFromMinimaOptions& options) {
    PeriodCommandResult outcome;
    const std::string bad = CheckPeriodFromMinimaOptions(options);
    if (!bad.empty()) {
        outcome.messages.push_back(
            {"Cannot find period", {bad}, MessageIcon::Error, MessageButtons::Ok});
        return outcome;
    }
    const uint64_t candidates = CountMinimaCandidates(minima, options.min_period);
    if (candidates > kMaxCandidatesPerVariant) {
        outcome.messages.push_back({"Cannot find period",
                                    {"Too many trial periods (" + std::to_string(candidates) + ")",
                                     "- raise Minimal period"},
                                    MessageIcon::Error,
                                    MessageButtons::Ok});
        return outcome;
    }
    std::vector<CPeriodListElem> periods = SearchPeriodsFromMinima(minima, options);
    RefineFoundPeriods(minima, options.secondary_phase, periods);
    outcome.found = !periods.empty();
    outcome.offered = periods;
    PutCurrentPeriodFirst(object, periods);
    object.periods = std::move(periods);
    outcome.changed = true;
    if (!outcome.found) {
        outcome.messages.push_back(
            {"Cannot find period",
             {"No period fits defined minima. Try to:", "- lower Phase difference limit",
              "- remove (possibly wrong) Primary/Secondary attribute (set minima type "
              "Undefined)"},
             MessageIcon::Warning,
             MessageButtons::Ok});
    } else {
        outcome.messages.push_back({"Possible periods were found",
                                    {"All found periods fitting defined minima",
                                     "were added as items of period combo-box \"P:\""},
                                    MessageIcon::Information,
                                    MessageButtons::Ok});
    }
    return outcome;
}

PeriodCommandResult FindPeriodsFromMinimaCommand(CObjectListElem& object,
                                                 const PeriodFromMinimaOptions& options,
                                                 kurvalux_platform::CMessageBoxSink& messages) {
    MinimaGathering gathering = GatherSearchMinima(object);
    for (const MessageBoxRecord& box : gathering.messages)
        messages.Show(box.title, box.lines, box.icon, box.buttons);
    if (!gathering.can_search) {
        PeriodCommandResult outcome;
        outcome.messages = gathering.messages;
        return outcome;
    }
    PeriodCommandResult outcome = RunPeriodsFromMinima(object, gathering.minima, options);
    for (const MessageBoxRecord& box : outcome.messages)
        messages.Show(box.title, box.lines, box.icon, box.buttons);
    outcome.messages.insert(outcome.messages.begin(), gathering.messages.begin(),
                            gathering.messages.end());
    return outcome;
}

}  // namespace kurvalux_analysis

#pragma once
// Period from minima instances: candidate periods of an object from the times of a few of its
// minima alone. Every period that puts a pair of minima a whole number of cycles apart (or a
// whole number plus the secondary phase, when one is primary and the other secondary) is a
// candidate; a candidate is kept when, folded with it, all minima fall on their expected
// phases (coherence R of the phase vectors close to 1).
//
// Minima of undefined type are tried both ways: with u of them, 2^u variants of
// primary/secondary flags are searched, and the results merged in variant order.
#include <cstdint>
#include <string>
#include <vector>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_analysis {

// One minimum as the search sees it: its time (JD) and type (kurvalux_data::MinimumType).
struct SearchMinimum {
    double time = 0;
    uint32_t type = kurvalux_data::kMinimumUndefined;
    double error = 0;  // the minimum's timing error, 0 when unknown (weights the refinement)
};

// The search accepts 3 to 31 minima; the command passes at most 8.
constexpr size_t kMinimaSearchMinCount = 3;
constexpr size_t kMinimaSearchMaxCount = 31;
constexpr size_t kMinimaCommandMaxCount = 8;
// At most this many periods are offered.
constexpr size_t kPeriodResultCapacity = 20;
// A variant producing more trial periods than this is refused (memory: 16 bytes each, twice,
// per worker); the default minimal period over a century of minima stays far below it.
constexpr uint64_t kMaxCandidatesPerVariant = 40'000'000;

struct PeriodFromMinimaOptions {
    double min_period = 0.1;       // "Minimal period [d]:"
    double limit = 0.999;          // "Phase difference limit:", the least coherence R kept
    double secondary_phase = 0.5;  // "Secondary minimum phase:"
    unsigned threads = 0;          // 0 = the processor count read at start-up
};

// Cycle offset between minima i and j for the flags of a variant: `same` when both are of
// one type, s when a secondary precedes a primary, 1 - s when a primary precedes a secondary.
double MinimaCycleOffset(uint8_t fi, uint8_t fj, double same, double s);

// The primary (1) / secondary (0) flags of variant v: typed minima keep their type, the
// undefined ones take the bits of v, the lowest bit for the earliest.
std::vector<uint8_t> MinimaVariantFlags(const std::vector<SearchMinimum>& minima, uint64_t v);

// The key of a period: the period rounded to 0.001 d, as an integer number of thousandths.
int64_t PeriodKey(double period);

// Returns an empty text when the options can be searched with, else the reason.
std::string CheckPeriodFromMinimaOptions(const PeriodFromMinimaOptions& options);

// Sum over the pairs of minima of trunc(delta / min_period): the trial periods of one variant
// (all variants have the same count).
uint64_t CountMinimaCandidates(const std::vector<SearchMinimum>& minima, double min_period);

// Coherence R of the minima folded with `period` for the flags of one variant (1 primary,
// 0 secondary): the length of the mean phase vector of the minima counted from the first.
double MinimaCoherence(const std::vector<SearchMinimum>& minima, const std::vector<uint8_t>& flags,
                       double period, double secondary_phase);

// The result rule for one surviving candidate: a key already in `result` is discarded;
// otherwise the candidate goes before the first entry with a smaller R (after equal ones), the
// 21st entry falls off, and a candidate that would go last enters only while the list holds
// fewer than 20.
void MergePeriodIntoResult(std::vector<kurvalux_data::CPeriodListElem>& result,
                           const kurvalux_data::CPeriodListElem& candidate);

// The search itself. Returns at most 20 periods in descending order of R (equal R in the
// order found, longest period first), nothing for fewer than 3 or more than 31 minima or for
// options that fail the check. The variants run on `options.threads` workers; the result is that of
// the sequential rule: variants merged in order, the earlier variant's entry kept for a repeated
// key.
std::vector<kurvalux_data::CPeriodListElem> SearchPeriodsFromMinima(
    const std::vector<SearchMinimum>& minima, const PeriodFromMinimaOptions& options);

// The minima of an object in time order (series in time order, their minima merged by time;
// minima marked excluded are left out, those of disabled series taken), at most
// kMinimaCommandMaxCount of them, with the boxes the command shows before its dialog.
struct MinimaGathering {
    std::vector<SearchMinimum> minima;
    std::vector<kurvalux_platform::MessageBoxRecord> messages;  // shown in this order
    bool can_search = false;  // false: stop after showing the messages
};
MinimaGathering GatherSearchMinima(const kurvalux_data::CObjectListElem& object);

// What a period command did: the boxes to show, in order, and whether the object changed.
struct PeriodCommandResult {
    bool changed = false;  // the object's period list was rewritten
    bool found = false;    // the search offered at least one period
    // The periods the search put into the list, best first (without the current period).
    std::vector<kurvalux_data::CPeriodListElem> offered;
    std::vector<kurvalux_platform::MessageBoxRecord> messages;
};

// The command after its dialog: searches `minima` (from GatherSearchMinima) with the dialog's
// values, replaces the object's period list with the result, puts the object's current period
// (if any) at its head and says what happened.
PeriodCommandResult RunPeriodsFromMinima(kurvalux_data::CObjectListElem& object,
                                         const std::vector<SearchMinimum>& minima,
                                         const PeriodFromMinimaOptions& options);

// The whole command without its dialog (batch use): gathers, shows the boxes through
// `messages` and searches with `options`.
PeriodCommandResult FindPeriodsFromMinimaCommand(kurvalux_data::CObjectListElem& object,
                                                 const PeriodFromMinimaOptions& options,
                                                 kurvalux_platform::CMessageBoxSink& messages);

// Puts the current period (when non-zero) at the head of a period list.
void PutCurrentPeriodFirst(const kurvalux_data::CObjectListElem& object,
                           std::vector<kurvalux_data::CPeriodListElem>& periods);

}  // namespace kurvalux_analysis

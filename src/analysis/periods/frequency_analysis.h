#pragma once
// Frequency analysis: the multiharmonic AoV periodogram of an object's photometry on a grid of
// trial periods uniform in period, spread over one worker thread per processor, and the
// command that offers the three periods of highest response.
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "analysis/periods/aov_dispatch.h"
#include "analysis/periods/aov_kernel.h"
#include "analysis/periods/period_from_minima.h"
#include "data/field.h"
#include "platform/posting.h"

namespace kurvalux_analysis {

// An array of doubles aligned for the vector kernels.
class CAlignedDoubles {
public:
    CAlignedDoubles() = default;
    explicit CAlignedDoubles(size_t count);
    CAlignedDoubles(const CAlignedDoubles& other);
    CAlignedDoubles& operator=(const CAlignedDoubles& other);
    CAlignedDoubles(CAlignedDoubles&&) noexcept = default;
    CAlignedDoubles& operator=(CAlignedDoubles&&) noexcept = default;
    double* data() { return data_.get(); }
    const double* data() const { return data_.get(); }
    size_t size() const { return size_; }
    double& operator[](size_t i) { return data_[i]; }
    double operator[](size_t i) const { return data_[i]; }

private:
    struct Free {
        void operator()(double* p) const;
    };
    std::unique_ptr<double[], Free> data_;
    size_t size_ = 0;
};

// The points as the kernels take them: weights w = 1/sigma^2 (sigma = 0 counts as 1), values
// with the weighted mean removed, times relative to the middle of the time span (tmin + tmax)/2
// so that the phases w*t stay small and exact in double precision.
class CAovPreparedData {
public:
    CAovPreparedData() = default;
    CAovPreparedData(const double* times, const double* values, const double* sigmas, size_t n);

    AovKernelData View() const;
    size_t Count() const { return count_; }
    size_t Padded() const { return padded_; }
    double ReferenceEpoch() const { return reference_epoch_; }
    double WeightedMean() const { return mean_; }
    double Variance() const { return variance_; }
    const CAlignedDoubles& Times() const { return t_; }

private:
    size_t count_ = 0;
    size_t padded_ = 0;
    CAlignedDoubles t_, w_, wx_;
    double weight_sum_ = 0;
    double variance_ = 0;
    double reference_epoch_ = 0;
    double mean_ = 0;
};

// The points of an object's enabled series: times, values as the charts show them (with the
// series offset) and errors.
struct ObjectPoints {
    std::vector<double> times, values, errors;
};
ObjectPoints CollectObjectPoints(const kurvalux_data::CObjectListElem& object);

// Angular frequency of a trial period, 2 pi / P.
inline double AngularFrequency(double period) {
    return 6.283185307179586 / period;
}

// Evaluates the periodogram at the given periods on the calling thread (tests, tools). With
// `coefficients`, receives the 2nh+1 projections c_n per period as (re, im) pairs.
std::vector<AovValue> EvaluateAov(const CAovPreparedData& data, int harmonics,
                                  const std::vector<double>& periods, AovIsa isa = AovIsa::Auto,
                                  std::vector<double>* coefficients = nullptr);

// The trial periods Pmin + k*step, k = 0 .. steps (steps + 1 periods).
struct PeriodGrid {
    double min_period = 0;
    double step = 0;
    uint64_t steps = 0;  // K
    double Period(uint64_t k) const { return min_period + static_cast<double>(k) * step; }
    uint64_t Count() const { return steps + 1; }
};

// The three largest responses in one pass in index order: a response takes the first place
// whose kept response it strictly exceeds (or which is empty) and pushes the later ones down,
// so ties keep the lower index and neighbouring points of one peak may take all three places.
std::vector<uint64_t> TopThree(const std::vector<AovValue>& values);

// The driver: splits the K + 1 grid indices into contiguous ranges, one worker thread per
// range, each with its own copy of the point times and its own scratch. Workers post
// kMsgFrequencyProgress (a = worker id, b = periods done) when their progress-posted byte is
// clear, setting it, and kMsgFrequencyDone (a = worker id) when their range is finished or
// cancelled. The receiver of the progress message calls AcknowledgeProgress(id) once it has
// shown it, so that a slow interface is never flooded.
class CFrequencyAnalysis {
public:
    CFrequencyAnalysis(std::shared_ptr<const CAovPreparedData> data, PeriodGrid grid, int harmonics,
                       unsigned workers, AovIsa isa);
    ~CFrequencyAnalysis();  // cancels and joins
    CFrequencyAnalysis(const CFrequencyAnalysis&) = delete;
    CFrequencyAnalysis& operator=(const CFrequencyAnalysis&) = delete;

    // Starts the workers; `poster` may be null (no messages). False when the kernel is not
    // available on this processor.
    bool Start(kurvalux_platform::CPoster* poster);
    void AcknowledgeProgress(unsigned worker);
    void Cancel();
    // Waits for every worker to end.
    void Join();

    unsigned WorkerCount() const { return static_cast<unsigned>(ranges_.size()); }
    uint64_t Total() const { return grid_.Count(); }
    uint64_t Done() const;
    bool Cancelled() const { return cancelled_.load(); }
    // The periodogram, index k for period grid.Period(k); complete after Join() without Cancel.
    const std::vector<AovValue>& Values() const { return values_; }
    const PeriodGrid& Grid() const { return grid_; }

private:
    struct Worker {
        uint64_t first = 0, last = 0;  // inclusive
        std::atomic<uint8_t> progress_posted{0};
        std::atomic<uint8_t> cancel{0};
        std::atomic<uint64_t> done{0};
    };
    void Work(unsigned id, kurvalux_platform::CPoster* poster);

    std::shared_ptr<const CAovPreparedData> data_;
    PeriodGrid grid_;
    int harmonics_;
    AovKernelFunction kernel_ = nullptr;
    std::vector<std::pair<uint64_t, uint64_t>> ranges_;
    std::unique_ptr<Worker[]> workers_;
    std::vector<AovValue> values_;
    std::vector<std::jthread> threads_;
    std::atomic<bool> cancelled_{false};
};

// Called on the waiting thread with (periods done, total); returning false cancels.
using FrequencyProgress = std::function<bool(uint64_t done, uint64_t total)>;

struct FrequencyRunResult {
    bool started = false;  // false: the kernel is not available
    bool cancelled = false;
    std::vector<AovValue> values;
};

// Runs the driver and waits for it on the calling thread, which plays the part of the user
// interface: it receives the workers' messages, reports progress, acknowledges it, and passes
// every message on to `observer` (may be null).
FrequencyRunResult RunFrequencyAnalysis(std::shared_ptr<const CAovPreparedData> data,
                                        const PeriodGrid& grid, int harmonics, unsigned workers,
                                        AovIsa isa, kurvalux_platform::CPoster* observer,
                                        const FrequencyProgress& progress);

// The command's dialog values; `workers` 0 means the processor count read at start-up.
struct FrequencyAnalysisOptions {
    double min_period = 0.1;   // "Minimal period [d]:"
    double max_period = 1.0;   // "Maximal period [d]:"
    double resolution = 1e-4;  // "Resolution [d]:"
    bool double_periods = false;
    int harmonics = 1;  // the command passes one harmonic
    unsigned workers = 0;
    AovIsa isa = AovIsa::Auto;
};

// The dialog's initial values: those of the previous use in this run of the program.
FrequencyAnalysisOptions& LastFrequencyAnalysisOptions();

// K = trunc((Pmax - Pmin) / resolution), the value of "Number of steps:"; negative when the
// values give no grid, -1 also for a non-positive or undefined resolution.
int64_t FrequencyAnalysisSteps(const FrequencyAnalysisOptions& options);
// The largest grid the command accepts (memory: 24 bytes per period).
constexpr int64_t kMaxFrequencySteps = 100'000'000;

struct FrequencyCommandResult : PeriodCommandResult {
    bool cancelled = false;
    PeriodGrid grid;
    std::vector<AovValue> values;  // the whole periodogram (empty when not run)
    std::vector<uint64_t> chosen;  // grid indices of the offered periods, best first
};

// The command after its dialog: runs the analysis on the object's points and, when it
// completes, appends the three periods of highest response, best first, to the object's period
// list, doubles every period of the list when asked, puts the current period at the head, and
// says what happened. A run that fails or is cancelled leaves the list alone.
FrequencyCommandResult RunFrequencyAnalysisCommand(kurvalux_data::CObjectListElem& object,
                                                   const FrequencyAnalysisOptions& options,
                                                   kurvalux_platform::CPoster* observer,
                                                   const FrequencyProgress& progress);

}  // namespace kurvalux_analysis

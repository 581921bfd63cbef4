#include "analysis/periods/frequency_analysis.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>

#include "platform/system.h"

namespace kurvalux_analysis {

using kurvalux_data::CObjectListElem;
using kurvalux_data::CPeriodListElem;
using kurvalux_platform::CPoster;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

// ---- aligned storage ----

void CAlignedDoubles::Free::operator()(double* p) const {
    std::free(p);
}

CAlignedDoubles::CAlignedDoubles(size_t count) : size_(count) {
    const size_t bytes =
        std::max<size_t>(1, (count + kAovPadding - 1) / kAovPadding) * kAovPadding * sizeof(double);
    data_.reset(static_cast<double*>(std::aligned_alloc(kAovPadding * sizeof(double), bytes)));
    if (!data_) throw std::bad_alloc();
    std::fill(data_.get(), data_.get() + count, 0.0);
}

CAlignedDoubles::CAlignedDoubles(const CAlignedDoubles& other) : CAlignedDoubles(other.size_) {
    if (size_) std::memcpy(data_.get(), other.data_.get(), size_ * sizeof(double));
}

CAlignedDoubles& CAlignedDoubles::operator=(const CAlignedDoubles& other) {
    if (this != &other) *this = CAlignedDoubles(other);
    return *this;
}

// ---- prepared points ----

CAovPreparedData::CAovPreparedData(const double* times, const double* values, const double* sigmas,
                                   size_t n)
    : count_(n),
      padded_((n + kAovPadding - 1) / kAovPadding * kAovPadding),
      t_(padded_),
      w_(padded_),
      wx_(padded_) {
    if (n == 0) return;
    double tmin = times[0], tmax = times[0];
    double sum_w = 0, sum_wx = 0;
    for (size_t i = 0; i < n; ++i) {
        tmin = std::min(tmin, times[i]);
        tmax = std::max(tmax, times[i]);
        const double sigma = sigmas[i] == 0 ? 1.0 : sigmas[i];
        w_[i] = 1.0 / (sigma * sigma);
        sum_w += w_[i];
        sum_wx += w_[i] * values[i];
    }
    reference_epoch_ = (tmin + tmax) / 2;
    mean_ = sum_wx / sum_w;
    weight_sum_ = sum_w;
    double variance = 0;
    for (size_t i = 0; i < n; ++i) {
        const double x = values[i] - mean_;
        t_[i] = times[i] - reference_epoch_;
        wx_[i] = w_[i] * x;
        variance += w_[i] * x * x;
    }
    variance_ = variance;
}

AovKernelData CAovPreparedData::View() const {
    AovKernelData view;
    view.count = count_;
    view.padded = padded_;
    view.t = t_.data();
    view.w = w_.data();
    view.wx = wx_.data();
    view.weight_sum = weight_sum_;
    view.variance = variance_;
    return view;
}

ObjectPoints CollectObjectPoints(const CObjectListElem& object) {
    ObjectPoints points;
    for (const auto& series : object.series) {
        if (!series->enabled) continue;
        for (size_t i = 0; i < series->Count(); ++i) {
            points.times.push_back(series->times[i]);
            points.values.push_back(series->AdjustedValue(i, object.is_flux));
            points.errors.push_back(i < series->errors.size() ? series->errors[i] : 0.0);
        }
    }
    return points;
}

std::vector<AovValue> EvaluateAov(const CAovPreparedData& data, int harmonics,
                                  const std::vector<double>& periods, AovIsa isa,
                                  std::vector<double>* coefficients) {
    std::vector<AovValue> values(periods.size());
    AovKernelFunction kernel = AovKernelFor(isa);
    if (!kernel || harmonics < 1 || harmonics > kAovMaxHarmonics || data.Count() == 0) return {};
    std::vector<double> omegas(periods.size());
    for (size_t k = 0; k < periods.size(); ++k) omegas[k] = AngularFrequency(periods[k]);
    CAlignedDoubles scratch(AovScratchSize(data.Padded()));
    double* c = nullptr;
    if (coefficients) {
        coefficients->assign(periods.size() * 2 * (2 * harmonics + 1), 0.0);
        c = coefficients->data();
    }
    kernel(data.View(), harmonics, omegas.data(), omegas.size(), scratch.data(), values.data(), c);
    return values;
}

std::vector<uint64_t> TopThree(const std::vector<AovValue>& values) {
    std::vector<uint64_t> kept;
    for (uint64_t k = 0; k < values.size(); ++k) {
        const double r = values[k].response;
        for (size_t place = 0; place < 3; ++place) {
            if (place == kept.size() || r > values[kept[place]].response) {
                kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(place), k);
                if (kept.size() > 3) kept.pop_back();
                break;
            }
        }
    }
    return kept;
}

// ---- the driver ----

namespace {
// Periods evaluated per kernel call; the cancel byte is looked at between calls.
constexpr uint64_t kBatch = 32;
}  // namespace

CFrequencyAnalysis::CFrequencyAnalysis(std::shared_ptr<const CAovPreparedData> data,
                                       PeriodGrid grid, int harmonics, unsigned workers, AovIsa isa)
    : data_(std::move(data)), grid_(grid), harmonics_(harmonics), kernel_(AovKernelFor(isa)) {
    if (workers == 0) workers = kurvalux_platform::ProcessorCount();
    const uint64_t total = grid_.Count();
    const uint64_t n = std::max<uint64_t>(1, std::min<uint64_t>(workers, total));
    for (uint64_t i = 0; i < n; ++i) {
        const uint64_t first = total * i / n;
        const uint64_t end = total * (i + 1) / n;
        ranges_.emplace_back(first, end - 1);
    }
    workers_ = std::make_unique<Worker[]>(ranges_.size());
    for (size_t i = 0; i < ranges_.size(); ++i) {
        workers_[i].first = ranges_[i].first;
        workers_[i].last = ranges_[i].second;
    }
}

CFrequencyAnalysis::~CFrequencyAnalysis() {
    Cancel();
    Join();
}

bool CFrequencyAnalysis::Start(CPoster* poster) {
    if (!kernel_ || !data_ || data_->Count() == 0 || harmonics_ < 1 ||
        harmonics_ > kAovMaxHarmonics)
        return false;
    values_.assign(grid_.Count(), AovValue{});
    for (unsigned id = 0; id < WorkerCount(); ++id)
        threads_.emplace_back([this, id, poster] { Work(id, poster); });
    return true;
}

void CFrequencyAnalysis::Work(unsigned id, CPoster* poster) {
    Worker& self = workers_[id];
    // Each worker reads its own copy of the times, and has its own scratch.
    const CAlignedDoubles times = data_->Times();
    AovKernelData view = data_->View();
    view.t = times.data();
    CAlignedDoubles scratch(AovScratchSize(view.padded));
    double omegas[kBatch];
    for (uint64_t k = self.first; k <= self.last;) {
        if (self.cancel.load(std::memory_order_relaxed)) break;
        const uint64_t n = std::min<uint64_t>(kBatch, self.last - k + 1);
        for (uint64_t j = 0; j < n; ++j) omegas[j] = AngularFrequency(grid_.Period(k + j));
        kernel_(view, harmonics_, omegas, n, scratch.data(), values_.data() + k, nullptr);
        k += n;
        const uint64_t done = k - self.first;
        self.done.store(done, std::memory_order_release);
        if (poster && !self.progress_posted.load(std::memory_order_acquire)) {
            self.progress_posted.store(1, std::memory_order_release);
            poster->Post(kurvalux_platform::kMsgFrequencyProgress, id, static_cast<intptr_t>(done));
        }
    }
    if (poster) poster->Post(kurvalux_platform::kMsgFrequencyDone, id, 0);
}

void CFrequencyAnalysis::AcknowledgeProgress(unsigned worker) {
    if (worker < WorkerCount())
        workers_[worker].progress_posted.store(0, std::memory_order_release);
}

void CFrequencyAnalysis::Cancel() {
    cancelled_.store(true);
    for (unsigned i = 0; i < WorkerCount(); ++i) workers_[i].cancel.store(1);
}

void CFrequencyAnalysis::Join() {
    for (std::jthread& t : threads_)
        if (t.joinable()) t.join();
    threads_.clear();
}

uint64_t CFrequencyAnalysis::Done() const {
    uint64_t done = 0;
    for (unsigned i = 0; i < WorkerCount(); ++i)
        done += workers_[i].done.load(std::memory_order_acquire);
    return done;
}

// ---- waiting on the calling thread ----

namespace {

// Stands in for the window the workers post to: a queue the waiting thread drains.
class CQueuePoster : public CPoster {
public:
    struct Message {
        uint32_t number;
        intptr_t a, b;
    };
    void Post(uint32_t message, intptr_t a, intptr_t b) override {
        {
            std::lock_guard lock(mutex_);
            queue_.push_back({message, a, b});
        }
        ready_.notify_one();
    }
    Message Take() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return !queue_.empty(); });
        Message m = queue_.front();
        queue_.pop_front();
        return m;
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<Message> queue_;
};

}  // namespace

FrequencyRunResult RunFrequencyAnalysis(std::shared_ptr<const CAovPreparedData> data,
                                        const PeriodGrid& grid, int harmonics, unsigned workers,
                                        AovIsa isa, CPoster* observer,
                                        const FrequencyProgress& progress) {
    FrequencyRunResult result;
    CQueuePoster queue;
    CFrequencyAnalysis analysis(std::move(data), grid, harmonics, workers, isa);
    if (!analysis.Start(&queue)) return result;
    result.started = true;
    for (unsigned ended = 0; ended < analysis.WorkerCount();) {
        const CQueuePoster::Message m = queue.Take();
        if (m.number == kurvalux_platform::kMsgFrequencyProgress) {
            if (progress && !progress(analysis.Done(), analysis.Total())) analysis.Cancel();
            if (observer) observer->Post(m.number, m.a, m.b);
            analysis.AcknowledgeProgress(static_cast<unsigned>(m.a));
        } else if (m.number == kurvalux_platform::kMsgFrequencyDone) {
            ++ended;
            if (observer) observer->Post(m.number, m.a, m.b);
        }
    }
    analysis.Join();
    result.cancelled = analysis.Cancelled();
    if (!result.cancelled) result.values = analysis.Values();
    return result;
}

// ---- the command ----

FrequencyAnalysisOptions& LastFrequencyAnalysisOptions() {
    static FrequencyAnalysisOptions last;
    return last;
}

int64_t FrequencyAnalysisSteps(const FrequencyAnalysisOptions& options) {
    if (!(options.resolution > 0)) return -1;
    const double steps = std::trunc((options.max_period - options.min_period) / options.resolution);
    if (!(steps > -1e18 && steps < 1e18)) return steps > 0 ? INT64_MAX : -1;
    return static_cast<int64_t>(steps);
}

namespace {
kurvalux_platform::MessageBoxRecord CannotFind(const std::string& line) {
    return {"Cannot find period", {line}, MessageIcon::Error, MessageButtons::Ok};
}
}  // namespace

FrequencyCommandResult RunFrequencyAnalysisCommand(CObjectListElem& object,
                                                   const FrequencyAnalysisOptions& options,
                                                   CPoster* observer,
                                                   const FrequencyProgress& progress) {
    FrequencyCommandResult outcome;
    if (!(options.min_period > 0) || !std::isfinite(options.min_period)) {
        outcome.messages.push_back(CannotFind("Minimal period must be a positive number"));
        return outcome;
    }
    if (!(options.resolution > 0) || !std::isfinite(options.resolution)) {
        outcome.messages.push_back(CannotFind("Resolution must be a positive number"));
        return outcome;
    }
    const int64_t steps = FrequencyAnalysisSteps(options);
    if (steps > kMaxFrequencySteps) {
        outcome.messages.push_back(
            CannotFind("Too many steps (" + std::to_string(steps) + "); raise Resolution"));
        return outcome;
    }
    const ObjectPoints points = CollectObjectPoints(object);
    const size_t needed = static_cast<size_t>(2 * options.harmonics + 2);
    if (steps > 0 && points.times.size() < needed) {
        outcome.messages.push_back(CannotFind("At least " + std::to_string(needed) +
                                              " points needed for frequency analysis"));
        return outcome;
    }
    if (steps > 0) {
        outcome.grid =
            PeriodGrid{options.min_period, options.resolution, static_cast<uint64_t>(steps)};
        auto data = std::make_shared<const CAovPreparedData>(
            points.times.data(), points.values.data(), points.errors.data(), points.times.size());
        FrequencyRunResult run =
            RunFrequencyAnalysis(data, outcome.grid, options.harmonics, options.workers,
                                 options.isa, observer, progress);
        outcome.cancelled = run.cancelled;
        outcome.values = std::move(run.values);
    }
    if (outcome.values.empty()) {
        // Pmax <= Pmin, a cancelled run: nothing is added and the list stays as it was.
        outcome.messages.push_back(CannotFind("Frequency analysis failed"));
        return outcome;
    }
    outcome.chosen = TopThree(outcome.values);
    // The periods found join those already offered (from the minima, or an earlier run over
    // another range) instead of replacing them: the user compares candidates from several
    // searches in one list.
    std::vector<CPeriodListElem>& periods = object.periods;
    const size_t first_added = periods.size();
    for (uint64_t k : outcome.chosen) {
        const double period = outcome.grid.Period(k);
        periods.push_back({period, PeriodKey(period), outcome.values[k].response});
    }
    // A light curve with two alike minima per cycle shows its strongest response at half the
    // orbital period; the switch turns the whole list to whole-orbit periods.
    if (options.double_periods)
        for (CPeriodListElem& p : periods) {
            p.period *= 2;
            p.key = PeriodKey(p.period);
        }
    outcome.offered.assign(periods.begin() + static_cast<std::ptrdiff_t>(first_added),
                           periods.end());
    outcome.found = !outcome.offered.empty();
    PutCurrentPeriodFirst(object, periods);
    outcome.changed = true;
    outcome.messages.push_back(
        {"Possible periods were found",
         {"Three periods with highest response", "were added as items of period combo-box \"P:\""},
         MessageIcon::Information,
         MessageButtons::Ok});
    return outcome;
}

}  // namespace kurvalux_analysis

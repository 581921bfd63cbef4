// The errors of a time of minimum: the case-resampling bootstrap ("Est. Err.") and the
// moving-block bootstrap of the residuals, both run as rounds of resampled fits on worker
// threads.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <numeric>
#include <random>
#include <system_error>
#include <thread>

#include "analysis/block_residuals.h"
#include "analysis/minimum_fit.h"
#include "analysis/minimum_fit_detail.h"
#include "platform/system.h"
#include "platform/text.h"

namespace kurvalux_analysis {

namespace {

const char* const kCannotEstimate = "Cannot Estimate Error";

// One bootstrap round: draws a resampled data set with the worker's generator into the
// worker's own buffers, fits it and gives the time of minimum (JD) when the fit succeeded.
using Round = std::function<bool(std::mt19937_64&, double&)>;
// Makes the round of one worker (with its buffers); called on that worker's thread.
using RoundFactory = std::function<Round()>;

struct Rounds {
    unsigned workers = 0;
    int rounds_per_worker = 0;
    int rounds_run = 0;
    std::vector<double> times;
    bool cancelled = false;
};

// Runs the planned rounds on the workers. They share only the read-only data the rounds
// close over, the guarded list of times and the counters; each owns its generator.
Rounds RunRounds(const BootstrapOptions& options, const RoundFactory& make_round) {
    Rounds out;
    unsigned workers =
        options.processors ? options.processors : kurvalux_platform::ProcessorCount();
    if (workers == 0) workers = 1;
    const int rounds = BootstrapRoundsPerWorker(options.total_rounds, workers);
    const int planned = rounds * int(workers);
    out.workers = workers;
    out.rounds_per_worker = rounds;

    std::mutex list_mutex;
    std::vector<double> times;
    std::atomic<int> done{0};
    std::atomic<bool> cancel{false};
    const uint64_t clock_seed =
        uint64_t(std::chrono::steady_clock::now().time_since_epoch().count());

    auto worker = [&](unsigned index, const std::function<bool(int, int)>* progress) {
        std::mt19937_64 random(options.seed ? options.seed + index
                                            : clock_seed ^ (0x9E3779B97F4A7C15ull * (index + 1)));
        Round round = make_round();
        for (int r = 0; r < rounds && !cancel.load(std::memory_order_relaxed); ++r) {
            double t = 0;
            if (round(random, t)) {
                std::lock_guard<std::mutex> lock(list_mutex);
                times.push_back(t);
            }
            const int now = done.fetch_add(1) + 1;
            if (progress && *progress && !(*progress)(now, planned)) cancel = true;
        }
    };

    if (workers == 1) {
        worker(0, &options.progress);
    } else {
        std::mutex wait_mutex;
        std::condition_variable finished_cv;
        int finished = 0;
        {
            std::vector<std::jthread> threads;
            threads.reserve(workers);
            for (unsigned k = 0; k < workers; ++k) try {
                    threads.emplace_back([&, k] {
                        worker(k, nullptr);
                        std::lock_guard<std::mutex> lock(wait_mutex);
                        ++finished;
                        finished_cv.notify_one();
                    });
                } catch (const std::system_error&) {
                    // No thread to be had: this worker's rounds run here instead.
                    worker(k, nullptr);
                    std::lock_guard<std::mutex> lock(wait_mutex);
                    ++finished;
                }
            // The calling thread stays responsive: it reports progress and passes on a cancel
            // until every worker has finished.
            std::unique_lock<std::mutex> lock(wait_mutex);
            while (finished < int(workers)) {
                finished_cv.wait_for(lock, std::chrono::milliseconds(20));
                if (options.progress && !cancel.load()) {
                    lock.unlock();
                    if (!options.progress(done.load(), planned)) cancel = true;
                    lock.lock();
                }
            }
        }
    }
    out.rounds_run = done.load();
    out.times = std::move(times);
    out.cancelled = cancel.load();
    return out;
}

FitMessage Refusal(const BootstrapOptions& options) {
    if (!options.fitted.ok)
        return {kCannotEstimate, {"Minimum must be properly fitted", "prior to error estimation."}};
    return options.fit.Validate(kCannotEstimate);
}

// What both bootstraps start from: the clock, the points of the window, the window's span
// (the fit's time unit), the constraints and the fitted values.
struct Resampling {
    explicit Resampling(const BootstrapOptions& options)
        : start_ticks(kurvalux_platform::TickCount()),
          points(detail::SelectPoints(options.fit)),
          n(int(points.x.size())),
          span(options.fit.t_end - options.fit.t_start),
          constraints(detail::Constraints(options.fit.free)),
          fitted(options.fitted.normalised),
          t_start(options.fit.t_start) {}

    // Fits one resampled set from the fitted values; the time of minimum in days.
    bool FitTime(const double* x, const double* y, const double* sigma, FitResult& fit,
                 double& t) const {
        SingleMinimumParameters q = fitted;
        if (detail::RunFit(x, y, sigma, n, constraints, q, fit) <= 0) return false;
        t = q[kMinTime] * span + t_start;
        return true;
    }
    double Seconds() const { return double(kurvalux_platform::TickCount() - start_ticks) / 1000.0; }

    uint64_t start_ticks;
    detail::MinimumPoints points;
    int n;
    double span;
    detail::MinimumConstraints constraints;
    SingleMinimumParameters fitted;
    double t_start;
};

// Fills the result from the rounds: the standard deviation of the times about their mean, and
// no error value when it is a day or more.
void Summarise(Rounds rounds, BootstrapResult& result) {
    result.workers = rounds.workers;
    result.rounds_per_worker = rounds.rounds_per_worker;
    result.rounds_run = rounds.rounds_run;
    result.times = std::move(rounds.times);
    if (rounds.cancelled) {
        result.cancelled = true;
        return;
    }
    const size_t count = result.times.size();
    if (count < 2) {
        result.message = {kCannotEstimate, {"Too few resampled fits succeeded."}};
        return;
    }
    // Summed in time order, not in the order the workers delivered them, so that a seeded
    // estimate gives the same bits every time.
    std::vector<double> sorted = result.times;
    std::sort(sorted.begin(), sorted.end());
    double sum = 0;
    for (double t : sorted) sum += t;
    result.mean = sum / double(count);
    double squares = 0;
    for (double t : sorted) squares += (t - result.mean) * (t - result.mean);
    result.error = std::sqrt(squares / double(count - 1));
    result.ok = true;
    result.has_error = result.error < 1.0;
}

}  // namespace

int BootstrapRoundsPerWorker(int total_rounds, unsigned processors) {
    if (processors <= 1) return total_rounds;
    return (total_rounds + int(processors) - 1) / int(processors);
}

BootstrapResult EstimateMinimumError(const BootstrapOptions& options) {
    BootstrapResult result;
    result.message = Refusal(options);
    if (!result.message.empty()) return result;

    const Resampling setup(options);

    // Each round draws n points with replacement and fits them from the fitted values.
    const RoundFactory make_round = [&]() -> Round {
        return [&, x = std::vector<double>(setup.n), y = std::vector<double>(setup.n),
                sigma = std::vector<double>(setup.n),
                fit = FitResult()](std::mt19937_64& random, double& t) mutable {
            std::uniform_int_distribution<int> pick(0, setup.n - 1);
            for (int i = 0; i < setup.n; ++i) {
                const int k = pick(random);
                x[i] = setup.points.x[k];
                y[i] = setup.points.y[k];
                sigma[i] = setup.points.sigma[k];
            }
            return setup.FitTime(x.data(), y.data(), sigma.data(), fit, t);
        };
    };
    Summarise(RunRounds(options, make_round), result);
    result.seconds = setup.Seconds();
    if (!result.ok) return result;
    if (!result.has_error) {
        kurvalux_platform::DebugOutput("Error > 1, list of Times\r\n");
        for (double t : result.times)
            kurvalux_platform::DebugOutput(kurvalux_platform::FormatFixed(t, 6) + "\r\n");
    }
    kurvalux_platform::DebugOutput(
        "Bootstrap time =" + kurvalux_platform::FormatFixed(result.seconds, 3) + " s\r\n");
    return result;
}

BootstrapResult EstimateMinimumBlockError(const BootstrapOptions& options) {
    BootstrapResult result;
    result.message = Refusal(options);
    if (!result.message.empty()) return result;

    const Resampling setup(options);

    // The points in time order, the fitted model at each, the weighted residuals and the
    // derivatives of the weighted model by the free parameters (central differences).
    std::vector<size_t> order(setup.points.x.size());
    std::iota(order.begin(), order.end(), size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return setup.points.x[a] < setup.points.x[b]; });
    std::vector<double> x(setup.n), sigma(setup.n), model_value(setup.n), residual(setup.n);
    const CSingleMinimumModel model(setup.fitted);
    for (int i = 0; i < setup.n; ++i) {
        x[i] = setup.points.x[order[i]];
        sigma[i] = setup.points.sigma[order[i]];
        model_value[i] = model.Evaluate(x[i]);
        residual[i] = (setup.points.y[order[i]] - model_value[i]) / sigma[i];
    }
    std::vector<size_t> free;
    for (size_t k = 0; k < setup.constraints.size(); ++k)
        if (!setup.constraints[k].fixed) free.push_back(k);
    const size_t nfree = free.size();
    std::vector<double> jacobian(size_t(setup.n) * nfree);
    for (size_t j = 0; j < nfree; ++j) {
        SingleMinimumParameters up = setup.fitted, down = setup.fitted;
        const double h = 1e-6 * std::max(std::fabs(setup.fitted[free[j]]), 1e-3);
        up[free[j]] += h;
        down[free[j]] -= h;
        const CSingleMinimumModel above(up), below(down);
        for (int i = 0; i < setup.n; ++i)
            jacobian[size_t(i) * nfree + j] =
                (above.Evaluate(x[i]) - below.Evaluate(x[i])) / (2 * h * sigma[i]);
    }
    const int length = std::clamp(
        options.block_length > 0 ? options.block_length : BlockLengthFromResiduals(residual), 1,
        setup.n);
    result.block_length = length;
    // Residuals that keep the noise the fit followed, centred on 0.
    residual = LeaveBlockOutResiduals(residual, jacobian, nfree, size_t(length));
    const double mean = std::accumulate(residual.begin(), residual.end(), 0.0) / setup.n;
    for (double& r : residual) r -= mean;

    // Each round lays blocks of `length` consecutive residuals, each from a uniform start and
    // wrapping round the end, onto the fitted model and fits the result.
    const RoundFactory make_round = [&]() -> Round {
        return [&, y = std::vector<double>(setup.n), fit = FitResult()](std::mt19937_64& random,
                                                                        double& t) mutable {
            std::uniform_int_distribution<int> pick(0, setup.n - 1);
            for (int i = 0; i < setup.n;) {
                const int from = pick(random);
                for (int j = 0; j < length && i < setup.n; ++j, ++i)
                    y[i] = model_value[i] + sigma[i] * residual[(from + j) % setup.n];
            }
            return setup.FitTime(x.data(), y.data(), sigma.data(), fit, t);
        };
    };
    Summarise(RunRounds(options, make_round), result);
    result.seconds = setup.Seconds();
    return result;
}

}  // namespace kurvalux_analysis

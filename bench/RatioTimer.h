#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <time.h>

namespace mvgeo::bench
{

/** CPU time that all threads of this process have used so far: what else the machine does hardly shows in it. */
[[nodiscard]] inline double cpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

enum class RatioClock
{
    wall,
    cpu
};

/** Times our way and its yardstick in turn, so that both see the same machine, and reports the two medians and their
 * ratio. One benchmark iteration is one such pair. */
class RatioTimer
{
public:
    explicit RatioTimer(RatioClock clock = RatioClock::wall) : _clock(clock) {}

    template <typename Ours, typename Yardstick>
    void pair(benchmark::State& state, Ours&& ours, Yardstick&& yardstick)
    {
        const double a = elapsed(ours);
        const double b = elapsed(yardstick);
        add(a, b);
        state.SetIterationTime(a);
    }

    /** A pair that was timed elsewhere, in seconds. */
    void add(double ours, double yardstick)
    {
        _ours.push_back(ours);
        _yardstick.push_back(yardstick);
        _ratios.push_back(ours / yardstick);
    }

    /** @param prefix of the counters' names, where one benchmark has several ratios */
    void report(benchmark::State& state, const std::string& prefix = "") const
    {
        state.counters[prefix + "ours_us"] = median(_ours) * 1e6;
        state.counters[prefix + "yardstick_us"] = median(_yardstick) * 1e6;
        state.counters[prefix + "ratio"] = median(_ratios);
    }

    [[nodiscard]] double oursSeconds() const { return median(_ours); }

    template <typename Work>
    [[nodiscard]] static double seconds(Work&& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    template <typename Work>
    [[nodiscard]] static double secondsOfCpu(Work&& work)
    {
        const double start = cpuSeconds();
        work();
        return cpuSeconds() - start;
    }

private:
    template <typename Work>
    [[nodiscard]] double elapsed(Work&& work) const
    {
        return _clock == RatioClock::cpu ? secondsOfCpu(work) : seconds(work);
    }

    [[nodiscard]] static double median(std::vector<double> values)
    {
        if (values.empty()) return 0.0;
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    RatioClock _clock;
    std::vector<double> _ours;
    std::vector<double> _yardstick;
    std::vector<double> _ratios;
};

} // namespace mvgeo::bench

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace mvgeo::bench
{

/** Times our way and its yardstick in turn, so that both see the same machine, and reports the two medians and their
 *  ratio. One benchmark iteration is one such pair. */
class RatioTimer
{
public:
    template <typename Ours, typename Yardstick>
    void pair(benchmark::State& state, Ours&& ours, Yardstick&& yardstick)
    {
        const double a = seconds(ours);
        const double b = seconds(yardstick);
        _ours.push_back(a);
        _yardstick.push_back(b);
        _ratios.push_back(a / b);
        state.SetIterationTime(a);
    }

    void report(benchmark::State& state) const
    {
        state.counters["ours_us"] = median(_ours) * 1e6;
        state.counters["yardstick_us"] = median(_yardstick) * 1e6;
        state.counters["ratio"] = median(_ratios);
    }

    [[nodiscard]] double oursSeconds() const { return median(_ours); }

    template <typename Work>
    [[nodiscard]] static double seconds(Work&& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

private:
    [[nodiscard]] static double median(std::vector<double> values)
    {
        if (values.empty()) return 0.0;
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    std::vector<double> _ours;
    std::vector<double> _yardstick;
    std::vector<double> _ratios;
};

} // namespace mvgeo::bench

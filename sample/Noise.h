#pragma once

#include <array>
#include <cstdint>

namespace mvgeo::sample
{
/** Mixes numbers into one that looks random; the same on every machine. */
[[nodiscard]] std::uint32_t hashOf(std::uint32_t a, std::uint32_t b = 0, std::uint32_t c = 0);

/** The hash as a number in [0, 1). */
[[nodiscard]] double random01(std::uint32_t a, std::uint32_t b = 0, std::uint32_t c = 0);

/** A sequence of random numbers that a seed fixes. The standard's distributions differ between libraries, this does
 * not. */
class RandomSequence
{
public:
    explicit RandomSequence(std::uint32_t seed) : _seed(seed) {}

    double next() { return random01(_seed, ++_count); }
    double between(double low, double high) { return low + (high - low) * next(); }
    bool chance(double probability) { return next() < probability; }
    std::uint32_t nextHash() { return hashOf(_seed, ++_count); }

private:
    std::uint32_t _seed;
    std::uint32_t _count = 0;
};

/** Smooth noise in [-1, 1] with a feature size of one unit, repeated after 256 units. Thread: any, it never changes. */
class Noise
{
public:
    explicit Noise(std::uint32_t seed);

    [[nodiscard]] float at(double x, double y) const;

    /** Sum of octaves, each of half the size and half the strength of the one before; in [-1, 1]. */
    [[nodiscard]] float fractal(double x, double y, int octaves) const;

private:
    std::array<float, 256 * 256> _table;
};

/** std::floor() as a number that indexes: without a library call, since noise does little else. */
[[nodiscard]] inline int floorToInt(double value)
{
    const int truncated = static_cast<int>(value);
    return value < truncated ? truncated - 1 : truncated;
}

/** From 0 up to, but not including, the period. */
[[nodiscard]] inline double positiveModulo(double value, double period)
{
    return value - period * floorToInt(value / period);
}

/** 0 below the low edge, 1 above the high one, smooth between. */
[[nodiscard]] inline double smoothStep(double low, double high, double value)
{
    const double t = (value - low) / (high - low);
    if (t <= 0.0) return 0.0;
    if (t >= 1.0) return 1.0;
    return t * t * (3.0 - 2.0 * t);
}
} // namespace mvgeo::sample

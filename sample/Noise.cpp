#include "sample/Noise.h"

namespace mvgeo::sample
{
std::uint32_t hashOf(std::uint32_t a, std::uint32_t b, std::uint32_t c)
{
    std::uint32_t value = a * 0x9E3779B1U ^ (b + 0x7F4A7C15U) * 0x85EBCA77U ^ (c + 0x165667B1U) * 0xC2B2AE3DU;
    value ^= value >> 15;
    value *= 0x2C1B3C6DU;
    value ^= value >> 12;
    value *= 0x297A2D39U;
    return value ^ (value >> 15);
}

double random01(std::uint32_t a, std::uint32_t b, std::uint32_t c)
{
    return hashOf(a, b, c) / 4294967296.0;
}

Noise::Noise(std::uint32_t seed)
{
    for (std::uint32_t i = 0; i < _table.size(); ++i)
        _table[i] = static_cast<float>(random01(seed, i) * 2.0 - 1.0);
}

float Noise::at(double x, double y) const
{
    const int cellX = floorToInt(x);
    const int cellY = floorToInt(y);
    const auto column = static_cast<unsigned>(cellX) & 255U;
    const auto row = (static_cast<unsigned>(cellY) & 255U) * 256U;
    const unsigned nextColumn = (column + 1U) & 255U;
    const unsigned nextRow = (row + 256U) & 65535U;

    float u = static_cast<float>(x - cellX);
    float v = static_cast<float>(y - cellY);
    u *= u * (3.0F - 2.0F * u);
    v *= v * (3.0F - 2.0F * v);
    const float south = _table[row + column] + u * (_table[row + nextColumn] - _table[row + column]);
    const float north = _table[nextRow + column] + u * (_table[nextRow + nextColumn] - _table[nextRow + column]);
    return south + v * (north - south);
}

float Noise::fractal(double x, double y, int octaves) const
{
    float sum = 0.0F;
    float weight = 0.5F;
    for (int octave = 0; octave < octaves; ++octave, weight *= 0.5F)
    {
        sum += weight * at(x, y);
        x = x * 2.0 + 37.3;
        y = y * 2.0 + 91.7;
    }
    return sum;
}
} // namespace mvgeo::sample

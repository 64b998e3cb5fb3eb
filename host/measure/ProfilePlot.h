#pragma once

#include "measure/DrapedLine.h"
#include "measure/ModelSystem.h"

#include <string>

namespace mvgeo::host
{
/** Round numbers on an axis. */
struct AxisTicks
{
    double step = 1.0; ///< 1, 2 or 5 times a power of ten
    double first = 0.0;
    int count = 0;
    int decimals = 0; ///< that labels need

    [[nodiscard]] double at(int i) const { return first + i * step; }
    [[nodiscard]] double last() const { return at(count - 1); }
};

/** About `wanted` of them, never more, none outside low and high. low < high. */
AxisTicks ticksWithin(double low, double high, int wanted);
/** The same, but the first and the last lie on or just outside low and high. */
AxisTicks ticksAround(double low, double high, int wanted);

/** Throws HostError unless a profile can be written there: it ends in .svg and the folder exists. */
void checkProfilePath(const std::string& file);

/** Distance along the line against height, an SVG document. Every piece is a line of its own, so gaps stay gaps and
 * surfaces above each other stay apart. @param model  named in the title */
std::string makeProfile(const DrapedLine& line, const ModelSystem& system, const std::string& model);
} // namespace mvgeo::host

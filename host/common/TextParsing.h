#pragma once

#include <osg/Vec3d>
#include <osg/Vec3f>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mvgeo::host
{
/** A finite number with '.' as its decimal point, whatever the locale; empty if anything else stands in the text. */
std::optional<double> parseNumber(std::string_view text);

/** "x,y,z". Empty if it is not three finite numbers. */
std::optional<osg::Vec3d> parsePoint(std::string_view text);

/** "AxB" with whole numbers from 1 to `limit`. */
std::optional<std::pair<int, int>> parsePair(std::string_view text, int limit);

/** "#rrggbb" as red, green, blue from 0 to 1. */
std::optional<osg::Vec3f> parseColour(std::string_view text);

/** The pieces between any of `separators`; empty pieces are left out. */
std::vector<std::string_view> splitText(std::string_view text, std::string_view separators);

inline bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/** Foreign text as a sentence may repeat it: its first 60 bytes, without control characters. */
std::string quotable(std::string_view text);
} // namespace mvgeo::host

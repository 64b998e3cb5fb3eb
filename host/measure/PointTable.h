#pragma once

#include "measure/Points.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mvgeo::host
{
/** "x,y x,y ..." or "x,y,z ...", heights being left out. Throws HostError that names `option`. */
Points parsePointList(std::string_view text, const std::string& option);

/** The lines of a table of points: comma, semicolon, tab or blanks between the columns.
 *
 * The first row may be a heading: no column of it begins like a number. One of two columns may say what it likes, a
 * longer one must name the two that are wanted; further columns are ignored, except that a new value under "line" or
 * "piece" begins another line.
 * @param names  pairs of names that the two columns may have in a heading, in small letters
 * @param file   for messages
 * Throws HostError that names the row which holds no point. */
using ColumnNames = std::vector<std::pair<std::string, std::string>>;
std::vector<Points> readPointTable(std::string_view text, const ColumnNames& names, const std::string& file);
} // namespace mvgeo::host

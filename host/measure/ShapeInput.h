#pragma once

#include "measure/Points.h"

#include <string>
#include <vector>

namespace mvgeo::host
{
/** Shapes as the user gives them: in an option, or in a GeoJSON or CSV file. All throw HostError with the sentence for
 * what is wrong. Heights are ignored and coordinates are taken as the model's, whatever system a file names. */

/** @param text  of --line; @param file  of --from; one of them is empty. Each line has two different points. */
std::vector<Points> readLines(const std::string& text, const std::string& file);

/** One boundary. The rings of a polygon with holes or of several parts come as one, with a bridge to each ring that is
 * run through both ways: what it encloses an odd number of times is inside, and that leaves the holes out. */
Points readBoundary(const std::string& text, const std::string& file);

/** Columns and rows of pixels from a CSV file, at least one. */
Points readPixels(const std::string& file);
} // namespace mvgeo::host

#pragma once

#include <mvgeothirdparty/GeoMeshStatistics.h>

#include <cstdint>
#include <ostream>
#include <vector>

namespace mvgeo::host
{
/** What one frame of a flight cost and left behind. */
struct FlightRow
{
    unsigned int frame = 0;
    double seconds = 0.0;           ///< spent on this frame, waiting for tiles included
    GeoMeshStatistics statistics{}; ///< after it
    std::uint64_t visible = 0;      ///< tiles
    std::uint64_t triangles = 0;    ///< of the visible tiles
    std::uint64_t textureBytes = 0; ///< of all textures held
};

enum class TableStyle
{
    forPeople,
    csv
};

void writeFlightHeading(std::ostream& out, TableStyle style);
void writeFlightRow(std::ostream& out, TableStyle style, const FlightRow& row);
} // namespace mvgeo::host

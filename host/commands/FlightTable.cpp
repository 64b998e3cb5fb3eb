#include "commands/FlightTable.h"

#include <cinttypes>
#include <cstdio>

namespace mvgeo::host
{
void writeFlightHeading(std::ostream& out, TableStyle style)
{
    if (style == TableStyle::csv)
        out << "frame,seconds,requestsWaiting,loaded,merged,expired,failed,held,bytesHeld,visible,triangles,"
               "textureBytes\n";
    else
        out << " frame  seconds  waiting  loaded  merged  expired  failed    held  mesh MB  visible   triangles"
               "  texture MB\n";
}

void writeFlightRow(std::ostream& out, TableStyle style, const FlightRow& row)
{
    const GeoMeshStatistics& s = row.statistics;
    char text[512];
    if (style == TableStyle::csv)
        std::snprintf(text, sizeof text,
                      "%u,%.6f,%" PRIu64 ",%" PRIu64 ",%" PRIu64 ",%" PRIu64 ",%" PRIu64 ",%" PRIu64 ",%" PRIu64
                      ",%" PRIu64 ",%" PRIu64 ",%" PRIu64 "\n",
                      row.frame, row.seconds, s.requestsWaiting, s.tilesLoaded, s.tilesMerged, s.tilesExpired,
                      s.tilesFailed, s.tilesHeld, s.bytesHeld, row.visible, row.triangles, row.textureBytes);
    else
        std::snprintf(text, sizeof text,
                      "%6u %8.3f %8" PRIu64 " %7" PRIu64 " %7" PRIu64 " %8" PRIu64 " %7" PRIu64 " %7" PRIu64
                      " %8.1f %8" PRIu64 " %11" PRIu64 " %11.1f\n",
                      row.frame, row.seconds, s.requestsWaiting, s.tilesLoaded, s.tilesMerged, s.tilesExpired,
                      s.tilesFailed, s.tilesHeld, static_cast<double>(s.bytesHeld) / 1e6, row.visible, row.triangles,
                      static_cast<double>(row.textureBytes) / 1e6);
    out << text;
}
} // namespace mvgeo::host

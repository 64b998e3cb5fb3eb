#pragma once

#include "measure/Points.h"

#include <string>
#include <vector>

namespace mvgeo::host
{
/** Both take a bare geometry, a Feature or a FeatureCollection, and throw HostError for text that is not GeoJSON and
 * for geometries of another kind. @param file  for messages */

/** Of every LineString and MultiLineString. */
std::vector<Points> linesFromGeoJson(const std::string& text, const std::string& file);

/** Of the only Polygon or MultiPolygon; holes are rings as well. */
std::vector<Points> ringsFromGeoJson(const std::string& text, const std::string& file);
} // namespace mvgeo::host

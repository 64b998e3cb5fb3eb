#pragma once

#include "common/JsonReport.h"
#include "common/ReadableText.h"
#include "measure/ClippedSurface.h"
#include "measure/DrapedLine.h"
#include "measure/ModelSystem.h"

#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** What was found under one pixel. */
struct PickedPixel
{
    double column = 0.0;
    double row = 0.0;
    std::optional<osg::Vec3d> hit;
    Points triangle; ///< three corners, or none
};

/** Adds a number with 12 significant digits: a hundredth of a millimetre at 4e6 m. */
void appendNumber(std::string& text, double value);

/** Two digits after the point; six significant digits of square degrees. */
std::string readableArea(double value, const ModelSystem& system);

// Files of results. CSV begins with a heading. GeoJSON keeps the model's coordinates and says in "coordinateSystem",
// and in "crs" where it has a name for it, what they are; without a word about it if that is not known.

/** A row a point: line (from 1), piece (from 1 in each line), distance, x, y, z. */
std::string toCsv(const std::vector<DrapedLine>& lines);
/** A LineString a piece. */
std::string toGeoJson(const std::vector<DrapedLine>& lines, const ModelSystem& system);

/** A row a triangle. */
std::string trianglesToCsv(const Points& triangles);
/** One MultiPolygon, a polygon a triangle; upright triangles have no area in it. */
std::string trianglesToGeoJson(const Points& triangles, const ModelSystem& system);

/** A row a pixel; empty columns where nothing is. */
std::string toCsv(const std::vector<PickedPixel>& pixels);
/** A Point a pixel; without geometry where nothing is. */
std::string toGeoJson(const std::vector<PickedPixel>& pixels, const ModelSystem& system);

// What --json prints, and the properties of the features. What is measured in space is null where heights have another
// unit than plan.
Json toJson(const LineFigures& figures, const ModelSystem& system);
Json toJson(const SurfaceFigures& figures, const ModelSystem& system);
/** A list of points; null if there are none. */
Json pointsToJson(const Points& points);
} // namespace mvgeo::host

#include "commands/TerrainReport.h"

#include <cmath>
#include <cstdio>
#include <iostream>

namespace mvgeo::host
{
namespace
{
std::string readableNumber(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string systemOf(const RasterFacts& raster)
{
    return raster.srs ? describe(*raster.srs) : "unknown";
}

/** JSON has no number for what is not one. */
Json numberToJson(const std::optional<double>& value)
{
    if (!value) return nullptr;
    return std::isfinite(*value) ? Json(*value) : Json(readableNumber(*value));
}

Json rasterToJson(const RasterFacts& raster)
{
    Json overviews = Json::array();
    for (const auto& [width, height] : raster.overviews)
        overviews.push_back({width, height});
    return {{"file", raster.path},
            {"driver", raster.driver},
            {"width", raster.width},
            {"height", raster.height},
            {"bands", raster.bands},
            {"type", GDALGetDataTypeName(raster.type)},
            {"noData", numberToJson(raster.noData)},
            {"srs", raster.srs ? Json(describe(*raster.srs)) : Json(nullptr)},
            {"pixelWidth", raster.pixelWidth()},
            {"pixelHeight", raster.pixelHeight()},
            {"west", raster.west()},
            {"south", raster.south()},
            {"east", raster.east()},
            {"north", raster.north()},
            {"overviews", std::move(overviews)}};
}

Json rasterToJson(const std::optional<TerrainLayer>& raster)
{
    if (!raster) return nullptr;
    Json json = rasterToJson(raster->source);
    json["warped"] = raster->warped ? rasterToJson(*raster->warped) : Json(nullptr);
    return json;
}

std::string readableExtent(const RasterFacts& raster)
{
    return readableNumber(raster.pixelWidth()) + " x " + readableNumber(raster.pixelHeight()) + " a pixel, from " +
           readableNumber(raster.west()) + ", " + readableNumber(raster.south()) + " to " +
           readableNumber(raster.east()) + ", " + readableNumber(raster.north());
}

std::string readableOverviews(const RasterFacts& raster)
{
    if (raster.overviews.empty()) return "no overviews";
    const auto& [width, height] = raster.overviews.back();
    return std::to_string(raster.overviews.size()) + " overviews down to " + std::to_string(width) + " x " +
           std::to_string(height);
}

void printRaster(const char* name, const std::optional<TerrainLayer>& raster)
{
    constexpr const char* kIndent = "             ";
    std::cout << name << ":         ";
    if (!raster)
    {
        std::cout << "none\n";
        return;
    }
    const RasterFacts& source = raster->source;
    std::cout << source.path << '\n'
              << kIndent << source.width << " x " << source.height << " pixels, " << source.bands << " x "
              << GDALGetDataTypeName(source.type) << ", no-data "
              << (source.noData ? readableNumber(*source.noData) : "none") << ", " << readableOverviews(source) << '\n'
              << kIndent << systemOf(source) << '\n'
              << kIndent << readableExtent(source) << '\n';
    if (!raster->warped) return;
    const RasterFacts& warped = *raster->warped;
    std::cout << kIndent << "warped into " << systemOf(warped) << '\n'
              << kIndent << warped.width << " x " << warped.height << " pixels, " << readableExtent(warped) << '\n'
              << kIndent << "by " << warped.path << '\n';
}
} // namespace

Json terrainToJson(const Terrain& terrain)
{
    return {{"dom", rasterToJson(terrain.dom)}, {"dem", rasterToJson(terrain.dem)}};
}

void printTerrain(const Terrain& terrain)
{
    printRaster("DOM", terrain.dom);
    printRaster("DEM", terrain.dem);
}
} // namespace mvgeo::host

#include "terrain/Terrain.h"

#include "common/HostError.h"
#include "terrain/WarpPlan.h"
#include "terrain/WarpedRaster.h"

namespace mvgeo::host
{
namespace
{
std::optional<TerrainLayer> readRaster(const std::string& path, RasterRole role)
{
    if (path.empty()) return std::nullopt;
    TerrainLayer raster{readRasterFacts(path, role), std::nullopt};
    raster.source.path = absolutePath(path); // so that the library finds its cache again from another folder
    return raster;
}

const RasterFacts* sourceOf(const std::optional<TerrainLayer>& raster)
{
    return raster ? &raster->source : nullptr;
}

bool overlap(const RasterFacts& a, const RasterFacts& b)
{
    return a.west() < b.east() && b.west() < a.east() && a.south() < b.north() && b.south() < a.north();
}

/** The library would take the question mark of a DOM's own name for the one that separates the two paths. */
bool hasSeparator(const std::optional<TerrainLayer>& dom)
{
    return dom && dom->source.path.find('?') != std::string::npos;
}

void warp(TerrainLayer& raster, RasterRole role, const std::optional<OGRSpatialReference>& own,
          const std::optional<OGRSpatialReference>& target)
{
    raster.warped = readRasterFacts(writeWarpedRaster(raster.source, role, own, target), role);
}
} // namespace

std::optional<TerrainPaths> splitTerrainPath(const std::string& text)
{
    const std::size_t mark = text.find('?');
    if (mark == std::string::npos) return std::nullopt;
    return TerrainPaths{text.substr(0, mark), text.substr(mark + 1)};
}

std::string Terrain::modelPath() const
{
    return (dom ? dom->used().path : std::string()) + "?" + (dem ? dem->used().path : std::string());
}

std::optional<std::pair<double, double>> Terrain::heightRange() const
{
    return dem ? valueRange(dem->source.path) : std::nullopt; // warping changes no heights, but costs time
}

Terrain prepareTerrain(const TerrainPaths& paths, bool mayWarp)
{
    if (paths.dom.empty() && paths.dem.empty()) throw HostError("Neither a DOM nor a DEM is named.");
    Terrain terrain;
    terrain.dom = readRaster(paths.dom, RasterRole::dom);
    terrain.dem = readRaster(paths.dem, RasterRole::dem);
    if (mayWarp)
    {
        WarpPlan plan = planWarp(sourceOf(terrain.dom), sourceOf(terrain.dem));
        if (plan.warpsDom || hasSeparator(terrain.dom))
            warp(*terrain.dom, RasterRole::dom, plan.domSystem, plan.target);
        if (plan.warpsDem) warp(*terrain.dem, RasterRole::dem, plan.demSystem, plan.target);
        terrain.notes = std::move(plan.notes);
    }
    else
        for (const std::optional<TerrainLayer>* layer : {&terrain.dom, &terrain.dem})
            if (*layer && !(*layer)->source.isNorthUp())
                throw HostError("The raster '" + (*layer)->source.path +
                                "' is not north-up; without --no-warp it would be turned.");
    if (!mayWarp && hasSeparator(terrain.dom))
        throw HostError("The path of the DOM '" + paths.dom +
                        "' holds a question mark, which ends it for the library.");
    if (terrain.dom && terrain.dem && !overlap(terrain.dom->used(), terrain.dem->used()))
        terrain.notes.push_back("The DOM and the DEM do not overlap.");
    return terrain;
}
} // namespace mvgeo::host

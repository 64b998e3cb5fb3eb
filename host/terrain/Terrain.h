#pragma once

#include "terrain/RasterFacts.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mvgeo::host
{
/** The rasters of a terrain as a command line names them; one of them may be empty. */
struct TerrainPaths
{
    std::string dom;
    std::string dem;
};

/** "DOM?DEM", as the library itself splits it: at the first question mark. Empty if there is none. */
std::optional<TerrainPaths> splitTerrainPath(const std::string& text);

/** One raster, and the virtual one that shows it warped, if that is what the library gets. */
struct TerrainLayer
{
    RasterFacts source;
    std::optional<RasterFacts> warped;

    [[nodiscard]] const RasterFacts& used() const { return warped ? *warped : source; }
};

/** Both rasters, looked at and in one coordinate system. */
struct Terrain
{
    std::optional<TerrainLayer> dom;
    std::optional<TerrainLayer> dem;
    std::vector<std::string> notes; ///< sentences for standard error

    /** What the library opens. */
    [[nodiscard]] std::string modelPath() const;
    /** Lowest and highest place of the DEM, of a sample of a large one; empty without DEM. */
    [[nodiscard]] std::optional<std::pair<double, double>> heightRange() const;
};

/** Reads the rasters and warps them where their systems differ or are in degrees.
 * @param mayWarp  false: they are taken as they are
 * Throws HostError. */
Terrain prepareTerrain(const TerrainPaths& paths, bool mayWarp);
} // namespace mvgeo::host

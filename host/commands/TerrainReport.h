#pragma once

#include "common/JsonReport.h"
#include "terrain/Terrain.h"

namespace mvgeo::host
{
/** What `info` tells about a terrain's rasters: {"dom": ..., "dem": ...}, null where there is none. */
Json terrainToJson(const Terrain& terrain);
void printTerrain(const Terrain& terrain);
} // namespace mvgeo::host

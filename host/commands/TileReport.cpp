#include "commands/TileReport.h"

#include "common/HostError.h"

#include <iostream>

namespace mvgeo::host
{
void failOnViolations(const HostTileStore& tiles, bool isFreeRunning)
{
    if (!isFreeRunning && tiles.unannouncedRemovals() > 0)
        throw HostError("The library removed " + std::to_string(tiles.unannouncedRemovals()) +
                        " tiles that it had not announced.");
    if (tiles.violations().empty()) return;
    throw HostError("The library broke its contract " + std::to_string(tiles.violations().size()) +
                    " times, first: " + tiles.violations().front() + ".");
}

Json tileReport(const HostModel& model)
{
    const HostTileStore& tiles = model.tiles();
    const GeoMeshStatistics statistics = model.statistics();
    Json report;
    report["loadedTiles"] = statistics.tilesLoaded;
    report["mergedTiles"] = statistics.tilesMerged;
    report["expiredTiles"] = statistics.tilesExpired;
    report["failedTiles"] = statistics.tilesFailed;
    if (model.type() == kTerrainModel)
    {
        report["incompleteTiles"] = statistics.tilesIncomplete;
        report["notKeptTiles"] = statistics.tilesNotKept;
        report["builtTiles"] = statistics.tilesBuilt;
        report["cachedTiles"] = statistics.tilesFromCache;
    }
    report["heldTiles"] = statistics.tilesHeld;       // files
    report["heldContainers"] = tiles.heldTileCount(); // a file holds several, each with its identity
    report["visibleTiles"] = tiles.visibleIds().size();
    report["meshes"] = tiles.visibleMeshCount();
    report["triangles"] = tiles.visibleTriangleCount();
    report["textures"] = tiles.textures().textureCount();
    report["textureBytes"] = tiles.textures().byteCount();
    report["undrawableTextures"] = tiles.textures().undrawableCount();
    report["bytesHeld"] = statistics.bytesHeld;
    report["unannouncedRemovals"] = tiles.unannouncedRemovals();
    report["violations"] = tiles.violations();
    return report;
}

void printTerrainTiles(const HostModel& model)
{
    if (model.type() != kTerrainModel) return;
    const GeoMeshStatistics statistics = model.statistics();
    std::cout << statistics.tilesBuilt << " tiles were made from the rasters, " << statistics.tilesFromCache
              << " came from the disk cache.\n";
    if (statistics.tilesIncomplete > 0)
        std::cerr << "mvgeo: for " << statistics.tilesIncomplete
                  << " tiles a raster could not be read; they are flat or of one colour.\n";
    if (statistics.tilesNotKept > 0)
        std::cerr << "mvgeo: " << statistics.tilesNotKept << " tiles could not be written to the disk cache.\n";
}
} // namespace mvgeo::host

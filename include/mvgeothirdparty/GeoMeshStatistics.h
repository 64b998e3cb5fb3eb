#pragma once

#include "MvGeoExport.h"

#include <cstdint>

class MvGeoMesh;

/** The paging state of one model. Set `version` to kGeoMeshStatisticsVersion before the call; later versions only add
 * members at the end. A tile is one file of the pyramid; root files count as tiles too.
 */
struct GeoMeshStatistics
{
    std::uint32_t version;         ///< in: the version that the caller was compiled with
    std::uint32_t idle;            ///< 1: nothing is queued, being read, or waiting for the next update()
    std::uint64_t requestsWaiting; ///< requests that the loading thread has not taken yet
    std::uint64_t mergesWaiting;   ///< tiles that are loaded and wait for the next update()
    std::uint64_t tilesLoaded;     ///< reads that gave a tile, in all
    std::uint64_t tilesMerged;     ///< tiles put into the scene, in all
    std::uint64_t tilesExpired;    ///< tiles dropped from the scene again, in all
    std::uint64_t tilesFailed;     ///< tiles whose last read failed; each counts once however often it is tried
    std::uint64_t tilesHeld;       ///< tiles in the scene now
    std::uint64_t bytesHeld;       ///< bytes of their vertex and index arrays, as they were read
    // Since version 2:
    std::uint64_t tilesBuilt;      ///< terrain tiles made from the rasters, in all
    std::uint64_t tilesFromCache;  ///< terrain tiles read back from the disk cache, in all
    std::uint64_t tilesIncomplete; ///< of those built: for these a raster could not be read; they are not kept
    std::uint64_t tilesNotKept;    ///< of those built: these could not be written to the disk cache
};

constexpr std::uint32_t kGeoMeshStatisticsVersion = 2;

/** Fills `statistics`. False, with nothing written, for null arguments, a version that this library does not know, or a
 * model of another library. After an update(), mergesWaiting above 0 means that another one is due, and idle that the
 * view has converged: another update() with it would show the same tiles.
 * Thread: the model's host thread. */
MVGEO_API bool getGeoMeshStatistics(const MvGeoMesh* model, GeoMeshStatistics* statistics);

#pragma once

#include "common/JsonReport.h"
#include "hosting/HostModel.h"

namespace mvgeo::host
{
/** Throws HostError if the library broke the contract with its receiver. A tile that was removed without having been
 * announced is a breach too, except in a free-running flight, where one can come and leave within one update. */
void failOnViolations(const HostTileStore& tiles, bool isFreeRunning = false);

/** What render and fly both tell: tiles, triangles, textures, violations. */
Json tileReport(const HostModel& model);
/** For people: how many of a terrain's tiles were made and how many were there; nothing for another model. */
void printTerrainTiles(const HostModel& model);
} // namespace mvgeo::host

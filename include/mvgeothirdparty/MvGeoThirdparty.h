#pragma once

/** Everything that a host needs. Start with createTiledModel() in ModelFactory.h. */

#include "FileQueries.h"
#include "GeoMeshStatistics.h"
#include "GeoMeshTileContainer.h"
#include "GeoMeshUpdateReceiver.h"
#include "KdGiGeoMesh.h"
#include "ModelFactory.h"
#include "ModelType.h"
#include "MvGeoMesh.h"
#include "MvRegConfig.h"

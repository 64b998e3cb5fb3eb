#pragma once

#include <cstdint>

/** What createTiledModel() is to build. The numbers are compiled into hosts. */
enum ModelType : std::int32_t
{
    kTiledModel = 0,  ///< a pyramid of ".osgb" tiles
    kTerrainModel = 1 ///< a terrain from a DEM and an ortho-image
};

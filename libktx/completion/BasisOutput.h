#pragma once

#include "LevelData.h"

#include <encoder/basisu_comp.h>

namespace mvgeo
{
/** Sorts what the encoder made of a texture's images into the levels of a KTX 2 texture. imagesPerLevel, largest level
 * first, adds up to the number of images that were given to the encoder. */
LevelData levelDataOf(const basisu::uint8_vec& basisFile, const std::vector<std::size_t>& imagesPerLevel);
} // namespace mvgeo

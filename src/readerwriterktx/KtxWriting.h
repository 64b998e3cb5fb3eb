#pragma once

#include "readerwriterktx/KtxSettings.h"

#include <osg/Image>

#include <string>
#include <vector>

namespace mvgeo
{

/** The bytes of a KTX 2 file with these images as its layers, or as the faces of a cube map; empty if it cannot be
 * made, which is logged but for an empty list and a cube map with fewer than six faces.
 *
 * The first image says what format, size and number of levels all of them have; one that differs is left out, and its
 * layer is black. The rows are stored as they are, with the key that says which one is the first; those of a cube map
 * count as starting at the top. The user value "KTXswizzle" of the first image becomes the key of that name, and its
 * user value "KTXpremultipliedAlpha" (bool) the format descriptor's flag. Images in the order blue, green, red are
 * brought into the other one where they are to be encoded.
 *
 * Thread: any, several at once. May throw (no memory). */
[[nodiscard]] std::string writeKtx(const std::vector<const osg::Image*>& images, bool isCubeMap,
                                   const KtxSettings& settings);

} // namespace mvgeo

#pragma once

#include <ktx.h>

#include <encoder/basisu_comp.h>

namespace mvgeo
{
/** How many channels of 8 bits the texture has; 0 if it is nothing that Basis Universal can encode. */
int encodableChannels(const ktxTexture2& texture);

/** All images, level by level, in each level layer by layer, in each layer face by face or slice by slice. One channel
 * goes into all three colours; of two the second goes into alpha. */
basisu::vector<basisu::image> basisImages(ktxTexture2& texture, int channels);

/** The number of those images for each level, largest level first. */
std::vector<std::size_t> imagesPerLevel(const ktxTexture2& texture);
} // namespace mvgeo

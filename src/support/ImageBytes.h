#pragma once

#include <osg/Image>

#include <cstddef>

namespace mvgeo
{

// How many bytes the pixels of an image take, each row with the filling that the image's packing asks for. To be asked
// instead of osg::Image: its getTotalSizeInBytes() counts pixels where there are blocks, and too few of them where a
// side is no multiple of the block; for ASTC it counts next to nothing, and says so in the log.
// Thread: any.

/** One slice of one level; 0 for an image without sides or a format that OSG does not know. */
[[nodiscard]] std::size_t sliceBytes(const osg::Image& image, unsigned int level = 0);

/** All slices of one level. */
[[nodiscard]] std::size_t levelBytes(const osg::Image& image, unsigned int level = 0);

/** From the first byte to the end of the level that ends last. */
[[nodiscard]] std::size_t imageBytes(const osg::Image& image);

} // namespace mvgeo

#pragma once

#include <osg/Image>

namespace mvgeo::bench
{

/** The sample city's ground from above, half a metre a pixel, RGB with 8 bits a channel; always the same one. */
[[nodiscard]] osg::ref_ptr<osg::Image> groundPicture(int side);

/** The peak signal-to-noise ratio of the colours, in decibels; the images have equal sizes and 8 bits a channel, with
 * or without alpha. Throws if not. */
[[nodiscard]] double psnrOf(const osg::Image& picture, const osg::Image& source);

} // namespace mvgeo::bench

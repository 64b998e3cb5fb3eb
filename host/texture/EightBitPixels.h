#pragma once

#include <osg/Image>

#include <string>

namespace mvgeo::host
{
enum class AlphaChoice
{
    keep,
    drop,
    add ///< opaque
};

/** Which channels the pixels may have. */
struct ChannelChoice
{
    bool grey = true; ///< else grey becomes RGB
    AlphaChoice alpha = AlphaChoice::keep;
};

/** Where the channels come from if an image of a KTX file says so, like "rrrg": a letter of "rgba01" for each of the
 * four; empty otherwise. */
std::string swizzleOf(const osg::Image& image);

/** True if an image of a KTX file says that its colours are multiplied by alpha already. */
bool isPremultiplied(const osg::Image& image);

/** True if eightBitPixels() can make something of the image: no blocks but BC1 to BC3, no integers, no depths. */
bool canBecomeEightBit(const osg::Image& image);

/** True if the image is that already. */
bool isEightBit(const osg::Image& image, ChannelChoice channels);

/** The image with 8 bits a channel as GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB or GL_RGBA, the lowest row first, with
 * its slices and its mipmap levels. A swizzle is applied; else one channel counts as grey; numbers beyond 0 to 1 are
 * cut off there. A format in sRGB stays in sRGB, and
 * colours that are multiplied by an alpha that is kept stay marked so. Null if canBecomeEightBit() is false. */
osg::ref_ptr<osg::Image> eightBitPixels(const osg::Image& image, ChannelChoice channels);
} // namespace mvgeo::host

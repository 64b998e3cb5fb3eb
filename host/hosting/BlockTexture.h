#pragma once

#include <osg/Image>
#include <osg/Texture2D>
#include <osg/ref_ptr>

#include <atomic>
#include <cstddef>
#include <memory>

namespace mvgeo::host
{
/** Textures that had to be drawn in one colour. Written by the drawing thread. */
using UndrawableCount = std::atomic<std::size_t>;

/** A texture of pixels in compressed blocks, whose internal format tells what the blocks mean.
 *
 * They go to the graphics card as they are if its OpenGL takes them, and the card makes the mip levels of BC1 to BC7;
 * others have none. Else BC1, BC2 and BC3 are decoded before, and anything else is drawn in the colour of a mesh
 * without texture and counted. Which it is shows when the texture is first drawn; the image is dropped then.
 */
[[nodiscard]] osg::ref_ptr<osg::Texture2D> makeBlockTexture(osg::Image& image,
                                                            const std::shared_ptr<UndrawableCount>& undrawable);

/** The pixels as RGBA with 8 bits; null if they are not in blocks of BC1, BC2 or BC3. */
[[nodiscard]] osg::ref_ptr<osg::Image> decodeBlocks(const osg::Image& image);

/** The format with the same bytes that the card does not linearise: pictures are drawn with the numbers that their
 * textures hold, whatever these are called. */
[[nodiscard]] GLint withoutSrgb(GLint internalFormat);
} // namespace mvgeo::host

#pragma once

#include <osg/Image>
#include <osg/ref_ptr>
#include <osgDB/Options>

#include <cstddef>
#include <string>

namespace mvgeo
{

/** Why there is no image. */
struct KtxFault
{
    int code = 0; // of libktx, if the container could not be opened, and then nothing was logged; else 0, and it was
    std::string reason;
};

/** A KTX 1 or KTX 2 file as an image; null if it cannot be had, with the reason in `fault`.
 *
 * Several layers or faces come as an osg::ImageSequence of all of them, layer by layer; slices as one image with a
 * depth. The first row is the lowest one, whatever the file says, but where that is not possible without loss (blocks
 * other than BC1 to BC5, heights that are not whole blocks) and for the faces of a cube map the image's origin is
 * TOP_LEFT. Rows have no padding.
 *
 * What osg::Image has no place for stands in its user values: "KTXcubemap" (bool) for the faces of a cube map,
 * "KTXpremultipliedAlpha" (bool) where the colours are multiplied by alpha already, "KTXswizzle" (string, like "rrrg"),
 * which is not applied.
 *
 * Thread: any, several at once. May throw (no memory). */
[[nodiscard]] osg::ref_ptr<osg::Image> readKtx(const unsigned char* bytes, std::size_t size,
                                               const osgDB::Options* options, KtxFault& fault);

} // namespace mvgeo

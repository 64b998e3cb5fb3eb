#pragma once

#include <osg/Image>
#include <osgDB/Options>

#include <string>

namespace mvgeo::sample
{
/** How a tile's texture lies in its file. The three KTX2 kinds need the library's KTX reader-writer to be loaded. */
enum class TextureStorage
{
    jpeg,
    etc1s, ///< KTX2, Basis Universal: smallest
    uastc, ///< KTX2, Basis Universal: finer
    bc     ///< KTX2 with BC1 blocks: largest, and as the graphics card takes it
};

/** With its dot: what OSG chooses its writer by. */
[[nodiscard]] const char* extensionOf(TextureStorage storage);

/** What the tile's writer and its image writer are told. */
[[nodiscard]] osg::ref_ptr<osgDB::Options> writeOptionsOf(TextureStorage storage);

/** The image as the tile's writer needs it: the same one, or for `bc` its blocks. Null if it cannot be had, which
 * findStorageError() tells before. Thread: any. */
[[nodiscard]] osg::ref_ptr<osg::Image> prepareForStorage(const osg::ref_ptr<osg::Image>& image, TextureStorage storage);

/** Why no texture can be stored so, found out with a tiny one; empty if it can. The tile's writer would leave a texture
 * out without a word. */
[[nodiscard]] std::string findStorageError(TextureStorage storage);
} // namespace mvgeo::sample

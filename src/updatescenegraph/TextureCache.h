#pragma once

#include <osg/Node>

#include <string>

namespace mvgeo
{

/** Writes each texture image of unit 0 below `tile` to `directory`, once, under its simple file name (an image without
 * a name is first named by the digest of its pixels and ".jpg"), and records the file's path on the texture as the user
 * value "imagePath". An existing file is taken as the cached copy, whatever it holds.
 *
 * Pixels in compressed blocks stay as they are where the name's format can hold them (KTX, KTX2, DDS) and are decoded
 * where it cannot; blocks that cannot be decoded here are not written. Wherever that file would not give the image back
 * with its blocks and its alpha, or there is no writer for the name, a copy that does lies beside it (exactCopyPath()).
 *
 * A file appears under its name only when it is complete. A write that fails leaves no file and says nothing; the path
 * is recorded all the same. The directory is not made.
 * Thread: any, on a tile that no other thread knows yet.
 */
void cacheTextures(osg::Node& tile, const std::string& directory);

/** Where the exact copy of a cached texture lies if it has one: a KTX file, to be read in place of the texture's own.
 */
[[nodiscard]] std::string exactCopyPath(const std::string& path);

} // namespace mvgeo

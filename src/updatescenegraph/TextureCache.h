#pragma once

#include <osg/Node>

#include <string>

namespace mvgeo
{

/** Writes each texture image of unit 0 below `tile` to `directory`, once, under its simple file name (an image without
 * a name is first named by the digest of its pixels and ".jpg"), and records the file's path on the texture as the user
 *  value "imagePath". An existing file is taken as the cached copy, whatever it holds.
 *
 *  A file appears under its name only when it is complete. A write that fails leaves no file and says nothing; the path
 *  is recorded all the same. The directory is not made.
 *  Thread: any, on a tile that no other thread knows yet.
 */
void cacheTextures(osg::Node& tile, const std::string& directory);

} // namespace mvgeo

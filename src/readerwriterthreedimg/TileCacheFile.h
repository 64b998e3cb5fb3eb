#pragma once

#include <osg/Node>
#include <osg/ref_ptr>

#include <string>

namespace mvgeo
{

/** Reads a built tile back from its cache file. Null if there is none, if it is damaged or no tile of ours, or if it
 * was built from other rasters than `stamp` tells; an empty stamp takes every tile, also one without our seal. Said
 * nowhere: the tile is built again. Thread: any; holds the dataset manager's file lock while it reads. */
[[nodiscard]] osg::ref_ptr<osg::Node> readCachedTile(const std::string& path, const std::string& stamp);

/** Writes a tile to its cache file, replacing what is there. A write that fails leaves no part of a file: the next one
 * who needs the tile builds it again. Marks the node with the stamp. Thread: any; holds the dataset manager's file lock
 * while it writes. */
bool writeCachedTile(osg::Node& node, const std::string& directory, const std::string& name, const std::string& stamp);

} // namespace mvgeo

#pragma once

#include <osg/Node>

namespace mvgeo
{

/** Makes the textures of unit 0 below `tile` what a host takes: one image each, its first row the lowest.
 *
 * Several layers or faces come from their reader as a sequence: the first one stays, with a line in the log. Blocks of
 * some formats cannot be flipped: there, for images from KTX files, the texture coordinates are. Other formats are left
 * as they are, because OSG draws them so whatever their origin says, and tiles are made to suit.
 * Thread: any, on a tile that no other thread knows yet, before its textures are cached.
 */
void makeTexturesUpright(osg::Node& tile);

} // namespace mvgeo

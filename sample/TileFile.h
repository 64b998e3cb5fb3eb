#pragma once

#include "common/WholeFile.h"
#include "sample/TextureStorage.h"

#include <osg/Geometry>
#include <osg/Image>

#include <string>
#include <vector>

namespace mvgeo::sample
{
/** One piece of a tile file: what it draws, and the file that draws the same place more finely. */
struct TilePart
{
    osg::ref_ptr<osg::Geometry> mesh;
    std::string finerFile;     // in the same folder; empty for a leaf
    double switchPixels = 0.0; // the sphere's diameter on the screen from which the finer file is wanted
};

/** Puts the texture on a mesh; the image gets the name under which it is embedded. */
void applyTexture(osg::Geometry& mesh, osg::Image& image, const std::string& imageName);

/** The scene of a tile file: a paged level of detail for each part that goes on, a bare geode for a leaf; several are
 * gathered in a group. */
[[nodiscard]] osg::ref_ptr<osg::Node> makeTileNode(const std::vector<TilePart>& parts);

/** Writes a scene as .osgb with its textures as files inside. Thread: any. */
[[nodiscard]] host::WriteResult writeTileFile(const osg::Node& node, const std::string& path, TextureStorage textures);
} // namespace mvgeo::sample

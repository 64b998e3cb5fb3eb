#pragma once

#include "sample/TextureStorage.h"

#include <osg/Geometry>
#include <osg/Image>

#include <string>
#include <string_view>
#include <vector>

namespace mvgeo::host
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
 *  gathered in a group. */
[[nodiscard]] osg::ref_ptr<osg::Node> makeTileNode(const std::vector<TilePart>& parts);

/** Bytes written, or what went wrong in one sentence with the path. */
struct WriteResult
{
    std::string error;
    unsigned long long bytes = 0;

    [[nodiscard]] bool ok() const { return error.empty(); }
};

/** Writes a scene as .osgb with its textures as files inside. Thread: any. */
[[nodiscard]] WriteResult writeTileFile(const osg::Node& node, const std::string& path, TextureStorage textures);

/** Writes under a temporary name and renames, so that nobody ever finds half a file. The path is UTF-8. */
[[nodiscard]] WriteResult writeWholeFile(std::string_view content, const std::string& path);

} // namespace mvgeo::host

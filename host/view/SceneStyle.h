#pragma once

#include <osg/Group>
#include <osg/Program>
#include <osg/StateSet>
#include <osg/Texture2D>
#include <osg/Vec2f>
#include <osg/Vec3f>

#include <optional>

namespace mvgeo::host
{
/** Of the two sources. */
osg::ref_ptr<osg::Program> makeProgram(const char* name, const char* vertexShader, const char* fragmentShader);

/** How a mesh looks. With a texture but no normals it is drawn as photographed; else it is lit from beside the eye, by
 * its normals or, without any, by the facets' own. */
void styleMesh(osg::StateSet& state, osg::Texture2D* texture, bool hasNormals);

/** A terrain is lit by a sun that stands in the south-west, gently where a photograph covers it, which has its own
 * light and shade; without one it is coloured by height, from green valleys to white peaks. */
struct TerrainLook
{
    osg::Vec2f heightRange; ///< lowest and highest place, metres
};

/** The whole picture: `tiles` before a sky that fades towards the horizon, or before one colour.
 * @param terrain  empty if the tiles are photographed meshes */
osg::ref_ptr<osg::Group> makePictureScene(osg::Group& tiles, const std::optional<osg::Vec3f>& background,
                                          const std::optional<TerrainLook>& terrain = std::nullopt);
} // namespace mvgeo::host

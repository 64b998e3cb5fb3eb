#pragma once

#include <osg/Group>
#include <osg/StateSet>
#include <osg/Texture2D>
#include <osg/Vec3f>

#include <optional>

namespace mvgeo::host
{
/** How a mesh looks. With a texture but no normals it is drawn as photographed; else it is lit from beside the eye, by
 *  its normals or, without any, by the facets' own. */
void styleMesh(osg::StateSet& state, osg::Texture2D* texture, bool hasNormals);

/** The whole picture: `tiles` before a sky that fades towards the horizon, or before one colour. */
osg::ref_ptr<osg::Group> makePictureScene(osg::Group& tiles, const std::optional<osg::Vec3f>& background);
} // namespace mvgeo::host

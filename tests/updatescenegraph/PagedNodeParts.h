#pragma once

#include "SceneParts.h"
#include "updatescenegraph/SceneViewVisitor.h"

#include <osg/PagedLOD>

#include <string>
#include <vector>

using Names = std::vector<std::string>;

/** A view that culls nothing and so reports every child that a paged node lets it visit. With the pixel-size vector (0,
 * 0, 0, 1) a sphere is as many pixels large as its radius. */
inline osg::ref_ptr<SceneViewVisitor> openView()
{
    osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    view->cullingEnabled = 0;
    return view;
}

struct Range
{
    float minimum;
    float maximum;
};

/** A paged node at `centre` whose children, named by their index, have these ranges. */
inline osg::ref_ptr<osg::PagedLOD> pagedWith(osg::LOD::RangeMode mode, const osg::Vec3& centre, float radius,
                                             const std::vector<Range>& ranges, unsigned int childCount)
{
    osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    node->setRangeMode(mode);
    node->setCenter(centre);
    node->setRadius(radius);
    for (unsigned int i = 0; i < childCount; ++i)
        node->addChild(content(std::to_string(i)));
    for (unsigned int i = 0; i < ranges.size(); ++i)
        node->setRange(i, ranges[i].minimum, ranges[i].maximum);
    return node;
}

inline Names visibleIn(const osg::ref_ptr<SceneViewVisitor>& view, osg::PagedLOD& node)
{
    view->visibleContentNodes.clear();
    node.accept(*view);
    return identitiesOf(view->visibleContentNodes);
}

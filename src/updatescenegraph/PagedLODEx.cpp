#include "updatescenegraph/PagedLODEx.h"

#include "support/TerrainTileFacts.h"
#include "updatescenegraph/SceneViewVisitor.h"

#include <cmath>
#include <typeinfo>

namespace
{

/** Half the diagonal of a terrain tile's extent, or the fallback for other nodes. A terrain tile's sphere also bounds
 * its relief, which would make steep tiles finer than flat ones. */
double tileRadius(const osg::Node& node, double fallback)
{
    const std::optional<mvgeo::TileExtent> tile = mvgeo::terrainTileExtent(node);
    return tile ? 0.5 * std::hypot(tile->east - tile->west, tile->north - tile->south) : fallback;
}

} // namespace

PagedLODEx::PagedLODEx(const osg::PagedLOD& original) : osg::PagedLOD(original) {}

PagedLODEx::~PagedLODEx() = default;

void PagedLODEx::traverse(osg::NodeVisitor& visitor)
{
    const osg::FrameStamp* frameStamp = visitor.getFrameStamp();
    if (frameStamp && visitor.getVisitorType() == osg::NodeVisitor::CULL_VISITOR)
        setFrameNumberOfLastTraversal(frameStamp->getFrameNumber());

    if (visitor.getTraversalMode() == osg::NodeVisitor::TRAVERSE_ALL_CHILDREN)
    {
        for (const osg::ref_ptr<osg::Node>& child : _children)
            child->accept(visitor);
    }
    else if (visitor.getTraversalMode() == osg::NodeVisitor::TRAVERSE_ACTIVE_CHILDREN)
        traverseActiveChildren(visitor);
}

float PagedLODEx::requiredRange(osg::NodeVisitor& visitor) const
{
    // Asked of every paged node in every frame: the common type is told by one comparison instead of a cast.
    const bool isSceneView = typeid(visitor) == typeid(SceneViewVisitor);
    const auto* view =
        isSceneView ? static_cast<const SceneViewVisitor*>(&visitor) : dynamic_cast<const SceneViewVisitor*>(&visitor);
    if (!view) return 0.0F;
    if (getRangeMode() != DISTANCE_FROM_EYE_POINT) return pixelSize(*view);
    if (!isSceneView) return visitor.getDistanceToViewPoint(getCenter(), true);
    return (osg::Vec3f(getCenter()) - view->eyePoint).length() * view->lodScale;
}

float PagedLODEx::pixelSize(const SceneViewVisitor& visitor) const
{
    const osg::BoundingSphere& sphere = getBound();
    const osg::Vec3d centre = mvgeo::toWorld(sphere.center(), visitor);
    const double scale =
        visitor.modelMatrixStack.empty() ? 1.0 : std::sqrt(mvgeo::firstScaleSquared(visitor.modelMatrixStack.back()));
    const double radius = tileRadius(*this, sphere.radius()) * scale;
    const double size = radius / mvgeo::dot(visitor.pixelSizeVector, centre);
    return static_cast<float>(std::abs(size)) / visitor.lodScale;
}

void PagedLODEx::traverseActiveChildren(osg::NodeVisitor& visitor)
{
    const float range = requiredRange(visitor);

    int lastTraversed = -1;
    bool childMissing = false;
    for (unsigned int i = 0; i < _rangeList.size(); ++i)
    {
        if (range < _rangeList[i].first || !(range < _rangeList[i].second)) continue;
        if (i < _children.size())
        {
            acceptChild(i, visitor);
            lastTraversed = static_cast<int>(i);
        }
        else
            childMissing = true;
    }
    if (!childMissing) return;

    // The coarser tile stands in while the finer one is loaded.
    const int lastChild = static_cast<int>(_children.size()) - 1;
    if (lastChild >= 0 && lastChild != lastTraversed) acceptChild(static_cast<unsigned int>(lastChild), visitor);
    requestNextChild(visitor, range);
}

void PagedLODEx::acceptChild(unsigned int index, osg::NodeVisitor& visitor)
{
    if (visitor.getVisitorType() == osg::NodeVisitor::CULL_VISITOR && index < _perRangeDataList.size())
    {
        const osg::FrameStamp* frameStamp = visitor.getFrameStamp();
        _perRangeDataList[index]._timeStamp = frameStamp ? frameStamp->getReferenceTime() : 0.0;
        _perRangeDataList[index]._frameNumber = frameStamp ? frameStamp->getFrameNumber() : 0;
    }
    _children[index]->accept(visitor);
}

void PagedLODEx::requestNextChild(osg::NodeVisitor& visitor, float range)
{
    const auto next = static_cast<unsigned int>(_children.size());
    osg::NodeVisitor::DatabaseRequestHandler* handler = visitor.getDatabaseRequestHandler();
    if (_disableExternalChildrenPaging || !handler || next >= _perRangeDataList.size()) return;

    PerRangeData& data = _perRangeDataList[next];
    const auto& [minimum, maximum] = _rangeList[next];
    float priority = (maximum - range) / (maximum - minimum);
    if (getRangeMode() == PIXEL_SIZE_ON_SCREEN) priority = -priority;
    priority = data._priorityOffset + priority * data._priorityScale;

    // With an empty database path this is the file name itself.
    handler->requestNodeFile(_databasePath + data._filename, visitor.getNodePath(), priority, visitor.getFrameStamp(),
                             data._databaseRequest, _databaseOptions.get());
}

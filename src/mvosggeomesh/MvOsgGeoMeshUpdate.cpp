#include "mvgeothirdparty/GeoMeshTileContainer.h"
#include "mvgeothirdparty/GeoMeshUpdateReceiver.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"
#include "updatescenegraph/ContentNodeVisitor.h"

#include <osg/CullingSet>
#include <osg/Transform>

#include <algorithm>

namespace
{

/** Writes the identities of the nodes that have one into `ids`, reusing its strings. */
void listIds(const std::vector<osg::ref_ptr<osg::Node>>& nodes, std::vector<std::string>& ids)
{
    std::size_t count = 0;
    for (const osg::ref_ptr<osg::Node>& node : nodes)
    {
        const std::string* id = mvgeo::userValue<std::string>(*node, mvgeo::keys::globalId);
        if (!id) continue;
        if (count == ids.size()) ids.emplace_back();
        ids[count++] = *id;
    }
    ids.resize(count);
}

/** The identity of a tile that is to be handed over or was; null, with a warning where it is missing, for any other. */
const std::string* validId(const osg::Node& node)
{
    const std::string* id = mvgeo::userValue<std::string>(node, mvgeo::keys::globalId);
    if (!id)
    {
        MVGEO_LOG(WARN) << "cannot get tiled_nodeid";
        return nullptr;
    }
    const bool* valid = mvgeo::userValue<bool>(node, mvgeo::keys::valid);
    return valid && !*valid ? nullptr : id;
}

/** What stands between the model's root and a content node: transforms of the file above its paged nodes. */
osg::Matrixd matrixAbove(const osg::Node& node, const osg::Node& root)
{
    for (const osg::NodePath& path : node.getParentalNodePaths())
    {
        const auto top = std::find(path.begin(), path.end(), &root);
        if (top == path.end()) continue;
        const osg::NodePath between(top + 1, path.end() - 1);
        return osg::computeLocalToWorld(between);
    }
    return {};
}

/** True for a matrix that a view can be made of. */
bool isUsable(const KdGeMatrix3d* matrix)
{
    return matrix && !matrix->isSingular();
}

} // namespace

bool MvOsgGeoMesh::update(unsigned int frameNumber, const KdGeMatrix3d* model, const KdGeMatrix3d* view,
                          const KdGeMatrix3d* projection, int width, int height, unsigned char extract, void*,
                          GeoMeshUpdateReceiver* receiver)
{
    if (!receiver || !isReadyToPage()) return false;
    const auto placement = mvgeo::Placement::make(model);
    if (!placement || !isUsable(view) || !isUsable(projection) || width <= 0 || height <= 0) return false;

    storeView(mvgeo::toOsg(*view), mvgeo::toOsg(*projection), width, height);
    setUpSceneVisitor(*placement, width, height);
    advanceFrame(frameNumber);
    pageScene(placement->modelToHost());

    if (!receiver->hasTiles())
    {
        ContentNodeVisitor everything;
        _root->accept(everything);
        _pager->loadedContentNodes.swap(everything.contentNodes);
        _pager->removedContentNodes.clear();
    }
    reportTiles(*receiver);
    mvgeo::readTextures(extractLoadedTiles(extract != 0, *receiver));
    releaseTextures();
    setRemovedValid(true);

    _pager->loadedContentNodes.clear();
    _pager->removedContentNodes.clear();
    _sceneVisitor->visibleContentNodes.clear();
    return true;
}

void MvOsgGeoMesh::storeView(const osg::Matrixd& view, const osg::Matrixd& projection, int width, int height)
{
    _viewMatrix = view;
    _projectionMatrix = projection;
    _viewportMatrix = osg::Matrixd::translate(1.0, 1.0, 1.0) * osg::Matrixd::scale(0.5 * width, 0.5 * height, 0.5);
}

void MvOsgGeoMesh::setUpSceneVisitor(const mvgeo::Placement& placement, int width, int height)
{
    SceneViewVisitor& visitor = *_sceneVisitor;
    visitor.viewport->setViewport(0.0, 0.0, static_cast<double>(width), static_cast<double>(height));
    visitor.pixelSizeVector =
        osg::CullingSet::computePixelSizeVector(*visitor.viewport, _projectionMatrix, _viewMatrix);
    if (visitor.cullingEnabled)
    {
        visitor.frustumStack.clear();
        visitor.frustum.setToUnitFrustum(true, true);
        visitor.frustum.transformProvidingInverse(_viewMatrix * _projectionMatrix);
    }
    // Distances are compared in the frame of the paged nodes, where their ranges are given.
    visitor.eyePoint = placement.toModel(osg::Matrixd::inverse(_viewMatrix).getTrans());
    visitor.viewPoint = visitor.eyePoint;
}

void MvOsgGeoMesh::advanceFrame(unsigned int frameNumber)
{
    if (_lastFrameNumber == frameNumber) return;
    _lastFrameNumber = frameNumber;
    const osg::Timer* timer = osg::Timer::instance();
    const double seconds = timer->delta_s(_creationTick, timer->tick());
    _frameStamp->setFrameNumber(_frameStamp->getFrameNumber() + 1);
    _frameStamp->setReferenceTime(seconds);
    _frameStamp->setSimulationTime(seconds);
}

void MvOsgGeoMesh::pageScene(const osg::Matrixd& modelToHost)
{
    SceneViewVisitor& visitor = *_sceneVisitor;
    _pager->signalBeginFrame(_frameStamp);
    visitor.setFrameStamp(_frameStamp);
    visitor.reset();
    _pager->mergeLoadedTiles(*_frameStamp);

    visitor.pushModelMatrix(modelToHost);
    visitor.pushFrustum(modelToHost);
    _root->accept(visitor);
    visitor.popModelMatrix();
    visitor.popFrustum();

    _pager->pruneExpiredTiles(*_frameStamp);
    _pager->signalEndFrame();
}

void MvOsgGeoMesh::reportTiles(GeoMeshUpdateReceiver& receiver)
{
    setRemovedValid(false);
    listIds(_pager->removedContentNodes, _removedIds);
    receiver.removeTiles(_removedIds);

    // Most frames show the tiles of the frame before, whose identities are listed already.
    std::vector<osg::ref_ptr<osg::Node>>& visible = _sceneVisitor->visibleContentNodes;
    if (visible != _lastVisible) listIds(visible, _visibleIds);
    _lastVisible.swap(visible);
    receiver.visibleTiles(_visibleIds);
}

void MvOsgGeoMesh::setRemovedValid(bool valid)
{
    for (const osg::ref_ptr<osg::Node>& node : _pager->removedContentNodes)
        if (mvgeo::userValue<std::string>(*node, mvgeo::keys::globalId)) node->setUserValue(mvgeo::keys::valid, valid);
}

std::vector<mvgeo::TextureWorkItem> MvOsgGeoMesh::extractLoadedTiles(bool withTextures, GeoMeshUpdateReceiver& receiver)
{
    const mvgeo::ExtractionContext context{_instanceNumber, _hostTransform, withTextures};
    std::vector<mvgeo::TextureWorkItem> items;
    VisitorGeometry collector;
    for (const osg::ref_ptr<osg::Node>& node : _pager->loadedContentNodes)
    {
        const std::string* id = validId(*node);
        if (!id) continue;
        GeoMeshTileContainer* container = receiver.beginTile(*id);
        if (!container) continue;

        const osg::Matrixd above = matrixAbove(*node, *_root);
        collector.reset();
        node->accept(collector);
        for (std::size_t i = 0; i < collector.geometries().size(); ++i)
        {
            mvgeo::TextureWorkItem item;
            mvgeo::extractGeometry(*collector.geometries()[i], collector.matrices()[i] * above, context, *container,
                                   item);
            if (item.isFilled) items.push_back(std::move(item));
        }
    }
    return items;
}

void MvOsgGeoMesh::releaseTextures()
{
    VisitorGeometry collector;
    for (const osg::ref_ptr<osg::Node>& node : _pager->loadedContentNodes)
    {
        if (!validId(*node)) continue;
        collector.reset();
        node->accept(collector);
        for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
            if (osg::Texture2D* texture = mvgeo::textureOf(*geometry)) texture->setImage(nullptr);
    }
}

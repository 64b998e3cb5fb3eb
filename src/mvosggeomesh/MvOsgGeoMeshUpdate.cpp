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
#include <utility>

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
    const osg::NodePathList paths = node.getParentalNodePaths();
    const auto fromRoot =
        std::find_if(paths.begin(), paths.end(), [&root](const osg::NodePath& path) { return path.front() == &root; });
    if (fromRoot != paths.end()) return osg::computeLocalToWorld({fromRoot->begin() + 1, fromRoot->end() - 1});
    if (paths.empty()) return {};
    // A receiver's call has cleared the model: the path begins at the file.
    return osg::computeLocalToWorld({paths.front().begin(), paths.front().end() - 1});
}

/** Appends the content below `node`. */
void appendContent(osg::Node& node, std::vector<osg::ref_ptr<osg::Node>>& nodes)
{
    ContentNodeVisitor content;
    node.accept(content);
    nodes.insert(nodes.end(), content.contentNodes.begin(), content.contentNodes.end());
}

void setValid(const std::vector<osg::ref_ptr<osg::Node>>& nodes, bool valid)
{
    for (const osg::ref_ptr<osg::Node>& node : nodes)
        if (mvgeo::userValue<std::string>(*node, mvgeo::keys::globalId)) node->setUserValue(mvgeo::keys::valid, valid);
}

/** Once the host has a tile, its textures hold no pixels. */
void releaseTextures(const std::vector<osg::ref_ptr<osg::Node>>& loaded)
{
    VisitorGeometry collector;
    for (const osg::ref_ptr<osg::Node>& node : loaded)
    {
        if (!validId(*node)) continue;
        collector.reset();
        node->accept(collector);
        for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
            if (osg::Texture2D* texture = mvgeo::textureOf(*geometry)) texture->setImage(nullptr);
    }
}

/** True for a matrix that a view can be made of. */
bool isUsable(const KdGeMatrix3d* matrix)
{
    return matrix && !matrix->isSingular();
}

/** Sets a flag for as long as it lives. */
class FlagScope
{
public:
    explicit FlagScope(bool& flag) : _flag(flag) { _flag = true; }
    ~FlagScope() { _flag = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

private:
    bool& _flag;
};

} // namespace

bool MvOsgGeoMesh::update(unsigned int frameNumber, const KdGeMatrix3d* model, const KdGeMatrix3d* view,
                          const KdGeMatrix3d* projection, int width, int height, unsigned char extract, void*,
                          GeoMeshUpdateReceiver* receiver)
{
    if (!receiver || !isReadyToPage() || _isUpdating) return false;
    const auto placement = mvgeo::Placement::make(model);
    if (!placement || !isUsable(view) || !isUsable(projection) || width <= 0 || height <= 0) return false;

    const FlagScope updating(_isUpdating);
    storeView(mvgeo::toOsg(*view), mvgeo::toOsg(*projection), width, height);
    setUpSceneVisitor(*placement, width, height);
    advanceFrame(frameNumber);
    pageScene(placement->modelToHost());

    // From here on the host may call the model back.
    const mvgeo::ExtractionContext context{_instanceNumber, _hostTransform, extract != 0};
    FrameTiles tiles = takeFrameTiles();
    tellReceiver(tiles, context, *receiver);
    keepForNextFrame(std::move(tiles));
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

MvOsgGeoMesh::FrameTiles MvOsgGeoMesh::takeFrameTiles()
{
    FrameTiles tiles;
    std::swap(tiles, _frameTiles);
    for (unsigned int i = 0; i < _root->getNumChildren(); ++i)
        tiles.fileRoots.emplace_back(_root->getChild(i));
    tiles.loaded.swap(_pager->loadedContentNodes);
    tiles.removed.swap(_pager->removedContentNodes);
    listIds(tiles.removed, tiles.removedIds);

    // Most frames show the tiles of the frame before, whose identities are listed already.
    Nodes& visible = _sceneVisitor->visibleContentNodes;
    if (visible != tiles.visible) listIds(visible, tiles.visibleIds);
    tiles.visible.swap(visible);
    visible.clear();
    return tiles;
}

void MvOsgGeoMesh::keepForNextFrame(FrameTiles tiles)
{
    // File roots that lost their parent: a receiver's call has cleared or reloaded the model.
    if (!tiles.fileRoots.empty() && tiles.fileRoots.front()->getNumParents() == 0)
    {
        tiles.visible.clear();
        tiles.visibleIds.clear();
    }
    tiles.fileRoots.clear();
    tiles.loaded.clear();
    tiles.removed.clear();
    _frameTiles = std::move(tiles);
}

void MvOsgGeoMesh::tellReceiver(FrameTiles& tiles, const mvgeo::ExtractionContext& context,
                                GeoMeshUpdateReceiver& receiver) const
{
    if (!receiver.hasTiles())
    {
        tiles.loaded.clear();
        for (const osg::ref_ptr<osg::Node>& fileRoot : tiles.fileRoots)
            appendContent(*fileRoot, tiles.loaded);
        tiles.removed.clear();
        tiles.removedIds.clear();
    }
    setValid(tiles.removed, false);
    receiver.removeTiles(tiles.removedIds);
    receiver.visibleTiles(tiles.visibleIds);
    mvgeo::readTextures(extractTiles(tiles.loaded, context, receiver));
    releaseTextures(tiles.loaded);
    setValid(tiles.removed, true);
}

std::vector<mvgeo::TextureWorkItem> MvOsgGeoMesh::extractTiles(const Nodes& loaded,
                                                               const mvgeo::ExtractionContext& context,
                                                               GeoMeshUpdateReceiver& receiver) const
{
    std::vector<mvgeo::TextureWorkItem> items;
    VisitorGeometry collector;
    for (const osg::ref_ptr<osg::Node>& node : loaded)
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

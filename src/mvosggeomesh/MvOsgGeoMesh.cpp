#include "mvosggeomesh/MvOsgGeoMesh.h"

#include "mvosggeomesh/PickIntersector.h"
#include "support/CacheDirectory.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"
#include "support/OsgPaths.h"
#include "support/QuietOsg.h"
#include "support/UserValues.h"
#include "updatescenegraph/ContentNodeVisitor.h"
#include "updatescenegraph/NotifyHandler.h"
#include "updatescenegraph/PagedLODReplacer.h"
#include "updatescenegraph/TagContentNodeVisitor.h"

#include <KdEdVariables.h>

#include <osg/ComputeBoundsVisitor>
#include <osgDB/FileNameUtils>
#include <osgDB/ReadFile>

#include <algorithm>
#include <utility>

namespace
{

std::uint32_t nextInstanceNumber()
{
    static std::uint32_t counter = 0; // models are made on the host's main thread
    return counter++;
}

/** The host variable "LOGFILEPATH" brings its own separator at its end; without it the log is relative. */
KdString logPath()
{
    KdString path;
    KdChar* value = nullptr;
    if (kdedGetVar(KdString("LOGFILEPATH").kwszPtr(), &value) && value)
    {
        path = value;
        kdutDelBuffer(value);
    }
    path += KdString("GeoCache/3d.log");
    return path;
}

/** The first model of the process redirects OSG's messages to the log; later ones find that done. */
void installNotifyHandler()
{
    osg::setNotifyLevel(osg::NOTICE);
    if (!dynamic_cast<NotifyHandler*>(osg::getNotifyHandler()))
        mvgeo::installHandler(*osg::ref_ptr<NotifyHandler>(new NotifyHandler(logPath().ansiPtr())));
}

bool contains(const std::vector<KdString>& paths, const KdString& path)
{
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

/** Bounds of everything below a model file's root; for a file that names tiles but holds no geometry yet, the box
 * around the root's sphere, which its paged nodes declare. */
osg::BoundingBox boundsOf(osg::Node& fileRoot)
{
    osg::ComputeBoundsVisitor visitor(osg::NodeVisitor::TRAVERSE_ALL_CHILDREN);
    fileRoot.accept(visitor);
    osg::BoundingBox box = visitor.getBoundingBox();
    if (!box.valid() && fileRoot.getBound().valid()) box.expandBy(fileRoot.getBound());
    return box;
}

} // namespace

MvOsgGeoMesh::MvOsgGeoMesh(std::function<bool()> callback)
    : _root(new osg::MatrixTransform), _refreshCallback(std::move(callback)), _instanceNumber(nextInstanceNumber())
{
    _creationTick = osg::Timer::instance()->tick();
    installNotifyHandler();

    _pager = new DatabasePagerBridge(static_cast<int>(_instanceNumber));
    std::function<bool()> pagerCallback = _refreshCallback;
    _pager->refreshCallback.swap(pagerCallback);

    _sceneVisitor = new SceneViewVisitor;
    _sceneVisitor->setDatabaseRequestHandler(_pager);
    _frameStamp = new osg::FrameStamp;
    _readFileCallback = new ReadFileCallback;
    _readFileCallback->setEmptyReadCallback([pager = _pager.get()] { pager->noteEmptyRead(); });
    _readOptions = new osgDB::Options;
    _readOptions->setReadFileCallback(_readFileCallback);
    _root->setUserValue(mvgeo::keys::topNode, true);
    // Its bound is a sphere of floats, which at coordinates in the millions is wrong by half a metre: intersections at
    // the model's border would be lost. Below it the bounds are in the model's frame.
    _root->setCullingActive(false);
    _pickIntersector = new mvgeo::PickIntersector(osg::Vec3d(), osg::Vec3d());
    _pickIntersector->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
}

MvOsgGeoMesh::~MvOsgGeoMesh()
{
    _refreshCallback = nullptr;
    _frameStamp = nullptr;
    _sceneVisitor = nullptr;
    _pager = nullptr; // waits for the database thread
    _readFileCallback = nullptr;
    _readOptions = nullptr;
    _pickIntersector = nullptr;
    _root = nullptr;
}

int MvOsgGeoMesh::addModel(const KdString& path)
{
    const auto found = std::find(_modelPaths.begin(), _modelPaths.end(), path);
    if (found != _modelPaths.end()) return static_cast<int>(found - _modelPaths.begin());
    if (!loadModel(path)) return -1;
    announceLastModel();
    _modelPaths.push_back(path);
    return static_cast<int>(_modelPaths.size()) - 1;
}

void MvOsgGeoMesh::announceLastModel()
{
    ContentNodeVisitor content;
    _root->getChild(_root->getNumChildren() - 1)->accept(content);
    std::vector<osg::ref_ptr<osg::Node>>& loaded = _pager->loadedContentNodes;
    loaded.insert(loaded.end(), content.contentNodes.begin(), content.contentNodes.end());
}

bool MvOsgGeoMesh::replaceModel(int index, const KdString& path)
{
    if (index < 0 || index >= static_cast<int>(_modelPaths.size())) return false;
    _modelPaths[static_cast<std::size_t>(index)] = path;
    reloadModels(&path);
    return true;
}

void MvOsgGeoMesh::reload()
{
    reloadModels(nullptr);
}

void MvOsgGeoMesh::reloadModels(const KdString* pathToKeep)
{
    removeAllModels();
    const std::vector<KdString> paths = std::exchange(_modelPaths, {});
    for (const KdString& path : paths)
    {
        if (contains(_modelPaths, path)) continue;
        const bool isLoaded = loadModel(path);
        if (isLoaded || (pathToKeep && path == *pathToKeep)) _modelPaths.push_back(path);
    }
}

bool MvOsgGeoMesh::loadModel(const KdString& path)
{
    if (!isReadyToPage())
    {
        MVGEO_LOG(WARN) << "m_pager,m_sceneVisitor or m_frameStamp is not created";
        return false;
    }
    return addRootFile(mvgeo::osgPath(path), optionsFor(path)) != nullptr;
}

osg::ref_ptr<osg::Node> MvOsgGeoMesh::addRootFile(const std::string& fileName, const osgDB::Options* options)
{
    _readFileCallback->forgetFailure(fileName); // the host asks for it now: earlier failures do not count
    osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(fileName, options);
    if (!node) return nullptr;

    node = mvgeo::replacePagedLODs(node);
    if (!node)
    {
        MVGEO_LOG(WARN) << "replace pagedlod failed";
        return nullptr;
    }
    mvgeo::tagContent(*node, osgDB::getSimpleFileName(fileName), static_cast<int>(_instanceNumber));
    addToRoot(*node);
    return node;
}

void MvOsgGeoMesh::stopPaging()
{
    if (_pager) _pager->stop();
}

void MvOsgGeoMesh::setExtents(const osg::BoundingBoxd& box)
{
    _extents = box.valid() ? KdDbExtents(mvgeo::toHost(osg::Vec3d(box._min)), mvgeo::toHost(osg::Vec3d(box._max)))
                           : KdDbExtents();
}

osg::ref_ptr<osgDB::Options> MvOsgGeoMesh::optionsFor(const KdString& path)
{
    osg::ref_ptr<osgDB::Options> options =
        static_cast<osgDB::Options*>(_readOptions->clone(osg::CopyOp::DEEP_COPY_USERDATA));
    std::string directory;
    if (!makeCacheDirectory(path.ansiPtr(), directory)) directory.clear(); // no cache
    options->setPluginStringData(mvgeo::keys::cachePathDir, directory);
    options->setUserValue(mvgeo::keys::cachePathDir, directory); // where the read callback looks
    return options;
}

bool MvOsgGeoMesh::makeCacheDirectory(const std::string& pathAnsi, std::string& dir)
{
    return mvgeo::makeCacheDirectory("mesh", pathAnsi, dir);
}

void MvOsgGeoMesh::addToRoot(osg::Node& node)
{
    node.setUserValue(mvgeo::keys::rootNodeId, _root->getNumChildren());
    _pager->heldTiles.add(node);
    _root->addChild(&node);
    measureExtents();
}

void MvOsgGeoMesh::measureExtents()
{
    osg::BoundingBox box;
    for (unsigned int i = 0; i < _root->getNumChildren(); ++i)
        box.expandBy(boundsOf(*_root->getChild(i)));
    setExtents(osg::BoundingBoxd(box));
}

void MvOsgGeoMesh::removeAllModels()
{
    _root->removeChildren(0, _root->getNumChildren());
    _extents = KdDbExtents();
    _readFileCallback->forgetAllFailures(); // whoever loads again wants the files as they are now
    _pager->heldTiles.clear();
    _pager->loadedContentNodes.clear();
    _frameTiles.visible.clear();
    _frameTiles.visibleIds.clear();
}

KdDbExtents MvOsgGeoMesh::extents() const
{
    KdDbExtents result = _extents;
    result.transformBy(_hostTransform);
    return result;
}

void MvOsgGeoMesh::setTransform(const KdGeMatrix3d& xform)
{
    _hostTransform = xform;
    if (_root) _root->setMatrix(mvgeo::toOsg(xform));
}

bool MvOsgGeoMesh::setGenerateNormals(bool on)
{
    _readFileCallback->setGenerateNormals(on);
    if (on && _root)
    {
        GenerateNormalVisitor visitor;
        _root->accept(visitor);
    }
    return true;
}

void MvOsgGeoMesh::clear()
{
    _name.setEmpty();
    _text.clear();
    _modelPaths.clear();
    removeAllModels();
    setTransform(KdGeMatrix3d::kIdentity);
}

void MvOsgGeoMesh::fillStatistics(GeoMeshStatistics& statistics) const
{
    statistics.requestsWaiting = _pager->getFileRequestListSize();
    statistics.idle = _pager->isIdle() ? 1 : 0;
    statistics.mergesWaiting = _pager->getDataToMergeListSize();
    statistics.tilesLoaded = _readFileCallback->loadedCount();
    statistics.tilesMerged = _pager->mergedCount;
    statistics.tilesExpired = _pager->expiredCount;
    if (statistics.version >= 2)
    {
        statistics.tilesBuilt = _readFileCallback->tilesBuilt;
        statistics.tilesFromCache = _readFileCallback->tilesReadBack;
        statistics.tilesIncomplete = _readFileCallback->tilesIncomplete;
        statistics.tilesNotKept = _readFileCallback->tilesNotKept;
    }
    statistics.tilesFailed = _readFileCallback->failedCount();
    statistics.tilesHeld = _pager->heldTiles.count();
    statistics.bytesHeld = _pager->heldTiles.bytes();
}

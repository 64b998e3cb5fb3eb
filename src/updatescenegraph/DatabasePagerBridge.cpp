#include "updatescenegraph/DatabasePagerBridge.h"

#include "platform/TickCount.h"
#include "support/LogLine.h"
#include "updatescenegraph/ContentNodeVisitor.h"
#include "updatescenegraph/PagedLODReplacer.h"
#include "updatescenegraph/TagContentNodeVisitor.h"

#include <osg/PagedLOD>
#include <osg/ProxyNode>
#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <algorithm>

namespace
{

// These two messages are known by their numbers, wherever they stand in this file.
constexpr int kCallbackIsNullLine = 139;
constexpr int kReplaceFailedLine = 261;

constexpr double kStartUpMs = 1000.0;

/** Clears what a request left behind at its parent, and stamps the place where its tile will hang. */
void finishRequest(osg::Group& parent, const osg::FrameStamp& frameStamp)
{
    const unsigned int place = parent.getNumChildren();
    if (auto* paged = dynamic_cast<osg::PagedLOD*>(&parent))
    {
        paged->setTimeStamp(place, frameStamp.getReferenceTime());
        paged->setFrameNumber(place, frameStamp.getFrameNumber());
        paged->getDatabaseRequest(place) = nullptr;
    }
    else if (auto* proxy = dynamic_cast<osg::ProxyNode*>(&parent); proxy && place < proxy->getNumFileNames())
        proxy->getDatabaseRequest(place) = nullptr; // OSG does not check the place, unlike a paged node's
}

} // namespace

DatabasePagerBridge::RequestQueue::RequestQueue(DatabasePagerBridge* pager) : osgDB::DatabasePager::RequestQueue(pager)
{
}

DatabasePagerBridge::RequestQueue::~RequestQueue() = default;

void DatabasePagerBridge::RequestQueue::updateBlock()
{
    if (!_pager) return;
    const auto* bridge = static_cast<DatabasePagerBridge*>(_pager);

    // The queue's lock is held here and need not be recursive, so the list is asked directly.
    if (!bridge->mustCallHost(_requestList.size())) return;
    if (bridge->refreshCallback)
        bridge->refreshCallback();
    else
        MVGEO_LOG_AT(WARN, kCallbackIsNullLine) << "callback is null";
}

DatabasePagerBridge::DatabasePagerBridge(int modelSerial)
    : creationTickMs(static_cast<double>(mvgeo::platform::tickCountMs())), modelId(modelSerial)
{
    _dataToMergeList = new RequestQueue(this);
    setUpThreads(1, 0);
    for (osg::ref_ptr<DatabaseThread>& thread : _databaseThreads) // none runs before the first request
        thread = new EndingThread(this, thread->getName());
}

DatabasePagerBridge::~DatabasePagerBridge()
{
    stop(); // the database thread calls our callbacks: it must have ended before our members go
}

void DatabasePagerBridge::stop()
{
    // The pager's own cancel() does not join a thread that ends quickly, and so would leave its stack behind.
    for (const osg::ref_ptr<DatabaseThread>& thread : _databaseThreads)
        thread->cancel();
}

DatabasePagerBridge::EndingThread::EndingThread(DatabasePagerBridge* pager, const std::string& name)
    : DatabaseThread(pager, HANDLE_ALL_REQUESTS, name)
{
}

void DatabasePagerBridge::EndingThread::run()
{
    DatabaseThread::run();
    const auto* bridge = static_cast<DatabasePagerBridge*>(_pager);
    if (bridge->threadEndCallback) bridge->threadEndCallback();
}

bool DatabasePagerBridge::mustCallHost(std::size_t waiting) const
{
    if (waiting > mergeBacklogLimit) return true;
    if (waiting == 0) return false;
    const auto now = static_cast<double>(mvgeo::platform::tickCountMs());
    return now - creationTickMs > kStartUpMs || getFileRequestListSize() == 0;
}

void DatabasePagerBridge::noteEmptyRead()
{
    if (!isDatabaseThread() || getFileRequestListSize() > 0) return;
    const OpenThreads::ScopedLock<OpenThreads::Mutex> lock(_dataToMergeList->_requestMutex); // as when a tile is added
    _dataToMergeList->updateBlock();
}

bool DatabasePagerBridge::isDatabaseThread() const
{
    const OpenThreads::Thread* current = OpenThreads::Thread::CurrentThread();
    return std::any_of(_databaseThreads.begin(), _databaseThreads.end(),
                       [current](const osg::ref_ptr<DatabaseThread>& thread) { return thread.get() == current; });
}

bool DatabasePagerBridge::isIdle() const
{
    // In the order in which a request moves on: the thread is marked active before it takes a request, and a tile is in
    // the merge queue before the thread is marked asleep. So nothing can slip past between two of these questions.
    if (getFileRequestListSize() > 0 || hasChildrenToDelete()) return false;
    for (unsigned int i = 0; i < getNumDatabaseThreads(); ++i)
        if (getDatabaseThread(i)->getActive()) return false;
    return getDataToMergeListSize() == 0;
}

bool DatabasePagerBridge::hasChildrenToDelete() const
{
    const OpenThreads::ScopedLock<OpenThreads::Mutex> lock(_fileRequestQueue->_requestMutex);
    return !_fileRequestQueue->_childrenToDeleteList.empty();
}

void DatabasePagerBridge::mergeLoadedTiles(const osg::FrameStamp& frameStamp)
{
    RequestQueue::RequestList requests;
    _dataToMergeList->swap(requests);
    for (const osg::ref_ptr<DatabaseRequest>& request : requests)
    {
        mergeRequest(*request, frameStamp);
        request->_loadedModel = nullptr;
    }
}

void DatabasePagerBridge::mergeRequest(DatabaseRequest& request, const osg::FrameStamp& frameStamp)
{
    osg::ref_ptr<osg::Group> parent;
    if (!request._loadedModel || request._groupExpired || !request._group.lock(parent)) return;

    request._loadedModel = prepareTile(request, *parent, frameStamp);
    if (!request._loadedModel)
    {
        MVGEO_LOG_AT(WARN, kReplaceFailedLine) << "replace pagedlod failed";
        return;
    }
    collectLoaded(*request._loadedModel, request._fileName);
    addToScene(request, *parent, frameStamp);
}

osg::ref_ptr<osg::Node> DatabasePagerBridge::prepareTile(DatabaseRequest& request, osg::Group& parent,
                                                         const osg::FrameStamp& frameStamp)
{
    if (osgDB::SharedStateManager* states = osgDB::Registry::instance()->getSharedStateManager())
        states->share(request._loadedModel);
    finishRequest(parent, frameStamp);
    return mvgeo::replacePagedLODs(request._loadedModel);
}

void DatabasePagerBridge::collectLoaded(osg::Node& tile, const std::string& fileName)
{
    const std::string tileName = osgDB::getSimpleFileName(fileName);
    mvgeo::tagContent(tile, tileName, modelId);

    ContentNodeVisitor content;
    tile.accept(content);
    loadedContentNodes.insert(loadedContentNodes.end(), content.contentNodes.begin(), content.contentNodes.end());
    tile.setName(tileName);

    heldTiles.add(tile);
    ++mergedCount;
}

void DatabasePagerBridge::addToScene(DatabaseRequest& request, osg::Group& parent, const osg::FrameStamp& frameStamp)
{
    osg::Node* tile = request._loadedModel;
    parent.addChild(tile);

    auto* paged = dynamic_cast<osg::PagedLOD*>(&parent);
    const bool parentIsNew = paged && !_activePagedLODList->containsPagedLOD(osg::observer_ptr<osg::PagedLOD>(paged));
    registerPagedLODs(parentIsNew ? paged : tile, frameStamp.getFrameNumber());

    osgDB::ObjectCache* cache = osgDB::Registry::instance()->getObjectCache();
    if (request._objectCache && cache)
    {
        cache->addObjectCache(request._objectCache);
        request._objectCache->clear();
    }
    recordMergeTime(frameStamp.getReferenceTime() - request._timestampFirstRequest);
}

void DatabasePagerBridge::recordMergeTime(double seconds)
{
    _minimumTimeToMergeTile = std::min(_minimumTimeToMergeTile, seconds);
    _maximumTimeToMergeTile = std::max(_maximumTimeToMergeTile, seconds);
    _totalTimeToMergeTiles += seconds;
    ++_numTilesMerges;
}

void DatabasePagerBridge::pruneExpiredTiles(const osg::FrameStamp& frameStamp)
{
    if (frameStamp.getFrameNumber() == 0) return;
    ObjectList expired = takeExpiredChildren(frameStamp);
    if (expired.empty()) return;

    ContentNodeVisitor content;
    for (const osg::ref_ptr<osg::Object>& object : expired)
    {
        osg::Node* node = object->asNode();
        if (!node) continue;
        expiredCount += heldTiles.removeBelow(*node);
        if (!_deleteRemovedSubgraphsInDatabaseThread) continue;
        content.reset();
        node->accept(content);
        removedContentNodes.insert(removedContentNodes.end(), content.contentNodes.begin(), content.contentNodes.end());
    }
    if (!_deleteRemovedSubgraphsInDatabaseThread) return;

    const OpenThreads::ScopedLock<OpenThreads::Mutex> lock(_fileRequestQueue->_requestMutex);
    ObjectList& toDelete = _fileRequestQueue->_childrenToDeleteList;
    toDelete.splice(toDelete.end(), expired);
    _fileRequestQueue->updateBlock();
}

osgDB::DatabasePager::ObjectList DatabasePagerBridge::takeExpiredChildren(const osg::FrameStamp& frameStamp)
{
    ObjectList expired;
    // What this very frame did not visit may go; the two expiry frames of each paged node keep it from flickering.
    const double time = frameStamp.getReferenceTime();
    const unsigned int frame = frameStamp.getFrameNumber();
    for (const bool visitActive : {false, true})
    {
        const unsigned int held = _activePagedLODList->size();
        if (held <= _targetMaximumNumberOfPageLOD) break; // compared without sign: a huge target means no limit
        const auto surplus = static_cast<int>(held - _targetMaximumNumberOfPageLOD);
        _activePagedLODList->removeExpiredChildren(surplus, time, frame, expired, visitActive);
    }
    return expired;
}

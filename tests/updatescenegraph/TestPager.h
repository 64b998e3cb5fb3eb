#pragma once

#include "updatescenegraph/DatabasePagerBridge.h"

#include "platform/TickCount.h"

#include <string>

/** The pager with its queues within reach. Its thread does not start before the first requestNodeFile(), so that a test
 * without one has the queues to itself. */
class TestPager : public DatabasePagerBridge
{
public:
    using Request = osgDB::DatabasePager::DatabaseRequest;
    using Queue = DatabasePagerBridge::RequestQueue;

    explicit TestPager(int modelSerial = 3) : DatabasePagerBridge(modelSerial) {}

    /** A loaded tile waits to be merged below `parent`. */
    osg::ref_ptr<Request> addLoaded(osg::Group& parent, const std::string& fileName, osg::Node* tile,
                                    double firstRequest = 0.0)
    {
        osg::ref_ptr<Request> request = new Request;
        request->_fileName = fileName;
        request->_group = &parent;
        request->_loadedModel = tile;
        request->_timestampFirstRequest = firstRequest;
        _dataToMergeList->add(request);
        return request;
    }
    /** Empty requests wait to be merged. */
    void addWaiting(int count)
    {
        for (int i = 0; i < count; ++i)
            _dataToMergeList->add(new Request);
    }
    /** A file waits to be read. */
    void addUnread() { _fileRequestQueue->add(new Request); }
    void updateMergeQueue() { static_cast<Queue*>(_dataToMergeList.get())->updateBlock(); }
    static osg::ref_ptr<Queue> queueWithoutOwner() { return new Queue(nullptr); }
    static void update(Queue& queue) { queue.updateBlock(); }

    /** The next seconds count as the model's first one. */
    void stayInFirstSecond() { creationTickMs = mvgeo::platform::tickCountMs() + 1e6; }
    void leaveFirstSecond() { creationTickMs = mvgeo::platform::tickCountMs() - 1001.0; }

    [[nodiscard]] unsigned int activeCount() { return _activePagedLODList->size(); }
    [[nodiscard]] bool isActive(osg::PagedLOD* node) const
    {
        return _activePagedLODList->containsPagedLOD(osg::observer_ptr<osg::PagedLOD>(node));
    }
    [[nodiscard]] ObjectList childrenToDelete() const
    {
        const OpenThreads::ScopedLock<OpenThreads::Mutex> lock(_fileRequestQueue->_requestMutex);
        return _fileRequestQueue->_childrenToDeleteList;
    }
    [[nodiscard]] bool mergeQueueIsOurs() const { return dynamic_cast<Queue*>(_dataToMergeList.get()) != nullptr; }
    [[nodiscard]] unsigned int mergeCountOfStatistics() const { return _numTilesMerges; }

protected:
    ~TestPager() override = default;
};

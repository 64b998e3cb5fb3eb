#pragma once

#include "updatescenegraph/HeldTiles.h"

#include <osg/FrameStamp>
#include <osgDB/DatabasePager>

#include <cstdint>
#include <functional>
#include <vector>

/** One model's pager: loads tiles on one database thread, merges them on the host's thread, and lists the content nodes
 * that entered and left the scene.
 *
 * Order within a frame: signalBeginFrame, mergeLoadedTiles, the traversal that requests tiles, pruneExpiredTiles,
 * signalEndFrame; then the model takes loadedContentNodes and removedContentNodes and empties them. The base pager's
 * updateSceneGraph() is never called.
 *
 * Thread: the host's update thread, except for the refresh callback, which runs on the database thread.
 * Ownership: both lists keep their nodes alive until they are emptied.
 */
class DatabasePagerBridge : public osgDB::DatabasePager
{
public:
    /** Starts with one database thread and no callback; see refreshCallback. */
    explicit DatabasePagerBridge(int modelSerial);

    /** Puts the loaded tiles into the scene and appends their content nodes to loadedContentNodes. */
    void mergeLoadedTiles(const osg::FrameStamp& frameStamp);

    /** Drops children that this frame did not visit while there are more paged nodes than the target, and appends their
     * content nodes to removedContentNodes. */
    void pruneExpiredTiles(const osg::FrameStamp& frameStamp);

    /** To be called by whoever read and got no tile. On the database thread, when no request is left, the host hears of
     * the tiles that wait: no further tile will tell it of them. Elsewhere nothing happens. */
    void noteEmptyRead();

    /** Ends the database thread, waiting for the read under way and for threadEndCallback. Nothing is loaded any more
     * afterwards. May be called twice. */
    void stop();

    /** True when nothing is queued, being read or deleted, or waiting to be merged. */
    [[nodiscard]] bool isIdle() const;

    std::vector<osg::ref_ptr<osg::Node>> loadedContentNodes;
    std::vector<osg::ref_ptr<osg::Node>> removedContentNodes;
    /** Called on the database thread, under the merge queue's lock. Set once, before the first request starts the
     * thread. */
    std::function<bool()> refreshCallback;
    /** Called on the database thread as the last thing that it does, to close what its reads left open for it. Set like
     * refreshCallback; may be empty. */
    std::function<void()> threadEndCallback;
    /** The host is always called when more tiles than this wait to be merged. */
    std::uint32_t mergeBacklogLimit = 30;
    /** tickCountMs() at construction, on purpose never renewed: after the model's first second every tile calls the
     * host. */
    double creationTickMs;
    int modelId;

    mvgeo::HeldTiles heldTiles;
    std::uint64_t mergedCount = 0;
    std::uint64_t expiredCount = 0;

protected:
    ~DatabasePagerBridge() override;

    /** The merge queue; tells the host when loaded tiles wait. */
    struct RequestQueue : public osgDB::DatabasePager::RequestQueue
    {
        explicit RequestQueue(DatabasePagerBridge* pager);
        void updateBlock() override;

    protected:
        ~RequestQueue() override;
    };

private:
    /** A database thread that tells of its end. */
    class EndingThread : public DatabaseThread
    {
    public:
        EndingThread(DatabasePagerBridge* pager, const std::string& name);
        void run() override;

    protected:
        ~EndingThread() override = default;
    };

    [[nodiscard]] bool isDatabaseThread() const;
    [[nodiscard]] bool mustCallHost(std::size_t waiting) const;
    [[nodiscard]] bool hasChildrenToDelete() const;
    void mergeRequest(DatabaseRequest& request, const osg::FrameStamp& frameStamp);
    [[nodiscard]] osg::ref_ptr<osg::Node> prepareTile(DatabaseRequest& request, osg::Group& parent,
                                                      const osg::FrameStamp& frameStamp);
    void collectLoaded(osg::Node& tile, const std::string& fileName);
    void addToScene(DatabaseRequest& request, osg::Group& parent, const osg::FrameStamp& frameStamp);
    void recordMergeTime(double seconds);
    [[nodiscard]] ObjectList takeExpiredChildren(const osg::FrameStamp& frameStamp);
};

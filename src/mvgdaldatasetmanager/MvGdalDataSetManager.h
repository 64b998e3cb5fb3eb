#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "support/Mutex.h"

#include <OpenThreads/Mutex>

#include <osg/Referenced>
#include <osg/ref_ptr>

#include <cstdint>
#include <map>
#include <set>
#include <string>

/** The rasters of all terrain models of the process, each opened once a path and shared by its key.
 *
 * A key is the decimal path hash of the raster's path (mvgeo::pathHashText). Thread: any. Lock order: a map's lock,
 * then a header's; fileLock is never held together with another.
 */
class MvGdalDataSetManager : public osg::Referenced
{
public:
    /** The only one; lives as long as the process. */
    [[nodiscard]] static MvGdalDataSetManager* instance();

    [[nodiscard]] osg::ref_ptr<ImageHeader> findDomHeader(const std::string& key) const;
    [[nodiscard]] osg::ref_ptr<ImageHeader> findDemHeader(const std::string& key) const;

    /** False for null, and with a warning for a key that is there already, whose header stays. */
    bool insertDomHeader(const std::string& key, osg::ref_ptr<ImageHeader> header);
    bool insertDemHeader(const std::string& key, osg::ref_ptr<ImageHeader> header);

    /** Forgets the headers that nobody else holds, and so closes their datasets. */
    void purgeUnused();

    /** A raster that cannot be opened counts as missing until the next model is opened, so that tiles do not try again
     * and again. By its key, for both kinds. */
    void recordUnusable(const std::string& key);
    [[nodiscard]] bool isUnusable(const std::string& key) const;
    void forgetUnusable();

    /** Closes every dataset that this thread had opened. It must read no more. */
    void closeThreadDatasets(std::uint64_t threadId);

    /** Serialises reading and writing of cached tile files. */
    OpenThreads::Mutex fileLock;

protected:
    MvGdalDataSetManager();
    ~MvGdalDataSetManager() override;

private:
    /** The rasters of one kind. */
    class HeaderMap
    {
    public:
        [[nodiscard]] osg::ref_ptr<ImageHeader> find(const std::string& key) const;
        bool insert(const std::string& key, const osg::ref_ptr<ImageHeader>& header);
        void purgeUnused();
        void closeThreadDatasets(std::uint64_t threadId) const;

    private:
        [[nodiscard]] bool tryInsert(const std::string& key, const osg::ref_ptr<ImageHeader>& header);

        // Not OSG's read-write mutex: there the last reader unlocks what the first one locked, on whichever thread.
        mutable mvgeo::SharedMutex _lock;
        std::map<std::string, osg::ref_ptr<ImageHeader>> _headers MVGEO_GUARDED_BY(_lock);
    };

    HeaderMap _doms;
    HeaderMap _dems;
    mutable mvgeo::Mutex _unusableLock; // never held together with another
    std::set<std::string> _unusable MVGEO_GUARDED_BY(_unusableLock);
};

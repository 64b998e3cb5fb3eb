#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"

#include "support/LogLine.h"

#include <mutex>
#include <utility>
#include <vector>

namespace
{

using HeaderMap = std::map<std::string, osg::ref_ptr<ImageHeader>>;
using ReadLock = std::shared_lock<std::shared_mutex>;
using WriteLock = std::unique_lock<std::shared_mutex>;

osg::ref_ptr<ImageHeader> find(const HeaderMap& headers, std::shared_mutex& mutex, const std::string& key)
{
    const ReadLock lock(mutex);
    const auto found = headers.find(key);
    return found != headers.end() ? found->second : nullptr;
}

bool tryInsert(HeaderMap& headers, std::shared_mutex& mutex, const std::string& key,
               const osg::ref_ptr<ImageHeader>& header)
{
    const WriteLock lock(mutex);
    return headers.emplace(key, header).second;
}

bool insert(HeaderMap& headers, std::shared_mutex& mutex, const std::string& key,
            const osg::ref_ptr<ImageHeader>& header)
{
    if (!header) return false;
    const bool isNew = tryInsert(headers, mutex, key, header);
    if (!isNew) MVGEO_LOG(WARN) << "have been existed:!" << key;
    return isNew;
}

/** Their datasets are to be closed without the lock, so they go to the caller. */
void takeUnused(HeaderMap& headers, std::shared_mutex& mutex, std::vector<osg::ref_ptr<ImageHeader>>& unused)
{
    const WriteLock lock(mutex); // nobody can take a reference out of the map meanwhile
    for (auto entry = headers.begin(); entry != headers.end();)
    {
        const bool isUnused = entry->second->referenceCount() == 1;
        if (isUnused) unused.push_back(entry->second);
        entry = isUnused ? headers.erase(entry) : std::next(entry);
    }
}

void closeThread(const HeaderMap& headers, std::shared_mutex& mutex, std::uint64_t threadId)
{
    const ReadLock lock(mutex);
    for (const auto& entry : headers)
        entry.second->closeThreadDataset(threadId);
}

} // namespace

MvGdalDataSetManager::MvGdalDataSetManager() = default;
MvGdalDataSetManager::~MvGdalDataSetManager() = default;

MvGdalDataSetManager* MvGdalDataSetManager::instance()
{
    // Never destroyed: a host may have shut GDAL down, and every dataset with it, before static objects go.
    static const auto& manager = *new osg::ref_ptr<MvGdalDataSetManager>(new MvGdalDataSetManager);
    return manager.get();
}

osg::ref_ptr<ImageHeader> MvGdalDataSetManager::findDomHeader(const std::string& key) const
{
    return find(_domHeaders, _domLock, key);
}

osg::ref_ptr<ImageHeader> MvGdalDataSetManager::findDemHeader(const std::string& key) const
{
    return find(_demHeaders, _demLock, key);
}

bool MvGdalDataSetManager::insertDomHeader(const std::string& key, osg::ref_ptr<ImageHeader> header)
{
    return insert(_domHeaders, _domLock, key, header);
}

bool MvGdalDataSetManager::insertDemHeader(const std::string& key, osg::ref_ptr<ImageHeader> header)
{
    return insert(_demHeaders, _demLock, key, header);
}

void MvGdalDataSetManager::purgeUnused()
{
    std::vector<osg::ref_ptr<ImageHeader>> unused;
    takeUnused(_domHeaders, _domLock, unused);
    takeUnused(_demHeaders, _demLock, unused);
}

void MvGdalDataSetManager::closeThreadDatasets(std::uint64_t threadId)
{
    closeThread(_domHeaders, _domLock, threadId);
    closeThread(_demHeaders, _demLock, threadId);
}

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"

#include "support/LogLine.h"

#include <iterator>
#include <vector>

osg::ref_ptr<ImageHeader> MvGdalDataSetManager::HeaderMap::find(const std::string& key) const
{
    const mvgeo::SharedLock lock(_lock);
    const auto found = _headers.find(key);
    return found != _headers.end() ? found->second : nullptr;
}

bool MvGdalDataSetManager::HeaderMap::tryInsert(const std::string& key, const osg::ref_ptr<ImageHeader>& header)
{
    const mvgeo::Lock lock(_lock);
    return _headers.emplace(key, header).second;
}

bool MvGdalDataSetManager::HeaderMap::insert(const std::string& key, const osg::ref_ptr<ImageHeader>& header)
{
    if (!header) return false;
    const bool isNew = tryInsert(key, header);
    if (!isNew) MVGEO_LOG(WARN) << "have been existed:!" << key;
    return isNew;
}

void MvGdalDataSetManager::HeaderMap::purgeUnused()
{
    std::vector<osg::ref_ptr<ImageHeader>> unused; // their datasets are closed when the lock is given up
    const mvgeo::Lock lock(_lock);                 // nobody can take a reference out of the map meanwhile
    for (auto entry = _headers.begin(); entry != _headers.end();)
    {
        const bool isUnused = entry->second->referenceCount() == 1;
        if (isUnused) unused.push_back(entry->second);
        entry = isUnused ? _headers.erase(entry) : std::next(entry);
    }
}

void MvGdalDataSetManager::HeaderMap::closeThreadDatasets(std::uint64_t threadId) const
{
    const mvgeo::SharedLock lock(_lock);
    for (const auto& entry : _headers)
        entry.second->closeThreadDataset(threadId);
}

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
    return _doms.find(key);
}

osg::ref_ptr<ImageHeader> MvGdalDataSetManager::findDemHeader(const std::string& key) const
{
    return _dems.find(key);
}

bool MvGdalDataSetManager::insertDomHeader(const std::string& key, osg::ref_ptr<ImageHeader> header)
{
    return _doms.insert(key, header);
}

bool MvGdalDataSetManager::insertDemHeader(const std::string& key, osg::ref_ptr<ImageHeader> header)
{
    return _dems.insert(key, header);
}

void MvGdalDataSetManager::purgeUnused()
{
    _doms.purgeUnused();
    _dems.purgeUnused();
}

void MvGdalDataSetManager::recordUnusable(const std::string& key)
{
    const mvgeo::Lock lock(_unusableLock);
    _unusable.insert(key);
}

bool MvGdalDataSetManager::isUnusable(const std::string& key) const
{
    const mvgeo::Lock lock(_unusableLock);
    return _unusable.count(key) > 0;
}

void MvGdalDataSetManager::forgetUnusable()
{
    const mvgeo::Lock lock(_unusableLock);
    _unusable.clear();
}

void MvGdalDataSetManager::closeThreadDatasets(std::uint64_t threadId)
{
    _doms.closeThreadDatasets(threadId);
    _dems.closeThreadDatasets(threadId);
}

#include "mvgeothirdparty/FileQueries.h"

#include "mvgdaldatasetmanager/QuietGdal.h"
#include "mvgdaldatasetmanager/RasterFile.h"
#include "support/OsgPaths.h"
#include "support/QuietOsg.h"
#include "support/TileReader.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>

#include <string>

namespace
{

/** Whether `query` succeeds; false if it throws. */
template <typename Query>
bool guarded(Query query)
{
    try
    {
        return query();
    }
    catch (...)
    {
        return false;
    }
}

/** The same of a query that reads, without a word of the readers, who throw at damaged files. */
template <typename Query>
bool quietly(Query query)
{
    const mvgeo::QuietOsg quietOsg;
    const mvgeo::QuietGdal quietGdal;
    return guarded(query);
}

void appendRootTiles(const std::string& folder, std::vector<KdString>& rootTiles)
{
    for (const std::string& name : osgDB::getDirectoryContents(folder))
    {
        // A name with a point is passed over as a file, also where it is a folder's.
        if (name.empty() || name.front() == '.' || !osgDB::getFileExtension(name).empty()) continue;
        const std::string candidate = folder + '/' + name + '/' + name + ".osgb";
        if (osgDB::fileExists(candidate)) rootTiles.push_back(mvgeo::hostPath(candidate));
    }
}

KdString pathBetween(const KdString& baseFile, const KdString& targetPath)
{
    const std::string folder = mvgeo::osgPath(mvgeo::hostPath(osgDB::getFilePath(mvgeo::osgPath(baseFile))));
    const std::string target = mvgeo::osgPath(targetPath);
    // OSG says so in the log, at a level that a host may have asked for.
    const bool isApart = osgDB::getPathRoot(folder) != osgDB::getPathRoot(target);
    const std::string relative = isApart ? osgDB::getSimpleFileName(target) : osgDB::getPathRelative(folder, target);
    const KdString native = mvgeo::hostPath(osgDB::convertFileNameToNativeStyle(relative));
    return native.isEmpty() ? native : KdString(".\\") + native;
}

/** The registry's options without its caches: an answer leaves nothing behind, and is not an old one. */
osg::ref_ptr<const osgDB::Options> readOptions()
{
    constexpr int kDefaultHint = osgDB::Options::CACHE_ARCHIVES; // OSG's own default; a tile is no archive
    const osgDB::Options* global = osgDB::Registry::instance()->getOptions();
    if (!global || (global->getObjectCacheHint() & ~kDefaultHint) == 0) return global;
    const osg::ref_ptr<osgDB::Options> uncached = global->cloneOptions();
    uncached->setObjectCacheHint(osgDB::Options::CACHE_NONE);
    return uncached;
}

bool canBeRead(const std::string& path)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    const osg::ref_ptr<const osgDB::Options> options = readOptions();
    const bool hasCallback = registry->getReadFileCallback() || (options && options->getReadFileCallback());
    // The registry asks its callback; without one its own reader goes on behind the end of a cut-off file.
    return hasCallback ? registry->readNode(path, options, /*buildKdTreeIfRequired*/ false).validNode()
                       : mvgeo::readTileFile(path, options).validNode();
}

} // namespace

bool GetRootTiles_Imp(const KdString& dataFolder, std::vector<KdString>& rootTiles)
{
    return guarded(
        [&]
        {
            appendRootTiles(mvgeo::osgPath(dataFolder), rootTiles);
            return !rootTiles.empty();
        });
}

void getFileName_Imp(const KdString& path, KdString& fileName)
{
    const bool isDone = guarded(
        [&]
        {
            fileName = mvgeo::hostPath(osgDB::getSimpleFileName(mvgeo::osgPath(path)));
            return true;
        });
    if (!isDone) fileName.setEmpty();
}

void getRelativePath_Imp(const KdString& baseFile, const KdString& targetPath, KdString& relativePath)
{
    const bool isDone = guarded(
        [&]
        {
            relativePath = pathBetween(baseFile, targetPath);
            return true;
        });
    if (!isDone) relativePath.setEmpty();
}

bool IsOsgbFileValid_Imp(const KdString& path)
{
    return quietly(
        [&]
        {
            const std::string file = mvgeo::osgPath(path);
            return osgDB::fileExists(file) && canBeRead(file);
        });
}

bool IsDemFileValid_Imp(const KdString& path)
{
    return quietly(
        [&]
        {
            if (!osgDB::fileExists(mvgeo::osgPath(path))) return false;
            const GDALDatasetUniquePtr dataset = mvgeo::openRaster(path);
            return dataset && dataset->GetRasterCount() == 1;
        });
}

bool GetGeoImageInfo(const KdString& path, double* geoTransform, int& width, int& height)
{
    return quietly(
        [&]
        {
            const GDALDatasetUniquePtr dataset = geoTransform ? mvgeo::openRaster(path) : nullptr;
            if (!dataset) return false;
            dataset->GetGeoTransform(geoTransform); // writes the array also where the place is unknown
            width = dataset->GetRasterXSize();
            height = dataset->GetRasterYSize();
            return true;
        });
}

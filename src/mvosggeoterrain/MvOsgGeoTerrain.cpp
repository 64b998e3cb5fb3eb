#include "mvosggeoterrain/MvOsgGeoTerrain.h"

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "mvosggeoterrain/TerrainExtents.h"
#include "mvosggeoterrain/TerrainSource.h"
#include "readerwriterthreedimg/TerrainPyramid.h"
#include "support/CacheDirectory.h"
#include "support/HostConversions.h"
#include "support/LogLine.h"
#include "support/OsgPaths.h"
#include "support/UserValues.h"

#include <OpenThreads/Thread>

#include <cpl_conv.h>

#include <algorithm>
#include <utility>

namespace
{

constexpr const char* kRootName = "/terrain.osgb.3dimg";

} // namespace

MvOsgGeoTerrain::MvOsgGeoTerrain(std::function<bool()> callback) : MvOsgGeoMesh(std::move(callback))
{
    setHasSkirts();
    pager().threadEndCallback = []
    { MvGdalDataSetManager::instance()->closeThreadDatasets(OpenThreads::Thread::CurrentThreadId()); };
}

MvOsgGeoTerrain::~MvOsgGeoTerrain()
{
    stopPaging(); // tiles under way hold the headers, which would then outlive the model
    releaseRasters();
}

void MvOsgGeoTerrain::releaseRasters()
{
    _domHeader = nullptr;
    _demHeader = nullptr;
    MvGdalDataSetManager::instance()->purgeUnused();
}

bool MvOsgGeoTerrain::checkBoundary(std::vector<KdGePoint3d>& points)
{
    const auto isSame = [](const KdGePoint3d& a, const KdGePoint3d& b)
    { return a.x == b.x && a.y == b.y && a.z == b.z; };
    points.erase(std::unique(points.begin(), points.end(), isSame), points.end());
    return points.size() >= 2;
}

void MvOsgGeoTerrain::joinDrapedPieces(std::vector<std::vector<KdGePoint3d>>& pieces)
{
    const auto isTooShort = [this](std::vector<KdGePoint3d>& piece) { return !checkBoundary(piece); };
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(), isTooShort), pieces.end());
    MvOsgGeoMesh::joinDrapedPieces(pieces); // a line along the border of two tiles comes from both
}

bool MvOsgGeoTerrain::makeCacheDirectory(const std::string& sourceAnsi, std::string& dir)
{
    return mvgeo::makeCacheDirectory("terrain", sourceAnsi, dir);
}

bool MvOsgGeoTerrain::openRasters(const std::string& domPath, const std::string& demPath)
{
    CPLSetConfigOption("GDAL_FILENAME_IS_UTF8", "YES");
    releaseRasters(); // whoever loads again wants the files as they are now
    MvGdalDataSetManager::instance()->forgetUnusable();
    mvgeo::TerrainRasters rasters = mvgeo::openRasters(domPath, demPath);
    _domHeader = rasters.dom;
    _demHeader = rasters.dem;
    if (!_domHeader) MVGEO_LOG(WARN) << "open dom failed";
    if (!_demHeader) MVGEO_LOG(WARN) << "open dem failed";
    if (_domHeader || _demHeader) return true;
    MVGEO_LOG(WARN) << "open dom and dem failed";
    return false;
}

bool MvOsgGeoTerrain::loadModel(const KdString& source)
{
    if (!isReadyToPage())
    {
        MVGEO_LOG(WARN) << "m_pager,m_sceneVisitor or m_frameStamp is not created";
        return false;
    }
    if (root().getNumChildren() > 0)
    {
        MVGEO_LOG(WARN) << "a terrain model holds one terrain, a second one needs a model of its own";
        return false;
    }
    if (addTerrain(source)) return true;
    releaseRasters();
    return false;
}

bool MvOsgGeoTerrain::addTerrain(const KdString& source)
{
    const mvgeo::TerrainSource paths = mvgeo::splitTerrainSource(source);
    const std::string domPath = mvgeo::osgPath(paths.dom);
    const std::string demPath = mvgeo::osgPath(paths.dem);
    if (!openRasters(domPath, demPath)) return false;

    const osg::ref_ptr<osgDB::Options> options = optionsFor(source);
    options->setUserValue(mvgeo::keys::domPath, domPath);
    options->setUserValue(mvgeo::keys::demPath, demPath);
    options->setPluginData(mvgeo::keys::domHeader, _domHeader.get());
    options->setPluginData(mvgeo::keys::demHeader, _demHeader.get());

    const std::string* directory = mvgeo::userValue<std::string>(*options, mvgeo::keys::cachePathDir);
    if (!directory || directory->empty())
    {
        MVGEO_LOG(WARN) << "cannot make the cache directory, tiles are built anew each time";
        options->setUserValue(mvgeo::keys::isCaching, false);
    }
    const osg::ref_ptr<osg::Node> node = addRootFile((directory ? *directory : std::string()) + kRootName, options);
    if (!node) return false;
    measureTerrain(*node);
    return true;
}

void MvOsgGeoTerrain::clear()
{
    MvOsgGeoMesh::clear();
    releaseRasters();
}

void MvOsgGeoTerrain::measureTerrain(osg::Node& rootTile)
{
    const ImageHeader& raster = _demHeader ? *_demHeader : *_domHeader;
    setExtents(mvgeo::terrainExtents(raster, _demHeader, rootTile));
}

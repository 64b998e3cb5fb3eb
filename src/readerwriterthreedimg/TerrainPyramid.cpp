#include "readerwriterthreedimg/TerrainPyramid.h"

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "readerwriterthreedimg/GeometryContainer.h"
#include "support/LogLine.h"
#include "support/OsgPaths.h"
#include "support/PathHash.h"
#include "support/TerrainTileFacts.h"
#include "support/UserValues.h"

#include <OpenThreads/Thread>

#include <osg/Group>
#include <osg/PagedLOD>
#include <osgDB/FileNameUtils>

#include <cmath>
#include <optional>

namespace mvgeo
{

namespace
{

constexpr int kImageSize = 256; // pixels of a tile's texture, each way
constexpr int kDemSize = 32;    // posts of a tile, each way
constexpr float kRefinePixels = 512.0F;
constexpr float kNoLimit = 1.0e30F;

osg::ref_ptr<ImageHeader> openHeader(const std::string& path)
{
    const osg::ref_ptr<ImageHeader> header = new ImageHeader;
    return header->open(hostPath(path)) ? header : nullptr;
}

using Find = osg::ref_ptr<ImageHeader> (MvGdalDataSetManager::*)(const std::string&) const;
using Insert = bool (MvGdalDataSetManager::*)(const std::string&, osg::ref_ptr<ImageHeader>);

osg::ref_ptr<ImageHeader> findOrOpenHeader(const std::string& path, Find find, Insert insert)
{
    MvGdalDataSetManager& manager = *MvGdalDataSetManager::instance();
    const std::string key = pathHashText(path);
    if (osg::ref_ptr<ImageHeader> known = (manager.*find)(key)) return known;
    if (manager.isUnusable(key)) return nullptr;
    const osg::ref_ptr<ImageHeader> opened = openHeader(path);
    if (!opened) manager.recordUnusable(key);
    if (!opened || (manager.*insert)(key, opened)) return opened;
    // Another thread was first to open the raster: its header is the one whose failures all threads count.
    const osg::ref_ptr<ImageHeader> first = (manager.*find)(key);
    return first ? first : opened;
}

/** The thread's own handle. A raster that was there when its header was opened, and cannot be opened for this thread,
 * counts as one that cannot be read. */
GDALDataset* datasetOfThisThread(ImageHeader* header)
{
    if (!header) return nullptr;
    GDALDataset* dataset = header->getDataset(OpenThreads::Thread::CurrentThreadId());
    if (!dataset && header->recordReadFailure())
        MVGEO_LOG(WARN) << "cannot read " << osgPath(header->path()) << ": it can no longer be opened";
    return dataset;
}

void openDatasetsOfThisThread(TerrainRasters& rasters)
{
    rasters.domDataset = datasetOfThisThread(rasters.dom);
    rasters.demDataset = datasetOfThisThread(rasters.dem);
}

/** The extent of the raster, and of the root tile around it. */
void setRootExtent(const ImageHeader& raster, TerrainTileInfo& info)
{
    const double dx = raster.pixelWidth();
    const double dy = raster.pixelHeight();
    info.rootXmin = raster.originX();
    info.rootXmax = raster.originX() + raster.width() * dx;
    info.rootYmax = raster.originY();
    info.rootYmin = raster.originY() + raster.height() * dy;

    const RootSquare square(raster.width(), raster.height());
    info.startX = info.rootXmin - square.padWest * dx;
    info.endX = info.rootXmax + square.padEast * dx;
    info.startY = info.rootYmin + square.padSouth * dy;
    info.endY = info.rootYmax - square.padNorth * dy;
}

/** The root's description; nothing if there is no DEM and the model has not asked for a flat terrain over its DOM. */
std::optional<TerrainTileInfo> rootTileInfo(const TerrainRasters& rasters, const osgDB::Options* options)
{
    TerrainTileInfo info;
    if (rasters.dem)
    {
        setRootExtent(*rasters.dem, info);
        info.demResolutionX = rasters.dem->pixelWidth();
        info.demResolutionY = std::abs(rasters.dem->pixelHeight());
    }
    else
    {
        const bool isFlatModel = options && options->getPluginData(keys::domHeader) == rasters.dom.get();
        if (!isFlatModel)
        {
            MVGEO_LOG(WARN) << "dem is null";
            return std::nullopt;
        }
        setRootExtent(*rasters.dom, info);
        info.demResolutionX = info.endX - info.startX;
        info.demResolutionY = info.endY - info.startY;
    }
    info.offsetX = (info.startX + info.endX) / 2.0;
    info.offsetY = (info.startY + info.endY) / 2.0;
    info.imageWidth = kImageSize;
    info.imageHeight = kImageSize;
    info.demWidth = kDemSize;
    info.demHeight = kDemSize;
    info.normal = true;
    return info;
}

/** A tile shows its own geometry while it covers less than 512 pixels, and its four children from there on. */
osg::ref_ptr<osg::PagedLOD> wrapInPagedNode(const TerrainTileInfo& info, osg::Node* tile)
{
    const osg::Vec3d size(info.endX - info.startX, info.endY - info.startY, info.maxZ - info.minZ);
    const osg::Vec3d centre((info.startX + info.endX) / 2.0, (info.startY + info.endY) / 2.0,
                            (info.minZ + info.maxZ) / 2.0);
    const osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    node->addChild(tile, 0.0F, kRefinePixels);
    node->setCenter(centre);
    if (node->getCenterMode() != osg::LOD::UNION_OF_BOUNDING_SPHERE_AND_USER_DEFINED)
        node->setCenterMode(osg::LOD::USER_DEFINED_CENTER);
    node->setRadius(static_cast<float>(size.length() / 2.0));
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    node->setDatabasePath("");
    node->setFileName(1, osgDB::getSimpleFileName(childFileName(info)));
    node->setRange(1, kRefinePixels, kNoLimit);
    setTileOptions(*node, info);
    // On the node too: the level is chosen by the tile's extent, and a cached file keeps nodes but not their options.
    storeTileInfo(*node, info);
    return node;
}

osg::ref_ptr<osg::Node> buildRoot(TerrainRasters& rasters, const std::string& domPath, const std::string& demPath,
                                  const std::string& cachePathDir, const osgDB::Options* options)
{
    std::optional<TerrainTileInfo> info = rootTileInfo(rasters, options);
    if (!info) return nullptr;
    info->domPath = domPath;
    info->demPath = demPath;
    info->cachePathDir = cachePathDir;
    openDatasetsOfThisThread(rasters);
    const osg::ref_ptr<osg::Node> tile = buildTerrainTile(rasters, *info, options);
    return tile ? wrapInPagedNode(*info, tile) : nullptr;
}

bool childrenAreLeaves(const TerrainRasters& rasters, const TerrainTileInfo& parent)
{
    const double width = parent.endX - parent.startX;
    const double height = parent.endY - parent.startY;
    return refinementVote(rasters.dom, width / (parent.imageWidth - 1) * 0.5,
                          height / (parent.imageHeight - 1) * 0.5) == Refinement::leaf &&
           refinementVote(rasters.dem, width / (parent.demWidth - 1) * 0.5, height / (parent.demHeight - 1) * 0.5) ==
               Refinement::leaf;
}

/** A description that comes from a file or a host may be anything. */
bool isBuildable(const TerrainTileInfo& info)
{
    constexpr int kMostSamples = 4096;
    constexpr int kMostTiles = 1 << 29; // the children's numbers are to be integers too
    const auto isSize = [](int samples) { return samples >= 2 && samples <= kMostSamples; };
    const auto isNumber = [](int number) { return number >= 0 && number < kMostTiles; };
    return isNumber(info.lod) && isNumber(info.x) && isNumber(info.y) && isSize(info.imageWidth) &&
           isSize(info.imageHeight) && isSize(info.demWidth) && isSize(info.demHeight) &&
           std::isfinite(info.endX - info.startX) && std::isfinite(info.endY - info.startY) &&
           std::isfinite(info.offsetX) && std::isfinite(info.offsetY) && info.startX < info.endX &&
           info.startY < info.endY;
}

osg::ref_ptr<osg::Node> buildChildren(TerrainRasters& rasters, const osgDB::Options& options)
{
    TerrainTileInfo parent;
    readTileInfo(options, parent);
    if (!isBuildable(parent)) return nullptr;
    const bool areLeaves = childrenAreLeaves(rasters, parent);
    openDatasetsOfThisThread(rasters);
    if (!rasters.domDataset && !rasters.demDataset) return nullptr;

    const osg::ref_ptr<osg::Group> group = new osg::Group;
    for (unsigned int quadrant = 0; quadrant < 4; ++quadrant)
    {
        TerrainTileInfo child;
        if (!childTileInfo(parent, quadrant, child)) continue;
        const osg::ref_ptr<osg::Node> tile = buildTerrainTile(rasters, child, &options);
        if (!tile) continue;
        if (areLeaves)
        {
            group->addChild(tile);
            continue;
        }
        const osg::ref_ptr<osg::PagedLOD> node = wrapInPagedNode(child, tile);
        handOverGeometry(*node, child);
        group->addChild(node);
    }
    return group->getNumChildren() > 0 ? group : nullptr;
}

} // namespace

Refinement refinementVote(const ImageHeader* header, double halfStepX, double halfStepY)
{
    if (!header) return Refinement::leaf;
    const bool isDenser = isDenserThanPixels({halfStepX, halfStepY}, {header->pixelWidth(), header->pixelHeight()});
    return isDenser ? Refinement::leaf : Refinement::refine;
}

TerrainRasters openRasters(const std::string& domPath, const std::string& demPath)
{
    using Manager = MvGdalDataSetManager;
    TerrainRasters rasters;
    if (!Manager::instance()) return rasters;
    if (!domPath.empty()) rasters.dom = findOrOpenHeader(domPath, &Manager::findDomHeader, &Manager::insertDomHeader);
    rasters.dem = findOrOpenHeader(demPath, &Manager::findDemHeader, &Manager::insertDemHeader);
    return rasters;
}

osg::ref_ptr<osg::Node> buildTerrainNode(const std::string& domPath, const std::string& demPath,
                                         const std::string& cachePathDir, const osgDB::Options* options)
{
    if (!MvGdalDataSetManager::instance())
    {
        MVGEO_LOG(FATAL) << "gdalDatasetManager is null";
        return nullptr;
    }
    TerrainRasters rasters = openRasters(domPath, demPath);
    if (!rasters.dom && !rasters.dem) return nullptr;
    const bool isChildRequest = options && userValue<int>(*options, keys::lod);
    return isChildRequest ? buildChildren(rasters, *options)
                          : buildRoot(rasters, domPath, demPath, cachePathDir, options);
}

void handOverGeometry(osg::PagedLOD& node, const TerrainTileInfo& info)
{
    if (info.lod == 0 || node.getNumChildren() != 1) return;
    const osg::Group* tile = node.getChild(0)->asGroup();
    osg::Geometry* geometry =
        tile && tile->getNumChildren() == 1 ? const_cast<osg::Geometry*>(tile->getChild(0)->asGeometry()) : nullptr;
    auto* options = dynamic_cast<osgDB::Options*>(node.getDatabaseOptions());
    if (!geometry || !options) return;
    geometry->getBoundingBox(); // computed on first use, which must not come on two threads at once
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(geometry);
    container->setName(keys::parentGeometry);
    options->getOrCreateUserDataContainer()->addUserObject(container);
}

} // namespace mvgeo

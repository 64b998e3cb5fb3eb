#include "readerwriterthreedimg/ReaderWriter3DIMG.h"

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "readerwriterthreedimg/DatabaseOptionVisitor.h"
#include "readerwriterthreedimg/TerrainPyramid.h"
#include "readerwriterthreedimg/TileCacheFile.h"
#include "support/FileReplacement.h"
#include "support/TileOrigin.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/fstream>

namespace
{

/** What a request says beside the tile's description. */
struct Request
{
    std::string domPath;
    std::string demPath;
    std::string cachePathDir;
    std::string cacheName; // of the built tile's file
    bool isCaching = true; // false without a folder for it

    Request(const std::string& fileName, const osgDB::Options* options)
        : cacheName(osgDB::getSimpleFileName(osgDB::getNameLessExtension(fileName)))
    {
        if (!options) return;
        const auto text = [options](const std::string& key)
        {
            const std::string* value = mvgeo::userValue<std::string>(*options, key);
            return value ? *value : std::string();
        };
        domPath = text(mvgeo::keys::domPath);
        demPath = text(mvgeo::keys::demPath);
        cachePathDir = text(mvgeo::keys::cachePathDir);
        const bool* wanted = mvgeo::userValue<bool>(*options, mvgeo::keys::isCaching);
        isCaching = hasCache() && (!wanted || *wanted);
    }

    [[nodiscard]] bool hasCache() const { return !cachePathDir.empty(); }

    [[nodiscard]] std::string cachePath() const { return osgDB::concatPaths(cachePathDir, cacheName); }
};

/** Tells the rasters' content: a tile that was built from another one is not shown. Empty if there is no raster. */
std::string stampOf(const mvgeo::TerrainRasters& rasters)
{
    if (!rasters.dem && !rasters.dom) return {};
    const auto part = [](const ImageHeader* header) { return header ? header->stamp() : std::string("none"); };
    return part(rasters.dem) + '+' + part(rasters.dom);
}

std::uint32_t failuresOf(const mvgeo::TerrainRasters& rasters)
{
    return (rasters.dem ? rasters.dem->readFailureCount() : 0) + (rasters.dom ? rasters.dom->readFailureCount() : 0);
}

/** Whether a texture file lacks its beginning or its end; false for one that is not there. */
bool isDamagedJpeg(const std::string& path)
{
    osgDB::ifstream file(path.c_str(), std::ios::in | std::ios::binary);
    if (!file.is_open()) return false;
    const auto marker = [&file]
    {
        const int first = file.get();
        return first * 256 + file.get();
    };
    constexpr int kBegin = 0xFFD8; // of a JPEG
    constexpr int kEnd = 0xFFD9;
    if (marker() != kBegin) return true;
    file.seekg(-2, std::ios::end);
    return marker() != kEnd;
}

/** A texture file is never written again while it is there, so one that was damaged must go. */
void removeDamagedTextures(osg::Node& tile, const std::string& cachePathDir)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
    {
        const osg::Texture2D* texture = mvgeo::textureOf(*geometry);
        const osg::Image* image = texture ? texture->getImage() : nullptr;
        if (!image) continue;
        const std::string path = cachePathDir + '/' + osgDB::getSimpleFileName(image->getFileName());
        if (isDamagedJpeg(path)) mvgeo::removeFile(path);
    }
}

/** Textures left from another content of the rasters would be taken for those of the tiles that are built now. */
void removeOldTextures(const Request& request, const osgDB::Options& options)
{
    TerrainTileInfo tile;
    tile.cachePathDir = request.cachePathDir;
    if (!mvgeo::userValue<int>(options, mvgeo::keys::lod))
    {
        mvgeo::removeFile(mvgeo::domImageName(tile)); // the root's own
        return;
    }
    mvgeo::readTileInfo(options, tile);
    for (unsigned int quadrant = 0; quadrant < 4; ++quadrant)
    {
        TerrainTileInfo child;
        if (mvgeo::childTileInfo(tile, quadrant, child)) mvgeo::removeFile(mvgeo::domImageName(child));
    }
}

/** The rasters of a tile while it is read. A model may let go of them meanwhile; then they are closed here. Readers
 * without a model have nobody who opened them, and keep them. */
class RastersInUse
{
public:
    RastersInUse(const Request& request, bool isOfModel)
        : rasters(mvgeo::openRasters(request.domPath, request.demPath)), _isOfModel(isOfModel)
    {
    }
    ~RastersInUse()
    {
        rasters = {};
        MvGdalDataSetManager* manager = MvGdalDataSetManager::instance();
        if (_isOfModel && manager) manager->purgeUnused();
    }
    RastersInUse(const RastersInUse&) = delete;
    RastersInUse& operator=(const RastersInUse&) = delete;

    mvgeo::TerrainRasters rasters;

private:
    bool _isOfModel;
};

mvgeo::TileOriginCounts* countsOf(const osgDB::Options* options)
{
    return options ? dynamic_cast<mvgeo::TileOriginCounts*>(options->getReadFileCallback()) : nullptr;
}

osg::ref_ptr<osg::Node> readBack(const Request& request, const std::string& stamp)
{
    const osg::ref_ptr<osg::Node> node = mvgeo::readCachedTile(request.cachePath(), stamp);
    if (!node) return nullptr;
    THREEDIMG::DatabaseOptionVisitor visitor;
    node->accept(visitor);
    removeDamagedTextures(*node, request.cachePathDir);
    return node;
}

} // namespace

ReaderWriter3DIMG::ReaderWriter3DIMG()
{
    supportsExtension("3dimg", "DEM+DOM");
}

ReaderWriter3DIMG::~ReaderWriter3DIMG() = default;

osgDB::ReaderWriter::ReadResult ReaderWriter3DIMG::readNode(const std::string& fileName,
                                                            const osgDB::Options* options) const
{
    if (!acceptsExtension(osgDB::getLowerCaseFileExtension(fileName))) return ReadResult::FILE_NOT_HANDLED;
    if (!options) return ReadResult::FILE_NOT_HANDLED;

    const Request request(fileName, options);
    mvgeo::TileOriginCounts* counts = countsOf(options);
    const RastersInUse inUse(request, counts != nullptr);
    const mvgeo::TerrainRasters& rasters = inUse.rasters;
    const std::string stamp = stampOf(rasters);
    if (request.hasCache())
        if (const osg::ref_ptr<osg::Node> node = readBack(request, stamp))
        {
            if (counts) ++counts->tilesReadBack;
            return node.get();
        }

    const std::string directory = osgDB::getFilePath(fileName);
    if (!directory.empty() && !osgDB::fileExists(directory)) osgDB::makeDirectory(directory);

    if (request.isCaching) removeOldTextures(request, *options);
    const std::uint32_t failuresBefore = failuresOf(rasters);
    const osg::ref_ptr<osg::Node> node =
        mvgeo::buildTerrainNode(request.domPath, request.demPath, request.cachePathDir, options);
    if (!node) return static_cast<osg::Node*>(nullptr);

    // A tile for which a raster could not be read shows less than it should and would do so for ever.
    const bool isComplete = failuresOf(rasters) == failuresBefore;
    const bool isWanted = request.isCaching && isComplete;
    const bool isKept = isWanted && mvgeo::writeCachedTile(*node, request.cachePathDir, request.cacheName, stamp);
    if (counts)
    {
        ++counts->tilesBuilt;
        if (!isComplete) ++counts->tilesIncomplete;
        if (isWanted && !isKept) ++counts->tilesNotKept;
    }
    return node.get();
}

osgDB::ReaderWriter::WriteResult ReaderWriter3DIMG::writeNode(const osg::Node&, const std::string& fileName,
                                                              const osgDB::Options*) const
{
    const bool isOurs = acceptsExtension(osgDB::getLowerCaseFileExtension(fileName));
    return isOurs ? WriteResult::FILE_SAVED : WriteResult::FILE_NOT_HANDLED;
}

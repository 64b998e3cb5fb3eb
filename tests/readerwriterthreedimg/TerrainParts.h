#pragma once

#include "ClipParts.h"
#include "mvgdaldatasetmanager/ImageHeader.h"
#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "readerwriterthreedimg/TerrainTileBuilder.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"
#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"

#include <osg/MatrixTransform>
#include <osg/PagedLOD>
#include <osg/Texture2D>
#include <osgDB/Options>
#include <osgDB/ReaderWriter>

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

/** Descriptions, rasters and requests for terrain tiles, and what a test asks of a tile. */
namespace terraintest
{

using cliptest::Rectangle;

/** A tile with as many posts and image pixels each way; its local origin is (0, 0), the DEM's extent the tile's own. */
[[nodiscard]] TerrainTileInfo tileOver(const Rectangle& extent, int posts, int pixels = 2);

/** The rasters with the calling thread's handles; an empty path for a raster that is missing. */
[[nodiscard]] mvgeo::TerrainRasters openedRasters(const std::string& domPath, const std::string& demPath);

/** A DEM of floats with square pixels, its north-western corner at (0, height). */
[[nodiscard]] TestRaster floatDem(int width, int height);
/** Three bands of bytes, likewise placed. */
[[nodiscard]] TestRaster colourDom(int width, int height);
/** A virtual raster of this look whose only source is another file, its values multiplied by `factor`. */
void writeVirtualRaster(const std::string& path, const TestRaster& raster, const std::string& source,
                        double factor = 1.0);

/** The geometry below the transform of a built tile, or below a paged node's; null if there is none. */
[[nodiscard]] osg::Geometry* geometryOf(osg::Node* tile);
[[nodiscard]] std::array<int, 3> texel(const osg::Image& image, int column, int row);
/** Null for an untextured geometry. */
[[nodiscard]] osg::Texture2D* textureOf(const osg::Geometry& geometry);
[[nodiscard]] osg::Image* imageOf(const osg::Geometry& geometry);

/** The paged nodes at the top of what was read: the node itself, or a group's children. */
[[nodiscard]] std::vector<osg::ref_ptr<osg::PagedLOD>> pagedNodesOf(osg::Node* node);
[[nodiscard]] osgDB::Options* optionsOf(osg::PagedLOD& node);
[[nodiscard]] TerrainTileInfo infoOf(const osg::Object& object);
/** The geometry that the options hand over, or null. */
[[nodiscard]] osg::Geometry* parentGeometryOn(const osg::Referenced& options);

/** Everything that a tile is made of as text, so that two tiles are equal if their texts are: structure, transforms,
 * ranges, spheres, file names, user values, read options, arrays bit for bit, texture parameters, pixels. */
[[nodiscard]] std::string describe(osg::Node* node);

/** What the terrain model asks the reader-writer with. */
struct TerrainRequest
{
    std::string domPath;
    std::string demPath;
    std::optional<std::string> cacheDir;
    std::optional<bool> isCaching;

    [[nodiscard]] osg::ref_ptr<osgDB::Options> options() const;
};

/** Reads as the pager does; null if nothing came of it. */
[[nodiscard]] osg::ref_ptr<osg::Node> readTile(const std::string& fileName, const osgDB::Options* options);
[[nodiscard]] osg::ref_ptr<osg::Node> readRoot(const TerrainRequest& request);
[[nodiscard]] osg::ref_ptr<osg::Node> readChildren(osg::PagedLOD& node);

/** A folder for the rasters with a cache folder inside. The dataset manager is the process's own, so that each test
 * leaves it empty. */
class TerrainTest : public testing::Test
{
protected:
    TerrainTest();
    void TearDown() override;

    /** A noisy DEM and a noisy three-coloured DOM over the same square of 64 units. */
    void writeNoise();
    /** The headers are opened again by the next request, as when the last model of the rasters has gone. */
    static void reopenRasters()
    {
        MvGdalDataSetManager::instance()->purgeUnused();
        MvGdalDataSetManager::instance()->forgetUnusable();
    }
    [[nodiscard]] std::string rootName() const { return cacheDir + "/terrain.osgb.3dimg"; }
    /** Names of the files in the cache folder, sorted. */
    [[nodiscard]] std::vector<std::string> cachedFiles() const;

    TemporaryDirectory folder;
    const std::string dem = folder / "dem.tif";
    const std::string dom = folder / "dom.tif";
    const std::string cacheDir = folder / "cache";
    TerrainRequest request{dom, dem, cacheDir, std::nullopt};
    LogRecorder log;
};

} // namespace terraintest

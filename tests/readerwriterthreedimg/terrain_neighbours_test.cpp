#include "TerrainParts.h"
#include "readerwriterthreedimg/TerrainPyramid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <ostream>
#include <random>
#include <set>
#include <tuple>

using namespace cliptest;
using namespace terraintest;

namespace
{

struct Raster
{
    std::string name;
    int width, height;
    double originX, originY, pixelWidth, pixelHeight;
    std::vector<int> overviews;
    double holes = 0.0; ///< share of pixels without data
    GDALDataType type = GDT_Float32;
};

void PrintTo(const Raster& raster, std::ostream* stream)
{
    *stream << raster.name;
}

/** What the mesh of a tile says at a post: position, normal. */
struct Post
{
    osg::Vec3 position;
    osg::Vec3 normal;
};

bool isBitForBit(const Post& a, const Post& b)
{
    return std::memcmp(a.position.ptr(), b.position.ptr(), sizeof(float) * 3) == 0 &&
           std::memcmp(a.normal.ptr(), b.normal.ptr(), sizeof(float) * 3) == 0;
}

/** The posts of one level that lie on edges of tiles, by column and row from the south-west of the root. */
class EdgePosts
{
public:
    /** Adds the tile's outer posts, and tells how many were there already and differed. */
    int add(const TerrainTileInfo& info, const osg::ref_ptr<osg::Geometry>& geometry)
    {
        int differences = 0;
        std::set<std::pair<int, int>> known; // skirts repeat the posts
        for (std::size_t i = 0; i < verticesOf(geometry).size(); ++i)
        {
            const osg::Vec2& coordinate = textureCoordinatesOf(geometry)[i];
            const int column = static_cast<int>(std::lround(coordinate.x() * 31.0F));
            const int row = 31 - static_cast<int>(std::lround(coordinate.y() * 31.0F));
            const bool isOuter = column == 0 || column == 31 || row == 0 || row == 31;
            if (!isOuter || !known.insert({column, row}).second) continue;
            const Post post = {verticesOf(geometry)[i], normalsOf(geometry)[i]};
            const auto [place, isNew] = _posts.try_emplace({31LL * info.x + column, 31LL * info.y + row}, post);
            if (isNew) continue;
            ++_compared;
            if (!isBitForBit(place->second, post)) ++differences;
        }
        return differences;
    }

    [[nodiscard]] int compared() const { return _compared; }

private:
    std::map<std::pair<long long, long long>, Post> _posts;
    int _compared = 0;
};

/** The columns (or rows) of the tiles that are built at a depth: all of a shallow one; of a deeper one the first and
 * last and two in the middle and, so that edges of every kind are met, some others. */
std::vector<int> sampleOf(int depth)
{
    const int count = 1 << depth;
    if (depth <= 3)
    {
        std::vector<int> all;
        for (int i = 0; i < count; ++i)
            all.push_back(i);
        return all;
    }
    const int third = count / 3;
    return {0, 1, third, third + 1, count / 2 - 1, count / 2, count - 2, count - 1};
}

TerrainTileInfo tileAt(const TerrainTileInfo& root, int depth, int x, int y)
{
    TerrainTileInfo info = root;
    for (int bit = depth - 1; bit >= 0; --bit)
    {
        const unsigned int quadrant =
            static_cast<unsigned int>(x >> bit & 1) + 2U * static_cast<unsigned int>(y >> bit & 1);
        EXPECT_TRUE(mvgeo::childTileInfo(info, quadrant, info));
    }
    return info;
}

class TerrainNeighbours : public testing::TestWithParam<Raster>
{
protected:
    TerrainNeighbours()
    {
        const Raster& look = GetParam();
        TestRaster raster;
        raster.width = look.width;
        raster.height = look.height;
        raster.type = look.type;
        raster.originX = look.originX;
        raster.originY = look.originY;
        raster.pixelWidth = look.pixelWidth;
        raster.pixelHeight = -look.pixelHeight;
        raster.overviews = look.overviews;
        raster.noData = -9999.0;
        std::mt19937 random(99);
        writeRaster(kPath, raster,
                    [&](int, int, int)
                    {
                        if (random() % 1000 < look.holes * 1000.0) return -9999.0;
                        return static_cast<double>(1 + random() % 500);
                    });
    }
    void TearDown() override { MvGdalDataSetManager::instance()->purgeUnused(); }

    static constexpr const char* kPath = "/vsimem/terrain_neighbours.tif";
};

TEST_P(TerrainNeighbours, ShareTheirEdgesBitForBit)
{
    const osg::ref_ptr<osg::Node> node = mvgeo::buildTerrainNode("", kPath, "", nullptr);
    ASSERT_TRUE(node);
    TerrainTileInfo root = infoOf(*node);
    root.imageWidth = root.imageHeight = 2;
    mvgeo::TerrainRasters rasters = openedRasters("", kPath);
    for (int depth = 1; depth <= 8; ++depth)
    {
        EdgePosts posts;
        for (const int y : sampleOf(depth))
            for (const int x : sampleOf(depth))
            {
                TerrainTileInfo info = tileAt(root, depth, x, y);
                ASSERT_EQ(std::tie(info.lod, info.x, info.y), std::tie(depth, x, y));
                const osg::ref_ptr<osg::Node> tile = mvgeo::buildTerrainTile(rasters, info, nullptr);
                ASSERT_TRUE(tile);
                EXPECT_EQ(posts.add(info, geometryOf(tile)), 0) << depth << '_' << x << '_' << y;
            }
        EXPECT_GT(posts.compared(), 0) << depth;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rasters, TerrainNeighbours,
    testing::Values(
        Raster{"Plain", 100, 100, 0, 100, 1, 1, {}},                                             //
        Raster{"Wide", 100, 61, 0, 61, 1, 1, {}},                                                //
        Raster{"High", 61, 100, 0, 100, 1, 1, {2}},                                              //
        Raster{"Degrees", 121, 97, 137.9995833, 35.0004166, 0.000833333333, 0.000833333333, {}}, //
        // Steps of exactly 4, 2 and 1 pixels but for rounding, and of 8 with fine levels left over.
        Raster{"PowersOfTwo", 124, 124, 137.9995833, 35.0004166, 0.000833333333, 0.000833333333, {}},
        Raster{"PowersOfTwoOverviews", 248, 248, 137.9995833, 35.0004166, 0.000833333333, 0.000833333333, {2, 4, 8}},
        Raster{"OddOverviews", 333, 211, -70.0001389, -33.33333, 1.0 / 3600, 1.0 / 3600, {2, 4, 8}},
        Raster{"SparseOverviews", 509, 509, 500000.05, 5400000.07, 0.1, 0.1, {4}},
        Raster{"FarFromTheOrigin", 97, 101, 500000.05, 5400000.07, 0.05, 0.05, {}},
        Raster{"Oblong", 150, 90, 412345.67, 4.0e6 / 3.0, 0.5, 2.0, {2, 4}},
        Raster{"OnePixel", 1, 1, 0.1, 0.2, 0.3, 0.3, {}},           //
        Raster{"OneColumn", 1, 37, 1e6 / 7, 1e6 / 3, 0.7, 0.7, {}}, //
        Raster{"OneRow", 300, 1, 0.1, 0.2, 0.3, 0.3, {}},           //
        Raster{"ThirtyOne", 31, 31, 10, 20, 1.0 / 3, 1.0 / 3, {}},  //
        Raster{"Holes", 130, 101, 137.9995833, 35.0004166, 0.000833333333, 0.000833333333, {2, 4}, 0.2},
        Raster{"MostlyHoles", 95, 131, 137.9995833, 35.0004166, 0.000833333333, 0.000833333333, {}, 0.9},
        Raster{"Integers", 201, 301, 1.0 / 3, 2.0 / 3, 30.0 / 7, 30.0 / 7, {2, 4}, 0.1, GDT_Int16}),
    [](const auto& instance) { return instance.param.name; });

// The same image at the common edge, where both are of one depth: no seam of colours.
TEST(TerrainNeighboursInColour, ShareTheTexelsOfTheirEdge)
{
    constexpr const char* kDom = "/vsimem/terrain_neighbours_dom.tif";
    TestRaster raster = colourDom(601, 601);
    raster.originX = 137.9995833;
    raster.originY = 35.0004166;
    raster.pixelWidth = 0.000833333333;
    raster.pixelHeight = -0.000833333333;
    raster.overviews = {2, 4};
    raster.noData = 0.0;
    std::mt19937 random(3);
    writeRaster(kDom, raster, [&random](int, int, int) { return static_cast<double>(random() % 256); });
    mvgeo::TerrainRasters rasters = openedRasters(kDom, "");
    TerrainTileInfo root = tileOver(
        {137.9995833, 137.9995833 + 601 * 0.000833333333, 35.0004166 - 601 * 0.000833333333, 35.0004166}, 32, 64);
    for (const int depth : {1, 3})
        for (int y = 0; y < 1 << depth; ++y)
            for (int x = 0; x + 1 < 1 << depth; ++x)
            {
                TerrainTileInfo west = tileAt(root, depth, x, y);
                TerrainTileInfo east = tileAt(root, depth, x + 1, y);
                const osg::ref_ptr<osg::Node> westTile = mvgeo::buildTerrainTile(rasters, west, nullptr);
                const osg::ref_ptr<osg::Node> eastTile = mvgeo::buildTerrainTile(rasters, east, nullptr);
                for (int row = 0; row < 64; ++row)
                    ASSERT_EQ(texel(*imageOf(*geometryOf(westTile)), 63, row),
                              texel(*imageOf(*geometryOf(eastTile)), 0, row))
                        << depth << ' ' << x << ' ' << y << ' ' << row;
            }
}

} // namespace

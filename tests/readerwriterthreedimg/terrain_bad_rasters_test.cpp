#include "TerrainParts.h"
#include "mvgdaldatasetmanager/OpenedHeader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <future>
#include <limits>
#include <thread>

using namespace cliptest;
using namespace terraintest;

namespace fs = std::filesystem;

namespace
{

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/** Nothing that a host could stumble over: finite numbers, indices within the vertices. */
void expectSound(const osg::ref_ptr<osg::Geometry>& mesh)
{
    ASSERT_TRUE(mesh);
    EXPECT_EQ(normalsOf(mesh).size(), verticesOf(mesh).size());
    EXPECT_EQ(elementsOf(mesh).size() % 3, 0U);
    for (const osg::Vec3& vertex : verticesOf(mesh))
        ASSERT_TRUE(std::isfinite(vertex.x()) && std::isfinite(vertex.y()) && std::isfinite(vertex.z()));
    for (const osg::Vec3& normal : normalsOf(mesh))
        ASSERT_LE(normal.length(), 1.0F + 1e-5F); // no comparison holds for what is no number; blended ones are shorter
    for (const GLuint index : elementsOf(mesh))
        ASSERT_LT(index, verticesOf(mesh).size());
    EXPECT_EQ(imageOf(*mesh) != nullptr, !verticesOf(mesh).empty());
}

/** How many tiles the node holds, paged or not, all of them sound. */
int expectSoundTiles(osg::Node* node)
{
    for (const auto& paged : pagedNodesOf(node))
    {
        EXPECT_TRUE(std::isfinite(paged->getRadius()));
        EXPECT_TRUE(osg::Vec3d(paged->getCenter()).valid());
    }
    if (!node) return 0;
    if (dynamic_cast<osg::PagedLOD*>(node))
    {
        expectSound(geometryOf(node));
        return 1;
    }
    const osg::Group& group = *node->asGroup();
    for (unsigned int i = 0; i < group.getNumChildren(); ++i)
        expectSound(geometryOf(const_cast<osg::Node*>(group.getChild(i))));
    return static_cast<int>(group.getNumChildren());
}

/** The root, its children, and then the children of one tile at each depth. Tells how many tiles that were. */
int expectSoundPyramid(const TerrainRequest& asked)
{
    osg::ref_ptr<osg::Node> node = readRoot(asked);
    int count = expectSoundTiles(node);
    for (std::size_t depth = 0; depth < 6; ++depth)
    {
        const auto nodes = pagedNodesOf(node);
        if (nodes.empty()) break;
        node = readChildren(*nodes[depth % nodes.size()]);
        count += expectSoundTiles(node);
    }
    return count;
}

class BadRasters : public TerrainTest
{
protected:
    void writeDem(const std::function<double(int column, int row)>& height, GDALDataType type = GDT_Float32)
    {
        TestRaster raster = floatDem(48, 40);
        raster.type = type;
        writeRaster(dem, raster, [&height](int, int column, int row) { return height(column, row); });
        writeFineDom(40.0);
    }

    /** Sixteen pixels a unit: tiles go on below the DEM's last ones, cut out of their parents. */
    void writeFineDom(double north)
    {
        TestRaster image = colourDom(768, 640);
        image.bands = 1;
        image.originY = north;
        image.pixelWidth = 1.0 / 16.0;
        image.pixelHeight = -1.0 / 16.0;
        writeRaster(dom, image, 99.0);
    }
};

TEST_F(BadRasters, WithNothingButNoNumbers)
{
    for (const double value : {kNan, kInfinity, -kInfinity})
        for (const GDALDataType type : {GDT_Float32, GDT_Float64})
        {
            writeDem([value](int, int) { return value; }, type);
            request.isCaching = false;
            EXPECT_GE(expectSoundPyramid(request), 5);
            const osg::ref_ptr<osg::Node> root = readRoot(request);
            EXPECT_EQ(verticesOf(geometryOf(root)).at(100).z(), 0.0F);
            reopenRasters();
        }
}

TEST_F(BadRasters, WithSomeNoNumbers)
{
    writeDem([](int column, int row)
             { return (column + row) % 3 == 0   ? kNan
                      : (column + row) % 5 == 0 ? kInfinity
                                                : 7.0; });
    EXPECT_GE(expectSoundPyramid(request), 5);
}

TEST_F(BadRasters, WithExtremeHeights)
{
    constexpr double kMost = std::numeric_limits<float>::max();
    for (const auto& [low, high] :
         {std::pair{-1e30, 1e30}, {0.0, 1e30}, {-kMost, kMost}, {-kMost, 100.0}, {1.0, kMost}})
    {
        writeDem([low = low, high = high](int column, int row) { return (column / 5 + row) % 2 ? low : high; });
        request.isCaching = false;
        EXPECT_GE(expectSoundPyramid(request), 5) << low << ' ' << high;
        reopenRasters();
    }
}

TEST_F(BadRasters, WithoutDataAnywhere)
{
    TestRaster elevations = floatDem(48, 40);
    elevations.noData = -9999.0;
    TestRaster image = colourDom(96, 80);
    image.noData = 17.0;
    writeRaster(dem, elevations, -9999.0);
    writeRaster(dom, image, 17.0);
    EXPECT_GE(expectSoundPyramid(request), 5);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    const osg::ref_ptr<osg::Geometry> mesh = geometryOf(root);
    EXPECT_EQ(verticesOf(mesh).at(100).z(), 0.0F);
    EXPECT_EQ(texel(*imageOf(*mesh), 128, 128), (std::array<int, 3>{17, 17, 17}));
}

TEST_F(BadRasters, ThatDoNotOverlap)
{
    writeRaster(dem, floatDem(48, 40), 5.0);
    TestRaster image = colourDom(100, 100);
    image.originX = 5.0e6;
    image.noData = 33.0;
    writeRaster(dom, image, 99.0);
    EXPECT_GE(expectSoundPyramid(request), 5);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    EXPECT_EQ(texel(*imageOf(*geometryOf(root)), 128, 128), (std::array<int, 3>{33, 33, 33}));
}

// The image covers the eastern half.
TEST_F(BadRasters, ThatOverlapInPart)
{
    writeRaster(dem, floatDem(64, 64), 5.0);
    TestRaster image = colourDom(64, 64);
    image.originX = 32.0;
    writeRaster(dom, image, 99.0);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    ASSERT_TRUE(root);
    const osg::Image& texture = *imageOf(*geometryOf(root));
    EXPECT_EQ(texel(texture, 10, 128)[0], 0);
    EXPECT_EQ(texel(texture, 126, 128)[0], 0); // x 31.6
    EXPECT_EQ(texel(texture, 129, 128)[0], 99);
    EXPECT_EQ(texel(texture, 255, 128)[0], 99);
    EXPECT_GE(expectSoundPyramid(request), 5);
}

TEST_F(BadRasters, WhoseImageIsAThousandTimesFiner)
{
    TestRaster elevations = floatDem(4, 4);
    elevations.pixelWidth = 250.0;
    elevations.pixelHeight = -250.0;
    elevations.originY = 1000.0;
    writeRaster(dem, elevations, [](int, int column, int) { return 10.0 + column; });
    TestRaster image = colourDom(4000, 4000); // a quarter unit
    image.originY = 1000.0;
    image.pixelWidth = 0.25;
    image.pixelHeight = -0.25;
    image.bands = 1;
    writeRaster(dom, image, 99.0);
    EXPECT_GE(expectSoundPyramid(request), 1 + 4 * 4);
}

TEST_F(BadRasters, WhoseImageIsAThousandTimesCoarser)
{
    writeRaster(dem, floatDem(200, 200), [](int, int column, int row) { return column % 7 + row; });
    TestRaster image = colourDom(2, 2);
    image.pixelWidth = 1000.0;
    image.pixelHeight = -1000.0;
    image.originY = 1000.0;
    writeRaster(dom, image, 99.0);
    EXPECT_GE(expectSoundPyramid(request), 5);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    EXPECT_EQ(texel(*imageOf(*geometryOf(root)), 0, 255)[0], 99);
}

class TinyRasters : public BadRasters, public testing::WithParamInterface<std::pair<int, int>>
{
};

TEST_P(TinyRasters, AreTerrainToo)
{
    const auto [width, height] = GetParam();
    writeRaster(dem, floatDem(width, height), 5.0);
    writeRaster(dom, colourDom(width, height), 99.0);
    EXPECT_GE(expectSoundPyramid(request), 1);
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    ASSERT_TRUE(root);
    EXPECT_FALSE(verticesOf(geometryOf(root)).empty());
    EXPECT_EQ(verticesOf(geometryOf(root)).at(0).z(), 5.0F);
}
INSTANTIATE_TEST_SUITE_P(Sizes, TinyRasters,
                         testing::Values(std::pair{1, 1}, std::pair{2, 2}, std::pair{1, 2}, std::pair{2, 1},
                                         std::pair{3, 3}, std::pair{31, 31}, std::pair{1, 20}, std::pair{20, 1}));

TEST_F(BadRasters, ThatAreTheSameFile)
{
    writeDem([](int column, int row) { return 10.0 + column + row; });
    request.domPath = dem;
    EXPECT_GE(expectSoundPyramid(request), 5);
}

// What is deleted stays readable through the handles that are open; whoever has none yet gets a flat root and no
// children.
TEST_F(BadRasters, ThatAreDeletedWhileTilesAreBuilt)
{
    constexpr int kRounds = 4;
    writeNoise();
    std::atomic<int> builtCount{0};
    std::atomic<int> rootCount{0};
    const auto build = [&]
    {
        bool hasHandles = false;
        for (int round = 0; round < kRounds; ++round)
        {
            const osg::ref_ptr<osg::Node> root = readRoot(request);
            rootCount += expectSoundTiles(root);
            ASSERT_EQ(pagedNodesOf(root).size(), 1U);
            const int children = expectSoundTiles(readChildren(*pagedNodesOf(root).at(0)));
            EXPECT_TRUE(children == 4 || (children == 0 && !hasHandles)) << children;
            hasHandles = children == 4;
            if (hasHandles) ++builtCount;
        }
    };
    request.cacheDir.reset(); // nothing comes from a file
    std::promise<void> secondHasEnded;
    std::thread first(
        [&]
        {
            build();
            secondHasEnded.get_future().wait(); // else its number, and with it its handles, could be the second's
        });
    while (builtCount == 0)
        std::this_thread::yield();
    fs::remove(dem);
    fs::remove(dom);
    std::thread(build).join();
    secondHasEnded.set_value();
    first.join();
    EXPECT_EQ(rootCount, 2 * kRounds);
    EXPECT_EQ(builtCount, kRounds); // the first one's, to its end
    EXPECT_EQ(log.count("it can no longer be opened"), 2);
    EXPECT_EQ(log.lines().size(), 2U);
}

// Files that are cut off while they are open. One raster that can still be opened is enough for tiles; without any
// there are none.
TEST_F(BadRasters, ThatAreCutOffWhileTheyAreOpen)
{
    writeNoise();
    const osg::ref_ptr<osg::Node> root = readRoot(request);
    struct Cut
    {
        std::string path;
        unsigned int size;
        int tiles;
    };
    for (const Cut& cut : {Cut{dem, 3000, 4}, {dom, 3000, 4}, {dem, 0, 4}, {dom, 0, 0}})
    {
        fs::resize_file(cut.path, cut.size);
        MvGdalDataSetManager::instance()->closeThreadDatasets(OpenThreads::Thread::CurrentThreadId());
        EXPECT_EQ(expectSoundTiles(readChildren(*pagedNodesOf(root).at(0))), cut.tiles) << cut.path << ' ' << cut.size;
    }
    EXPECT_EQ(cachedFiles(), std::vector<std::string>{"terrain.osgb"});
    EXPECT_LE(log.lines().size(), 2U);
}

} // namespace

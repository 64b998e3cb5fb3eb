#include "TerrainFixture.h"

#include "mvgeothirdparty/MvGeoMesh.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osg/PagedLOD>
#include <osg/TriangleFunctor>
#include <osgDB/ReadFile>

#include <algorithm>
#include <cmath>
#include <optional>

namespace
{

using Line = std::vector<KdGePoint3d>;
using Lines = std::vector<Line>;
using testing::IsEmpty;
using testing::SizeIs;

struct Triangle
{
    osg::Vec3d a, b, c;
};

struct TriangleList
{
    std::vector<Triangle>* triangles = nullptr;
    osg::Matrixd matrix;

    void operator()(const osg::Vec3& a, const osg::Vec3& b, const osg::Vec3& c) const
    {
        triangles->push_back({osg::Vec3d(a) * matrix, osg::Vec3d(b) * matrix, osg::Vec3d(c) * matrix});
    }
};

/** The finest tiles of a terrain, found by a walk of the test's own: down to where the posts lie closer than the DEM's
 * pixels. */
class FinestSurface
{
public:
    FinestSurface(osg::Node& rootTile, double demPixel) : _demPixel(demPixel) { collect(rootTile); }

    /** The surface's height there; nothing beside it. Walls have no extent seen from above. */
    [[nodiscard]] std::optional<double> heightAt(double x, double y) const
    {
        for (const auto& [a, b, c] : _triangles)
        {
            const osg::Vec3d ab = b - a;
            const osg::Vec3d ac = c - a;
            const double area = ab.x() * ac.y() - ab.y() * ac.x();
            if (std::abs(area) < 1e-9) continue;
            const double u = ((x - a.x()) * ac.y() - (y - a.y()) * ac.x()) / area;
            const double v = (ab.x() * (y - a.y()) - ab.y() * (x - a.x())) / area;
            constexpr double kEdge = -1e-6;
            if (u >= kEdge && v >= kEdge && u + v <= 1.0 - kEdge) return a.z() + u * ab.z() + v * ac.z();
        }
        return std::nullopt;
    }
    [[nodiscard]] std::size_t wallCount() const
    {
        return static_cast<std::size_t>(std::count_if(_triangles.begin(), _triangles.end(),
                                                      [](const Triangle& t)
                                                      {
                                                          const osg::Vec3d normal = (t.b - t.a) ^ (t.c - t.a);
                                                          return std::abs(normal.z()) < 1e-9 && normal.length() > 1e-9;
                                                      }));
    }
    [[nodiscard]] double minX() const
    {
        return extreme([](const osg::Vec3d& p) { return -p.x(); }) * -1.0;
    }
    [[nodiscard]] double maxX() const
    {
        return extreme([](const osg::Vec3d& p) { return p.x(); });
    }

private:
    template <typename Measure>
    [[nodiscard]] double extreme(Measure measure) const
    {
        double result = -1e300;
        for (const auto& [a, b, c] : _triangles)
            result = std::max({result, measure(a), measure(b), measure(c)});
        return result;
    }

    void collect(osg::Node& node)
    {
        auto* paged = dynamic_cast<osg::PagedLOD*>(&node);
        if (paged)
        {
            const double start = *mvgeo::userValue<double>(node, "startX");
            const double end = *mvgeo::userValue<double>(node, "endX");
            if ((end - start) / 31.0 < _demPixel) return collect(*paged->getChild(0));
            const auto* shared = dynamic_cast<const osgDB::Options*>(paged->getDatabaseOptions());
            const osg::ref_ptr<osgDB::Options> options =
                static_cast<osgDB::Options*>(shared->clone(osg::CopyOp(osg::CopyOp::DEEP_COPY_USERDATA)));
            options->setUserValue("isCaching", false);
            const osg::ref_ptr<osg::Node> finer = osgDB::readRefNodeFile(paged->getFileName(1), options);
            return collect(finer ? *finer : *paged->getChild(0));
        }
        if (osg::Group* group = node.asGroup(); group && !node.asTransform())
        {
            for (unsigned int i = 0; i < group->getNumChildren(); ++i)
                collect(*group->getChild(i));
            return;
        }
        VisitorGeometry tile;
        node.accept(tile);
        for (std::size_t i = 0; i < tile.geometries().size(); ++i)
        {
            osg::TriangleFunctor<TriangleList> list;
            list.triangles = &_triangles;
            list.matrix = tile.matrices()[i];
            tile.geometries()[i]->accept(list);
        }
    }

    double _demPixel;
    std::vector<Triangle> _triangles;
};

struct TerrainSection : public TerrainFixture
{
    Lines drape(const Line& line, const KdGeMatrix3d& placement = {})
    {
        Lines result;
        EXPECT_TRUE(model().section(&placement, &line, &result));
        return result;
    }
    void writeHills() const
    {
        TestRaster raster;
        raster.width = 64;
        raster.height = 64;
        raster.type = GDT_Float32;
        raster.originY = 640.0;
        raster.pixelWidth = 10.0;
        raster.pixelHeight = -10.0;
        writeRaster(dem, raster,
                    [](int, int column, int row)
                    { return 300.0 + 40.0 * std::sin(0.4 * column) * std::cos(0.3 * row) + column % 3; });
    }
    [[nodiscard]] std::set<std::string> cachedFiles() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "temp"))
            names.insert(entry.path().filename().string());
        return names;
    }
    /** Each vertex on the surface; the pieces cover the line once, without a gap. */
    void expectOnSurface(const Lines& lines, const FinestSurface& surface, const Line& along)
    {
        constexpr double kTolerance = 1e-3 * 640.0 / 4.0 / 31.0; // of the post spacing of the tiles that are cut
        double length = 0.0;
        for (const Line& line : lines)
        {
            ASSERT_GE(line.size(), 2U);
            for (std::size_t i = 0; i < line.size(); ++i)
            {
                const KdGePoint3d& point = line[i];
                const std::optional<double> height = surface.heightAt(point.x, point.y);
                ASSERT_TRUE(height) << point.x << ' ' << point.y;
                EXPECT_NEAR(point.z, *height, kTolerance) << point.x << ' ' << point.y;
                if (i > 0) length += std::hypot(point.x - line[i - 1].x, point.y - line[i - 1].y);
            }
        }
        double expected = 0.0;
        for (std::size_t i = 1; i < along.size(); ++i)
            expected += std::hypot(along[i].x - along[i - 1].x, along[i].y - along[i - 1].y);
        EXPECT_NEAR(length, expected, kTolerance);
    }
};

} // namespace

TEST_F(TerrainSection, EveryPointLiesOnTheFinestTilesAndNoneOnASkirt)
{
    writeHills();
    ASSERT_EQ(driver->add(source()), 0);
    const FinestSurface surface(*model().root().getChild(0), 10.0);
    ASSERT_GT(surface.wallCount(), 0U); // there are skirts that could be hit
    const std::vector<Line> lines{
        {{20, 33, 0}, {620, 577, 0}},                   // anyhow
        {{20, 320, 0}, {620, 320, 0}},                  // along the border of the quarters
        {{160, 20, 0}, {160, 620, 0}},                  // along the border of smaller tiles
        {{20, 20, 0}, {620, 620, 0}},                   // through all posts of the diagonal
        {{620, 40, 0}, {30, 40, 0}},                    // westwards
        {{50, 50, 0}, {320, 320, 0}, {590, 50, 0}},     // a kink at the common corner of four tiles
        {{300, 300, 0}, {301, 300, 0}, {301, 301, 0}}}; // shorter than a post
    for (const Line& line : lines)
    {
        SCOPED_TRACE(testing::Message() << line[0].x << ' ' << line[0].y << " to " << line.back().x);
        const Lines draped = drape(line);
        EXPECT_THAT(draped, SizeIs(1));
        expectOnSurface(draped, surface, line);
    }
}

TEST_F(TerrainSection, AlongTheTerrainsOwnBorderThereIsOnlyTheSurfacesEdge)
{
    writeDem(0.0); // all at sea level: skirts are below
    ASSERT_EQ(driver->add(source()), 0);
    const FinestSurface surface(*model().root().getChild(0), 10.0);
    for (const double x : {surface.minX(), surface.maxX(), 320.0})
    {
        SCOPED_TRACE(x);
        const Lines lines = drape({{x, 100, 0}, {x, 500, 0}});
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_NEAR(lines[0].front().y, 100.0, 1e-6);
        EXPECT_NEAR(lines[0].back().y, 500.0, 1e-6);
        for (const KdGePoint3d& point : lines[0])
            EXPECT_EQ(point.z, 0.0);
    }
}

TEST_F(TerrainSection, ALineThatCrossesTheBorderEndsAtIt)
{
    writeDem(0.0);
    ASSERT_EQ(driver->add(source()), 0);
    const FinestSurface surface(*model().root().getChild(0), 10.0);
    const Lines lines = drape({{-100, 200, 0}, {800, 200, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_NEAR(lines[0].front().x, surface.minX(), 1e-6);
    EXPECT_NEAR(lines[0].back().x, surface.maxX(), 1e-6);
    for (const KdGePoint3d& point : lines[0])
        EXPECT_EQ(point.z, 0.0);
}

// A root tile has a post every 20.6 m, its children every 10.3 m and theirs every 5.2 m, which is finer than the DEM's
// 10 m: no line needs more.
TEST_F(TerrainSection, StopsWhereTilesAreFinerThanTheDem)
{
    ASSERT_EQ(driver->add(source()), 0);
    ASSERT_EQ(driver->statistics().tilesBuilt, 1U);
    EXPECT_THAT(drape({{20, 100, 0}, {620, 100, 0}}), SizeIs(1));
    EXPECT_EQ(driver->statistics().tilesBuilt, 1U + 1U + 2U); // the quarters, and those of the two southern ones
}

// The southern quarters end at 320 m; their bounding spheres reach to 386 m.
TEST_F(TerrainSection, ReadsNothingBelowATileThatItPassesBeside)
{
    ASSERT_EQ(driver->add(source()), 0);
    EXPECT_THAT(drape({{20, 330, 0}, {620, 330, 0}}), SizeIs(1));
    EXPECT_EQ(driver->statistics().tilesBuilt, 1U + 1U + 2U); // the quarters, and those of the two northern ones
}

TEST_F(TerrainSection, WritesNothingToTheDisk)
{
    ASSERT_EQ(driver->add(source()), 0);
    const std::set<std::string> before = cachedFiles();
    EXPECT_THAT(drape({{20, 30, 0}, {620, 600, 0}}), SizeIs(1));
    EXPECT_EQ(cachedFiles(), before);
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge()); // what is shown is still kept
    EXPECT_GT(cachedFiles().size(), before.size());
    expectCleanContract();
}

TEST_F(TerrainSection, TakesCachedTilesAndGivesTheSame)
{
    writeHills();
    ASSERT_EQ(driver->add(source()), 0);
    const Line line{{20, 33, 0}, {620, 577, 0}, {30, 600, 0}};
    const Lines built = drape(line);
    driver->view = fromAbove(150.0);
    ASSERT_TRUE(driver->converge());
    const Lines shown = drape(line);
    renewModel();
    ASSERT_EQ(driver->add(source()), 0);
    const Lines cached = drape(line);
    EXPECT_GT(driver->statistics().tilesFromCache, 1U);
    ASSERT_THAT(built, SizeIs(1));
    for (const Lines& other : {shown, cached})
    {
        ASSERT_THAT(other, SizeIs(1));
        ASSERT_EQ(other[0].size(), built[0].size());
        for (std::size_t i = 0; i < built[0].size(); ++i)
            EXPECT_LT(other[0][i].distanceTo(built[0][i]), 1e-9);
    }
}

TEST_F(TerrainSection, ADamagedCachedTileIsBuiltAnewAndLeftAsItIs)
{
    ASSERT_EQ(driver->add(source()), 0);
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    const Line line{{20, 33, 0}, {620, 577, 0}};
    const Lines whole = drape(line);
    std::vector<std::string> damaged;
    for (const std::string& name : cacheFiles(".osgb"))
        if (name.find("_c") != std::string::npos) damaged.push_back(cacheDirectory(source()) + '/' + name);
    ASSERT_FALSE(damaged.empty());
    renewModel();
    for (const std::string& path : damaged)
        writeFile(path, "no tile");
    ASSERT_EQ(driver->add(source()), 0);
    const Lines again = drape(line);
    ASSERT_THAT(again, SizeIs(1));
    EXPECT_EQ(again[0].size(), whole[0].size());
    for (const std::string& path : damaged)
        EXPECT_EQ(readFile(path), "no tile");
}

TEST_F(TerrainSection, LeavesNoDatasetOpenAfterTheLastModel)
{
    ASSERT_EQ(driver->add(source()), 0);
    const int before = openDatasets();
    EXPECT_THAT(drape({{20, 30, 0}, {620, 600, 0}}), SizeIs(1));
    EXPECT_EQ(openDatasets(), before); // the host thread's own, which opened the terrain
    driver->destroyModel();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(TerrainSection, TheSceneAndWhatIsShownStayAsTheyAre)
{
    ASSERT_EQ(driver->add(source()), 0);
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    const GeoMeshStatistics before = driver->statistics();
    const std::set<std::string> held = driver->receiver.heldIds();
    EXPECT_THAT(drape({{20, 30, 0}, {620, 600, 0}}), SizeIs(1));
    ASSERT_TRUE(driver->converge());
    const GeoMeshStatistics after = driver->statistics();
    EXPECT_EQ(after.tilesHeld, before.tilesHeld);
    EXPECT_EQ(after.bytesHeld, before.bytesHeld);
    EXPECT_EQ(after.tilesMerged, before.tilesMerged);
    EXPECT_EQ(after.tilesFailed, 0U);
    EXPECT_EQ(after.tilesNotKept, 0U);
    EXPECT_EQ(driver->receiver.heldIds(), held);
    expectCleanContract();
}

TEST_F(TerrainSection, AnImageAloneIsAFlatTerrain)
{
    ASSERT_EQ(driver->add(dom + '?'), 0);
    const Lines lines = drape({{20, 100, 0}, {620, 100, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_NEAR(lines[0].front().x, 20.0, 1e-6);
    EXPECT_NEAR(lines[0].back().x, 620.0, 1e-6);
    for (const KdGePoint3d& point : lines[0])
        EXPECT_EQ(point.z, lines[0].front().z);
}

// 31 times 8 posts of 10 cm: in its third level a tile's posts are as far apart as the DEM's, but for the rounding of
// its edges. Whether finer tiles are measured must not depend on that.
TEST_F(TerrainSection, IsOneLineWhereTilesHaveJustTheDemsPosts)
{
    TestRaster raster;
    raster.width = raster.height = 248;
    raster.type = GDT_Float32;
    raster.originX = 500000.3;
    raster.originY = 4000012.4;
    raster.pixelWidth = 0.1;
    raster.pixelHeight = -0.1;
    writeRaster(dem, raster,
                [](int, int column, int row) { return 20.0 * std::sin(1.7 * column) * std::cos(2.3 * row); });
    ASSERT_EQ(driver->add('?' + dem), 0);
    const double west = raster.originX;
    const double south = raster.originY - 24.8;
    for (const Line& line : {Line{{west + 1, south + 2, 0}, {west + 24, south + 23, 0}},
                             Line{{west + 1, south + 12.1, 0}, {west + 24, south + 13.3, 0}},
                             Line{{west + 5.3, south + 24, 0}, {west + 6.1, south + 1, 0}},
                             Line{{west + 12.4, south + 1, 0}, {west + 12.4, south + 24, 0}}})
    {
        SCOPED_TRACE(testing::Message() << line[0].x - west << ' ' << line[0].y - south);
        EXPECT_THAT(drape(line), SizeIs(1));
    }
}

// The image's pixels cannot be read: each tile that samples it is incomplete.
TEST_F(TerrainSection, DoesNotLookAtTheImage)
{
    std::filesystem::resize_file(dom, 4000);
    ASSERT_EQ(driver->add(source()), 0);
    ASSERT_EQ(driver->statistics().tilesIncomplete, 1U); // the root, which is shown
    EXPECT_THAT(drape({{20, 33, 0}, {620, 577, 0}}), SizeIs(1));
    EXPECT_GT(driver->statistics().tilesBuilt, 4U);
    EXPECT_EQ(driver->statistics().tilesIncomplete, 1U);
}

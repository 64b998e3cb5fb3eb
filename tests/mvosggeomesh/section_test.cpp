#include "TiledModelFixture.h"

#include <osg/ComputeBoundsVisitor>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/NodeVisitor>
#include <osg/PagedLOD>

#include <cmath>
#include <filesystem>
#include <limits>

namespace
{

using Line = std::vector<KdGePoint3d>;
using Lines = std::vector<Line>;
using testing::IsEmpty;
using testing::SizeIs;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

MATCHER_P2(IsNear, points, tolerance, "")
{
    for (const KdGePoint3d& point : arg)
        *result_listener << '(' << point.x << ' ' << point.y << ' ' << point.z << ") ";
    if (arg.size() != points.size()) return false;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (std::abs(arg[i].x - points[i].x) > tolerance || std::abs(arg[i].y - points[i].y) > tolerance ||
            std::abs(arg[i].z - points[i].z) > tolerance)
            return false;
    return true;
}

auto isLine(const Line& points)
{
    return IsNear(points, 1e-6);
}

osg::ref_ptr<osg::Geometry> triangles(const std::vector<osg::Vec3>& corners, const std::vector<unsigned int>& indices)
{
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array(corners.begin(), corners.end());
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(vertices);
    geometry->addPrimitiveSet(new osg::DrawElementsUInt(GL_TRIANGLES, indices.begin(), indices.end()));
    return geometry;
}

/** The six sides of the box from (40, 40, 10) to (60, 60, 30). */
osg::ref_ptr<osg::Geometry> box()
{
    std::vector<osg::Vec3> corners;
    for (const float z : {10.0F, 30.0F})
        for (const auto& [x, y] : {std::pair{40.0F, 40.0F}, {60.0F, 40.0F}, {60.0F, 60.0F}, {40.0F, 60.0F}})
            corners.emplace_back(x, y, z);
    return triangles(corners, {0, 2, 1, 0, 3, 2, 4, 5, 6, 4, 6, 7, 0, 1, 5, 0, 5, 4,
                               1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7});
}

/** What a scene consists of, to see whether anything changed. */
struct SceneFacts : public osg::NodeVisitor
{
    explicit SceneFacts(osg::Node& root) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { root.accept(*this); }
    void apply(osg::Node& node) override
    {
        nodes.push_back(&node);
        const osg::BoundingSphere& bound = node.getBound();
        bounds.push_back({bound.center().x(), bound.center().y(), bound.center().z(), bound.radius()});
        children.push_back(node.asGroup() ? node.asGroup()->getNumChildren() : 0);
        traverse(node);
    }
    void apply(osg::PagedLOD& node) override
    {
        const auto* options = dynamic_cast<const osg::Object*>(node.getDatabaseOptions());
        const osg::UserDataContainer* values = options ? options->getUserDataContainer() : nullptr;
        optionValues.push_back(values ? values->getNumUserObjects() : 0);
        apply(static_cast<osg::Node&>(node));
    }
    bool operator==(const SceneFacts& other) const
    {
        return nodes == other.nodes && bounds == other.bounds && children == other.children &&
               optionValues == other.optionValues;
    }

    std::vector<const osg::Node*> nodes;
    std::vector<std::array<float, 4>> bounds;
    std::vector<unsigned int> children;
    std::vector<unsigned int> optionValues;
};

struct Section : public TiledModelFixture
{
    Lines drape(const Line& line, const KdGeMatrix3d& placement = {})
    {
        Lines result;
        EXPECT_TRUE(model().section(&placement, &line, &result));
        return result;
    }
    /** A model file with just this in it. */
    void addMesh(const osg::ref_ptr<osg::Node>& mesh)
    {
        const std::string path = folder / ("mesh" + std::to_string(_meshes++) + ".osgb");
        writeTile(*mesh, path);
        ASSERT_GE(driver.add(path), 0);
    }
    void addPyramid(const TilePyramidOptions& options = {})
    {
        const TilePyramid files = pyramid(options);
        for (int i = 0; i < options.rootTiles; ++i)
            ASSERT_EQ(driver.add(files.rootFile(i)), i);
    }

private:
    int _meshes = 0;
};

} // namespace

TEST_F(Section, OfAPlaneHasAPointAtEachEdgeThatItCrosses)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{10, 50, 0}, {90, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {50, 50, 7}, {90, 50, 7}})); // the diagonal in the middle
}

TEST_F(Section, RunsFromItsStartToItsEndWhicheverWayThatIs)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{90, 50, 0}, {10, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{90, 50, 7}, {50, 50, 7}, {10, 50, 7}}));
}

TEST_F(Section, DoesNotLookAtTheHeightsOfTheLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{10, 50, -1e4}, {90, 50, 1e5}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {50, 50, 7}, {90, 50, 7}}));
}

TEST_F(Section, OfAPyramidHasItsKnownHeights)
{
    addMesh(triangles({{0, 0, 0}, {100, 0, 0}, {100, 100, 0}, {0, 100, 0}, {50, 50, 50}},
                      {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4}));
    const Lines lines = drape({{-10, 25, 0}, {110, 25, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 25, 0}, {25, 25, 25}, {75, 25, 25}, {100, 25, 0}}));

    const Lines overTheTop = drape({{-10, 50, 0}, {110, 50, 0}}); // exactly through the top
    ASSERT_THAT(overTheTop, SizeIs(1));
    EXPECT_THAT(overTheTop[0], isLine({{0, 50, 0}, {50, 50, 50}, {100, 50, 0}}));

    const Lines alongEdges = drape({{-10, -10, 0}, {110, 110, 0}}); // along two of its edges
    ASSERT_THAT(alongEdges, SizeIs(1));
    EXPECT_THAT(alongEdges[0], isLine({{0, 0, 0}, {50, 50, 50}, {100, 100, 0}}));
}

TEST_F(Section, AlongARidgeIsTheRidge)
{
    addMesh(triangles({{0, 0, 0}, {0, 100, 0}, {50, 0, 20}, {50, 100, 20}, {100, 0, 0}, {100, 100, 0}},
                      {0, 2, 3, 0, 3, 1, 2, 4, 5, 2, 5, 3}));
    const Lines lines = drape({{50, 10, 0}, {50, 90, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{50, 10, 20}, {50, 90, 20}}));
}

// A line that leaves through a corner of the mesh only touches it there.
TEST_F(Section, TouchingACornerOnlyIsNoLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{-50, 50, 0}, {50, -50, 0}}), IsEmpty());
}

TEST_F(Section, SurfacesAboveEachOtherEachGiveALine)
{
    addMesh(makeSquare(0, 0, 0, 100));
    addMesh(makeSquare(20, 20, 50, 60)); // a bridge
    const Lines lines = drape({{0, 30, 0}, {100, 30, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{0, 30, 0}, {30, 30, 0}, {100, 30, 0}}));
    EXPECT_THAT(lines[1], isLine({{20, 30, 50}, {30, 30, 50}, {80, 30, 50}}));
}

// Real walls are part of the surface, and a line runs round a box: forward above, back below.
TEST_F(Section, OfABoxRunsRoundIt)
{
    addMesh(box());
    const Lines lines = drape({{0, 45, 0}, {100, 45, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const Line& line = lines[0];
    EXPECT_EQ(line.size(), 9U); // four sides of two triangles each, and the first point again
    double length = 0.0;
    double top = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        length += line[i - 1].distanceTo(line[i]);
        if (line[i - 1].z == 30.0 && line[i].z == 30.0) top += line[i].x - line[i - 1].x;
        EXPECT_NEAR(line[i].y, 45.0, 1e-9);
    }
    EXPECT_NEAR(length, 80.0, 1e-6);
    EXPECT_NEAR(top, 20.0, 1e-6);
}

// A line exactly along a wall sees it edge-on: the wall's border.
TEST_F(Section, AlongAWallIsTheWallsBorder)
{
    addMesh(box());
    const Lines lines = drape({{0, 40, 0}, {100, 40, 0}});
    double length = 0.0;
    for (const Line& line : lines)
        for (std::size_t i = 1; i < line.size(); ++i)
            length += line[i - 1].distanceTo(line[i]);
    EXPECT_NEAR(length, 80.0, 1e-6);
}

TEST_F(Section, AKinkIsAPointOfTheOneLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{60, 10, 0}, {90, 20, 0}, {60, 40, 0}}); // all in one triangle
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{60, 10, 7}, {90, 20, 7}, {60, 40, 7}}));
}

TEST_F(Section, APolylineMayLeaveAndComeBack)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const Lines lines = drape({{50, 10, 0}, {150, 10, 0}, {150, 20, 0}, {50, 20, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{50, 10, 7}, {100, 10, 7}}));
    EXPECT_THAT(lines[1], isLine({{100, 20, 7}, {50, 20, 7}}));
}

TEST_F(Section, BesideTheModelFindsNothingAndIsTrue)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{-50, 150, 0}, {150, 150, 0}}), IsEmpty());
    EXPECT_THAT(drape({{150, 50, 0}, {250, 50, 0}}), IsEmpty()); // its plane meets the model, its length does not
}

TEST_F(Section, WithoutAModelFindsNothing)
{
    EXPECT_THAT(drape({{0, 0, 0}, {1, 1, 0}}), IsEmpty());
}

TEST_F(Section, AppendsToWhatIsThere)
{
    addMesh(makeSquare(0, 0, 7, 100));
    Lines lines{{{1, 2, 3}}};
    const Line line{{10, 50, 0}, {20, 50, 0}};
    const KdGeMatrix3d placement;
    EXPECT_TRUE(model().section(&placement, &line, &lines));
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{1, 2, 3}}));
}

TEST_F(Section, OfOnePointOrNoneIsEmptyAndTrue)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({}), IsEmpty());
}

TEST_F(Section, NeedsItsArgumentsAndAPlacementThatCanBeInverted)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const KdGeMatrix3d placement;
    const KdGeMatrix3d flat = hostMatrix(osg::Matrixd::scale(1.0, 1.0, 0.0));
    const Line line{{10, 50, 0}, {20, 50, 0}};
    Lines lines{{{1, 2, 3}}};
    EXPECT_FALSE(model().section(nullptr, &line, &lines));
    EXPECT_FALSE(model().section(&placement, nullptr, &lines));
    EXPECT_FALSE(model().section(&placement, &line, nullptr));
    EXPECT_FALSE(model().section(&flat, &line, &lines));
    EXPECT_THAT(lines, SizeIs(1));
}

TEST_F(Section, PointsThatAreNoNumbersContributeNothing)
{
    addMesh(makeSquare(0, 0, 7, 100));
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_THAT(drape({{kNan, 0, 0}, {50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{infinite, 0, 0}, {50, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{-1e308, 50, 0}, {1e308, 50, 0}}), IsEmpty());
    const Lines lines = drape({{10, 50, 0}, {20, 50, 0}, {0, kNan, 0}, {30, 50, 0}, {40, 50, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{10, 50, 7}, {20, 50, 7}}));
    EXPECT_THAT(lines[1], isLine({{30, 50, 7}, {40, 50, 7}}));
}

TEST_F(Section, AVerticalSegmentReadsNothingAndFindsNothing)
{
    addPyramid();
    EXPECT_THAT(drape({{50, 50, 0}, {50, 50, 100}, {50, 50, 100}}), IsEmpty());
    EXPECT_EQ(driver.statistics().tilesLoaded, 1U); // the root
}

TEST_F(Section, TwoPointsThatCoincideAreNoLine)
{
    addMesh(makeSquare(0, 0, 7, 100));
    EXPECT_THAT(drape({{10, 50, 0}, {10.0000005, 50, 0}}), IsEmpty());
    EXPECT_THAT(drape({{10, 50, 0}, {10.000002, 50, 0}}), SizeIs(1));
}

TEST_F(Section, IsCutAtTheFinestTilesWhichNeedNotBeLoaded)
{
    addPyramid(); // three levels of 1, 4, 16 squares; level n lies at z = n
    const Lines lines = drape({{0, 5, 0}, {100, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    // Squares of 25 m, with a point on each diagonal and on each border.
    EXPECT_THAT(lines[0], isLine({{0, 5, 2},
                                  {5, 5, 2},
                                  {25, 5, 2},
                                  {30, 5, 2},
                                  {50, 5, 2},
                                  {55, 5, 2},
                                  {75, 5, 2},
                                  {80, 5, 2},
                                  {100, 5, 2}}));
}

TEST_F(Section, IsTheSameWhicheverTilesAreLoaded)
{
    addPyramid();
    const Line line{{3, 5, 0}, {97, 60, 0}, {20, 90, 0}};
    const Lines cold = drape(line);
    driver.view = fromAbove();
    driver.update();
    const Lines halfWay = drape(line);
    ASSERT_TRUE(driver.converge());
    const Lines warm = drape(line);
    ASSERT_THAT(cold, SizeIs(1));
    for (const Lines& other : {halfWay, warm})
    {
        ASSERT_THAT(other, SizeIs(1));
        EXPECT_THAT(other[0], isLine(cold[0]));
    }
    expectCleanContract();
}

TEST_F(Section, ByDistanceTheNearestLevelIsTheFinest)
{
    TilePyramidOptions options;
    options.rangeMode = TilePyramidOptions::RangeMode::Distance;
    addPyramid(options);
    const Lines lines = drape({{0, 5, 0}, {20, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 5, 2}, {5, 5, 2}, {20, 5, 2}}));
}

TEST_F(Section, ReadsOnlyTheTilesThatItReachesAndEachOfThemOnce)
{
    addPyramid();
    Line line;
    for (int i = 0; i <= 100; ++i)
        line.push_back({1.0 + 0.2 * i, 5.0, 0.0}); // a hundred segments in the south-western square
    EXPECT_THAT(drape(line), SizeIs(1));
    EXPECT_EQ(driver.statistics().tilesLoaded, 3U); // root, quadrants, quadrants of the south-western one
}

TEST_F(Section, LeavesTheSceneAsItWas)
{
    addPyramid();
    driver.view = fromAbove(1e4);
    driver.update();
    const SceneFacts before(model().root());
    const auto held = driver.statistics().tilesHeld;
    EXPECT_THAT(drape({{0, 5, 0}, {100, 95, 0}}), SizeIs(1));
    EXPECT_TRUE(SceneFacts(model().root()) == before);
    EXPECT_EQ(driver.statistics().tilesHeld, held);
    EXPECT_EQ(driver.statistics().tilesMerged, 0U);
    EXPECT_EQ(driver.statistics().idle, 1U);
}

TEST_F(Section, WritesNoTextures)
{
    addPyramid();
    const auto fileCount = [this]
    {
        const std::filesystem::recursive_directory_iterator files(folder / "temp");
        return std::distance(begin(files), end(files));
    };
    const auto before = fileCount();
    EXPECT_THAT(drape({{0, 5, 0}, {100, 95, 0}}), SizeIs(1));
    EXPECT_EQ(fileCount(), before);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge()); // the tiles that are shown still get theirs
    EXPECT_GT(fileCount(), before);
    expectCleanContract();
}

TEST_F(Section, RunsOverFiveRootTilesAndTwoModelFiles)
{
    TilePyramidOptions options;
    options.rootTiles = 5;
    const TilePyramid files = pyramid(options);
    ASSERT_EQ(driver.add(files.writeIndexFile()), 0);
    addMesh(makeSquare(500, 0, 2, 100));
    const Lines lines = drape({{-10, 60, 0}, {610, 60, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const Line& line = lines[0];
    EXPECT_EQ(line.size(), 5U * 8U + 3U); // each root tile: four squares, each with a start and a diagonal
    EXPECT_NEAR(line.front().x, 0.0, 1e-6);
    EXPECT_NEAR(line.back().x, 600.0, 1e-6);
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        EXPECT_GT(line[i].x, line[i - 1].x);
        EXPECT_NEAR(line[i].z, 2.0, 1e-6);
    }
}

TEST_F(Section, AlongTheBorderOfTwoTilesIsThereOnce)
{
    TilePyramidOptions options;
    options.rootTiles = 2;
    addPyramid(options);
    for (const double x : {25.0, 50.0, 100.0, 0.0, 200.0}) // the last two are the model's own border
    {
        SCOPED_TRACE(x);
        const Lines lines = drape({{x, 10, 0}, {x, 90, 0}});
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_THAT(lines[0], isLine({{x, 10, 2}, {x, 25, 2}, {x, 50, 2}, {x, 75, 2}, {x, 90, 2}}));
    }
}

TEST_F(Section, AlongAllDiagonalsHasAPointAtEachPost)
{
    addPyramid();
    const Lines lines = drape({{0, 0, 0}, {100, 100, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 0, 2}, {25, 25, 2}, {50, 50, 2}, {75, 75, 2}, {100, 100, 2}}));
}

TEST_F(Section, AcrossTheDiagonalsRunsThroughPostsToo)
{
    addPyramid();
    const Lines lines = drape({{0, 50, 0}, {50, 0, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 50, 2}, {12.5, 37.5, 2}, {25, 25, 2}, {37.5, 12.5, 2}, {50, 0, 2}}));
}

TEST_F(Section, ATileThatIsMissingIsReplacedByTheCoarserOne)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L2_0")); // the south-western quadrant's quadrants
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    const Lines lines = drape({{10, 5, 0}, {90, 5, 0}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], isLine({{10, 5, 1}, {50, 5, 1}}));
    EXPECT_THAT(lines[1], isLine({{50, 5, 2}, {55, 5, 2}, {75, 5, 2}, {80, 5, 2}, {90, 5, 2}}));
    EXPECT_EQ(driver.statistics().tilesFailed, 1U);
}

TEST_F(Section, AMissingTileIsTriedAndToldOnceAlsoByALongLine)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L2_0"));
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    Line line;
    for (int i = 0; i <= 50; ++i)
        line.push_back({10.0 + 0.5 * i, 5.0, 0.0});
    EXPECT_THAT(drape(line), SizeIs(1));
    EXPECT_EQ(log.count("_L2_0"), 1);
}

TEST_F(Section, ACorruptTileIsReplacedByTheCoarserOne)
{
    const TilePyramid files = pyramid();
    const std::string bytes = readFile(files.file("_L2_0"));
    for (const std::string& damaged : {bytes.substr(0, bytes.size() / 2), std::string("no tile"), std::string()})
    {
        writeFile(files.file("_L2_0"), damaged);
        model().clear(); // forgets failures
        ASSERT_EQ(driver.add(files.rootFile()), 0);
        const Lines lines = drape({{10, 5, 0}, {40, 5, 0}});
        ASSERT_THAT(lines, SizeIs(1));
        EXPECT_THAT(lines[0], isLine({{10, 5, 1}, {40, 5, 1}}));
    }
}

TEST_F(Section, AnIncompleteRootStillGivesWhatItHolds)
{
    const TilePyramid files = pyramid();
    std::filesystem::remove(files.file("_L1"));
    ASSERT_EQ(driver.add(files.rootFile()), 0);
    const Lines lines = drape({{10, 5, 0}, {40, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{10, 5, 0}, {40, 5, 0}}));
}

TEST_F(Section, GoesThroughTheTransformsOfTheScene)
{
    TilePyramidOptions options;
    options.hasTransform = true;
    options.transformAbovePaging = true;
    addPyramid(options);
    const Lines lines = drape({{0, 5, 0}, {20, 5, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{0, 5, 202}, {5, 5, 202}, {20, 5, 202}})); // lifted twice by 100
}

TEST_F(Section, TheHostTransformCountsAndThePlacementComesOnTop)
{
    addMesh(makeSquare(0, 0, 7, 100));
    model().setTransform(hostMatrix(osg::Matrixd::translate(1000, 0, 0)));
    const KdGeMatrix3d placement = hostMatrix(osg::Matrixd::rotate(osg::PI_2, 0, 0, 1)); // x to y, y to -x
    const Lines lines = drape({{-50, 1010, 0}, {-50, 1090, 0}}, placement);
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{-50, 1010, 7}, {-50, 1050, 7}, {-50, 1090, 7}}));
}

TEST_F(Section, AMirroredOrScaledModelIsCutToo)
{
    addMesh(makeSquare(0, 0, 7, 100));
    model().setTransform(hostMatrix(osg::Matrixd::scale(-2.0, 1.0, 3.0)));
    const Lines lines = drape({{-20, 50, 0}, {-180, 50, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], isLine({{-20, 50, 21}, {-100, 50, 21}, {-180, 50, 21}}));
}

TEST_F(Section, ATiltedModelIsCutUprightInTheHostsFrame)
{
    addMesh(makeSquare(0, 0, 0, 100));
    model().setTransform(hostMatrix(osg::Matrixd::rotate(osg::PI_4, 1, 0, 0))); // y rises
    const Lines lines = drape({{10, -10, 0}, {10, 200, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    const double far = 100.0 * std::sqrt(0.5);
    const double edge = 10.0 * std::sqrt(0.5); // the diagonal at (10, 10) of the square
    EXPECT_THAT(lines[0], isLine({{10, 0, 0}, {10, edge, edge}, {10, far, far}}));
}

TEST_F(Section, KeepsItsHeightsFarFromTheOrigin)
{
    addMesh(triangles({{0, 0, 0}, {100, 0, 0}, {100, 100, 0}, {0, 100, 0}, {50, 50, 50}},
                      {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4}));
    const osg::Matrixd toMap = osg::Matrixd::rotate(0.3, 0, 0, 1) * osg::Matrixd::translate(5e5, 4e6, 120);
    for (const bool isPlacement : {false, true})
    {
        SCOPED_TRACE(isPlacement);
        model().setTransform(isPlacement ? KdGeMatrix3d() : hostMatrix(toMap));
        const KdGeMatrix3d placement = isPlacement ? hostMatrix(toMap) : KdGeMatrix3d();
        const auto onMap = [&](double x, double y, double z)
        {
            const osg::Vec3d point = osg::Vec3d(x, y, z) * toMap;
            return KdGePoint3d{point.x(), point.y(), point.z()};
        };
        const Lines lines = drape({onMap(-10, 25, 0), onMap(110, 25, 0)}, placement);
        ASSERT_THAT(lines, SizeIs(1));
        const Line expected{onMap(0, 25, 0), onMap(25, 25, 25), onMap(75, 25, 25), onMap(100, 25, 0)};
        EXPECT_THAT(lines[0], IsNear(expected, 1e-6));

        const Lines alongEdges = drape({onMap(-10, -10, 0), onMap(110, 110, 0)}, placement);
        ASSERT_THAT(alongEdges, SizeIs(1));
        const Line edges{onMap(0, 0, 0), onMap(50, 50, 50), onMap(100, 100, 0)};
        EXPECT_THAT(alongEdges[0], IsNear(edges, 1e-6));
    }
}

// Rounding puts such a line a hair beside the model on one side or the other.
TEST_F(Section, AlongTheModelsOwnBorderIsFoundFarFromTheOriginToo)
{
    addMesh(makeSquare(0, 0, 7, 100));
    for (const double angle : {0.3, 1.1, 2.0, 4.4})
    {
        const osg::Matrixd toMap = osg::Matrixd::rotate(angle, 0, 0, 1) * osg::Matrixd::translate(5e5, 4e6, 120);
        model().setTransform(hostMatrix(toMap));
        const std::vector<osg::Vec3d> corners{{0, 0, 7}, {100, 0, 7}, {100, 100, 7}, {0, 100, 7}, {0, 0, 7}};
        for (std::size_t i = 1; i < corners.size(); ++i)
        {
            SCOPED_TRACE(testing::Message() << angle << ", side " << i);
            const osg::Vec3d a = corners[i - 1] * toMap;
            const osg::Vec3d b = corners[i] * toMap;
            const Line side{{a.x(), a.y(), a.z()}, {b.x(), b.y(), b.z()}};
            const Lines lines = drape(side);
            ASSERT_THAT(lines, SizeIs(1));
            EXPECT_THAT(lines[0], isLine(side));
        }
    }
}

// The toolkit's bounds are of single precision: at four million metres they are off by a quarter.
TEST_F(Section, FindsTheCornersOfTilesThatLieFarFromTheOrigin)
{
    for (const double offset : {0.0, 0.13, 0.24, 0.37})
    {
        SCOPED_TRACE(offset);
        model().clear();
        const double west = 5e5 + offset;
        const double south = 4e6 + offset;
        const osg::ref_ptr<osg::MatrixTransform> placed =
            new osg::MatrixTransform(osg::Matrixd::translate(west, south, 0.0));
        placed->addChild(makeSquare(0, 0, 7, 30));
        addMesh(placed);
        for (const auto& [x, y, slope] :
             {std::tuple{0.01, 0.01, -1.0}, {29.99, 29.99, -1.0}, {29.99, 0.01, 1.0}, {0.01, 29.99, 1.0}})
        {
            SCOPED_TRACE(testing::Message() << x << ' ' << y);
            const Lines lines = drape({{west + x - 1, south + y - slope, 0}, {west + x + 1, south + y + slope, 0}});
            ASSERT_THAT(lines, SizeIs(1));
            EXPECT_NEAR(lines[0].back().x - lines[0].front().x, 0.02, 1e-6);
        }
    }
}

TEST_F(Section, AGridOfSeparateTrianglesGivesOneLineToo)
{
    std::vector<osg::Vec3> corners;
    std::vector<unsigned int> indices;
    const auto height = [](float x, float y) { return 0.01F * x * x + std::sin(y); };
    for (int x = 0; x < 50; ++x)
        for (int y = 0; y < 50; ++y)
            for (const auto& [i, j] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}})
            {
                const auto cornerX = static_cast<float>(x + i);
                const auto cornerY = static_cast<float>(y + j);
                indices.push_back(static_cast<unsigned int>(corners.size()));
                corners.emplace_back(cornerX, cornerY, height(cornerX, cornerY)); // no corner is shared
            }
    addMesh(triangles(corners, indices));
    const Lines lines = drape({{-1, 3.3, 0}, {51, 47.1, 0}});
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_GT(lines[0].size(), 100U);
    const Lines alongRow = drape({{-1, 7, 0}, {51, 7, 0}});
    ASSERT_THAT(alongRow, SizeIs(1));
    ASSERT_THAT(alongRow[0], SizeIs(51));
    for (int x = 0; x <= 50; ++x)
        EXPECT_NEAR(alongRow[0][static_cast<std::size_t>(x)].z, height(static_cast<float>(x), 7.0F), 1e-6);
}

namespace
{

/** Sees what its base class hands to the two operations that other models may change. */
class WatchedMesh : public MvOsgGeoMesh
{
public:
    WatchedMesh() : MvOsgGeoMesh([] { return true; }) {}
    bool checkBoundary(Line& points) override
    {
        checked.push_back(points);
        return keeps;
    }
    void joinDrapedPieces(Lines& pieces) override
    {
        ++joins;
        joined = pieces;
        pieces = result;
    }

    bool keeps = true;
    Lines checked;
    Lines joined;
    Lines result;
    int joins = 0;
};

struct SectionSlots : public Section
{
    void SetUp() override
    {
        const std::string path = folder / "square.osgb";
        writeTile(*makeSquare(0, 0, 7, 100), path);
        ASSERT_EQ(watched.addModel(KdString(path.c_str())), 0);
    }
    Lines drapeWatched(const Line& line)
    {
        const KdGeMatrix3d placement = hostMatrix(osg::Matrixd::translate(1000, 0, 0));
        Lines lines;
        EXPECT_TRUE(watched.section(&placement, &line, &lines));
        return lines;
    }

    WatchedMesh watched;
};

} // namespace

TEST_F(SectionSlots, EveryPieceIsCheckedAndAllThatAreKeptAreJoinedAtOnce)
{
    drapeWatched({{1090, 50, 0}, {1010, 50, 0}, {1010, 60, 0}});
    ASSERT_THAT(watched.checked, SizeIs(2)); // in the model's frame, along the line
    EXPECT_THAT(watched.checked[0], isLine({{90, 50, 7}, {50, 50, 7}, {10, 50, 7}}));
    EXPECT_THAT(watched.checked[1], isLine({{10, 50, 7}, {10, 60, 7}}));
    EXPECT_EQ(watched.joins, 1);
    EXPECT_THAT(watched.joined, SizeIs(2));
}

TEST_F(SectionSlots, APieceThatIsNotKeptIsNotJoined)
{
    watched.keeps = false;
    drapeWatched({{1090, 50, 0}, {1010, 50, 0}});
    EXPECT_THAT(watched.checked, SizeIs(1));
    EXPECT_EQ(watched.joins, 1);
    EXPECT_THAT(watched.joined, IsEmpty());
}

TEST_F(SectionSlots, WhatJoiningLeavesIsTheResultAlsoForOnePoint)
{
    watched.result = {{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {{1, 1, 1}, {1, 1, 1.0000005}}, {{1, 1, 1}, {1, 1, 1.000002}}};
    const Lines lines = drapeWatched({{1050, 50, 0}});
    EXPECT_EQ(watched.joins, 1);
    ASSERT_THAT(lines, SizeIs(2)); // the second one is too short
    EXPECT_THAT(lines[0], isLine({{1001, 2, 3}, {1004, 5, 6}, {1007, 8, 9}}));
    EXPECT_THAT(lines[1], isLine({{1001, 1, 1}, {1001, 1, 1.000002}}));
}

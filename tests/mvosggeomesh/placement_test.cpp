#include "mvclipregions/ClipGeometry.h"
#include "mvosggeomesh/Placement.h"
#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/MatrixTransform>
#include <osg/PagedLOD>

#include <array>
#include <cmath>
#include <limits>

namespace
{

using namespace clipgeometry;

// What follows is worked out a second time with more digits and without the matrix classes of host and OSG.
using Real = long double;
using Triple = std::array<Real, 3>;

/** Turns about an axis, scales, then shifts. */
struct Motion
{
    Triple axis; // of length 1
    Real angle;
    Real scale;
    Triple shift;

    /** Rodrigues' formula. */
    [[nodiscard]] Triple turned(const Triple& p) const
    {
        const Real c = std::cos(angle);
        const Real s = std::sin(angle);
        const Real along = (axis[0] * p[0] + axis[1] * p[1] + axis[2] * p[2]) * (1 - c);
        return {p[0] * c + (axis[1] * p[2] - axis[2] * p[1]) * s + axis[0] * along,
                p[1] * c + (axis[2] * p[0] - axis[0] * p[2]) * s + axis[1] * along,
                p[2] * c + (axis[0] * p[1] - axis[1] * p[0]) * s + axis[2] * along};
    }
    [[nodiscard]] Triple operator()(const Triple& p) const
    {
        const Triple t = turned(p);
        return {scale * t[0] + shift[0], scale * t[1] + shift[1], scale * t[2] + shift[2]};
    }
    [[nodiscard]] KdGeMatrix3d matrix() const
    {
        KdGeMatrix3d result;
        for (int column = 0; column < 3; ++column)
        {
            Triple unit{};
            unit[static_cast<std::size_t>(column)] = 1;
            const Triple image = turned(unit);
            for (int row = 0; row < 3; ++row)
                result.entry[row][column] = static_cast<double>(scale * image[static_cast<std::size_t>(row)]);
        }
        for (int row = 0; row < 3; ++row)
            result.entry[row][3] = static_cast<double>(shift[static_cast<std::size_t>(row)]);
        return result;
    }
};

const Motion kAtHome{{0, 0, 1}, 0, 1, {0, 0, 0}};
const Motion kFarAway{{0, 0, 1}, 0, 1, {5e5L, 4e6L, 1e3L}};
const Motion kTilted{{0.36L, 0.48L, 0.8L}, 0.7L, 2.5L, {5e5L, 4e6L, 1e3L}};
const Motion kMillimetres{{0.6L, 0, 0.8L}, -1.9L, 0.001L, {-12.5L, 3.25L, 80.0L}};
const Motion kMirrorless{{0, 0.8L, 0.6L}, 3.0L, 7.0L, {-4e6L, 5e5L, -40.0L}};

struct Placed
{
    const char* name;
    Motion transform; // the model's own, nearer to it
    Motion placement;
};

KdGePoint3d hostPoint(const Triple& p)
{
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

osg::Vec3d osgPoint(const Triple& p)
{
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

void expectNear(const KdGePoint3d& found, const Triple& expected)
{
    EXPECT_LT(found.distanceTo(hostPoint(expected)), 1e-3)
        << found.x << ' ' << found.y << ' ' << found.z << " instead of " << static_cast<double>(expected[0]) << ' '
        << static_cast<double>(expected[1]) << ' ' << static_cast<double>(expected[2]);
}

/** One square from (0, 0, 0) to (100, 100, 0), placed twice: by its own transform and by the host's placement. */
struct PlacedModel : public TiledModelFixture, public testing::WithParamInterface<Placed>
{
    void SetUp() override
    {
        ASSERT_EQ(driver.add(pyramid({1}).rootFile()), 0);
        model().setTransform(GetParam().transform.matrix());
        placement = GetParam().placement.matrix();
    }

    [[nodiscard]] static Triple inHost(const Triple& local)
    {
        return GetParam().placement(GetParam().transform(local));
    }
    /** The stored view is the host's, whatever the placement that the frame was drawn with. */
    void look(bool isPerspective, const Triple& eye, const Triple& centre)
    {
        const osg::Vec3d from = osgPoint(inHost(eye));
        const osg::Vec3d to = osgPoint(inHost(centre));
        const osg::Vec3d up = osgPoint(inHost({50, 150, 0})) - osgPoint(inHost({50, 50, 0}));
        driver.view = isPerspective ? perspectiveView(from, to, up) : orthographicView(from, to, 500.0, up);
        driver.view.model = placement;
        ASSERT_TRUE(driver.update());
    }

    KdGeMatrix3d placement;
    KdGePoint3d hit;
    std::vector<KdGePoint3d> triangle;
};

struct PickCorners : public TiledModelFixture
{
    void SetUp() override { ASSERT_EQ(driver.add(pyramid({1}).rootFile()), 0); }
};

/** From a to b, and on if share is above 1. */
Triple between(const Triple& a, const Triple& b, Real share)
{
    return {a[0] + (b[0] - a[0]) * share, a[1] + (b[1] - a[1]) * share, a[2] + (b[2] - a[2]) * share};
}

const Triple kEye{20, -60, 180};
const Triple kTargets[] = {{62.5L, 30.25L, 0}, {3, 97, 0}, {50, 49, 0}, {99.999L, 0.001L, 0}, {0.002L, 0.001L, 0}};

} // namespace

TEST_P(PlacedModel, IsHitWhereThePerspectiveRayMeetsTheSurface)
{
    look(true, kEye, {50, 50, 0});
    for (const Triple& target : kTargets)
        for (const Real share : {0.3L, 1.0L, 1.5L})
        {
            const KdGePoint3d point = hostPoint(inHost(between(kEye, target, share)));
            ASSERT_TRUE(model().pickPoint(&placement, &point, &hit));
            expectNear(hit, inHost(target));
        }
}

// In parallel projection all rays have the view's direction: from the eye to the square's middle.
TEST_P(PlacedModel, IsHitWhereTheParallelRayMeetsTheSurface)
{
    look(false, kEye, {50, 50, 0});
    for (const Triple& target : kTargets)
        for (const Real share : {-3.0L, 0.0L, 0.5L})
        {
            const Triple before{target[0] - 30 * share, target[1] - 110 * share, target[2] + 180 * share};
            const KdGePoint3d point = hostPoint(inHost(before));
            ASSERT_TRUE(model().pickPoint(&placement, &point, &hit));
            expectNear(hit, inHost(target));
        }
}

TEST_P(PlacedModel, GivesThePickedTrianglesCornersInTheHostsFrame)
{
    for (const bool isPerspective : {true, false})
    {
        look(isPerspective, kEye, {50, 50, 0});
        const KdGePoint3d point = hostPoint(inHost({70, 20, 0})); // below the diagonal: triangle 0 1 2
        ASSERT_TRUE(model().pickTriangle(&placement, &point, &triangle));
        ASSERT_EQ(triangle.size(), 3U);
        expectNear(triangle[0], inHost({0, 0, 0}));
        expectNear(triangle[1], inHost({100, 0, 0}));
        expectNear(triangle[2], inHost({100, 100, 0}));
    }
}

// Wherever a line lies on the square itself, an upright cut along it is that line, with a point on the diagonal.
TEST_P(PlacedModel, IsCutByASectionInTheModelsFrame)
{
    const std::vector<KdGePoint3d> line{hostPoint(inHost({10, 20, 0})), hostPoint(inHost({90, 60, 0}))};
    std::vector<std::vector<KdGePoint3d>> draped;
    ASSERT_TRUE(model().section(&placement, &line, &draped));
    ASSERT_EQ(draped.size(), 1U);
    ASSERT_EQ(draped[0].size(), 3U);
    expectNear(draped[0][0], inHost({10, 20, 0}));
    expectNear(draped[0][1], inHost({30, 30, 0}));
    expectNear(draped[0][2], inHost({90, 60, 0}));
}

// A boundary whose corners lie on the square punches just what is between them, here 20 by 10, around (50, 25).
TEST_P(PlacedModel, IsClippedInTheHostsFrame)
{
    std::vector<KdGePoint3d> boundary;
    for (const Triple& corner : {Triple{40, 20, 0}, Triple{60, 20, 0}, Triple{60, 30, 0}, Triple{40, 30, 0}})
        boundary.push_back(hostPoint(inHost(corner)));
    const auto scale = static_cast<double>(GetParam().transform.scale * GetParam().placement.scale);
    std::vector<KdGePoint3d> found;
    ASSERT_TRUE(
        model().clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &placement, &boundary, nullptr, 0, &found));
    ASSERT_EQ(badTriangles(found), 0);
    ASSERT_NEAR(surfaceArea(found) / (scale * scale), 200.0, 1e-3);
    osg::Vec3d offset; // of the centre of area, from the first corner
    for (std::size_t i = 0; i < found.size(); ++i)
    {
        const std::size_t first = i - i % 3;
        const double area = crossOf(found[first], found[first + 1], found[first + 2]).length() / 2.0;
        offset += difference(found[i], found[0]) * (area / 3.0 / surfaceArea(found));
    }
    const KdGePoint3d centre(found[0].x + offset.x(), found[0].y + offset.y(), found[0].z + offset.z());
    expectNear(centre, inHost({50, 25, 0}));
}

TEST_P(PlacedModel, IsMissedBesideItsSurface)
{
    for (const bool isPerspective : {true, false})
    {
        look(isPerspective, kEye, {50, 50, 0});
        for (const Triple& beside : {Triple{100.1L, 50, 0}, Triple{50, -0.1L, 0}, Triple{-1e4L, 1e4L, 0}})
        {
            const KdGePoint3d point = hostPoint(inHost(beside));
            EXPECT_FALSE(model().pickPoint(&placement, &point, &hit));
        }
    }
}

// A centimetre inside the corners, where the bounds' rounding at large coordinates would lose some of the rays.
TEST_F(PickCorners, AreHitWhereverTheModelStands)
{
    for (int i = 0; i < 60; ++i)
    {
        const Real turn = 0.1L * i;
        const Motion motion{{0.36L, 0.48L, 0.8L}, turn, 1, {5e5L + 17.03L * i, 4e6L - 31.07L * i, 1e3L + 0.11L * i}};
        model().setTransform(motion.matrix());
        for (const Triple& corner : {Triple{0.01L, 0.01L, 0}, Triple{99.99L, 0.01L, 0}, Triple{99.99L, 99.99L, 0}})
        {
            const osg::Vec3d target = osgPoint(motion(corner));
            const osg::Vec3d eye = osgPoint(motion({corner[0], corner[1], 200}));
            const osg::Vec3d up = osgPoint(motion.turned({0, 1, 0}));
            driver.view = orthographicView(eye, target, 200.0, up);
            ASSERT_TRUE(driver.update());
            const KdGeMatrix3d identity;
            const KdGePoint3d point = hostPoint(motion({corner[0], corner[1], 100}));
            KdGePoint3d hit;
            ASSERT_TRUE(model().pickPoint(&identity, &point, &hit)) << "turn " << i;
            expectNear(hit, motion(corner));
        }
    }
}

namespace
{

constexpr double kSmallTile = 0.31; // m: 31 cells of one centimetre
constexpr double kInset = 0.004;

/** A tile as a terrain's, of 31 cells of 1 cm, at the coordinates of a map: its bounds are of single precision and off
 * by up to a quarter of a metre. */
struct SmallFarTile : public TiledModelFixture, public testing::WithParamInterface<double>
{
    const double west = 500000.0 + GetParam();
    const double south = 4000000.0 + GetParam();

    void SetUp() override
    {
        const osg::ref_ptr<osg::MatrixTransform> placed =
            new osg::MatrixTransform(osg::Matrixd::translate(west, south, 0.0));
        placed->addChild(makeSquare(0, 0, 7, kSmallTile));
        const osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
        paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
        paged->setCenterMode(osg::LOD::USER_DEFINED_CENTER);
        paged->setCenter(osg::Vec3d(west + kSmallTile / 2, south + kSmallTile / 2, 7.0));
        paged->setRadius(static_cast<float>(kSmallTile * std::sqrt(0.5)));
        paged->addChild(placed, 0.0F, 1e30F);
        const std::string path = folder / "far.osgb";
        writeTile(*paged, path);
        ASSERT_EQ(driver.add(path), 0);
    }
    /** Near the corners of the tile. */
    [[nodiscard]] std::vector<KdGePoint3d> spots() const
    {
        std::vector<KdGePoint3d> result;
        for (const double x : {kInset, kSmallTile - kInset})
            for (const double y : {kInset, kSmallTile - kInset})
                result.emplace_back(west + x, south + y, 7.0);
        return result;
    }
    void lookDown(const KdGePoint3d& spot)
    {
        driver.view = orthographicView({spot.x, spot.y, 20.0}, {spot.x, spot.y, 0.0}, 1.0);
        ASSERT_TRUE(driver.update());
    }
    const KdGeMatrix3d identity;
};

} // namespace

TEST_P(SmallFarTile, IsPickedUpToItsCorners)
{
    for (const KdGePoint3d& spot : spots())
    {
        SCOPED_TRACE(testing::Message() << spot.x - west << ' ' << spot.y - south);
        lookDown(spot);
        KdGePoint3d hit;
        EXPECT_TRUE(model().pickPoint(&identity, &spot, &hit));
        EXPECT_LT(hit.distanceTo(spot), 1e-5);
        std::vector<KdGePoint3d> triangle;
        EXPECT_TRUE(model().pickTriangle(&identity, &spot, &triangle));
        EXPECT_EQ(triangle.size(), 3U);
    }
}

TEST_P(SmallFarTile, IsClippedUpToItsCorners)
{
    for (const KdGePoint3d& spot : spots())
        for (const int options : {0, int{MvGeoMesh::kFinestTiles}})
        {
            SCOPED_TRACE(testing::Message() << spot.x - west << ' ' << spot.y - south);
            const double half = kInset / 2;
            const std::vector<KdGePoint3d> boundary{{spot.x - half, spot.y - half, 0},
                                                    {spot.x + half, spot.y - half, 0},
                                                    {spot.x + half, spot.y + half, 0},
                                                    {spot.x - half, spot.y + half, 0}};
            std::vector<KdGePoint3d> found;
            ASSERT_TRUE(model().clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &identity, &boundary, nullptr,
                                     options, &found));
            EXPECT_NEAR(planArea(found) / (kInset * kInset), 1.0, 1e-3);
        }
}

TEST_P(SmallFarTile, IsCutUpToItsCorners)
{
    for (const KdGePoint3d& spot : spots())
    {
        SCOPED_TRACE(testing::Message() << spot.x - west << ' ' << spot.y - south);
        const std::vector<KdGePoint3d> line{{spot.x - kInset / 2, spot.y, 0}, {spot.x + kInset / 2, spot.y, 0}};
        std::vector<std::vector<KdGePoint3d>> draped;
        ASSERT_TRUE(model().section(&identity, &line, &draped));
        ASSERT_EQ(draped.size(), 1U);
        EXPECT_NEAR(draped[0].back().x - draped[0].front().x, kInset, 1e-6);
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, SmallFarTile, testing::Values(0.0, 0.05, 0.125, 0.2, 0.25, 0.37, 0.44),
                         [](const testing::TestParamInfo<double>& offset)
                         { return "Centimetres" + std::to_string(static_cast<int>(100 * offset.param)); });

namespace
{

/** A transform above the paged node and one in the tile, which would lead elsewhere the other way round: the tile's
 * doubles x and shifts by (0, 30, 5), the upper one turns (x, y) to (-y, x) and shifts by (200, 0, 0). The tile in the
 * root file lies at z = 0, the finer one at z = 1. */
struct TwoTransforms : public TiledModelFixture
{
    void SetUp() override
    {
        writeTile(*inTile(1.0), folder / "fine.osgb");
        const osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
        paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
        paged->addChild(inTile(0.0), 0.0F, 100.0F);
        paged->setFileName(1, "fine.osgb");
        paged->setRange(1, 100.0F, 1e30F);
        const osg::ref_ptr<osg::MatrixTransform> upper = new osg::MatrixTransform(
            osg::Matrixd::rotate(osg::PI_2, 0, 0, 1) * osg::Matrixd::translate(200.0, 0.0, 0.0));
        upper->addChild(paged);
        writeTile(*upper, folder / "root.osgb");
        ASSERT_EQ(driver.add(folder / "root.osgb"), 0);
    }
    [[nodiscard]] static osg::ref_ptr<osg::Node> inTile(double z)
    {
        const osg::ref_ptr<osg::MatrixTransform> lower =
            new osg::MatrixTransform(osg::Matrixd::scale(2, 1, 1) * osg::Matrixd::translate(0, 30, 5));
        lower->addChild(makeSquare(0, 0, z, 100));
        return lower;
    }
    /** Where (x, y, 1) of the finer square lies. */
    [[nodiscard]] static KdGePoint3d placed(double x, double y) { return {200.0 - (y + 30.0), 2.0 * x, 6.0}; }
    static void expectAt(const KdGePoint3d& found, const KdGePoint3d& expected)
    {
        EXPECT_LT(found.distanceTo(expected), 1e-4) << found.x << ' ' << found.y << ' ' << found.z;
    }
    void expectBox(const KdDbExtents& box)
    {
        EXPECT_LT(box.minPoint().distanceTo({70.0, 0.0, 5.0}), 1e-4);
        EXPECT_LT(box.maxPoint().distanceTo({170.0, 200.0, 5.0}), 1e-4);
    }
    const KdGeMatrix3d identity;
};

} // namespace

TEST_F(TwoTransforms, AreAppliedFromTheTileUpwards)
{
    expectBox(model().extents());
    const KdGePoint3d spot = placed(25, 60);
    driver.view = orthographicView({spot.x, spot.y, 100.0}, {spot.x, spot.y, 0.0}, 20.0);
    ASSERT_TRUE(driver.converge());
    KdGePoint3d hit;
    ASSERT_TRUE(model().pickPoint(&identity, &spot, &hit));
    expectAt(hit, spot);
    std::vector<KdGePoint3d> triangle;
    ASSERT_TRUE(model().pickTriangle(&identity, &spot, &triangle)); // above the diagonal: 0 2 3
    ASSERT_EQ(triangle.size(), 3U);
    expectAt(triangle[0], placed(0, 0));
    expectAt(triangle[1], placed(100, 100));
    expectAt(triangle[2], placed(0, 100));
}

TEST_F(TwoTransforms, AreAppliedToWhatIsReadForAMeasurement)
{
    const std::vector<KdGePoint3d> line{placed(10, 20), placed(90, 20)};
    std::vector<std::vector<KdGePoint3d>> draped;
    ASSERT_TRUE(model().section(&identity, &line, &draped));
    ASSERT_EQ(draped.size(), 1U);
    ASSERT_EQ(draped[0].size(), 3U);
    expectAt(draped[0][0], placed(10, 20));
    expectAt(draped[0][1], placed(20, 20));
    expectAt(draped[0][2], placed(90, 20));

    // 40 by 10 of the square are 80 by 10, turned.
    const std::vector<KdGePoint3d> boundary{placed(30, 70), placed(70, 70), placed(70, 80), placed(30, 80)};
    std::vector<KdGePoint3d> found;
    ASSERT_TRUE(model().clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &identity, &boundary, nullptr,
                             MvGeoMesh::kFinestTiles, &found));
    EXPECT_NEAR(planArea(found), 800.0, 1e-3);
    for (const KdGePoint3d& corner : found)
        EXPECT_NEAR(corner.z, 6.0, 1e-9);
}

// Doubles, turns (x, y) to (-y, x), then shifts: (1, 2, 3) to (2, 4, 6) to (-4, 2, 6) to (96, 202, 306).
TEST(Placement, TakesPointsToTheHostAndBack)
{
    const KdGeMatrix3d matrix = KdGeMatrix3d::translation({100, 200, 300}) *
                                KdGeMatrix3d::rotation(std::acos(0.0), {0, 0, 1}) * KdGeMatrix3d::scaling(2.0);
    const auto placement = mvgeo::Placement::make(&matrix);
    ASSERT_TRUE(placement);
    EXPECT_LT(placement->toHost({1, 2, 3}).distanceTo({96, 202, 306}), 1e-12);
    EXPECT_LT((placement->toModel({96, 202, 306}) - osg::Vec3d(1, 2, 3)).length(), 1e-12);
    EXPECT_EQ(osg::Vec3d() * placement->modelToHost(), osg::Vec3d(100, 200, 300));
}

TEST(Placement, NeedsAMatrixWithAnInverse)
{
    EXPECT_FALSE(mvgeo::Placement::make(nullptr));
    KdGeMatrix3d flat;
    flat.entry[2][2] = 0.0;
    KdGeMatrix3d undefined;
    undefined.entry[1][3] = std::numeric_limits<double>::quiet_NaN();
    KdGeMatrix3d dependent; // its rows lie in one plane, up to rounding
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            dependent.entry[row][column] = 0.1 * (3 * row + column + 1);
    for (const KdGeMatrix3d& matrix : {flat, undefined, dependent, KdGeMatrix3d::scaling(0.0)})
        EXPECT_FALSE(mvgeo::Placement::make(&matrix));
}

// The matrix has an inverse, but its determinant is too small for a double, and OSG divides by it.
TEST(Placement, NeedsAnInverseOfNumbers)
{
    const KdGeMatrix3d tiny = KdGeMatrix3d::scaling(1e-120);
    ASSERT_FALSE(tiny.isSingular());
    EXPECT_FALSE(mvgeo::Placement::make(&tiny));
}

INSTANTIATE_TEST_SUITE_P(Places, PlacedModel,
                         testing::Values(Placed{"atHome", kAtHome, kAtHome}, Placed{"farAway", kFarAway, kAtHome},
                                         Placed{"placedFarAway", kAtHome, kFarAway}, Placed{"tilted", kTilted, kAtHome},
                                         Placed{"placedTilted", kAtHome, kTilted},
                                         Placed{"both", kMillimetres, kTilted},
                                         Placed{"smallAfterLarge", kTilted, kMillimetres},
                                         Placed{"largeAfterLarge", kTilted, kMirrorless}),
                         [](const testing::TestParamInfo<Placed>& place) { return std::string(place.param.name); });

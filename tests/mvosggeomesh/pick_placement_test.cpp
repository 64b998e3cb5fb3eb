#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/KdTree>
#include <osgUtil/LineSegmentIntersector>

#include <array>
#include <cmath>
#include <filesystem>

namespace
{

// What follows is worked out a second time with more digits and without the matrix classes of host and toolkit.
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

osg::Vec3d toolkitPoint(const Triple& p)
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
struct PickPlacement : public TiledModelFixture, public testing::WithParamInterface<Placed>
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
        const osg::Vec3d from = toolkitPoint(inHost(eye));
        const osg::Vec3d to = toolkitPoint(inHost(centre));
        const osg::Vec3d up = toolkitPoint(inHost({50, 150, 0})) - toolkitPoint(inHost({50, 50, 0}));
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

TEST_P(PickPlacement, HitsWhereThePerspectiveRayMeetsTheSurface)
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
TEST_P(PickPlacement, HitsWhereTheParallelRayMeetsTheSurface)
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

TEST_P(PickPlacement, GivesTheTrianglesCornersInTheHostsFrame)
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

TEST_P(PickPlacement, MissesBesideTheSurface)
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
            const osg::Vec3d target = toolkitPoint(motion(corner));
            const osg::Vec3d eye = toolkitPoint(motion({corner[0], corner[1], 200}));
            const osg::Vec3d up = toolkitPoint(motion.turned({0, 1, 0}));
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

INSTANTIATE_TEST_SUITE_P(Places, PickPlacement,
                         testing::Values(Placed{"atHome", kAtHome, kAtHome}, Placed{"farAway", kFarAway, kAtHome},
                                         Placed{"placedFarAway", kAtHome, kFarAway}, Placed{"tilted", kTilted, kAtHome},
                                         Placed{"placedTilted", kAtHome, kTilted},
                                         Placed{"both", kMillimetres, kTilted},
                                         Placed{"smallAfterLarge", kTilted, kMillimetres},
                                         Placed{"largeAfterLarge", kTilted, kMirrorless}),
                         [](const testing::TestParamInfo<Placed>& place) { return std::string(place.param.name); });

// ---- which tiles are hit

namespace
{

/** Level n of a pyramid lies at z = n, so the height tells which level was hit. */
struct PickedLevel : public TiledModelFixture
{
    void addPyramid(int levels)
    {
        TilePyramidOptions options;
        options.levels = levels;
        tiles = std::make_unique<TilePyramid>(folder / "data", options);
        ASSERT_EQ(driver.add(tiles->rootFile()), 0);
        driver.view = fromAbove();
    }
    /** The level at (30, 30), looked at from above and from below: the coarser levels are nearer from there. */
    void expectLevel(int level)
    {
        for (const double z : {50.0, -50.0})
        {
            driver.view = perspectiveView({30, 30, z}, {30, 30, 0});
            ASSERT_TRUE(driver.update());
            const KdGeMatrix3d identity;
            const KdGePoint3d point(30, 30, z / 2);
            KdGePoint3d hit;
            ASSERT_TRUE(model().pickPoint(&identity, &point, &hit)) << z;
            EXPECT_NEAR(hit.z, level, 1e-6) << "from z = " << z;
        }
    }
    std::unique_ptr<TilePyramid> tiles;
};

} // namespace

// Level 1 lies above the extents, which come from level 0, but within their margin.
TEST_F(PickedLevel, IsTheFinestInMemory)
{
    addPyramid(2);
    driver.view = perspectiveView({30, 30, 20}, {30, 30, 0});
    ASSERT_TRUE(driver.converge());
    expectLevel(1);
}

// The files below level 1 are gone: the toolkit's visitor must not fail, nor must the pick read anything.
TEST_F(PickedLevel, IsTheFinestThatCouldBeRead)
{
    addPyramid(3);
    for (const std::string& file : tiles->files())
        if (file.find("_L2_") != std::string::npos) std::filesystem::remove(file);
    driver.view = perspectiveView({30, 30, 20}, {30, 30, 0});
    ASSERT_TRUE(driver.converge());
    expectLevel(1);
}

TEST_F(PickedLevel, IsTheRootsWhileNothingElseIsLoaded)
{
    addPyramid(3);
    driver.view = perspectiveView({30, 30, 1e5}, {30, 30, 0}); // so far away that the root will do
    ASSERT_TRUE(driver.converge());
    const KdGeMatrix3d identity;
    const KdGePoint3d point(30, 30, 0);
    KdGePoint3d hit;
    ASSERT_TRUE(model().pickPoint(&identity, &point, &hit));
    EXPECT_NEAR(hit.z, 0.0, 1e-6);
}

// ---- what pickTriangle says

namespace
{

/** A triangle that is drawn without being a geometry: there are no indices to tell its corners by. */
class BareTriangle : public osg::Drawable
{
public:
    BareTriangle() { setSupportsDisplayList(false); }
    osg::BoundingBox computeBoundingBox() const override { return {0, 0, 0, 100, 100, 0}; }
    osg::BoundingSphere computeBound() const override { return osg::BoundingSphere(computeBoundingBox()); }
    osg::Object* cloneType() const override { return new BareTriangle; }
    osg::Object* clone(const osg::CopyOp&) const override { return new BareTriangle; }
    bool supports(const osg::PrimitiveFunctor&) const override { return true; }
    void accept(osg::PrimitiveFunctor& functor) const override
    {
        static const osg::Vec3 corners[] = {{0, 0, 0}, {100, 0, 0}, {100, 100, 0}};
        functor.setVertexArray(3, corners);
        functor.drawArrays(GL_TRIANGLES, 0, 3);
    }

protected:
    ~BareTriangle() override = default;
};

struct PickMessages : public TiledModelFixture
{
    void SetUp() override
    {
        ASSERT_EQ(driver.add(pyramid({1}).rootFile()), 0);
        driver.view = fromAbove();
        driver.update();
    }
    /** In the place of the model's square. */
    void show(osg::Drawable& drawable)
    {
        const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(&drawable);
        model().root().removeChildren(0, model().root().getNumChildren());
        model().root().addChild(geode);
    }
    void expectOnlyMessage(const std::string& text)
    {
        const KdGeMatrix3d identity;
        const KdGePoint3d point(75, 40, 0);
        KdGePoint3d hit;
        std::vector<KdGePoint3d> triangle{{-1, -2, -3}};
        EXPECT_TRUE(model().pickPoint(&identity, &point, &hit)); // where it is hit is known all the same
        EXPECT_EQ(log.count(osg::FATAL, ""), 0);
        EXPECT_FALSE(model().pickTriangle(&identity, &point, &triangle));
        ASSERT_EQ(triangle.size(), 1U);
        EXPECT_EQ(triangle[0].z, -3.0);
        EXPECT_EQ(log.count(osg::FATAL, ""), 1);
        EXPECT_EQ(log.count(osg::FATAL, text), 1);
    }
};

} // namespace

TEST_F(PickMessages, SaysErrorWithoutIndices)
{
    const osg::ref_ptr<BareTriangle> bare = new BareTriangle;
    show(*bare);
    expectOnlyMessage("error");
}

// A search tree remembers the vertices that it was built from, the geometry has fewer by now.
TEST_F(PickMessages, SaysThatThereAreTooFewPointsWhereTheVerticesDoNotReach)
{
    const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 100);
    const osg::ref_ptr<osg::KdTree> tree = new osg::KdTree;
    osg::KdTree::BuildOptions options;
    options._targetNumTrianglesPerLeaf = 1; // no tree is built for fewer vertices than that
    ASSERT_TRUE(tree->build(options, square));
    square->setShape(tree);
    show(*square);
    square->setVertexArray(new osg::Vec3Array(2));
    square->setInitialBound(osg::BoundingBox(0, 0, 0, 100, 100, 0));
    expectOnlyMessage("points size is less than 3");
}

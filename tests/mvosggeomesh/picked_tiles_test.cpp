#include "mvosggeomesh/TiledModelFixture.h"

#include <osg/KdTree>
#include <osg/observer_ptr>

#include <filesystem>
#include <memory>
#include <stdexcept>

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

// The files below level 1 are gone: OSG's visitor must not fail, nor must the pick read anything.
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

namespace
{

/** The square from (0, 0, 0) to (100, 100, 0), of which nobody but the model knows. */
struct PickedOnce : public TiledModelFixture
{
    void SetUp() override
    {
        ASSERT_EQ(driver.add(pyramid({1}).rootFile()), 0);
        driver.view = fromAbove();
        driver.update();
        driver.receiver.forget();
    }
    void replaceSquare(const osg::ref_ptr<osg::Geometry>& square)
    {
        model().root().removeChildren(0, model().root().getNumChildren());
        model().root().addChild(square);
        seen = square;
    }
    bool isGoneOnceItLeavesTheScene()
    {
        model().root().removeChildren(0, model().root().getNumChildren());
        return !seen.valid();
    }

    osg::observer_ptr<osg::Geometry> seen;
    const KdGeMatrix3d identity;
    const KdGePoint3d point{75, 40, 0};
};

} // namespace

TEST_F(PickedOnce, IsLetGoOf)
{
    KdGePoint3d hit;
    replaceSquare(makeSquare(0, 0, 0, 100));
    ASSERT_TRUE(model().pickPoint(&identity, &point, &hit));
    EXPECT_TRUE(isGoneOnceItLeavesTheScene());

    std::vector<KdGePoint3d> triangle;
    replaceSquare(makeSquare(0, 0, 0, 100));
    ASSERT_TRUE(model().pickTriangle(&identity, &point, &triangle));
    EXPECT_TRUE(isGoneOnceItLeavesTheScene());
}

// The square is hit, then something throws.
TEST_F(PickedOnce, IsLetGoOfAlsoIfThePickFails)
{
    struct Torn : public osg::Drawable::ComputeBoundingBoxCallback
    {
        osg::BoundingBox computeBound(const osg::Drawable&) const override { throw std::runtime_error("torn"); }
    };
    replaceSquare(makeSquare(0, 0, 0, 100));
    const osg::ref_ptr<osg::Geometry> damaged = makeSquare(0, 0, -1, 100);
    damaged->setComputeBoundingBoxCallback(new Torn);
    model().root().addChild(damaged);
    KdGePoint3d hit;
    EXPECT_FALSE(model().pickPoint(&identity, &point, &hit));
    EXPECT_EQ(log.count(osg::FATAL, "torn"), 1);
    EXPECT_TRUE(isGoneOnceItLeavesTheScene());
}

namespace
{

/** Tiles whose lists of indices go on for part of a triangle. */
struct SurplusIndices : public TiledModelFixture, public testing::WithParamInterface<int>
{
    /** A square whose indices of so many bits end with as many more. */
    void addSquare(unsigned int surplus)
    {
        model().clear();
        receiver().forget();
        const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 100, GetParam());
        for (unsigned int i = 0; i < surplus; ++i)
            square->getPrimitiveSet(0)->getDrawElements()->addElement(1);
        const std::string path = folder / "surplus.osgb";
        writeTile(*square, path);
        ASSERT_EQ(driver.add(path), 0);
        driver.view = fromAbove();
        ASSERT_TRUE(driver.update());
    }
};

} // namespace

TEST_P(SurplusIndices, AreNeitherHandedOverNorMeasured)
{
    for (const unsigned int surplus : {1U, 2U})
    {
        SCOPED_TRACE(surplus);
        addSquare(surplus);
        ASSERT_EQ(receiver().meshes().size(), 1U);
        EXPECT_EQ(receiver().meshes()[0]->indices, (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));

        const KdGeMatrix3d identity;
        const KdGePoint3d point(75, 40, 0);
        std::vector<KdGePoint3d> triangle;
        EXPECT_TRUE(model().pickTriangle(&identity, &point, &triangle));
        const std::vector<KdGePoint3d> line{{10, 50, 0}, {90, 50, 0}};
        std::vector<std::vector<KdGePoint3d>> draped;
        EXPECT_TRUE(model().section(&identity, &line, &draped));
        ASSERT_EQ(draped.size(), 1U);
        EXPECT_EQ(draped[0].size(), 3U);
        expectCleanContract();
    }
}

INSTANTIATE_TEST_SUITE_P(Bits, SurplusIndices, testing::Values(8, 16, 32), testing::PrintToStringParamName());

#include "updatescenegraph/SceneViewVisitor.h"

#include "SceneParts.h"

#include <osg/Geode>
#include <osg/MatrixTransform>

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace
{

using Names = std::vector<std::string>;

osg::ref_ptr<osg::Group> contentBall(const std::string& identity, const osg::Vec3& centre, float radius)
{
    osg::ref_ptr<osg::Group> node = ball(centre, radius);
    node->setUserValue("GlobalID", identity);
    return node;
}

/** A view of everything with x >= `west`; with the pixel-size vector (0, 0, 0, 1) a unit is a pixel. */
osg::ref_ptr<SceneViewVisitor> viewEastOf(double west)
{
    osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    view->frustum.clear();
    view->frustum.add(osg::Plane(1, 0, 0, -west));
    return view;
}

Names visibleIn(const osg::ref_ptr<SceneViewVisitor>& view, osg::Node& node)
{
    node.accept(*view);
    return identitiesOf(view->visibleContentNodes);
}

TEST(SceneViewVisitor, BeginsWithTheValuesOfNoView)
{
    const osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    EXPECT_EQ(view->getVisitorType(), osg::NodeVisitor::CULL_VISITOR);
    EXPECT_EQ(view->getTraversalMode(), osg::NodeVisitor::TRAVERSE_ACTIVE_CHILDREN);
    EXPECT_TRUE(view->modelMatrixStack.empty());
    EXPECT_TRUE(view->frustumStack.empty());
    EXPECT_TRUE(view->viewport.valid());
    EXPECT_EQ(view->getEyePoint(), osg::Vec3());
    EXPECT_EQ(view->getViewPoint(), osg::Vec3());
    EXPECT_EQ(view->pixelSizeVector, osg::Vec4f(0, 0, 0, 1));
    EXPECT_EQ(view->lodScale, 1.0F);
    EXPECT_EQ(view->cullingEnabled, 1U);
    EXPECT_TRUE(view->frustum.empty());
    EXPECT_EQ(view->smallFeaturePixelSize, 2.0);
    EXPECT_TRUE(view->visibleContentNodes.empty());
}

TEST(SceneViewVisitor, TellsItsEyeAndViewPoint)
{
    const osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    view->eyePoint = osg::Vec3f(1, 2, 3);
    view->viewPoint = osg::Vec3f(4, 5, 6);
    EXPECT_EQ(view->getEyePoint(), osg::Vec3(1, 2, 3));
    EXPECT_EQ(view->getViewPoint(), osg::Vec3(4, 5, 6));
}

TEST(SceneViewVisitor, DistanceIsFromTheEyeAndScaledOnDemand)
{
    const osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    view->eyePoint = osg::Vec3f(1, 0, 0);
    view->viewPoint = osg::Vec3f(100, 0, 0);
    view->lodScale = 2.0F;
    EXPECT_EQ(view->getDistanceToViewPoint(osg::Vec3(4, 4, 0), false), 5.0F);
    EXPECT_EQ(view->getDistanceToViewPoint(osg::Vec3(4, 4, 0), true), 10.0F);
}

TEST(SceneViewVisitor, ResetKeepsWhatWasCollected)
{
    const osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    view->visibleContentNodes.push_back(content("a"));
    view->pushModelMatrix(osg::Matrixd::identity());
    view->reset();
    EXPECT_EQ(view->visibleContentNodes.size(), 1U);
    EXPECT_EQ(view->modelMatrixStack.size(), 1U);
}

TEST(SceneViewVisitor, CollectsContentInTraversalOrderWithContentInside)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::Group> outer = contentBall("outer", {10, 0, 0}, 5.0F);
    outer->addChild(contentBall("inner", {10, 0, 0}, 5.0F));
    root->addChild(contentBall("first", {10, 0, 0}, 5.0F));
    root->addChild(outer);
    root->addChild(contentBall("last", {10, 0, 0}, 5.0F));
    const auto view = viewEastOf(0);
    EXPECT_EQ(visibleIn(view, *root), (Names{"first", "outer", "inner", "last"}));

    root->accept(*view);
    EXPECT_EQ(view->visibleContentNodes.size(), 8U) << "only ever appended to";
}

TEST(SceneViewVisitor, IdentityThatIsNoStringIsNotCollectedButTraversed)
{
    const osg::ref_ptr<osg::Group> root = ball({10, 0, 0}, 5.0F);
    root->setUserValue("GlobalID", 17);
    root->addChild(contentBall("child", {10, 0, 0}, 5.0F));
    EXPECT_EQ(visibleIn(viewEastOf(0), *root), Names{"child"});
}

TEST(SceneViewVisitor, GeodesAndPagedNodesAreNodesLikeOthers)
{
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->setInitialBound(osg::BoundingSphere(osg::Vec3(10, 0, 0), 5.0F));
    geode->setUserValue("GlobalID", std::string("geode"));
    const osg::ref_ptr<osg::PagedLOD> paged = pagedNode(geode, "b.osgb");
    paged->setCenter({10, 0, 0});
    paged->setRadius(5.0F);
    paged->setUserValue("GlobalID", std::string("paged"));
    EXPECT_EQ(visibleIn(viewEastOf(0), *paged), (Names{"paged", "geode"}));
    EXPECT_EQ(visibleIn(viewEastOf(100), *paged), Names{});
}

TEST(SceneViewVisitor, OutsideTheFrustumNothingIsVisited)
{
    const osg::ref_ptr<osg::Group> root = ball({-10, 0, 0}, 5.0F);
    root->setUserValue("GlobalID", std::string("west"));
    const osg::ref_ptr<osg::Group> child = contentBall("child", {-10, 0, 0}, 4.0F);
    root->addChild(child);
    EXPECT_EQ(visibleIn(viewEastOf(0), *root), Names{});
    EXPECT_EQ(visibleIn(viewEastOf(-6), *root), (Names{"west", "child"})) << "the spheres reach to -5 and -6";
}

TEST(SceneViewVisitor, CullingSwitchedOffVisitsEverything)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group; // an empty sphere
    root->addChild(contentBall("west", {-10, 0, 0}, 5.0F));
    root->addChild(contentBall("tiny", {10, 0, 0}, 0.001F));
    const osg::ref_ptr<osg::MatrixTransform> moved = new osg::MatrixTransform(osg::Matrixd::translate(-1000, 0, 0));
    moved->addChild(contentBall("moved", {}, 0.001F));
    root->addChild(moved);
    const auto view = viewEastOf(0);
    view->cullingEnabled = 0;
    EXPECT_EQ(visibleIn(view, *root), (Names{"west", "tiny", "moved"}));
}

TEST(SceneViewVisitor, LessThanTwoPixelsIsCulledWithItsChildren)
{
    const osg::ref_ptr<osg::Group> root = ball({10, 0, 0}, 1.99F);
    root->addChild(contentBall("child", {10, 0, 0}, 1.0F));
    EXPECT_EQ(visibleIn(viewEastOf(0), *root), Names{});

    const auto view = viewEastOf(0);
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({10, 0, 0}, 2.0F))) << "two pixels are enough";
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({10, 0, 0}, 1.99F)));
    view->smallFeaturePixelSize = 10.0;
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({10, 0, 0}, 9.9F)));
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({10, 0, 0}, 10.0F)));
}

TEST(SceneViewVisitor, PixelSizeIsTakenAtTheSpheresCentre)
{
    const auto view = viewEastOf(-1000);
    view->pixelSizeVector = osg::Vec4f(0.5F, 0.25F, 1.0F, 3.0F);
    // At (2, 4, 5): 1 + 1 + 5 + 3 = 10, so that 20 is the smallest radius.
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({2, 4, 5}, 19.9F)));
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({2, 4, 5}, 20.0F)));
}

TEST(SceneViewVisitor, NothingBehindTheEyeIsTooSmall)
{
    const auto view = viewEastOf(-1000);
    view->pixelSizeVector = osg::Vec4f(0, 0, -1, 0);
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({0, 0, 500}, 0.001F)));
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({0, 0, -500}, 0.001F)));
}

TEST(SceneViewVisitor, EmptySphereIsAlwaysTooSmallInFront)
{
    // Its radius is -1 and its centre the origin.
    const auto view = viewEastOf(-1000);
    for (const float pixelSize : {0.001F, 0.25F, 0.0F, 1.0F, 1000.0F})
    {
        view->pixelSizeVector = osg::Vec4f(0, 0, 0, pixelSize);
        EXPECT_TRUE(view->isCulled(osg::BoundingSphere())) << pixelSize;
    }
    view->pixelSizeVector = osg::Vec4f(0, 0, 0, -0.4F); // -0.8 > -1
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere()));
    view->pixelSizeVector = osg::Vec4f(0, 0, 0, -0.5F); // -1 > -1 is false
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere()));
}

TEST(SceneViewVisitor, RadiusAndCentreAreMeasuredInTheWorld)
{
    const auto view = viewEastOf(-1000);
    view->pixelSizeVector = osg::Vec4f(0, 0, 1, 0);
    view->pushModelMatrix(osg::Matrixd::scale(3, 1, 1) * osg::Matrixd::translate(0, 0, 6));
    // The centre lies at z = 6: 12 is the smallest radius in the world, 4 in the local frame.
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({0, 0, 0}, 3.99F)));
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({0, 0, 0}, 4.0F)));
}

TEST(SceneViewVisitor, ScaleIsTheFirstComponentOfOsgs)
{
    // Rows (0, 2, 0) and (-3, 0, 0): the first column is 3 long.
    const osg::Matrixd turned(0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1);
    const auto view = viewEastOf(-1000);
    view->pixelSizeVector = osg::Vec4f(0, 0, 0, 15);
    view->pushModelMatrix(turned);
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({0, 0, 0}, 9.99F)));
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({0, 0, 0}, 10.0F)));
}

TEST(SceneViewVisitor, TopmostFrustumDecides)
{
    const auto view = viewEastOf(0);
    view->pushFrustum(osg::Matrixd::translate(100, 0, 0)); // the local frame begins at x = -100
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({-90, 0, 0}, 5.0F)));
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({-110, 0, 0}, 5.0F)));
    view->popFrustum();
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({-90, 0, 0}, 5.0F)));
}

TEST(SceneViewVisitor, PushedFrustumIsMadeFromTheWorldsEachTime)
{
    const auto view = viewEastOf(0);
    view->pushFrustum(osg::Matrixd::translate(100, 0, 0));
    view->pushFrustum(osg::Matrixd::translate(10, 0, 0)); // not 110
    ASSERT_EQ(view->frustumStack.size(), 2U);
    EXPECT_TRUE(view->isCulled(osg::BoundingSphere({-90, 0, 0}, 5.0F)));
    EXPECT_FALSE(view->isCulled(osg::BoundingSphere({-9, 0, 0}, 5.0F)));
}

TEST(SceneViewVisitor, EmptyStackStandsForTheIdentity)
{
    const osg::ref_ptr<SceneViewVisitor> view = new SceneViewVisitor;
    EXPECT_EQ(view->currentModelMatrix(), osg::Matrixd::identity());
    view->popModelMatrix(); // of nothing
    view->popFrustum();
    EXPECT_EQ(view->currentModelMatrix(), osg::Matrixd::identity());
    view->pushModelMatrix(osg::Matrixd::translate(1, 2, 3));
    view->pushModelMatrix(osg::Matrixd::translate(4, 5, 6));
    EXPECT_EQ(view->currentModelMatrix(), osg::Matrixd::translate(4, 5, 6));
    view->popModelMatrix();
    EXPECT_EQ(view->currentModelMatrix(), osg::Matrixd::translate(1, 2, 3));
}

/** Looks at the visitor from inside the scene, where it stands. */
class Probe : public osg::Group
{
public:
    explicit Probe(std::function<void(const SceneViewVisitor&)> look) : _look(std::move(look))
    {
        setInitialBound(osg::BoundingSphere(osg::Vec3(), 10.0F));
    }
    void traverse(osg::NodeVisitor& visitor) override
    {
        if (const auto* view = dynamic_cast<const SceneViewVisitor*>(&visitor)) _look(*view);
    }

protected:
    ~Probe() override = default;

private:
    std::function<void(const SceneViewVisitor&)> _look;
};

TEST(SceneViewVisitor, TransformPushesMatrixAndFrustumForItsChildrenOnly)
{
    int looks = 0;
    const osg::ref_ptr<Probe> probe = new Probe(
        [&looks](const SceneViewVisitor& view)
        {
            ++looks;
            ASSERT_EQ(view.modelMatrixStack.size(), 2U);
            EXPECT_EQ(view.frustumStack.size(), 2U);
            // A local point is moved by the inner transform first: (1, 0, 0) -> (1, 7, 0) -> (2, 14, 0).
            EXPECT_EQ(osg::Vec3d(1, 0, 0) * view.currentModelMatrix(), osg::Vec3d(2, 14, 0));
            // The world's x >= -100 is x >= -50 here.
            EXPECT_DOUBLE_EQ(osg::Polytope(view.frustumStack.back()).getPlaneList()[0].distance(osg::Vec3d(-50, 0, 0)),
                             0.0);
        });
    const osg::ref_ptr<osg::MatrixTransform> inner = new osg::MatrixTransform(osg::Matrixd::translate(0, 7, 0));
    inner->addChild(probe);
    const auto view = viewEastOf(-100);
    view->pushModelMatrix(osg::Matrixd::scale(2, 2, 2));
    view->pushFrustum(osg::Matrixd::scale(2, 2, 2));
    inner->accept(*view);
    EXPECT_EQ(looks, 1);
    EXPECT_EQ(view->modelMatrixStack.size(), 1U);
    EXPECT_EQ(view->frustumStack.size(), 1U);
    EXPECT_EQ(view->currentModelMatrix(), osg::Matrixd::scale(2, 2, 2));
}

TEST(SceneViewVisitor, EyeIsTakenIntoTheTransformsFrameAndBack)
{
    int looks = 0;
    const osg::ref_ptr<Probe> probe = new Probe(
        [&looks](const SceneViewVisitor& view)
        {
            ++looks;
            EXPECT_EQ(view.eyePoint, osg::Vec3f(1, -7, 3));
            EXPECT_EQ(view.viewPoint, osg::Vec3f(4, -7, 3));
        });
    const osg::ref_ptr<osg::MatrixTransform> moved = new osg::MatrixTransform(osg::Matrixd::translate(0, 7, 0));
    moved->addChild(probe);
    const auto view = viewEastOf(-100);
    view->eyePoint = osg::Vec3f(1, 0, 3);
    view->viewPoint = osg::Vec3f(4, 0, 3);
    moved->accept(*view);
    EXPECT_EQ(looks, 1);
    EXPECT_EQ(view->eyePoint, osg::Vec3f(1, 0, 3));
    EXPECT_EQ(view->viewPoint, osg::Vec3f(4, 0, 3));
}

TEST(SceneViewVisitor, TransformIsCulledAndCollectedLikeAnyNode)
{
    const osg::ref_ptr<osg::MatrixTransform> moved = new osg::MatrixTransform(osg::Matrixd::translate(50, 0, 0));
    moved->setUserValue("GlobalID", std::string("moved"));
    moved->addChild(contentBall("child", {-10, 0, 0}, 5.0F)); // at x = 40 in the world
    EXPECT_EQ(visibleIn(viewEastOf(0), *moved), (Names{"moved", "child"}));
    const auto farther = viewEastOf(60);
    EXPECT_EQ(visibleIn(farther, *moved), Names{});
    EXPECT_TRUE(farther->modelMatrixStack.empty());
    EXPECT_TRUE(farther->frustumStack.empty());
}

} // namespace

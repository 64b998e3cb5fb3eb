#include "updatescenegraph/PagedLODEx.h"

#include "PagedNodeParts.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

/** The range that the node takes itself to need, found by asking for it: ranges are [0, r) and [r, infinity). */
void expectRequiredRange(const osg::ref_ptr<SceneViewVisitor>& view, const osg::PagedLOD& original, float range)
{
    const osg::ref_ptr<PagedLODEx> node = new PagedLODEx(original);
    node->removeChildren(0, node->getNumChildren());
    node->addChild(content("less"));
    node->addChild(content("enough"));
    node->setRange(0, 0.0F, range);
    node->setRange(1, range, 1e30F);
    EXPECT_EQ(visibleIn(view, *node), Names{"enough"}) << "at least " << range;

    const float above = std::nextafter(range, 1e30F);
    node->setRange(0, 0.0F, above);
    node->setRange(1, above, 1e30F);
    EXPECT_EQ(visibleIn(view, *node), Names{"less"}) << "at most " << range;
}

TEST(PagedLODExDistance, IsFromTheEyeToTheCentre)
{
    const auto view = openView();
    view->eyePoint = osg::Vec3f(1, 2, 0);
    expectRequiredRange(view, *pagedWith(osg::LOD::DISTANCE_FROM_EYE_POINT, {4, 6, 0}, 1.0F, {}, 0), 5.0F);
}

TEST(PagedLODExDistance, IsMultipliedByTheLodScale)
{
    const auto view = openView();
    view->lodScale = 3.0F;
    expectRequiredRange(view, *pagedWith(osg::LOD::DISTANCE_FROM_EYE_POINT, {3, 4, 0}, 1.0F, {}, 0), 15.0F);
}

TEST(PagedLODExDistance, DoesNotKnowTheModelMatrix)
{
    const auto view = openView();
    view->pushModelMatrix(osg::Matrixd::translate(1000, 0, 0));
    expectRequiredRange(view, *pagedWith(osg::LOD::DISTANCE_FROM_EYE_POINT, {3, 4, 0}, 1.0F, {}, 0), 5.0F);
}

class FarSightedView : public SceneViewVisitor
{
public:
    float getDistanceToViewPoint(const osg::Vec3& position, bool useLODScale) const override
    {
        return useLODScale ? position.x() + 500.0F : -1.0F;
    }

protected:
    ~FarSightedView() override = default;
};

TEST(PagedLODExDistance, IsAskedOfASubclassOfTheView)
{
    const osg::ref_ptr<SceneViewVisitor> view = new FarSightedView;
    view->cullingEnabled = 0;
    expectRequiredRange(view, *pagedWith(osg::LOD::DISTANCE_FROM_EYE_POINT, {3, 4, 0}, 1.0F, {}, 0), 503.0F);
}

TEST(PagedLODExPixels, AreRadiusOverPixelSizeAtTheCentre)
{
    const auto view = openView();
    view->pixelSizeVector = osg::Vec4f(0.5F, 0.0F, 0.25F, 2.0F); // at (4, 9, 8): 2 + 0 + 2 + 2 = 6
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {4, 9, 8}, 12.0F, {}, 0), 2.0F);
}

TEST(PagedLODExPixels, BehindTheEyeCountLikeBefore)
{
    const auto view = openView();
    view->pixelSizeVector = osg::Vec4f(0.0F, 0.0F, -0.5F, 0.0F);
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {0, 0, 8}, 12.0F, {}, 0), 3.0F);
}

TEST(PagedLODExPixels, AreDividedByTheLodScale)
{
    const auto view = openView();
    view->lodScale = 4.0F;
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 12.0F, {}, 0), 3.0F);
}

TEST(PagedLODExPixels, AreMeasuredInTheWorld)
{
    // The centre (1, 0, 0) lies at (2, 0, 10) in the world, where a unit is 0.5 pixels; the radius 3 becomes 6.
    const auto view = openView();
    view->pixelSizeVector = osg::Vec4f(0.0F, 0.0F, 0.05F, 0.0F);
    view->pushModelMatrix(osg::Matrixd::scale(2, 2, 2) * osg::Matrixd::translate(0, 0, 10));
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {1, 0, 0}, 3.0F, {}, 0), 12.0F);
}

TEST(PagedLODExPixels, TakeTheInnermostMatrix)
{
    const auto view = openView();
    view->pushModelMatrix(osg::Matrixd::scale(100, 100, 100));
    view->pushModelMatrix(osg::Matrixd::scale(2, 2, 2));
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 3.0F, {}, 0), 6.0F);
}

TEST(PagedLODExPixels, TakeTheFirstComponentOfOsgsScale)
{
    // Twice along x and three times along y, then a quarter turn: the rows are (0, 2, 0) and (-3, 0, 0), and
    // OSG calls the length of the first column the scale's first component.
    const osg::Matrixd turned(0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1);
    ASSERT_DOUBLE_EQ(turned.getScale().x(), 3.0);
    const auto view = openView();
    view->pushModelMatrix(turned);
    expectRequiredRange(view, *pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 5.0F, {}, 0), 15.0F);
}

TEST(PagedLODExPixels, AtAPixelSizeOfZeroChooseNothing)
{
    const auto view = openView();
    view->pixelSizeVector = osg::Vec4f(0, 0, 0, 0);
    const osg::ref_ptr<PagedLODEx> node =
        new PagedLODEx(*pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 1.0F, {{0.0F, 1e30F}}, 1));
    EXPECT_EQ(visibleIn(view, *node), Names{});
    node->setRadius(0.0F); // 0 / 0
    EXPECT_EQ(visibleIn(view, *node), Names{});
}

osg::ref_ptr<osg::PagedLOD> terrainTile()
{
    osg::ref_ptr<osg::PagedLOD> node = pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 7.0F, {}, 0);
    node->setUserValue("startX", 100.0);
    node->setUserValue("startY", 200.0);
    node->setUserValue("endX", 130.0);
    node->setUserValue("endY", 240.0);
    return node;
}

TEST(PagedLODExTerrain, RadiusIsHalfTheDiagonalOfTheExtent)
{
    expectRequiredRange(openView(), *terrainTile(), 25.0F); // 30 by 40
}

TEST(PagedLODExTerrain, ExtentIsScaledLikeASphere)
{
    const auto view = openView();
    view->pushModelMatrix(osg::Matrixd::scale(2, 2, 2));
    expectRequiredRange(view, *terrainTile(), 50.0F);
}

TEST(PagedLODExTerrain, MissingValueLeavesTheSphere)
{
    for (const char* missing : {"startX", "startY", "endX", "endY"})
    {
        SCOPED_TRACE(missing);
        const auto node = terrainTile();
        osg::UserDataContainer* values = node->getUserDataContainer();
        values->removeUserObject(values->getUserObjectIndex(missing));
        expectRequiredRange(openView(), *node, 7.0F);
    }
}

TEST(PagedLODExTerrain, ValueOfAnotherTypeLeavesTheSphere)
{
    for (const char* wrong : {"startX", "startY", "endX", "endY"})
    {
        SCOPED_TRACE(wrong);
        const auto node = terrainTile();
        osg::UserDataContainer* values = node->getUserDataContainer();
        values->removeUserObject(values->getUserObjectIndex(wrong));
        node->setUserValue(wrong, 110.0F);
        expectRequiredRange(openView(), *node, 7.0F);
    }
}

TEST(PagedLODExTerrain, DistanceModeDoesNotAskForTheExtent)
{
    const auto node = terrainTile();
    node->setRangeMode(osg::LOD::DISTANCE_FROM_EYE_POINT);
    node->setCenter({3, 4, 0});
    expectRequiredRange(openView(), *node, 5.0F);
}

} // namespace

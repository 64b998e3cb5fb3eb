#include "ClipParts.h"

#include <osg/Texture2D>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace cliptest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// ---- triangles wholly inside, wholly outside

TEST(MeshClipByRasterOverlay, TriangleInsideIsCopied)
{
    const Mesh parent = makeMesh({{1, 1, 5}, {3, 1, 6}, {1, 2, 7}}, {0, 1, 2}, {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}});
    const Mesh result = clipMesh(parent, {0, 8, 0, 8});
    EXPECT_THAT(verticesOf(result), ElementsAre(osg::Vec3(1, 1, 5), osg::Vec3(3, 1, 6), osg::Vec3(1, 2, 7)));
    EXPECT_THAT(normalsOf(result), ElementsAre(osg::Vec3(1, 0, 0), osg::Vec3(0, 1, 0), osg::Vec3(0, 0, -1)));
    EXPECT_THAT(elementsOf(result), ElementsAre(0, 1, 2));
}

TEST(MeshClipByRasterOverlay, NeighboursInsideShareTheirVertices)
{
    const Mesh result = clipMesh(makeFlatGrid(2, 2), {-1, 2, -1, 2});
    EXPECT_EQ(verticesOf(result).size(), 4U);
    EXPECT_THAT(elementsOf(result), ElementsAre(0, 1, 2, 1, 3, 2));
}

TEST(MeshClipByRasterOverlay, VerticesAreNumberedInTheOrderOfUseAndUnusedOnesLeftOut)
{
    const Mesh parent = makeMesh({{1, 1, 0}, {2, 1, 0}, {7, 7, 9}, {1, 2, 0}}, {3, 0, 1});
    const Mesh result = clipMesh(parent, {0, 8, 0, 8});
    EXPECT_THAT(verticesOf(result), ElementsAre(osg::Vec3(1, 2, 0), osg::Vec3(1, 1, 0), osg::Vec3(2, 1, 0)));
    EXPECT_THAT(elementsOf(result), ElementsAre(0, 1, 2));
}

TEST(MeshClipByRasterOverlay, TheBoundsBelongToTheInside)
{
    const Mesh result = clipMesh(makeFlatGrid(2, 2), {0, 1, 0, 1});
    EXPECT_EQ(surfaceOf(result).size(), 2U);
    EXPECT_EQ(verticesOf(result).size(), 4U + 4U * 2U) << "shared, and two below each side";
}

TEST(MeshClipByRasterOverlay, TriangleBeyondOneSideIsDropped)
{
    for (const osg::Vec3& shift : {osg::Vec3(-4, 1, 0), osg::Vec3(9, 1, 0), osg::Vec3(1, -4, 0), osg::Vec3(1, 9, 0)})
    {
        SCOPED_TRACE(testing::Message() << "shifted by " << shift.x() << ", " << shift.y());
        const Mesh result = clipMesh(makeTriangle(shift, shift + osg::X_AXIS, shift + osg::Y_AXIS), {0, 8, 0, 8});
        EXPECT_THAT(verticesOf(result), IsEmpty());
        EXPECT_THAT(elementsOf(result), IsEmpty());
    }
}

TEST(MeshClipByRasterOverlay, TriangleThatTouchesTheRectangleOnlyIsDropped)
{
    const Mesh corner = makeTriangle({-1, 1, 0}, {0, 2, 0}, {-1, 3, 0});
    const Mesh edge = makeTriangle({-1, 1, 0}, {0, 1, 0}, {0, 3, 0});
    for (const Mesh& parent : {corner, edge})
        EXPECT_THAT(verticesOf(clipMesh(parent, {0, 8, 0, 8})), IsEmpty());
}

// x + y = -1/2 cuts off what the rectangle's corner is not in; x + y = 1/2 passes it at half a unit.
TEST(MeshClipByRasterOverlay, TriangleAroundACornerIsClippedAndMayVanish)
{
    const Rectangle rectangle{0, 8, 0, 8};
    EXPECT_THAT(verticesOf(clipMesh(makeTriangle({-1, -1, 0}, {0.5F, -1, 0}, {-1, 0.5F, 0}), rectangle)), IsEmpty());

    const Mesh result = clipMesh(makeTriangle({-1, -1, 0}, {1.5F, -1, 0}, {-1, 1.5F, 0}), rectangle);
    EXPECT_DOUBLE_EQ(planArea(result), 0.125);
}

// ---- degenerate triangles

TEST(MeshClipByRasterOverlay, TriangleWithTwoCornersOverEachOtherIsSkipped)
{
    const osg::Vec3 low(1, 1, 0);
    const osg::Vec3 high(1, 1, 4);
    const osg::Vec3 aside(3, 2, 0);
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle(low, high, aside), {0, 8, 0, 8})), IsEmpty());
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle(aside, low, high), {0, 8, 0, 8})), IsEmpty());
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle(high, aside, low), {0, 8, 0, 8})), IsEmpty());
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle(low, high, aside), {2, 8, 0, 8})), IsEmpty()) << "and if it straddles";
}

TEST(MeshClipByRasterOverlay, WallWithoutTwoCornersOverEachOtherIsKept)
{
    EXPECT_EQ(elementsOf(clipMesh(makeTriangle({1, 1, 0}, {3, 1, 0}, {2, 1, 4}), {0, 8, 0, 8})).size(), 3U);
}

TEST(MeshClipByRasterOverlay, TriangleWithItsCornersInLineIsSkipped)
{
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle({1, 1, 1}, {2, 2, 2}, {3, 3, 3}), {0, 8, 0, 8})), IsEmpty());
}

// The limit is 1e-10 for the edges' cross product: 2^-33 = 1.16e-10, 2^-34 = 5.8e-11.
TEST(MeshClipByRasterOverlay, TriangleNeedsACrossProductAboveTheLimit)
{
    const float leg = std::ldexp(1.0F, -17);
    const Rectangle rectangle{-1, 1, -1, 1};
    EXPECT_EQ(elementsOf(clipMesh(makeTriangle({0, 0, 0}, {2 * leg, 0, 0}, {0, leg, 0}), rectangle)).size(), 3U);
    EXPECT_EQ(elementsOf(clipMesh(makeTriangle({0, 0, 0}, {0, 2 * leg, 0}, {leg, 0, 0}), rectangle)).size(), 3U);
    EXPECT_THAT(elementsOf(clipMesh(makeTriangle({0, 0, 0}, {leg, 0, 0}, {0, leg, 0}), rectangle)), IsEmpty());
}

// ---- triangles that straddle the border

// The west border, x = 0, halves the edges from A to B and from C to A.
TEST(MeshClipByRasterOverlay, StraddlingTriangleBecomesAFanOfInterpolatedVertices)
{
    const Mesh parent = makeMesh({{-1, 0, 0}, {1, 0, 2}, {1, 2, 4}}, {0, 1, 2}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}});
    const Mesh result = clipMesh(parent, {0, 8, -8, 8}, 3.0);

    const std::vector<GLuint> elements = elementsOf(result);
    ASSERT_EQ(elements.size(), 6U + 6U) << "a fan of two, and a skirt";
    EXPECT_THAT(std::vector<GLuint>(elements.begin(), elements.begin() + 6), ElementsAre(0, 1, 2, 0, 2, 3));
    ASSERT_EQ(verticesOf(result).size(), 4U + 2U);
    EXPECT_EQ(verticesOf(result)[0], osg::Vec3(0, 0, 1));
    EXPECT_EQ(verticesOf(result)[1], osg::Vec3(1, 0, 2));
    EXPECT_EQ(verticesOf(result)[2], osg::Vec3(1, 2, 4));
    EXPECT_EQ(verticesOf(result)[3], osg::Vec3(0, 1, 2));
    EXPECT_EQ(normalsOf(result)[0], osg::Vec3(0.5F, 0, 0.5F)) << "the mean as it is, its length is not 1";
    EXPECT_EQ(normalsOf(result)[1], osg::Vec3(1, 0, 0));
    EXPECT_EQ(normalsOf(result)[2], osg::Vec3(0, 1, 0));
    EXPECT_EQ(normalsOf(result)[3], osg::Vec3(0, 0.5F, 0.5F));
}

// The rectangle's corner (1, 1) lies inside: a quarter of the way to B, a quarter to C, so A counts for a half.
TEST(MeshClipByRasterOverlay, VertexInsideATriangleWeighsTheCornersByTheOppositeAreas)
{
    const Mesh parent = makeMesh({{0, 0, 0}, {4, 0, 8}, {0, 4, 16}}, {0, 1, 2}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}});
    const Mesh result = clipMesh(parent, {-1, 1, -1, 1});
    bool found = false;
    for (std::size_t i = 0; i < verticesOf(result).size(); ++i)
        if (verticesOf(result)[i] == osg::Vec3(1, 1, 6))
        {
            found = true;
            EXPECT_NEAR((normalsOf(result)[i] - osg::Vec3(0.25F, 0.25F, 0.5F)).length(), 0.0F, 1e-6F);
        }
    EXPECT_TRUE(found) << "no vertex at the rectangle's corner";
}

TEST(MeshClipByRasterOverlay, WindingOfTheParentIsKept)
{
    const Rectangle rectangle{0, 8, 0, 8};
    EXPECT_GT(planArea(clipMesh(makeTriangle({-1, -1, 0}, {3, 1, 0}, {1, 3, 0}), rectangle)), 0.0);
    EXPECT_LT(planArea(clipMesh(makeTriangle({-1, -1, 0}, {1, 3, 0}, {3, 1, 0}), rectangle)), 0.0);
}

// Both triangles of the cell reach (0, 0) and (1, -1): each has its own copies. Below the border stand two skirts.
TEST(MeshClipByRasterOverlay, StraddlingNeighboursDoNotShareVertices)
{
    const Mesh parent = makeMesh({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}}, {0, 1, 2, 1, 3, 2});
    const Mesh result = clipMesh(parent, {0, 8, -8, 8});
    EXPECT_EQ(verticesOf(result).size(), 3U + 4U + 2U * 2U);
    EXPECT_EQ(std::count(verticesOf(result).begin(), verticesOf(result).end(), osg::Vec3(0, 0, 0)), 2);
    EXPECT_EQ(std::count(verticesOf(result).begin(), verticesOf(result).end(), osg::Vec3(1, -1, 0)), 2);
}

TEST(MeshClipByRasterOverlay, StraddlingTriangleUsesTheCornersThatWereCopiedBeforeIt)
{
    const std::vector<osg::Vec3> vertices = {{1, 0, 0}, {2, 0, 0}, {1, 2, 0}, {-1, 0, 0}};
    const Mesh insideFirst = clipMesh(makeMesh(vertices, {0, 1, 2, 3, 0, 2}), {0, 8, -8, 8});
    EXPECT_EQ(verticesOf(insideFirst).size(), 3U + 2U + 2U) << "copied, cut, below the cut";
    EXPECT_EQ(elementsOf(insideFirst)[4], 0U);
    EXPECT_EQ(elementsOf(insideFirst)[5], 2U);

    const Mesh straddlingFirst = clipMesh(makeMesh(vertices, {3, 0, 2, 0, 1, 2}), {0, 8, -8, 8});
    EXPECT_EQ(verticesOf(straddlingFirst).size(), 4U + 3U + 2U) << "cut ones are not found again";
}

// ---- texture coordinates and texture

TEST(MeshClipByRasterOverlay, TextureCoordinatesFollowFromThePosition)
{
    const Mesh parent = makeMesh({{10, 140, 0}, {10, 100, 0}, {20, 100, 0}, {15, 110, 0}}, {0, 1, 2, 1, 2, 3});
    const Mesh result = clipMesh(parent, {10, 20, 100, 140});
    const osg::Vec2Array& coordinates = textureCoordinatesOf(result);
    ASSERT_GE(coordinates.size(), 4U);
    EXPECT_EQ(coordinates[0], osg::Vec2(0, 0)) << "north-west: the image's first pixel";
    EXPECT_EQ(coordinates[1], osg::Vec2(0, 1));
    EXPECT_EQ(coordinates[2], osg::Vec2(1, 1));
    EXPECT_EQ(coordinates[3], osg::Vec2(0.5F, 0.75F));
}

TEST(MeshClipByRasterOverlay, SkirtHasTheTextureCoordinatesAndNormalsOfItsEdge)
{
    const Mesh parent = makeMesh({{0, 1, 5}, {4, 1, 5}, {0, 3, 9}}, {0, 1, 2}, {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}});
    const Mesh result = clipMesh(parent, {0, 8, 0, 4}, 2.0); // the edge from (0, 3) to (0, 1) is on the west border
    ASSERT_EQ(verticesOf(result).size(), 5U);
    EXPECT_EQ(verticesOf(result)[3], osg::Vec3(0, 3, 7));
    EXPECT_EQ(verticesOf(result)[4], osg::Vec3(0, 1, 3));
    EXPECT_EQ(normalsOf(result)[3], osg::Vec3(0, 0, -1));
    EXPECT_EQ(normalsOf(result)[4], osg::Vec3(1, 0, 0));
    EXPECT_EQ(textureCoordinatesOf(result)[3], osg::Vec2(0, 0.25F));
    EXPECT_EQ(textureCoordinatesOf(result)[4], osg::Vec2(0, 0.75F));
}

TEST(MeshClipByRasterOverlay, ArraysAreBoundPerVertexAndTheElementsAreTriangles)
{
    const Mesh result = clipMesh(makeFlatGrid(4, 4), {0.5, 2, 0.5, 2});
    const std::size_t count = verticesOf(result).size();
    EXPECT_EQ(normalsOf(result).size(), count);
    EXPECT_EQ(textureCoordinatesOf(result).size(), count);
    EXPECT_EQ(result->getNormalArray()->getBinding(), osg::Array::BIND_PER_VERTEX);
    EXPECT_EQ(result->getTexCoordArray(0)->getBinding(), osg::Array::BIND_PER_VERTEX);
    ASSERT_EQ(result->getNumPrimitiveSets(), 1U);
    EXPECT_EQ(result->getPrimitiveSet(0)->getMode(), static_cast<GLenum>(GL_TRIANGLES));
}

TEST(MeshClipByRasterOverlay, TextureShowsTheImageWithoutResizing)
{
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    Mesh result;
    makeClipper({0, 1, 0, 1})->clip(makeFlatGrid(2, 2), 1.0, image, result);
    const osg::StateSet* states = result->getStateSet();
    ASSERT_TRUE(states);
    const auto* texture =
        dynamic_cast<const osg::Texture2D*>(states->getTextureAttribute(0, osg::StateAttribute::TEXTURE));
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->getImage(), image);
    EXPECT_FALSE(texture->getResizeNonPowerOfTwoHint());
    EXPECT_EQ(texture->getFilter(osg::Texture::MIN_FILTER), 9987);
    EXPECT_EQ(texture->getFilter(osg::Texture::MAG_FILTER), 9729);
    for (const auto axis : {osg::Texture::WRAP_S, osg::Texture::WRAP_T, osg::Texture::WRAP_R})
        EXPECT_EQ(texture->getWrap(axis), 33071);
    EXPECT_EQ(states->getTextureMode(0, GL_TEXTURE_2D), static_cast<unsigned int>(osg::StateAttribute::ON));
}

TEST(MeshClipByRasterOverlay, LetsGoOfItsInputs)
{
    const Mesh parent = makeFlatGrid(2, 2);
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    Mesh result;
    makeClipper({0, 1, 0, 1})->clip(parent, 1.0, image, result);
    EXPECT_EQ(parent->referenceCount(), 1);
    EXPECT_EQ(image->referenceCount(), 2) << "here and in the texture";
}

TEST(MeshClipByRasterOverlay, ResultThatIsGivenIsFilledAndLosesWhatItHad)
{
    const Mesh given = makeFlatGrid(5, 5);
    Mesh result = given;
    makeClipper({-1, 2, -1, 2})->clip(makeFlatGrid(2, 2), 1.0, nullptr, result);
    EXPECT_EQ(result, given);
    EXPECT_EQ(verticesOf(result).size(), 4U);
    EXPECT_EQ(result->getNumPrimitiveSets(), 1U);
    EXPECT_EQ(elementsOf(result).size(), 6U);
}

TEST(MeshClipByRasterOverlay, ParentMayBeTheResult)
{
    Mesh mesh = makeFlatGrid(3, 3);
    makeClipper({0, 1, 0, 1})->clip(mesh, 1.0, nullptr, mesh);
    EXPECT_DOUBLE_EQ(planArea(mesh), 1.0);
}

// ---- skirts

TEST(MeshClipByRasterOverlay, OnTheBorderMeansNearerThanTheToleranceToAnyOfTheFourLines)
{
    const osg::ref_ptr<MeshClipByRasterOverlay> clipper = makeClipper({0, 8, 100, 116});
    constexpr double kTolerance = 0.125;
    for (const double offset : {-0.12, 0.0, 0.12})
    {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        EXPECT_TRUE(clipper->isOnBorder({offset, 108, 0}, kTolerance));
        EXPECT_TRUE(clipper->isOnBorder({8 + offset, 108, 0}, kTolerance));
        EXPECT_TRUE(clipper->isOnBorder({4, 100 + offset, 0}, kTolerance));
        EXPECT_TRUE(clipper->isOnBorder({4, 116 + offset, 0}, kTolerance));
    }
    for (const double offset : {-0.125, 0.125})
    {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        EXPECT_FALSE(clipper->isOnBorder({offset, 108, 0}, kTolerance));
        EXPECT_FALSE(clipper->isOnBorder({8 + offset, 108, 0}, kTolerance));
        EXPECT_FALSE(clipper->isOnBorder({4, 100 + offset, 0}, kTolerance));
        EXPECT_FALSE(clipper->isOnBorder({4, 116 + offset, 0}, kTolerance));
    }
    EXPECT_TRUE(clipper->isOnBorder({0, 5000, 0}, kTolerance)) << "the lines go on beyond the rectangle";
    EXPECT_FALSE(clipper->isOnBorder({kNan, kNan, 0}, kTolerance));
}

TEST(MeshClipByRasterOverlay, EdgeGetsASkirtIfItsMiddleIsWithinAThousandthOfTheBorder)
{
    const auto skirtCount = [](float fromX, float toX)
    {
        const Mesh parent = makeTriangle({fromX, 3, 0}, {toX, 1, 0}, {4, 2, 0});
        return skirtsOf(clipMesh(parent, {0, 8, 0, 8})).size();
    };
    EXPECT_EQ(skirtCount(0.0F, 0.0F), 2U);
    EXPECT_EQ(skirtCount(0.0009F, 0.0009F), 2U);
    EXPECT_EQ(skirtCount(0.0011F, 0.0011F), 0U);
    EXPECT_EQ(skirtCount(0.0F, 0.0019F), 2U) << "its middle is at 0.00095";
    EXPECT_EQ(skirtCount(0.0F, 0.0021F), 0U) << "its middle is at 0.00105";
}

TEST(MeshClipByRasterOverlay, EachBorderEdgeGetsTwoVerticesAndTwoTrianglesOfItsOwn)
{
    const Mesh result = clipMesh(makeFlatGrid(4, 4), {0, 3, 0, 3});
    EXPECT_EQ(verticesOf(result).size(), 16U + 12U * 2U);
    EXPECT_EQ(surfaceOf(result).size(), 18U);
    EXPECT_EQ(skirtsOf(result).size(), 12U * 2U);
}

// Kilometres from the origin a float holds a position only to 4 mm: the border is found before the rounding. The
// diagonal meets the east and the north side, so there are six edges on the border.
TEST(MeshClipByRasterOverlay, CutFarFromTheOriginHasItsSkirtsToo)
{
    const float far = 100000.0F;
    const Mesh parent =
        makeMesh({{far, far, 0}, {far + 16, far, 0}, {far, far + 16, 0}, {far + 16, far + 16, 0}}, {0, 1, 2, 1, 3, 2});
    const Mesh result = clipMesh(parent, {far + 3.3, far + 9.7, far + 3.3, far + 9.7});
    ASSERT_NE(verticesOf(result)[0].x(), far + 3.3) << "not a float";
    EXPECT_EQ(skirtsOf(result).size(), 6U * 2U);
}

// 400 km from the origin floats lie 31 mm apart, and the parent's own border stands where they allow.
TEST(MeshClipByRasterOverlay, BorderThatFloatsMissFarFromTheOriginHasItsSkirtsToo)
{
    const float far = 400000.0F;
    const Mesh parent =
        makeMesh({{far, far, 0}, {far + 16, far, 0}, {far, far + 16, 0}, {far + 16, far + 16, 0}}, {0, 1, 2, 1, 3, 2});
    const Mesh result = clipMesh(parent, {far - 0.01, far + 16.01, far - 0.01, far + 16.01});
    EXPECT_EQ(verticesOf(result).size(), 4U + 4U * 2U) << "nothing is cut";
    EXPECT_EQ(skirtsOf(result).size(), 4U * 2U);
}

/** A flat grid of 9 x 9 posts from (0, 0) on. */
Mesh flatGridOf(float postSpacing)
{
    Mesh mesh = makeFlatGrid(9, 9);
    for (osg::Vec3& vertex : dynamic_cast<osg::Vec3Array&>(*mesh->getVertexArray()))
        vertex *= postSpacing;
    return mesh;
}

// Posts every 14 metres of a terrain in degrees; powers of two, so that no border is missed.
TEST(MeshClipByRasterOverlay, TileOfAThousandthOfADegreeHasSkirtsOnItsBorderOnly)
{
    const float spacing = std::ldexp(1.0F, -13);
    const Mesh result = clipMesh(flatGridOf(spacing), {0, 8 * spacing, 0, 8 * spacing});
    EXPECT_EQ(surfaceOf(result).size(), 128U);
    EXPECT_EQ(skirtsOf(result).size(), 32U * 2U);
}

// Posts less than a metre apart, in degrees.
TEST(MeshClipByRasterOverlay, FlatGroundOfSmallTrianglesInDegreesIsKept)
{
    const float spacing = std::ldexp(1.0F, -17);
    const Mesh result = clipMesh(flatGridOf(spacing), {0, 8 * spacing, 0, 8 * spacing});
    EXPECT_DOUBLE_EQ(planArea(result), 64.0 * spacing * spacing);
}

} // namespace

#include "ClipParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace cliptest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
const Rectangle kEverything{-100, 100, -100, 100};

bool isFinite(const osg::Vec3& vector)
{
    return std::isfinite(vector.x()) && std::isfinite(vector.y()) && std::isfinite(vector.z());
}

void expectFinite(const Mesh& mesh)
{
    ASSERT_TRUE(mesh);
    for (const osg::Vec3& vertex : verticesOf(mesh))
        EXPECT_TRUE(isFinite(vertex));
    for (const osg::Vec3& normal : normalsOf(mesh))
        EXPECT_TRUE(isFinite(normal));
    for (const osg::Vec2& coordinate : textureCoordinatesOf(mesh))
        EXPECT_TRUE(coordinate.x() >= 0.0F && coordinate.x() <= 1.0F && coordinate.y() >= 0.0F &&
                    coordinate.y() <= 1.0F);
}

void expectUntouched(const Mesh& parent)
{
    EXPECT_FALSE(clipMesh(parent, kEverything)) << "nothing is made";

    const Mesh given = makeFlatGrid(2, 2);
    Mesh result = given;
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    makeClipper(kEverything)->clip(parent, 1.0, image, result);
    EXPECT_EQ(result, given);
    EXPECT_EQ(elementsOf(result).size(), 6U);
    EXPECT_FALSE(result->getStateSet());
    EXPECT_EQ(image->referenceCount(), 1) << "let go of";
}

// ---- no mesh at all

TEST(MeshClipOfBadInput, EmptyParentLeavesTheResultUntouched)
{
    expectUntouched(nullptr);
}

TEST(MeshClipOfBadInput, ParentWithoutPrimitivesLeavesTheResultUntouched)
{
    expectUntouched(new osg::Geometry);
}

TEST(MeshClipOfBadInput, FirstPrimitivesOfAnotherKindLeaveTheResultUntouched)
{
    const Mesh parent = makeFlatGrid(2, 2);
    parent->insertPrimitiveSet(0, new osg::DrawArrays(GL_TRIANGLES, 0, 3));
    expectUntouched(parent);

    const Mesh narrow = makeFlatGrid(2, 2);
    const osg::ref_ptr<osg::DrawElementsUShort> elements = new osg::DrawElementsUShort(GL_TRIANGLES);
    elements->push_back(0);
    elements->push_back(1);
    elements->push_back(2);
    narrow->setPrimitiveSet(0, elements);
    expectUntouched(narrow);
}

TEST(MeshClipOfBadInput, ParentWithoutVerticesOfThreeFloatsLeavesTheResultUntouched)
{
    const Mesh parent = makeFlatGrid(2, 2);
    parent->setVertexArray(nullptr);
    expectUntouched(parent);
    parent->setVertexArray(new osg::Vec4Array(4));
    expectUntouched(parent);
}

TEST(MeshClipOfBadInput, OnlyTheFirstPrimitivesAreClipped)
{
    const Mesh parent = makeFlatGrid(2, 2);
    parent->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLES, 0, 3));
    EXPECT_EQ(elementsOf(clipMesh(parent, kEverything)).size(), 6U);
}

TEST(MeshClipOfBadInput, NoElementsGiveAMeshWithoutTriangles)
{
    const Mesh result = clipMesh(makeMesh({{0, 0, 0}}, {}), kEverything);
    ASSERT_TRUE(result);
    EXPECT_THAT(verticesOf(result), IsEmpty());
    EXPECT_THAT(elementsOf(result), IsEmpty());
}

// ---- elements

TEST(MeshClipOfBadInput, TriangleThatNamesAVertexBeyondTheEndIsSkipped)
{
    const Mesh parent = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 3, 0, 1, 2, 4294967295U, 1, 2});
    EXPECT_THAT(elementsOf(clipMesh(parent, kEverything)), ElementsAre(0, 1, 2));
}

TEST(MeshClipOfBadInput, ElementsThatMakeNoWholeTriangleAreIgnored)
{
    const std::vector<osg::Vec3> vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    EXPECT_EQ(elementsOf(clipMesh(makeMesh(vertices, {0, 1, 2, 0, 1}), kEverything)).size(), 3U);
    EXPECT_EQ(elementsOf(clipMesh(makeMesh(vertices, {0, 1, 2, 0}), kEverything)).size(), 3U);
    EXPECT_THAT(elementsOf(clipMesh(makeMesh(vertices, {0, 1}), kEverything)), IsEmpty());
}

// ---- normals and texture coordinates

TEST(MeshClipOfBadInput, ParentWithoutNormalsFacesUpwards)
{
    const Mesh parent = makeFlatGrid(2, 2);
    for (osg::Array* normals : {static_cast<osg::Array*>(nullptr), static_cast<osg::Array*>(new osg::Vec3bArray(4))})
    {
        parent->setNormalArray(normals);
        for (const Rectangle& rectangle : {kEverything, Rectangle{0.5, 2, 0.5, 2}})
        {
            const Mesh result = clipMesh(parent, rectangle);
            EXPECT_FALSE(normalsOf(result).empty());
            for (const osg::Vec3& normal : normalsOf(result))
                EXPECT_NEAR((normal - osg::Vec3(0, 0, 1)).length(), 0.0F, 1e-6F);
        }
    }
}

TEST(MeshClipOfBadInput, VerticesBeyondTheLastNormalFaceUpwards)
{
    const Mesh parent = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}, {{1, 0, 0}, {0, 1, 0}});
    EXPECT_THAT(normalsOf(clipMesh(parent, kEverything)),
                ElementsAre(osg::Vec3(1, 0, 0), osg::Vec3(0, 1, 0), osg::Vec3(0, 0, 1)));
}

TEST(MeshClipOfBadInput, ParentWithoutTextureCoordinatesIsClippedLikeAnyOther)
{
    const Mesh parent = makeFlatGrid(2, 2);
    parent->setTexCoordArray(0, nullptr);
    const Mesh result = clipMesh(parent, {0, 1, 0, 1});
    EXPECT_EQ(textureCoordinatesOf(result)[0], osg::Vec2(0, 1));
}

// ---- numbers

TEST(MeshClipOfBadInput, TriangleWithACornerThatIsNotFiniteIsSkipped)
{
    for (const float wrong : {kNan, kInfinity, -kInfinity})
        for (int axis = 0; axis < 3; ++axis)
            for (const Rectangle& rectangle : {kEverything, Rectangle{0.25, 0.5, 0.25, 0.5}})
            {
                std::vector<osg::Vec3> vertices = {{0, 0, 0}, {1, 0.125F, 0.25F}, {0.125F, 1, 0.5F}, {2, 2, 2}};
                vertices[3][axis] = wrong;
                const Mesh result = clipMesh(makeMesh(vertices, {0, 1, 3, 0, 1, 2, 3, 1, 2}), rectangle);
                SCOPED_TRACE(testing::Message() << wrong << " on axis " << axis);
                EXPECT_EQ(planArea(result), planArea(clipMesh(makeMesh(vertices, {0, 1, 2}), rectangle)));
                expectFinite(result);
            }
}

TEST(MeshClipOfBadInput, HugeTriangleIsCutToTheRectangle)
{
    const float huge = 1e18F;
    const Mesh result = clipMesh(makeTriangle({-huge, -huge, 0}, {huge, -huge, 0}, {0, huge, 0}), {-8, 8, -8, 8});
    expectFinite(result);
}

TEST(MeshClipOfBadInput, DepthThatIsNotFiniteGivesSkirtsWithoutDepth)
{
    for (const float depth : {kNan, kInfinity, -kInfinity})
        expectFinite(clipMesh(makeFlatGrid(2, 2), {0, 1, 0, 1}, depth));
}

TEST(MeshClipOfBadInput, RectangleWithoutWidthOrHeightGivesNoArea)
{
    for (const Rectangle& rectangle :
         {Rectangle{0.5, 0.5, 0, 1}, Rectangle{0, 1, 0.5, 0.5}, Rectangle{0.5, 0.5, 0.5, 0.5}, Rectangle{1, 1, 0, 1}})
    {
        const Mesh result = clipMesh(makeFlatGrid(3, 3), rectangle);
        expectFinite(result);
        EXPECT_EQ(planArea(result), 0.0);
    }
}

TEST(MeshClipOfBadInput, RectangleTheWrongWayRoundGivesNothing)
{
    for (const Rectangle& rectangle : {Rectangle{2, 0, 0, 2}, Rectangle{0, 2, 2, 0}, Rectangle{2, 0, 2, 0}})
        EXPECT_THAT(elementsOf(clipMesh(makeFlatGrid(3, 3), rectangle)), IsEmpty());
}

TEST(MeshClipOfBadInput, RectangleThatIsNotFiniteIsNoCrash)
{
    EXPECT_THAT(elementsOf(clipMesh(makeFlatGrid(3, 3), {kNan, kNan, kNan, kNan})), IsEmpty());
    expectFinite(clipMesh(makeFlatGrid(3, 3), {-kInfinity, kInfinity, -kInfinity, kInfinity}));
}

TEST(MeshClipOfBadInput, RectangleThatWasNeverSetIsNoCrash)
{
    const osg::ref_ptr<MeshClipByRasterOverlay> clipper = new MeshClipByRasterOverlay;
    Mesh result;
    clipper->clip(makeFlatGrid(3, 3), 1.0, nullptr, result);
    expectFinite(result);
}

} // namespace

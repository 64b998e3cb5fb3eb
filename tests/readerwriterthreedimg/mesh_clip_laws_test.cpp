#include "ClipParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace cliptest;

namespace
{

constexpr float kTolerance = 1e-4F; // float positions of some tens of units

/** Neither flat nor a plane, and different everywhere. */
float hill(GLuint column, GLuint row)
{
    const auto x = static_cast<float>(column);
    const auto y = static_cast<float>(row);
    return 3.0F * std::sin(x) + 2.0F * std::cos(1.7F * y) + 0.25F * x * y;
}

/** The height of that grid's surface: in the plane of the triangle below or above the cell's falling diagonal. */
double surfaceHeight(double x, double y, GLuint lastCell)
{
    const GLuint column = std::min(static_cast<GLuint>(x), lastCell);
    const GLuint row = std::min(static_cast<GLuint>(y), lastCell);
    const double u = x - column;
    const double v = y - row;
    const double se = hill(column + 1, row);
    const double nw = hill(column, row + 1);
    if (u + v <= 1.0) return hill(column, row) * (1.0 - u - v) + se * u + nw * v;
    return hill(column + 1, row + 1) * (u + v - 1.0) + nw * (1.0 - u) + se * (1.0 - v);
}

void expectIndicesBelowTheVertexCount(const Mesh& mesh)
{
    for (const GLuint index : elementsOf(mesh))
        ASSERT_LT(index, verticesOf(mesh).size());
}

void expectVerticesInside(const Mesh& mesh, const Rectangle& rectangle)
{
    for (const osg::Vec3& vertex : verticesOf(mesh))
    {
        EXPECT_GE(vertex.x(), rectangle.xmin - kTolerance);
        EXPECT_LE(vertex.x(), rectangle.xmax + kTolerance);
        EXPECT_GE(vertex.y(), rectangle.ymin - kTolerance);
        EXPECT_LE(vertex.y(), rectangle.ymax + kTolerance);
    }
}

void expectExactlyAtTheBorder(float position, double border, float coordinate, float expected)
{
    if (position != static_cast<float>(border)) return;
    EXPECT_EQ(coordinate, expected) << "border at " << border;
}

void expectTextureFitsTheRectangle(const Mesh& mesh, const Rectangle& rectangle)
{
    const osg::Vec3Array& vertices = verticesOf(mesh);
    for (std::size_t i = 0; i < vertices.size(); ++i)
    {
        const osg::Vec2 coordinate = textureCoordinatesOf(mesh)[i];
        const double s = (vertices[i].x() - rectangle.xmin) / (rectangle.xmax - rectangle.xmin);
        const double t = (rectangle.ymax - vertices[i].y()) / (rectangle.ymax - rectangle.ymin);
        EXPECT_GE(coordinate.x(), 0.0F);
        EXPECT_LE(coordinate.x(), 1.0F);
        EXPECT_GE(coordinate.y(), 0.0F);
        EXPECT_LE(coordinate.y(), 1.0F);
        EXPECT_NEAR(coordinate.x(), s, kTolerance);
        EXPECT_NEAR(coordinate.y(), t, kTolerance);
        expectExactlyAtTheBorder(vertices[i].x(), rectangle.xmin, coordinate.x(), 0.0F);
        expectExactlyAtTheBorder(vertices[i].x(), rectangle.xmax, coordinate.x(), 1.0F);
        expectExactlyAtTheBorder(vertices[i].y(), rectangle.ymax, coordinate.y(), 0.0F);
        expectExactlyAtTheBorder(vertices[i].y(), rectangle.ymin, coordinate.y(), 1.0F);
    }
}

/** Whatever the parent and the rectangle are. */
void expectLaws(const Mesh& mesh, const Rectangle& rectangle)
{
    ASSERT_TRUE(mesh);
    expectIndicesBelowTheVertexCount(mesh);
    expectVerticesInside(mesh, rectangle);
    expectTextureFitsTheRectangle(mesh, rectangle);
}

/** The side of the rectangle that all corners lie on: 0 west, 1 east, 2 south, 3 north; 4 if there is none. */
std::size_t sideOf(const Corners& corners, const Rectangle& rectangle)
{
    const std::array<double, 4> borders = {rectangle.xmin, rectangle.xmax, rectangle.ymin, rectangle.ymax};
    for (std::size_t side = 0; side < borders.size(); ++side)
    {
        const auto isAt = [&](const osg::Vec3& corner)
        { return std::abs(corner[side / 2] - borders[side]) < kTolerance; };
        if (std::all_of(corners.begin(), corners.end(), isAt)) return side;
    }
    return borders.size();
}

/** How much of its side a skirt triangle covers; negative if it faces into the rectangle. */
double coveredLength(const Corners& corners, std::size_t side)
{
    const std::array<osg::Vec3d, 4> outwards = {-osg::X_AXIS, osg::X_AXIS, -osg::Y_AXIS, osg::Y_AXIS};
    const unsigned int along = side < 2 ? 1 : 0;
    const auto [low, high] = std::minmax({corners[0][along], corners[1][along], corners[2][along]});
    const double facing = crossOf(corners) * outwards[side];
    if (facing == 0.0) return 0.0;
    return facing > 0.0 ? high - low : low - high;
}

/** Skirts stand on the sides only, face away from the rectangle and cover each side once. A triangle without area, left
 * of a neighbour that only touches the rectangle, has skirts back to back: they come to nothing. */
void expectSkirtsAroundTheRectangle(const Mesh& mesh, const Rectangle& rectangle)
{
    std::array<double, 4> lengths{};
    for (const Corners& corners : skirtsOf(mesh))
    {
        const std::size_t side = sideOf(corners, rectangle);
        ASSERT_LT(side, lengths.size()) << "a skirt inside";
        lengths[side] += coveredLength(corners, side) / 2.0; // two triangles to a skirt
    }
    EXPECT_NEAR(lengths[0], rectangle.ymax - rectangle.ymin, kTolerance);
    EXPECT_NEAR(lengths[1], rectangle.ymax - rectangle.ymin, kTolerance);
    EXPECT_NEAR(lengths[2], rectangle.xmax - rectangle.xmin, kTolerance);
    EXPECT_NEAR(lengths[3], rectangle.xmax - rectangle.xmin, kTolerance);
}

// ---- a grid of nine by nine posts cut in different ways

struct Cut
{
    const char* name;
    Rectangle rectangle;
};

void PrintTo(const Cut& cut, std::ostream* out)
{
    *out << cut.name;
}

class ClippedGrid : public testing::TestWithParam<Cut>
{
};

INSTANTIATE_TEST_SUITE_P(Cuts, ClippedGrid,
                         testing::Values(Cut{"AlongThePosts", {2, 6, 1, 5}}, Cut{"Whole", {0, 8, 0, 8}},
                                         Cut{"ThroughTheDiagonals", {1.5, 4.5, 2.5, 6.5}},
                                         Cut{"BetweenThePosts", {0.3, 5.7, 3.1, 6.9}},
                                         Cut{"PostsInOneDirection", {2, 6, 1.25, 5.75}},
                                         Cut{"InsideOneCell", {3.2, 3.9, 4.1, 4.7}},
                                         Cut{"InsideOneTriangle", {3.1, 3.3, 4.1, 4.3}}, Cut{"Quadrant", {0, 4, 4, 8}}),
                         [](const testing::TestParamInfo<Cut>& cut) { return std::string(cut.param.name); });

TEST_P(ClippedGrid, KeepsTheLawsOfEveryClip)
{
    const Rectangle& rectangle = GetParam().rectangle;
    expectLaws(clipMesh(makeGrid(9, 9, hill), rectangle), rectangle);
}

TEST_P(ClippedGrid, CoversTheRectangleOnce)
{
    const Mesh result = clipMesh(makeGrid(9, 9, hill), GetParam().rectangle);
    EXPECT_NEAR(planArea(result), GetParam().rectangle.area(), kTolerance);
    for (const Corners& corners : surfaceOf(result))
        EXPECT_GE(crossOf(corners).z(), 0.0) << "no triangle is turned over";
}

TEST_P(ClippedGrid, LiesOnTheParentsSurface)
{
    for (const Corners& corners : surfaceOf(clipMesh(makeGrid(9, 9, hill), GetParam().rectangle)))
        for (const osg::Vec3& corner : corners)
            EXPECT_NEAR(corner.z(), surfaceHeight(corner.x(), corner.y(), 7), 20 * kTolerance);
}

TEST_P(ClippedGrid, IsSkirtedAllAroundAndNowhereElse)
{
    const Mesh result = clipMesh(makeGrid(9, 9, hill), GetParam().rectangle);
    expectSkirtsAroundTheRectangle(result, GetParam().rectangle);
}

TEST_P(ClippedGrid, ClipOfAClipIsTheClip)
{
    const Rectangle& rectangle = GetParam().rectangle;
    const Mesh wider = clipMesh(makeGrid(9, 9, hill), {0, 7.3, 0.9, 8}); // skirted: its skirts must not come along
    const Rectangle common{std::max(rectangle.xmin, 0.0), std::min(rectangle.xmax, 7.3), std::max(rectangle.ymin, 0.9),
                           std::min(rectangle.ymax, 8.0)};
    const Mesh result = clipMesh(wider, common);
    expectLaws(result, common);
    EXPECT_NEAR(planArea(result), common.area(), kTolerance);
    for (const Corners& corners : surfaceOf(result))
        for (const osg::Vec3& corner : corners)
            EXPECT_NEAR(corner.z(), surfaceHeight(corner.x(), corner.y(), 7), 20 * kTolerance);
}

TEST(ClippedGridBetweenThePosts, HasNoSkirtThatFacesInwards)
{
    const Rectangle rectangle{0.3, 5.7, 3.1, 6.8};
    const Mesh result = clipMesh(makeGrid(9, 9, hill), rectangle);
    EXPECT_FALSE(skirtsOf(result).empty());
    for (const Corners& corners : skirtsOf(result))
        EXPECT_GT(coveredLength(corners, sideOf(corners, rectangle)), 0.0);
}

TEST(ClippedGridAlongThePosts, HasTheParentsVerticesAndNoOthers)
{
    const Mesh result = clipMesh(makeFlatGrid(5, 5), {1, 3, 1, 3});
    EXPECT_EQ(surfaceOf(result).size(), 8U);
    EXPECT_EQ(skirtsOf(result).size(), 8U * 2U);
    EXPECT_EQ(verticesOf(result).size(), 9U + 8U * 2U);
}

// A tile's 32 posts have no middle one: both cuts pass through cells.
TEST(ClippedGridQuadrants, CoverTheParentOnce)
{
    const Mesh parent = makeGrid(32, 32, hill);
    double area = 0.0;
    for (const Rectangle& quadrant : {Rectangle{0, 15.5, 0, 15.5}, Rectangle{15.5, 31, 0, 15.5},
                                      Rectangle{0, 15.5, 15.5, 31}, Rectangle{15.5, 31, 15.5, 31}})
    {
        const Mesh result = clipMesh(parent, quadrant);
        expectLaws(result, quadrant);
        expectSkirtsAroundTheRectangle(result, quadrant);
        EXPECT_NEAR(planArea(result), quadrant.area(), kTolerance);
        area += planArea(result);
    }
    EXPECT_NEAR(area, 961.0, 10 * kTolerance);
}

// ---- triangles at random

class RandomTriangles : public testing::Test
{
protected:
    static constexpr unsigned int kSeed = 20261121;

    float number() { return std::uniform_real_distribution<float>(-4.0F, 12.0F)(_random); }
    osg::Vec3 point() { return {number(), number(), number()}; }

    /** Counter-clockwise from above. */
    Corners triangle()
    {
        Corners corners = {point(), point(), point()};
        if (crossOf(corners).z() < 0.0) std::swap(corners[1], corners[2]);
        return corners;
    }

private:
    std::mt19937 _random{kSeed};
};

constexpr std::array<Rectangle, 4> kQuadrants = {Rectangle{-4, 3.3, -4, 4.7}, Rectangle{3.3, 12, -4, 4.7},
                                                 Rectangle{-4, 3.3, 4.7, 12}, Rectangle{3.3, 12, 4.7, 12}};

TEST_F(RandomTriangles, AreDividedByTheQuadrantsWithoutLossOrOverlap)
{
    for (int round = 0; round < 500; ++round)
    {
        const Corners corners = triangle();
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", round " << round);
        double area = 0.0;
        for (const Rectangle& quadrant : kQuadrants)
        {
            const Mesh result = clipMesh(makeTriangle(corners[0], corners[1], corners[2]), quadrant);
            expectLaws(result, quadrant);
            area += planArea(result);
        }
        EXPECT_NEAR(area, crossOf(corners).z() / 2.0, kTolerance);
    }
}

TEST_F(RandomTriangles, StayInTheirPlanes)
{
    for (int round = 0; round < 500; ++round)
    {
        const Corners corners = triangle();
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", round " << round);
        osg::Vec3d normal = crossOf(corners);
        normal.normalize();
        for (const Corners& part : surfaceOf(clipMesh(makeTriangle(corners[0], corners[1], corners[2]), {0, 8, 0, 8})))
            for (const osg::Vec3& corner : part)
                EXPECT_NEAR((osg::Vec3d(corner) - osg::Vec3d(corners[0])) * normal, 0.0, kTolerance);
    }
}

TEST_F(RandomTriangles, OfOneMeshAreClippedOneByOne)
{
    std::vector<osg::Vec3> vertices;
    std::vector<GLuint> elements;
    double area = 0.0;
    const Rectangle rectangle{0, 8, 0, 8};
    for (GLuint i = 0; i < 200; ++i)
    {
        const Corners corners = triangle();
        area += planArea(clipMesh(makeTriangle(corners[0], corners[1], corners[2]), rectangle));
        vertices.insert(vertices.end(), corners.begin(), corners.end());
        elements.insert(elements.end(), {3 * i, 3 * i + 1, 3 * i + 2});
    }
    const Mesh result = clipMesh(makeMesh(vertices, elements), rectangle);
    expectLaws(result, rectangle);
    EXPECT_NEAR(planArea(result), area, 0.01) << "seed " << kSeed;
}

} // namespace

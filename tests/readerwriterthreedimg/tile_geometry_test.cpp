#include "TerrainParts.h"
#include "readerwriterthreedimg/TileGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace cliptest;
using namespace terraintest;
using mvgeo::TileSurface;
using testing::ElementsAre;

namespace
{

constexpr float kNoData = -9999.0F;
constexpr float kMost = std::numeric_limits<float>::max();

/** 3 x 3 posts, 2 units apart, around the local origin (12, 22). */
TerrainTileInfo smallTile()
{
    TerrainTileInfo info = tileOver({10, 14, 20, 24}, 3);
    info.offsetX = 12.0;
    info.offsetY = 22.0;
    return info;
}

/** Rows from north to south; upright normals. */
TileSurface surface(const std::vector<float>& heights, bool hasNormals = true)
{
    const int posts = static_cast<int>(std::lround(std::sqrt(heights.size())));
    TileSurface result;
    result.grid = mvgeo::ElevationGrid(posts, posts, 0.0F);
    result.grid.heights = heights;
    if (hasNormals) result.normals.assign(heights.size(), osg::Vec3d(0, 0, 1));
    return result;
}

Mesh build(const TileSurface& tileSurface, TerrainTileInfo& info)
{
    return mvgeo::buildTileGeometry(tileSurface, kNoData, info);
}

TEST(TileGeometry, HasAVertexForEachPostFromTheSouthWest)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface({1, 2, 3, 4, 5, 6, 7, 8, 9}), info);
    const osg::Vec3Array& vertices = verticesOf(mesh);
    ASSERT_GE(vertices.size(), 9U);
    EXPECT_THAT(std::vector<osg::Vec3>(vertices.begin(), vertices.begin() + 9),
                ElementsAre(osg::Vec3(-2, -2, 7), osg::Vec3(0, -2, 8), osg::Vec3(2, -2, 9), //
                            osg::Vec3(-2, 0, 4), osg::Vec3(0, 0, 5), osg::Vec3(2, 0, 6),    //
                            osg::Vec3(-2, 2, 1), osg::Vec3(0, 2, 2), osg::Vec3(2, 2, 3)));
    EXPECT_EQ(info.minZ, 1.0);
    EXPECT_EQ(info.maxZ, 9.0);
}

TEST(TileGeometry, LaysTheImagesFirstRowAtTheNorth)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface(std::vector<float>(9, 0.0F)), info);
    const osg::Vec2Array& coordinates = textureCoordinatesOf(mesh);
    ASSERT_GE(coordinates.size(), 9U);
    EXPECT_THAT(std::vector<osg::Vec2>(coordinates.begin(), coordinates.begin() + 9),
                ElementsAre(osg::Vec2(0, 1), osg::Vec2(0.5, 1), osg::Vec2(1, 1),       //
                            osg::Vec2(0, 0.5), osg::Vec2(0.5, 0.5), osg::Vec2(1, 0.5), //
                            osg::Vec2(0, 0), osg::Vec2(0.5, 0), osg::Vec2(1, 0)));
}

TEST(TileGeometry, SplitsEachCellFromItsSouthEastToItsNorthWest)
{
    TerrainTileInfo info = smallTile();
    const std::vector<GLuint> elements = elementsOf(build(surface(std::vector<float>(9, 0.0F)), info));
    ASSERT_GE(elements.size(), 24U);
    EXPECT_THAT(std::vector<GLuint>(elements.begin(), elements.begin() + 24),
                ElementsAre(0, 1, 3, 1, 4, 3, 1, 2, 4, 2, 5, 4, 3, 4, 6, 4, 7, 6, 4, 5, 7, 5, 8, 7));
}

TEST(TileGeometry, GivesEachVertexItsPostsNormal)
{
    TileSurface tileSurface = surface(std::vector<float>(9, 0.0F));
    tileSurface.normals[0] = {0.5, 0.25, 0.125}; // north-west
    tileSurface.normals[8] = {-0.5, 0.0, 2.0};   // south-east
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(tileSurface, info);
    EXPECT_EQ(normalsOf(mesh).at(6), osg::Vec3(0.5F, 0.25F, 0.125F));
    EXPECT_EQ(normalsOf(mesh).at(2), osg::Vec3(-0.5F, 0.0F, 2.0F));
    EXPECT_EQ(mesh->getNormalBinding(), osg::Geometry::BIND_PER_VERTEX);
    EXPECT_EQ(normalsOf(mesh).size(), verticesOf(mesh).size());
}

TEST(TileGeometry, HasNoNormalsThatNobodyWants)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface(std::vector<float>(9, 0.0F), false), info);
    EXPECT_EQ(mesh->getNormalArray(), nullptr);
    EXPECT_EQ(textureCoordinatesOf(mesh).size(), verticesOf(mesh).size());
}

// 31 steps of (0.9 - 0.3) / 31 from 0.3 do not end at 0.9.
TEST(TileGeometry, EndsExactlyOnItsNorthernAndEasternEdge)
{
    TerrainTileInfo info = tileOver({0.3, 0.9, 137.9995833, 138.7}, 32);
    info.offsetX = 0.1;
    info.offsetY = 137.1;
    const Mesh mesh = build(surface(std::vector<float>(1024, 0.0F)), info);
    for (std::size_t row = 0; row < 32; ++row)
        EXPECT_EQ(verticesOf(mesh).at(row * 32 + 31).x(), static_cast<float>(0.9 - 0.1));
    for (std::size_t column = 0; column < 32; ++column)
        EXPECT_EQ(verticesOf(mesh).at(31 * 32 + column).y(), static_cast<float>(138.7 - 137.1));
}

TEST(TileGeometry, PutsPostsWithoutDataAtZero)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface({50, kNoData, 60, nan, 70, infinite, -infinite, 80, 90}), info);
    for (const auto& [vertex, z] : {std::pair{0U, 0.0F},
                                    {1U, 80.0F},
                                    {2U, 90.0F},
                                    {3U, 0.0F},
                                    {4U, 70.0F},
                                    {5U, 0.0F},
                                    {6U, 50.0F},
                                    {7U, 0.0F},
                                    {8U, 60.0F}})
        EXPECT_EQ(verticesOf(mesh).at(vertex).z(), z) << vertex;
    EXPECT_EQ(info.minZ, 0.0);
    EXPECT_EQ(info.maxZ, 90.0);
    EXPECT_EQ(surfaceOf(mesh).size(), 8U); // no hole
}

// ---- skirts

// Depth: 2 % of the root of 4 * 4 + 4 * 4 + 8 * 8 = 96.
TEST(TileGeometry, HangsSkirtsByAFiftiethOfItsDiagonal)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface({1, 2, 3, 4, 5, 6, 7, 8, 9}), info);
    const osg::Vec3Array& vertices = verticesOf(mesh);
    ASSERT_EQ(vertices.size(), 9U + 4U * 3U);
    for (std::size_t low = 9; low < vertices.size(); ++low)
    {
        const auto isAbove = [&](const osg::Vec3& v)
        { return v.x() == vertices[low].x() && v.y() == vertices[low].y(); };
        const auto above = std::find_if(vertices.begin(), vertices.begin() + 9, isAbove);
        ASSERT_NE(above, vertices.begin() + 9);
        EXPECT_NEAR(above->z() - vertices[low].z(), 0.02 * std::sqrt(96.0), 1e-5);
        const auto index = static_cast<std::size_t>(above - vertices.begin());
        EXPECT_EQ(textureCoordinatesOf(mesh)[low], textureCoordinatesOf(mesh)[index]);
        EXPECT_EQ(normalsOf(mesh)[low], normalsOf(mesh)[index]);
    }
    EXPECT_EQ(elementsOf(mesh).size(), 3U * (8U + 4U * 2U * 2U)); // surface, four sides of two pieces of two triangles
}

TEST(TileGeometry, HangsSkirtsThatFaceOutwards)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface({1, 2, 3, 4, 5, 6, 7, 8, 9}), info);
    const std::vector<Corners> skirts = skirtsOf(mesh);
    ASSERT_EQ(skirts.size(), 16U);
    for (const Corners& corners : skirts)
    {
        const osg::Vec3d middle = (corners[0] + corners[1] + corners[2]) / 3.0F;
        const osg::Vec3d outward =
            std::abs(middle.x()) > std::abs(middle.y()) ? osg::Vec3d(middle.x(), 0, 0) : osg::Vec3d(0, middle.y(), 0);
        EXPECT_GT(crossOf(corners) * outward, 0.0);
    }
}

TEST(TileGeometry, CoversItsExtentOnceSeenFromAbove)
{
    TerrainTileInfo info = smallTile();
    const Mesh mesh = build(surface({1, 2, 3, 4, 5, 6, 7, 8, 9}), info);
    EXPECT_DOUBLE_EQ(planArea(mesh), 16.0);
    for (const Corners& corners : surfaceOf(mesh))
        EXPECT_GT(crossOf(corners).z(), 0.0);
}

TEST(TileGeometry, IsFiniteAtExtremeHeights)
{
    for (const float low : {-kMost, -1e30F, 0.0F})
        for (const float high : {kMost, 1e30F, 0.0F})
        {
            TerrainTileInfo info = smallTile();
            const Mesh mesh = build(surface({low, high, low, high, low, high, low, high, low}), info);
            for (const osg::Vec3& vertex : verticesOf(mesh))
                EXPECT_TRUE(std::isfinite(vertex.z())) << low << ' ' << high;
            EXPECT_EQ(info.minZ, low);
            EXPECT_EQ(info.maxZ, high);
        }
}

// ---- the padding around the raster

// 5 x 5 posts one unit apart, of which rows 1 to 3 lie in the DEM.
TEST(TileGeometry, HasNoVerticesInThePadding)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootYmin = 1.0;
    info.rootYmax = 3.0;
    const Mesh mesh = build(surface(std::vector<float>(25, 6.0F)), info);
    EXPECT_EQ(verticesOf(mesh).size(), 15U + 2U * 3U); // skirts in the west and east only
    EXPECT_EQ(surfaceOf(mesh).size(), 16U);
    EXPECT_EQ(skirtsOf(mesh).size(), 8U);
    EXPECT_EQ(verticesOf(mesh)[0], osg::Vec3(0, 1, 6));
    EXPECT_EQ(textureCoordinatesOf(mesh)[0], osg::Vec2(0, 0.75F));
    EXPECT_EQ(verticesOf(mesh)[14], osg::Vec3(4, 3, 6));
}

TEST(TileGeometry, KeepsToPostsInsideADemThatEndsBetweenTwo)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootXmin = 0.5;
    info.rootXmax = 3.5;
    const Mesh mesh = build(surface(std::vector<float>(25, 6.0F)), info);
    EXPECT_EQ(verticesOf(mesh)[0].x(), 1.0F);
    EXPECT_EQ(verticesOf(mesh).size(), 15U + 2U * 3U);
}

TEST(TileGeometry, TakesPostsOnTheDemsEdgeForInsideDespiteRounding)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootXmin = 1.0 + 1e-9;
    info.rootXmax = 3.0 - 1e-9;
    EXPECT_EQ(verticesOf(build(surface(std::vector<float>(25, 6.0F)), info)).size(), 15U + 2U * 3U);
}

// The DEM is a line between two rows of its pixels: no cell, so no triangle.
TEST(TileGeometry, OfOneRowOfPostsHasNoTriangles)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootYmin = 2.0;
    info.rootYmax = 2.0;
    const Mesh mesh = build(surface(std::vector<float>(25, 6.0F)), info);
    EXPECT_EQ(verticesOf(mesh).size(), 5U + 2U); // the row, and below its two ends on the border
    EXPECT_TRUE(elementsOf(mesh).empty());
}

TEST(TileGeometry, OfATileInThePaddingIsEmpty)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootYmin = 10.0;
    info.rootYmax = 20.0;
    const Mesh mesh = build(surface(std::vector<float>(25, 6.0F)), info);
    EXPECT_TRUE(verticesOf(mesh).empty());
    EXPECT_TRUE(elementsOf(mesh).empty());
    EXPECT_EQ(info.minZ, -1.0);
    EXPECT_EQ(info.maxZ, 1.0);
}

TEST(TileGeometry, IsEmptyForAnExtentOfNoNumbers)
{
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5);
    info.rootXmin = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(verticesOf(build(surface(std::vector<float>(25, 6.0F)), info)).empty());
}

// ---- texture

TEST(TileImage, TakesThePixelsWithTheirFirstRowFirst)
{
    const TerrainTileInfo info = tileOver({0, 4, 0, 4}, 5, 3); // rows of 9 bytes: no padding
    mvgeo::RgbPixels pixels(new unsigned char[27]);
    for (int i = 0; i < 27; ++i)
        pixels[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    const unsigned char* const bytes = pixels.get();
    const osg::ref_ptr<osg::Image> image = mvgeo::makeTileImage(std::move(pixels), info, "0_0_0.jpeg");
    EXPECT_EQ(image->data(), bytes);
    EXPECT_THAT(texel(*image, 0, 0), ElementsAre(0, 1, 2));
    EXPECT_THAT(texel(*image, 2, 1), ElementsAre(15, 16, 17));
    EXPECT_EQ(image->s(), 3);
    EXPECT_EQ(image->t(), 3);
    EXPECT_EQ(image->getPacking(), 1U);
    EXPECT_EQ(image->getPixelFormat(), static_cast<GLenum>(GL_RGB));
    EXPECT_EQ(image->getInternalTextureFormat(), GL_RGB);
    EXPECT_EQ(image->getDataType(), static_cast<GLenum>(GL_UNSIGNED_BYTE));
    EXPECT_EQ(image->getAllocationMode(), osg::Image::USE_NEW_DELETE);
    EXPECT_EQ(image->getFileName(), "0_0_0.jpeg");
}

TEST(TileTexture, IsSmoothAndDoesNotRepeat)
{
    const Mesh mesh = new osg::Geometry;
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    mvgeo::setTileTexture(*mesh, image);
    const osg::Texture2D* texture = textureOf(*mesh);
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(texture->getImage(), image);
    EXPECT_FALSE(texture->getResizeNonPowerOfTwoHint());
    EXPECT_EQ(texture->getFilter(osg::Texture::MIN_FILTER), osg::Texture::LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(texture->getFilter(osg::Texture::MAG_FILTER), osg::Texture::LINEAR);
    for (const auto axis : {osg::Texture::WRAP_S, osg::Texture::WRAP_T, osg::Texture::WRAP_R})
        EXPECT_EQ(texture->getWrap(axis), osg::Texture::CLAMP_TO_EDGE);
    EXPECT_EQ(mesh->getStateSet()->getTextureMode(0, GL_TEXTURE_2D),
              static_cast<unsigned int>(osg::StateAttribute::ON));
}

} // namespace

#include "TerrainParts.h"
#include "readerwriterthreedimg/GeometryContainer.h"
#include "readerwriterthreedimg/TerrainTileBuilder.h"

#include <osg/ValueObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace cliptest;
using namespace terraintest;
using mvgeo::buildTerrainTile;
using mvgeo::TerrainRasters;
using testing::ElementsAre;

namespace
{

constexpr const char* kDem = "/vsimem/terrain_tile_builder_dem.tif";
constexpr const char* kDom = "/vsimem/terrain_tile_builder_dom.tif";

/** A DEM at one height, its pixels `pixel` units large, from (0, 0) to (100, 100). */
TerrainRasters flatDem(double height, double pixel = 1.0, GDALDataType type = GDT_Float32)
{
    TestRaster raster = floatDem(static_cast<int>(100.0 / pixel), static_cast<int>(100.0 / pixel));
    raster.originY = 100.0;
    raster.pixelWidth = pixel;
    raster.pixelHeight = -pixel;
    raster.type = type;
    writeRaster(kDem, raster, height);
    return openedRasters("", kDem);
}

/** Options that hand over a mesh at height 77 from (0, 0) to (20, 20). */
osg::ref_ptr<osgDB::Options> optionsWithParent()
{
    const Mesh parent = makeGrid(21, 21, [](GLuint, GLuint) { return 77.0F; });
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(parent);
    container->setName("ParentGeometry");
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->getOrCreateUserDataContainer()->addUserObject(container);
    return options;
}

/** What stands at the tile's first vertex; 77 if it was cut out of the parent. */
float heightOf(const osg::ref_ptr<osg::Node>& tile)
{
    const osg::Geometry* geometry = geometryOf(tile);
    return geometry ? verticesOf(const_cast<osg::Geometry*>(geometry)).at(0).z() : std::nanf("");
}

float builtHeight(const TerrainRasters& rasters, TerrainTileInfo info, const osgDB::Options* options = nullptr)
{
    return heightOf(buildTerrainTile(rasters, info, options));
}

// ---- the DEM's type

class DemType : public testing::TestWithParam<GDALDataType>
{
};

TEST_P(DemType, IsSupported)
{
    EXPECT_EQ(builtHeight(flatDem(5.0, 1.0, GetParam()), tileOver({10, 20, 10, 20}, 11)), 5.0F);
}
INSTANTIATE_TEST_SUITE_P(Real, DemType,
                         testing::Values(GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_Float32, GDT_Float64));

class UnsupportedDemType : public testing::TestWithParam<GDALDataType>
{
};

TEST_P(UnsupportedDemType, GivesNoTileAndOneWarningEach)
{
    const TerrainRasters rasters = flatDem(5.0, 10.0, GetParam());
    LogRecorder log;
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11);
    EXPECT_EQ(buildTerrainTile(rasters, info, nullptr), nullptr);
    EXPECT_EQ(buildTerrainTile(rasters, info, optionsWithParent()), nullptr);
    EXPECT_EQ(log.count(osg::WARN, "dem not supported data Type"), 2);
    EXPECT_EQ(log.lines().size(), 2U);
}
INSTANTIATE_TEST_SUITE_P(ByteAndComplex, UnsupportedDemType,
                         testing::Values(GDT_Byte, GDT_CInt16, GDT_CInt32, GDT_CFloat32, GDT_CFloat64));

// ---- the tile

TEST(TerrainTile, IsATransformToTheLocalOriginAboveOneGeometry)
{
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11);
    info.offsetX = 50.0;
    info.offsetY = 40.0;
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0), info, nullptr);
    const auto* transform = dynamic_cast<const osg::MatrixTransform*>(node.get());
    ASSERT_NE(transform, nullptr);
    EXPECT_EQ(transform->getMatrix(), osg::Matrixd::translate(50.0, 40.0, 0.0));
    ASSERT_EQ(transform->getNumChildren(), 1U);
    const Mesh mesh = geometryOf(node);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(verticesOf(mesh).at(0), osg::Vec3(-40, -30, 5));
    EXPECT_EQ(info.minZ, 5.0);
    EXPECT_EQ(info.maxZ, 5.0);
    EXPECT_TRUE(mesh->getNormalArray());
}

TEST(TerrainTile, HasNormalsOnlyIfAsked)
{
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11);
    info.normal = false;
    EXPECT_EQ(geometryOf(buildTerrainTile(flatDem(5.0), info, nullptr))->getNormalArray(), nullptr);
}

TEST(TerrainTile, NamesItsTextureByItsNumber)
{
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11, 16);
    info.lod = 3;
    info.x = 5;
    info.y = 2;
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0), info, nullptr);
    const osg::Image* image = imageOf(*geometryOf(node));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->getFileName(), "3_5_2.jpeg");
    EXPECT_EQ(image->s(), 16);
    EXPECT_EQ(image->t(), 16);
}

// 4 x 4 pixels, the north-western one red, the south-eastern one blue.
TEST(TerrainTile, ShowsTheImagesNorthWestAtItsNorthWesternVertex)
{
    TestRaster raster = colourDom(4, 4);
    writeRaster(kDom, raster,
                [](int band, int column, int row)
                {
                    if (column == 0 && row == 0) return band == 1 ? 255 : 1;
                    if (column == 3 && row == 3) return band == 3 ? 255 : 1;
                    return 128;
                });
    writeRaster(kDem, floatDem(4, 4), 5.0);
    TerrainTileInfo info = tileOver({0, 4, 0, 4}, 3, 8);
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(openedRasters(kDom, kDem), info, nullptr);
    const Mesh mesh = geometryOf(node);
    const osg::Image& image = *imageOf(*mesh);
    const auto colourAt = [&](float x, float y)
    {
        for (std::size_t i = 0; i < 9; ++i)
            if (verticesOf(mesh)[i].x() == x && verticesOf(mesh)[i].y() == y)
            {
                const osg::Vec2 coordinate = textureCoordinatesOf(mesh)[i]; // t counts the image's rows
                return texel(image, static_cast<int>(coordinate.x() * 7.0F), static_cast<int>(coordinate.y() * 7.0F));
            }
        return std::array<int, 3>{};
    };
    EXPECT_THAT(colourAt(0, 4), ElementsAre(255, 1, 1));
    EXPECT_THAT(colourAt(4, 0), ElementsAre(1, 1, 255));
    EXPECT_THAT(colourAt(4, 4), ElementsAre(128, 128, 128));
}

TEST(TerrainTile, IsBlackWithoutAnImage)
{
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11);
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0), info, nullptr);
    EXPECT_THAT(texel(*imageOf(*geometryOf(node)), 0, 0), ElementsAre(0, 0, 0));
}

TEST(TerrainTile, IsOfTheNoDataColourBesideTheImage)
{
    TestRaster raster = colourDom(4, 4);
    raster.noData = 200.0;
    writeRaster(kDom, raster, 9.0);
    TerrainRasters rasters = flatDem(5.0);
    const TerrainRasters image = openedRasters(kDom, "");
    rasters.dom = image.dom;
    rasters.domDataset = image.domDataset;
    TerrainTileInfo info = tileOver({50, 60, 50, 60}, 11);
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(rasters, info, nullptr);
    EXPECT_THAT(texel(*imageOf(*geometryOf(node)), 1, 1), ElementsAre(200, 200, 200));
    rasters.domDataset = nullptr;
    const osg::ref_ptr<osg::Node> unread = buildTerrainTile(rasters, info, nullptr);
    EXPECT_THAT(texel(*imageOf(*geometryOf(unread)), 1, 1), ElementsAre(0, 0, 0));
}

TEST(TerrainTile, IsFlatAtZeroWithoutADem)
{
    TerrainTileInfo info = tileOver({10, 20, 10, 20}, 11);
    EXPECT_EQ(heightOf(buildTerrainTile(TerrainRasters(), info, nullptr)), 0.0F);
    EXPECT_EQ(info.minZ, 0.0);
    EXPECT_EQ(info.maxZ, 0.0);
}

TEST(TerrainTile, IsFlatAtZeroBesideTheDem)
{
    EXPECT_EQ(builtHeight(flatDem(5.0), tileOver({1000, 1010, 10, 20}, 11)), 0.0F);
}

TEST(TerrainTile, InThePaddingHasNeitherVerticesNorTexture)
{
    TerrainTileInfo info = tileOver({10, 20, -20, -10}, 11);
    info.rootYmin = 0.0;
    info.rootYmax = 100.0;
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0), info, nullptr);
    const Mesh mesh = geometryOf(node);
    ASSERT_TRUE(mesh);
    EXPECT_TRUE(verticesOf(mesh).empty());
    EXPECT_EQ(imageOf(*mesh), nullptr);
    EXPECT_EQ(info.minZ, -1.0);
    EXPECT_EQ(info.maxZ, 1.0);
}

// ---- an exhausted DEM

struct Exhaustion
{
    double width, height; // of a tile of 11 posts
    bool isCut;
};

class DemExhaustion : public testing::TestWithParam<Exhaustion>
{
};

// Pixels of 2 units: exhausted where twice the posts' distance, a fifth of the tile, is smaller both ways.
TEST_P(DemExhaustion, IsJudgedByTwiceThePostsDistance)
{
    const TerrainTileInfo info = tileOver({4, 4 + GetParam().width, 4, 4 + GetParam().height}, 11);
    const float height = builtHeight(flatDem(5.0, 2.0), info, optionsWithParent());
    EXPECT_EQ(height, GetParam().isCut ? 77.0F : 5.0F);
}
INSTANTIATE_TEST_SUITE_P(Thresholds, DemExhaustion,
                         testing::Values(Exhaustion{10.0, 10.0, false}, Exhaustion{9.99, 10.0, false},
                                         Exhaustion{10.0, 9.99, false}, Exhaustion{9.99, 9.99, true},
                                         Exhaustion{1.0, 1.0, true}, Exhaustion{12.0, 1.0, false}));

TEST(TerrainTile, IsBuiltFromAnExhaustedDemWithoutAParent)
{
    const TerrainTileInfo info = tileOver({4, 5, 4, 5}, 11);
    EXPECT_EQ(builtHeight(flatDem(5.0, 2.0), info), 5.0F);
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    EXPECT_EQ(builtHeight(flatDem(5.0, 2.0), info, options), 5.0F);
    options->setUserValue("ParentGeometry", std::string("no container"));
    EXPECT_EQ(builtHeight(flatDem(5.0, 2.0), info, options), 5.0F);
    const osg::ref_ptr<GeometryContainer> empty = new GeometryContainer;
    empty->setName("ParentGeometry");
    const osg::ref_ptr<osgDB::Options> emptyOptions = new osgDB::Options;
    emptyOptions->getOrCreateUserDataContainer()->addUserObject(empty);
    EXPECT_EQ(builtHeight(flatDem(5.0, 2.0), info, emptyOptions), 5.0F);
}

TEST(TerrainTile, IsBuiltFromAnExhaustedDemIfTheParentCannotBeCut)
{
    const osg::ref_ptr<osgDB::Options> options = optionsWithParent();
    parentGeometryOn(*options)->removePrimitiveSet(0);
    EXPECT_EQ(builtHeight(flatDem(5.0, 2.0), tileOver({4, 5, 4, 5}, 11), options), 5.0F);
}

TEST(TerrainTile, IsCutOutOfTheParentWithoutADem)
{
    EXPECT_EQ(builtHeight(TerrainRasters(), tileOver({4, 16, 4, 16}, 11), optionsWithParent()), 77.0F);
}

// The parent's box is 20 x 20 x 0, half its diagonal 14.142: skirts hang by 2 % of that.
TEST(TerrainTile, CutOutOfTheParentReachesDownToItsSkirts)
{
    TerrainTileInfo info = tileOver({4, 5, 4, 5}, 11, 16);
    info.lod = 7;
    info.x = 8;
    info.y = 9;
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0, 2.0), info, optionsWithParent());
    EXPECT_EQ(info.maxZ, 77.0);
    EXPECT_NEAR(info.minZ, 77.0 - 0.02 * 10.0 * std::sqrt(2.0), 1e-5);
    const Mesh mesh = geometryOf(node);
    EXPECT_NEAR(planArea(mesh), 1.0, 1e-6);
    EXPECT_EQ(imageOf(*mesh)->getFileName(), "/cache/7_8_9.jpeg");
    EXPECT_EQ(imageOf(*mesh)->s(), 16);
}

TEST(TerrainTile, IsCutInLocalCoordinates)
{
    TerrainTileInfo info = tileOver({1004, 1005, 504, 505}, 11); // the parent is at 0..20
    info.offsetX = 1000.0;
    info.offsetY = 500.0;
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0, 2.0), info, optionsWithParent());
    const osg::BoundingBox box = geometryOf(node)->getBoundingBox();
    EXPECT_EQ(box.xMin(), 4.0F);
    EXPECT_EQ(box.yMax(), 5.0F);
    EXPECT_EQ(dynamic_cast<const osg::MatrixTransform&>(*node).getMatrix().getTrans(), osg::Vec3d(1000, 500, 0));
}

TEST(TerrainTile, CutBesideTheParentsMeshHasNeitherVerticesNorTexture)
{
    TerrainTileInfo info = tileOver({50, 51, 50, 51}, 11);
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0, 2.0), info, optionsWithParent());
    const Mesh mesh = geometryOf(node);
    ASSERT_TRUE(mesh);
    EXPECT_TRUE(verticesOf(mesh).empty());
    EXPECT_EQ(imageOf(*mesh), nullptr);
    EXPECT_EQ(info.minZ, -1.0);
    EXPECT_EQ(info.maxZ, 1.0);
}

TEST(TerrainTile, CutOutOfAnExtremeParentIsFinite)
{
    const osg::ref_ptr<osgDB::Options> options = optionsWithParent();
    auto& vertices = dynamic_cast<osg::Vec3Array&>(*parentGeometryOn(*options)->getVertexArray());
    vertices.at(0).z() = 1e30F;
    vertices.at(21 * 5 + 5).z() = -1e30F;
    TerrainTileInfo info = tileOver({4, 6, 4, 6}, 11);
    const osg::ref_ptr<osg::Node> node = buildTerrainTile(flatDem(5.0, 2.0), info, options);
    for (const osg::Vec3& vertex : verticesOf(geometryOf(node)))
        EXPECT_TRUE(std::isfinite(vertex.x()) && std::isfinite(vertex.y()) && std::isfinite(vertex.z()));
    EXPECT_TRUE(std::isfinite(info.minZ) && std::isfinite(info.maxZ));
    EXPECT_LT(info.minZ, -1e30); // there are skirts, deeper than the surface
}

} // namespace

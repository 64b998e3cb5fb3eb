#include "mvosggeomesh/KdDbGeoMeshImage.h"
#include "mvosggeomesh/MeshExtraction.h"
#include "support/LogRecorder.h"
#include "support/RecordingReceiver.h"
#include "support/TilePyramid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <osg/Texture1D>

#include <cmath>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

struct MeshExtraction : public testing::Test
{
    LogRecorder log;
    osg::ref_ptr<osg::Geometry> square = makeSquare(10.0, 20.0, 5.0, 2.0);
    mvgeo::ExtractionContext context{3, KdGeMatrix3d(), true};
    osg::Matrixd matrix;
    RecordingContainer container;
    mvgeo::TextureWorkItem item;

    /** The mesh, or null if the geometry was left out. */
    const RecordingMesh* extract()
    {
        mvgeo::extractGeometry(*square, matrix, context, container, item);
        return container.meshes.empty() ? nullptr : container.meshes.back().get();
    }
    osg::ref_ptr<osg::Texture2D> giveTexture(osg::Image* image)
    {
        osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
        square->getOrCreateStateSet()->setTextureAttributeAndModes(0, texture);
        return texture;
    }
};

} // namespace

TEST_F(MeshExtraction, HandsOverVerticesIndicesAndExtents)
{
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    EXPECT_THAT(mesh->vertices, ElementsAre(10, 20, 5, 12, 20, 5, 12, 22, 5, 10, 22, 5));
    EXPECT_THAT(mesh->texCoords, ElementsAre(0, 0, 1, 0, 1, 1, 0, 1));
    EXPECT_THAT(mesh->indices, ElementsAre(0, 1, 2, 0, 2, 3));
    EXPECT_THAT(mesh->normals, IsEmpty());
    EXPECT_THAT(mesh->min, ElementsAre(10, 20, 5));
    EXPECT_THAT(mesh->max, ElementsAre(12, 22, 5));
    EXPECT_EQ(mesh->transform, KdGeMatrix3d::kIdentity);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(MeshExtraction, CallsTheMeshInOrder)
{
    giveTexture(makeImage("a.png", 1, 2, 3));
    EXPECT_THAT(extract()->calls, ElementsAre("setTexture", "setTransform", "setVertices", "setIndices", "setExtents"));
}

TEST_F(MeshExtraction, HandsOverNormals)
{
    square->setNormalArray(new osg::Vec3Array(4, std::vector<osg::Vec3>(4, {0, 0, 1}).data()),
                           osg::Array::BIND_PER_VERTEX);
    EXPECT_THAT(extract()->normals, ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1));
}

// Reading four normals out of an array of one would read past its end.
TEST_F(MeshExtraction, LeavesOutArraysThatAreShorterThanTheVertices)
{
    square->setNormalArray(new osg::Vec3Array(1), osg::Array::BIND_OVERALL);
    square->setTexCoordArray(0, new osg::Vec2Array(3));
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    EXPECT_THAT(mesh->normals, IsEmpty());
    EXPECT_THAT(mesh->texCoords, IsEmpty());
}

TEST_F(MeshExtraction, LeavesOutArraysOfAnotherLayout)
{
    square->setNormalArray(new osg::Vec4Array(4), osg::Array::BIND_PER_VERTEX);
    square->setTexCoordArray(0, new osg::Vec3Array(4));
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    EXPECT_THAT(mesh->normals, IsEmpty());
    EXPECT_THAT(mesh->texCoords, IsEmpty());
    square->setVertexArray(new osg::Vec3dArray(4));
    mvgeo::extractGeometry(*square, matrix, context, container, item);
    EXPECT_EQ(container.meshes.size(), 1U);
}

// Host transform: a quarter turn about z, then a shift. Matrix: a quarter turn about x, then a shift, in row-vector
// form. (1, 2, 3) -> quarter turn about x: (1, -3, 2) -> + (10, 20, 30): (11, 17, 32)
//           -> quarter turn about z: (-17, 11, 32) -> + (100, 200, 300): (83, 211, 332).
TEST_F(MeshExtraction, PutsTheMatrixBeforeTheHostTransform)
{
    const double quarter = std::acos(0.0);
    context.hostTransform = KdGeMatrix3d::translation({100, 200, 300}) * KdGeMatrix3d::rotation(quarter, {0, 0, 1});
    matrix = osg::Matrixd::rotate(quarter, osg::Vec3d(1, 0, 0)) * osg::Matrixd::translate(10, 20, 30);
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    const KdGePoint3d placed = KdGePoint3d(1, 2, 3).transformBy(mesh->transform);
    EXPECT_NEAR(placed.x, 83.0, 1e-9);
    EXPECT_NEAR(placed.y, 211.0, 1e-9);
    EXPECT_NEAR(placed.z, 332.0, 1e-9);
    EXPECT_EQ(mesh->transform.entry[3][3], 1.0);
}

TEST_F(MeshExtraction, WidensNarrowIndicesInOrder)
{
    for (const int bits : {8, 16})
    {
        square = makeSquare(0, 0, 0, 1, bits);
        const RecordingMesh* mesh = extract();
        ASSERT_NE(mesh, nullptr) << bits;
        EXPECT_THAT(mesh->indices, ElementsAre(0, 1, 2, 0, 2, 3)) << bits;
        const auto* widened = dynamic_cast<osg::DrawElementsUInt*>(square->getPrimitiveSet(0));
        ASSERT_NE(widened, nullptr) << bits;
        EXPECT_EQ(widened->getMode(), static_cast<GLenum>(GL_TRIANGLES));
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(MeshExtraction, WideningLeavesOtherPrimitiveSetsAlone)
{
    const osg::ref_ptr<osg::PrimitiveSet> strip = new osg::DrawElementsUShort(GL_TRIANGLE_STRIP);
    const osg::ref_ptr<osg::PrimitiveSet> second = new osg::DrawElementsUShort(GL_TRIANGLES);
    square->setPrimitiveSet(0, strip);
    square->addPrimitiveSet(second);
    mvgeo::widenIndices(*square);
    EXPECT_EQ(square->getPrimitiveSet(0), strip);
    EXPECT_EQ(square->getPrimitiveSet(1), second);
    osg::ref_ptr<osg::Geometry> empty = new osg::Geometry;
    mvgeo::widenIndices(*empty);
    EXPECT_EQ(empty->getNumPrimitiveSets(), 0U);
}

TEST_F(MeshExtraction, WarnsOfAStripAndMakesNoMesh)
{
    square->setPrimitiveSet(0, new osg::DrawElementsUShort(GL_TRIANGLE_STRIP));
    EXPECT_EQ(extract(), nullptr);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    EXPECT_THAT(log.lines()[0].text, testing::MatchesRegex("src/mvosggeomesh [0-9]+geometry is not triangle"));
}

TEST_F(MeshExtraction, WarnsOfTrianglesWithoutIndicesAndMakesNoMesh)
{
    square->setPrimitiveSet(0, new osg::DrawArrays(GL_TRIANGLES, 0, 3));
    EXPECT_EQ(extract(), nullptr);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    EXPECT_THAT(log.lines()[0].text, testing::MatchesRegex("src/mvosggeomesh [0-9]+geometry DrawElements is not UInt"));
}

TEST_F(MeshExtraction, SaysNothingOfAGeometryWithoutVerticesOrPrimitives)
{
    square->removePrimitiveSet(0);
    EXPECT_EQ(extract(), nullptr);
    square = new osg::Geometry;
    EXPECT_EQ(extract(), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(MeshExtraction, WithoutTheFlagHandsOverNeitherTextureNorCoordinates)
{
    context.withTextures = false;
    const auto texture = giveTexture(nullptr);
    texture->setUserValue("imagePath", std::string("/cache/a.png"));
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    EXPECT_THAT(mesh->texCoords, IsEmpty());
    EXPECT_FALSE(mesh->image);
    EXPECT_EQ(item.isFilled, 0);
    EXPECT_EQ(texture->getImage(), nullptr);
}

TEST_F(MeshExtraction, HandsOverTheImageThatTheTextureHolds)
{
    giveTexture(makeImage("texture.jpg", 1, 2, 3));
    const RecordingMesh* mesh = extract();
    ASSERT_TRUE(mesh->image);
    EXPECT_EQ(mesh->textureKey(), "3_texture.jpg");
    const RecordedPixels pixels = mesh->pixels();
    EXPECT_EQ(pixels.width, 8U);
    EXPECT_EQ(pixels.height, 4U);
    EXPECT_EQ(pixels.dataType, static_cast<unsigned int>(GL_UNSIGNED_BYTE));
    EXPECT_EQ(pixels.pixelFormat, static_cast<unsigned int>(GL_RGB));
    EXPECT_EQ(pixels.internalFormat, static_cast<unsigned int>(GL_RGB));
    ASSERT_EQ(pixels.bytes.size(), 96U);
    EXPECT_EQ(pixels.bytes[95], 3);
    EXPECT_EQ(item.isFilled, 0);
}

TEST_F(MeshExtraction, FillsAWorkItemForPixelsThatAreOnlyInTheCache)
{
    const auto texture = giveTexture(nullptr);
    texture->setUserValue("imagePath", std::string("/cache/dir/a.png"));
    const RecordingMesh* mesh = extract();
    ASSERT_TRUE(mesh->image);
    EXPECT_EQ(mesh->textureKey(), "3_a.png");
    EXPECT_EQ(item.isFilled, 1);
    EXPECT_EQ(item.path, "/cache/dir/a.png");
    EXPECT_EQ(item.target, texture->getImage());
    EXPECT_EQ(item.target->getFileName(), "a.png");
    EXPECT_EQ(item.target->data(), nullptr);
}

TEST_F(MeshExtraction, MakesAMeshWithoutTextureWhereNeitherImageNorPathIsKnown)
{
    const auto texture = giveTexture(nullptr);
    ASSERT_NE(extract(), nullptr);
    EXPECT_FALSE(extract()->image);
    EXPECT_EQ(item.isFilled, 0);

    texture->setUserValue("imagePath", 12); // not text: counts as absent
    EXPECT_FALSE(extract()->image);
}

TEST_F(MeshExtraction, LooksAtTextureUnitZeroAndAtTwoDimensionsOnly)
{
    square->getOrCreateStateSet()->setTextureAttribute(0, new osg::Texture1D(makeImage("a.png", 1, 2, 3)));
    EXPECT_FALSE(extract()->image);
    square->setStateSet(new osg::StateSet);
    square->getStateSet()->setTextureAttribute(1, new osg::Texture2D(makeImage("a.png", 1, 2, 3)));
    EXPECT_FALSE(extract()->image);
}

TEST_F(MeshExtraction, GivesTexturesOfOneFileNameOneKey)
{
    giveTexture(makeImage("one.png", 1, 2, 3));
    const std::string first = extract()->textureKey();
    square = makeSquare(50, 50, 0, 1);
    giveTexture(makeImage("one.png", 9, 9, 9));
    EXPECT_EQ(extract()->textureKey(), first);
    context.modelId = 4;
    EXPECT_EQ(extract()->textureKey(), "4_one.png");
}

TEST_F(MeshExtraction, TakesAnEmptyTriangleList)
{
    square->setPrimitiveSet(0, new osg::DrawElementsUInt(GL_TRIANGLES));
    const RecordingMesh* mesh = extract();
    ASSERT_NE(mesh, nullptr);
    EXPECT_THAT(mesh->indices, IsEmpty());
}

// SHA-256 of the three bytes "abc", from the standard, byte by byte in decimal.
TEST(KdDbGeoMeshImage, IsNamedByItsPixelsWhereTheImageHasNoName)
{
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, 1);
    std::copy_n("abc", 3, image->data());
    KdDbGeoMeshImage hostImage(3);
    hostImage.setImage(image);
    std::string expected;
    for (const int byte :
         {0xba, 0x78, 0x16, 0xbf, 0x8f, 0x01, 0xcf, 0xea, 0x41, 0x41, 0x40, 0xde, 0x5d, 0xae, 0x22, 0x23,
          0xb0, 0x03, 0x61, 0xa3, 0x96, 0x17, 0x7a, 0x9c, 0xb4, 0x10, 0xff, 0x61, 0xf2, 0x00, 0x15, 0xad})
        expected += std::to_string(byte);
    EXPECT_EQ(hostImage.key(), expected + ".jpg");
}

TEST(KdDbGeoMeshImage, HoldsNothingWithoutImage)
{
    KdDbGeoMeshImage hostImage(3);
    unsigned int width = 77;
    unsigned int ignored = 0;
    unsigned char* data = nullptr;
    EXPECT_FALSE(hostImage.imageData(width, ignored, ignored, ignored, ignored, data));
    EXPECT_EQ(width, 77U);
    EXPECT_EQ(hostImage.key(), "");
}

TEST(KdDbGeoMeshImage, KeepsItsKeyWhenThePixelsAreReleased)
{
    const osg::ref_ptr<osg::Image> image = makeImage("a.png", 1, 2, 3);
    KdDbGeoMeshImage hostImage(3);
    hostImage.setImage(image);
    EXPECT_EQ(image->referenceCount(), 2);
    hostImage.releaseImage();
    EXPECT_EQ(image->referenceCount(), 1);
    EXPECT_EQ(hostImage.key(), "3_a.png");
    unsigned int ignored = 0;
    unsigned char* data = nullptr;
    EXPECT_FALSE(hostImage.imageData(ignored, ignored, ignored, ignored, ignored, data));
}

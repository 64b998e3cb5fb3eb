#include "updatescenegraph/UprightTextures.h"

#include "support/LogRecorder.h"
#include "support/TilePyramid.h"
#include "support/VisitorGeometry.h"

#include <osg/ImageSequence>

#include <gtest/gtest.h>

namespace
{

/** makeSquare()'s coordinates with y turned round where `turned`. */
void expectCoordinates(const osg::Geometry& geometry, bool turned)
{
    const osg::ref_ptr<osg::Geometry> plain = makeSquare(0, 0, 0, 1);
    const auto& before = dynamic_cast<const osg::Vec2Array&>(*plain->getTexCoordArray(0));
    const auto& after = dynamic_cast<const osg::Vec2Array&>(*geometry.getTexCoordArray(0));
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
    {
        EXPECT_EQ(after[i].x(), before[i].x());
        EXPECT_EQ(after[i].y(), turned ? 1.0F - before[i].y() : before[i].y());
    }
}

osg::ref_ptr<osg::Geometry> squareWith(const osg::ref_ptr<osg::Image>& image)
{
    osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 1);
    square->getOrCreateStateSet()->setTextureAttribute(0, new osg::Texture2D(image));
    return square;
}

osg::ref_ptr<osg::Image> imageFromTop(const std::string& name)
{
    osg::ref_ptr<osg::Image> image = makeImage(name, 1, 2, 3);
    image->setOrigin(osg::Image::TOP_LEFT);
    return image;
}

TEST(UprightTextures, CoordinatesAreTurnedForAnImageThatStartsAtTheTop)
{
    for (const char* name : {"c.ktx", "a/c.KTX2"})
    {
        SCOPED_TRACE(name);
        const osg::ref_ptr<osg::Image> image = imageFromTop(name);
        const osg::ref_ptr<osg::Geometry> square = squareWith(image);
        mvgeo::makeTexturesUpright(*square);
        expectCoordinates(*square, true);
        EXPECT_EQ(image->getOrigin(), osg::Image::BOTTOM_LEFT) << "as the coordinates now have it";
        mvgeo::makeTexturesUpright(*square);
        expectCoordinates(*square, true);
    }
}

TEST(UprightTextures, OtherImagesAreLeftAlone)
{
    for (const auto& image : {makeImage("c.ktx2", 1, 2, 3), imageFromTop("c.dds"), imageFromTop("c.png")})
    {
        SCOPED_TRACE(image->getFileName());
        const osg::ref_ptr<osg::Geometry> square = squareWith(image);
        const osg::Image::Origin before = image->getOrigin();
        mvgeo::makeTexturesUpright(*square);
        expectCoordinates(*square, false);
        EXPECT_EQ(image->getOrigin(), before);
    }
}

TEST(UprightTextures, ImageAndCoordinatesMayBeShared)
{
    const osg::ref_ptr<osg::Image> image = imageFromTop("c.ktx2");
    const osg::ref_ptr<osg::Geometry> one = squareWith(image);
    const osg::ref_ptr<osg::Geometry> two = squareWith(image);
    two->setTexCoordArray(0, one->getTexCoordArray(0));
    const osg::ref_ptr<osg::Geometry> other = makeSquare(0, 0, 0, 1); // without texture
    other->setTexCoordArray(0, one->getTexCoordArray(0));
    const osg::ref_ptr<osg::Group> tile = new osg::Group;
    for (const auto& geometry : {one, two, one, other})
        tile->addChild(geometry);
    mvgeo::makeTexturesUpright(*tile);
    expectCoordinates(*one, true);
    expectCoordinates(*two, true);
    expectCoordinates(*other, false);
}

TEST(UprightTextures, OfASequenceTheFirstImageIsTakenAndTheLogSaysSo)
{
    const osg::ref_ptr<osg::ImageSequence> sequence = new osg::ImageSequence;
    sequence->setFileName("layers.ktx2");
    const osg::ref_ptr<osg::Image> first = makeImage("", 1, 2, 3);
    sequence->addImage(first);
    sequence->addImage(makeImage("", 4, 5, 6));
    const osg::ref_ptr<osg::Geometry> square = squareWith(sequence);
    const LogRecorder log;
    mvgeo::makeTexturesUpright(*square);
    EXPECT_EQ(mvgeo::textureOf(*square)->getImage(), first);
    EXPECT_EQ(first->getFileName(), "layers.ktx2");
    EXPECT_EQ(log.count(osg::WARN, "of 2 images in the texture layers.ktx2 the first one is taken"), 1);
}

TEST(UprightTextures, SequenceWithoutImagesIsLeftAlone)
{
    const osg::ref_ptr<osg::ImageSequence> sequence = new osg::ImageSequence;
    const osg::ref_ptr<osg::Geometry> square = squareWith(sequence);
    mvgeo::makeTexturesUpright(*square);
    EXPECT_EQ(mvgeo::textureOf(*square)->getImage(), sequence);
}

} // namespace

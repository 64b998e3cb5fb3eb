#include "support/VisitorGeometry.h"

#include <osg/Geode>
#include <osg/MatrixTransform>
#include <osg/Switch>
#include <osg/Texture1D>

#include <gtest/gtest.h>

namespace
{

osg::ref_ptr<osg::MatrixTransform> shift(double x, double y, double z)
{
    return new osg::MatrixTransform(osg::Matrixd::translate(x, y, z));
}

TEST(VisitorGeometry, WithoutTransformsGivesTheIdentity)
{
    const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geode->addDrawable(geometry);

    VisitorGeometry collector;
    geode->accept(collector);
    ASSERT_EQ(collector.geometries().size(), 1U);
    EXPECT_EQ(collector.geometries()[0], geometry);
    ASSERT_EQ(collector.matrices().size(), 1U);
    EXPECT_EQ(collector.matrices()[0], osg::Matrixd::identity());
}

TEST(VisitorGeometry, NestedTransformsAccumulateInnermostFirst)
{
    // Inside, a point is doubled; outside, it is moved by (1, 2, 3).
    const osg::ref_ptr<osg::MatrixTransform> outer = shift(1, 2, 3);
    const osg::ref_ptr<osg::MatrixTransform> inner = new osg::MatrixTransform(osg::Matrixd::scale(2, 2, 2));
    outer->addChild(inner);
    inner->addChild(new osg::Geometry);

    VisitorGeometry collector;
    outer->accept(collector);
    ASSERT_EQ(collector.matrices().size(), 1U);
    EXPECT_EQ(osg::Vec3d(10, 10, 10) * collector.matrices()[0], osg::Vec3d(21, 22, 23));
}

TEST(VisitorGeometry, NeighbourOfATransformIsNotMoved)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::MatrixTransform> moved = shift(5, 0, 0);
    const osg::ref_ptr<osg::Geometry> first = new osg::Geometry;
    const osg::ref_ptr<osg::Geometry> second = new osg::Geometry;
    moved->addChild(first);
    root->addChild(moved);
    root->addChild(second);

    VisitorGeometry collector;
    root->accept(collector);
    ASSERT_EQ(collector.geometries().size(), 2U);
    EXPECT_EQ(collector.geometries()[0], first);
    EXPECT_EQ(collector.matrices()[0], osg::Matrixd::translate(5, 0, 0));
    EXPECT_EQ(collector.geometries()[1], second);
    EXPECT_EQ(collector.matrices()[1], osg::Matrixd::identity());
}

TEST(VisitorGeometry, AbsoluteTransformForgetsItsParents)
{
    const osg::ref_ptr<osg::MatrixTransform> outer = shift(1, 2, 3);
    const osg::ref_ptr<osg::MatrixTransform> inner = shift(0, 0, 9);
    inner->setReferenceFrame(osg::Transform::ABSOLUTE_RF);
    outer->addChild(inner);
    inner->addChild(new osg::Geometry);

    VisitorGeometry collector;
    outer->accept(collector);
    ASSERT_EQ(collector.matrices().size(), 1U);
    EXPECT_EQ(collector.matrices()[0], osg::Matrixd::translate(0, 0, 9));
}

TEST(VisitorGeometry, TraversesSwitchedOffChildren)
{
    const osg::ref_ptr<osg::Switch> root = new osg::Switch;
    root->addChild(new osg::Geometry, false);
    VisitorGeometry collector;
    root->accept(collector);
    EXPECT_EQ(collector.geometries().size(), 1U);
}

TEST(VisitorGeometry, GeometryWithTwoParentsIsCollectedInBothPlaces)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::Geometry> shared = new osg::Geometry;
    root->addChild(shared);
    const osg::ref_ptr<osg::MatrixTransform> moved = shift(5, 0, 0);
    moved->addChild(shared);
    root->addChild(moved);

    VisitorGeometry collector;
    root->accept(collector);
    ASSERT_EQ(collector.geometries().size(), 2U);
    EXPECT_EQ(collector.matrices()[1], osg::Matrixd::translate(5, 0, 0));
}

TEST(VisitorGeometry, ResetEmptiesBothLists)
{
    const osg::ref_ptr<osg::MatrixTransform> root = shift(5, 0, 0);
    root->addChild(new osg::Geometry);
    VisitorGeometry collector;
    root->accept(collector);
    collector.reset();
    EXPECT_TRUE(collector.geometries().empty());
    EXPECT_TRUE(collector.matrices().empty());

    root->accept(collector);
    ASSERT_EQ(collector.matrices().size(), 1U);
    EXPECT_EQ(collector.matrices()[0], osg::Matrixd::translate(5, 0, 0));
}

TEST(TextureOf, IsTheTexture2DOfUnitZero)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    EXPECT_FALSE(mvgeo::textureOf(*geometry)) << "no state set";
    osg::StateSet* state = geometry->getOrCreateStateSet();
    EXPECT_FALSE(mvgeo::textureOf(*geometry)) << "no texture attributes";
    state->setTextureAttribute(1, new osg::Texture2D);
    EXPECT_FALSE(mvgeo::textureOf(*geometry)) << "unit 1 only";
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D;
    state->setTextureAttribute(0, texture);
    EXPECT_EQ(mvgeo::textureOf(*geometry), texture);
}

TEST(TextureOf, AnotherKindOfTextureIsNone)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->getOrCreateStateSet()->setTextureAttribute(0, new osg::Texture1D);
    EXPECT_FALSE(mvgeo::textureOf(*geometry));
}

} // namespace

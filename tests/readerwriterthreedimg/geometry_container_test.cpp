#include "readerwriterthreedimg/GeometryContainer.h"

#include <osg/UserDataContainer>
#include <osgDB/Options>

#include <gtest/gtest.h>

TEST(GeometryContainer, GivesItsNames)
{
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer;
    EXPECT_STREQ(container->className(), "GeometryContainer");
    EXPECT_STREQ(container->libraryName(), "osg");
}

TEST(GeometryContainer, IsEmptyAtFirst)
{
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer;
    EXPECT_FALSE(container->geometry);
}

TEST(GeometryContainer, KeepsItsGeometryAliveAndLetsGoOfItAtTheEnd)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    osg::ref_ptr<GeometryContainer> container = new GeometryContainer(geometry);
    EXPECT_EQ(container->geometry, geometry);
    EXPECT_EQ(geometry->referenceCount(), 2);
    container = nullptr;
    EXPECT_EQ(geometry->referenceCount(), 1);
}

// A copy that duplicated the geometry would hold a whole tile again for each of the four children.
TEST(GeometryContainer, CopiesShareTheGeometryHoweverDeep)
{
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(new osg::Geometry);
    container->setName("parent");
    for (const osg::CopyOp::Options depth : {osg::CopyOp::SHALLOW_COPY, osg::CopyOp::DEEP_COPY_ALL})
    {
        const osg::ref_ptr<osg::Object> copy = container->clone(depth);
        const auto* copied = dynamic_cast<const GeometryContainer*>(copy.get());
        ASSERT_TRUE(copied);
        EXPECT_NE(copied, container);
        EXPECT_EQ(copied->geometry, container->geometry);
        EXPECT_EQ(copied->getName(), "parent");
    }
}

TEST(GeometryContainer, MakesAnEmptyOneOfItsKind)
{
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(new osg::Geometry);
    const osg::ref_ptr<osg::Object> other = container->cloneType();
    ASSERT_TRUE(container->isSameKindAs(other));
    EXPECT_FALSE(dynamic_cast<const GeometryContainer&>(*other).geometry);
}

TEST(GeometryContainer, TravelsOnReadOptionsAndTheirCopies)
{
    const osg::ref_ptr<GeometryContainer> container = new GeometryContainer(new osg::Geometry);
    container->setName("ParentGeometry");
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->getOrCreateUserDataContainer()->addUserObject(container);

    const osg::ref_ptr<osgDB::Options> copy = options->cloneOptions();
    const auto* found =
        dynamic_cast<const GeometryContainer*>(copy->getUserDataContainer()->getUserObject("ParentGeometry"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->geometry, container->geometry);
}

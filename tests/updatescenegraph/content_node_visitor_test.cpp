#include "updatescenegraph/ContentNodeVisitor.h"

#include "SceneParts.h"

#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/Switch>

#include <gtest/gtest.h>

namespace
{

using Names = std::vector<std::string>;

TEST(ContentNodeVisitor, FindsContentInTraversalOrder)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::MatrixTransform> moved = new osg::MatrixTransform;
    moved->addChild(content("b"));
    root->addChild(content("a"));
    root->addChild(moved);
    root->addChild(pagedNode(content("c"), "x.osgb"));
    ContentNodeVisitor visitor;
    root->accept(visitor);
    EXPECT_EQ(identitiesOf(visitor.contentNodes), (Names{"a", "b", "c"}));
}

TEST(ContentNodeVisitor, DoesNotLookInsideContent)
{
    const osg::ref_ptr<osg::Group> outer = content("outer");
    outer->addChild(content("inner"));
    ContentNodeVisitor visitor;
    outer->accept(visitor);
    EXPECT_EQ(identitiesOf(visitor.contentNodes), Names{"outer"});
}

TEST(ContentNodeVisitor, IdentityThatIsNoStringDoesNotCount)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->setUserValue("GlobalID", 5);
    root->addChild(content("child"));
    ContentNodeVisitor visitor;
    root->accept(visitor);
    EXPECT_EQ(identitiesOf(visitor.contentNodes), Names{"child"});
}

TEST(ContentNodeVisitor, GeometryCanBeContent)
{
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUserValue("GlobalID", std::string("bare"));
    ContentNodeVisitor visitor;
    geometry->accept(visitor);
    EXPECT_EQ(identitiesOf(visitor.contentNodes), Names{"bare"});
}

TEST(ContentNodeVisitor, TraversesAllChildren)
{
    const osg::ref_ptr<osg::Switch> root = new osg::Switch;
    root->addChild(content("off"), false);
    ContentNodeVisitor visitor;
    root->accept(visitor);
    EXPECT_EQ(identitiesOf(visitor.contentNodes), Names{"off"});
}

TEST(ContentNodeVisitor, ResetEmptiesTheList)
{
    ContentNodeVisitor visitor;
    content("a")->accept(visitor);
    visitor.reset();
    EXPECT_TRUE(visitor.contentNodes.empty());
}

} // namespace

#include "support/LogRecorder.h"
#include "updatescenegraph/TagContentNodeVisitor.h"

#include "SceneParts.h"

#include <osg/Geode>

#include <gtest/gtest.h>

namespace
{

TEST(TagContentNodeVisitor, TileWithoutPagedNodesIsTaggedAtItsRoot)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(new osg::Geode);
    root->addChild(new osg::Geode);
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(root), "3_b.osgb_0");
    EXPECT_EQ(identityOf(root->getChild(0)), "-");
    EXPECT_EQ(identityOf(root->getChild(1)), "-");
}

TEST(TagContentNodeVisitor, PagedRootTagsItsChildrenAndNotItsNeighbours)
{
    const auto root = pagedNode(new osg::Group, "c.osgb");
    root->addChild(new osg::Group);
    const osg::ref_ptr<osg::Group> above = new osg::Group;
    const osg::ref_ptr<osg::Group> neighbour = new osg::Group;
    above->addChild(neighbour);
    above->addChild(root);
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(root->getChild(0)), "3_b.osgb_0");
    EXPECT_EQ(identityOf(root->getChild(1)), "3_b.osgb_1");
    EXPECT_EQ(identityOf(root), "-");
    EXPECT_EQ(identityOf(neighbour), "-");
}

TEST(TagContentNodeVisitor, NeighboursOfAnInnerPagedNodeAreTaggedAfterItsChildren)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const auto paged = pagedNode(new osg::Group, "c.osgb");
    root->addChild(new osg::Geode);
    root->addChild(paged);
    root->addChild(new osg::Geode);
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(paged->getChild(0)), "3_b.osgb_0");
    EXPECT_EQ(identityOf(root->getChild(0)), "3_b.osgb_1");
    EXPECT_EQ(identityOf(root->getChild(2)), "3_b.osgb_2");
    EXPECT_EQ(identityOf(paged), "-");
    EXPECT_EQ(identityOf(root), "-");
}

TEST(TagContentNodeVisitor, EachPagedNodeTagsTheirCommonNeighboursAgain)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const auto first = pagedNode(new osg::Group, "c.osgb");
    const auto second = pagedNode(new osg::Group, "d.osgb");
    root->addChild(first);
    root->addChild(second);
    root->addChild(new osg::Geode);
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(first->getChild(0)), "3_b.osgb_0"); // then the geode: _1
    EXPECT_EQ(identityOf(second->getChild(0)), "3_b.osgb_2");
    EXPECT_EQ(identityOf(root->getChild(2)), "3_b.osgb_3");
}

TEST(TagContentNodeVisitor, DoesNotLookBelowAPagedNode)
{
    const auto inner = pagedNode(new osg::Group, "d.osgb");
    const auto root = pagedNode(inner, "c.osgb");
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(inner), "3_b.osgb_0");
    EXPECT_EQ(identityOf(inner->getChild(0)), "-");
}

TEST(TagContentNodeVisitor, PagedNodeWithTwoParentsWarnsInTheHostsCodePage)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::Group> other = new osg::Group;
    const osg::ref_ptr<osg::Geode> neighbour = new osg::Geode;
    const auto paged = pagedNode(new osg::Group, "c.osgb");
    root->addChild(paged);
    root->addChild(neighbour);
    other->addChild(paged);
    const LogRecorder log;
    mvgeo::tagContent(*root, "b.osgb", 3);

    EXPECT_EQ(identityOf(paged->getChild(0)), "3_b.osgb_0") << "its children are tagged all the same";
    EXPECT_EQ(identityOf(neighbour), "-");
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].severity, osg::WARN);
    // "cun zai" parent "ge shu bu wei" 1 "de jie dian", in GBK by the code chart.
    const std::string text = "[TagContentNodeVisitor] \xB4\xE6\xD4\xDAparent\xB8\xF6\xCA\xFD\xB2\xBB\xCE\xAA"
                             "1\xB5\xC4\xBD\xDA\xB5\xE3";
    const std::string line = log.lines()[0].text;
    ASSERT_GE(line.size(), text.size());
    EXPECT_EQ(line.substr(line.size() - text.size()), text);
}

TEST(TagContentNodeVisitor, PagedNodeWithoutParentThatIsNotTheRootWarnsToo)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const auto paged = pagedNode(new osg::Group, "c.osgb");
    TagContentNodeVisitor visitor(root, "b.osgb", 3);
    const LogRecorder log;
    paged->accept(visitor);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_TRUE(visitor.tagged());
}

TEST(TagContentNodeVisitor, NegativeModelHasALeadingMinus)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    mvgeo::tagContent(*root, "b.osgb", -12);
    EXPECT_EQ(identityOf(root), "-12_b.osgb_0");
}

TEST(TagContentNodeVisitor, TagIsTheCallersWhenThereIsNoPagedNode)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    TagContentNodeVisitor visitor(root, "b.osgb", 3);
    root->accept(visitor);
    EXPECT_FALSE(visitor.tagged());
    EXPECT_EQ(identityOf(root), "-");
    visitor.tagRoot();
    EXPECT_EQ(identityOf(root), "3_b.osgb_0");
    visitor.tagRoot();
    EXPECT_EQ(identityOf(root), "3_b.osgb_1") << "the counter runs on";
}

TEST(TagContentNodeVisitor, PagedNodeWithoutChildrenCountsAsTagged)
{
    const osg::ref_ptr<osg::PagedLOD> root = new osg::PagedLOD;
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(root), "-");
}

TEST(TagContentNodeVisitor, TileThatComesBackHasTheSameIdentities)
{
    for (int load = 0; load < 2; ++load)
    {
        const auto root = pagedNode(new osg::Group, "c.osgb");
        mvgeo::tagContent(*root, "b.osgb", 3);
        EXPECT_EQ(identityOf(root->getChild(0)), "3_b.osgb_0");
    }
}

TEST(TagContentNodeVisitor, EarlierIdentityIsReplaced)
{
    const auto root = pagedNode(content("of another model"), "c.osgb");
    mvgeo::tagContent(*root, "b.osgb", 3);
    EXPECT_EQ(identityOf(root->getChild(0)), "3_b.osgb_0");
    EXPECT_EQ(root->getChild(0)->getUserDataContainer()->getNumUserObjects(), 1U);
}

} // namespace

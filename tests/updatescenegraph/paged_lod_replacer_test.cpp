#include "updatescenegraph/PagedLODReplacer.h"

#include "SceneParts.h"
#include "updatescenegraph/PagedLODEx.h"

#include <gtest/gtest.h>

namespace
{

const PagedLODEx* ours(const osg::Node* node)
{
    return dynamic_cast<const PagedLODEx*>(node);
}

TEST(PagedLODReplacer, PagedRootIsReplacedByACopy)
{
    const auto root = pagedNode(content("inline"), "b.osgb");
    const osg::ref_ptr<osg::Node> result = mvgeo::replacePagedLODs(root);
    ASSERT_TRUE(ours(result));
    EXPECT_NE(result, root);
    EXPECT_EQ(ours(result)->getChild(0), root->getChild(0)) << "shallow: the children are shared";
    EXPECT_EQ(ours(result)->getFileName(1), "b.osgb");
}

TEST(PagedLODReplacer, OtherRootIsTheResultItself)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(new osg::Group);
    root->addChild(pagedNode(new osg::Group, "b.osgb"));
    root->addChild(new osg::Group);
    EXPECT_EQ(mvgeo::replacePagedLODs(root), root);
    ASSERT_EQ(root->getNumChildren(), 3U);
    EXPECT_TRUE(ours(root->getChild(1))) << "in its place";
}

TEST(PagedLODReplacer, NestedPagedNodesAreReplacedToo)
{
    const osg::ref_ptr<osg::Group> inner = new osg::Group;
    inner->addChild(pagedNode(new osg::Group, "c.osgb"));
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(pagedNode(inner, "b.osgb"));
    ASSERT_EQ(mvgeo::replacePagedLODs(root), root);
    ASSERT_TRUE(ours(root->getChild(0)));
    EXPECT_EQ(ours(root->getChild(0))->getChild(0), inner);
    EXPECT_TRUE(ours(inner->getChild(0)));
    EXPECT_EQ(inner->getNumParents(), 1U) << "the replaced node lets go of its children";
}

TEST(PagedLODReplacer, PagedNodeDirectlyBelowAPagedRootIsReplacedInTheCopy)
{
    const auto root = pagedNode(pagedNode(new osg::Group, "c.osgb"), "b.osgb");
    const osg::ref_ptr<osg::Node> result = mvgeo::replacePagedLODs(root);
    ASSERT_TRUE(ours(result));
    EXPECT_TRUE(ours(ours(result)->getChild(0)));
}

TEST(PagedLODReplacer, EveryParentGetsTheSameCopy)
{
    const auto shared = pagedNode(new osg::Group, "b.osgb");
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    const osg::ref_ptr<osg::Group> left = new osg::Group;
    const osg::ref_ptr<osg::Group> right = new osg::Group;
    root->addChild(left);
    root->addChild(right);
    left->addChild(shared);
    right->addChild(shared);
    ASSERT_EQ(mvgeo::replacePagedLODs(root), root);
    ASSERT_TRUE(ours(left->getChild(0)));
    // Met twice, it is found twice; the first copy takes its places and the second finds no parent any more.
    EXPECT_EQ(left->getChild(0), right->getChild(0));
}

TEST(PagedLODReplacer, EveryFileGetsTwoExpiryFrames)
{
    const auto root = pagedNode(new osg::Group, "b.osgb");
    root->setFileName(2, "c.osgb");
    root->setMinimumExpiryFrames(1, 17);
    const osg::ref_ptr<osg::Node> result = mvgeo::replacePagedLODs(root);
    ASSERT_TRUE(ours(result));
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(ours(result)->getMinimumExpiryFrames(i), 2U);
}

TEST(PagedLODReplacer, SecondRunReplacesNothingButSetsTheExpiryFramesAgain)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(pagedNode(new osg::Group, "b.osgb"));
    ASSERT_EQ(mvgeo::replacePagedLODs(root), root);
    const osg::ref_ptr<osg::Node> first = root->getChild(0);
    static_cast<osg::PagedLOD*>(first.get())->setMinimumExpiryFrames(1, 17);
    ASSERT_EQ(mvgeo::replacePagedLODs(root), root);
    EXPECT_EQ(root->getChild(0), first);
    EXPECT_EQ(ours(first)->getMinimumExpiryFrames(1), 2U);
}

TEST(PagedLODReplacer, DeadNodesAreSkippedAndTheListIsEmptied)
{
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(pagedNode(new osg::Group, "b.osgb"));
    PagedLODReplacer replacer;
    root->accept(replacer);
    root->removeChildren(0, 1);
    EXPECT_EQ(replacer.replace(root), root);
    EXPECT_EQ(root->getNumChildren(), 0U);

    const auto later = pagedNode(new osg::Group, "c.osgb");
    root->addChild(later);
    EXPECT_EQ(replacer.replace(root), root);
    EXPECT_EQ(root->getChild(0), later) << "nothing is left over from before";
}

TEST(PagedLODReplacer, NullStaysNull)
{
    PagedLODReplacer replacer;
    EXPECT_FALSE(replacer.replace(nullptr));
    EXPECT_FALSE(mvgeo::replacePagedLODs(nullptr));
}

} // namespace

#include "updatescenegraph/SetReadFileCallbackVisitor.h"

#include "SceneParts.h"
#include "updatescenegraph/ReadFileCallback.h"

#include <gtest/gtest.h>

namespace
{

class SetReadFileCallback : public testing::Test
{
protected:
    SetReadFileCallback()
    {
        source->setReadFileCallback(callback);
        source->setUserValue("cachePathDir", std::string("D:/cache"));
    }
    void wire(osg::Node& tile) const
    {
        SetReadFileCallbackVisitor visitor(source);
        tile.accept(visitor);
    }
    static osgDB::Options* optionsOf(osg::PagedLOD& node)
    {
        return dynamic_cast<osgDB::Options*>(node.getDatabaseOptions());
    }
    static std::string cacheOf(osg::PagedLOD& node)
    {
        const std::string* directory = mvgeo::userValue<std::string>(*optionsOf(node), "cachePathDir");
        return directory ? *directory : "absent";
    }

    osg::ref_ptr<ReadFileCallback> callback = new ReadFileCallback;
    osg::ref_ptr<osgDB::Options> source = new osgDB::Options;
};

TEST_F(SetReadFileCallback, PagedNodeGetsOptionsOfItsOwn)
{
    const auto node = pagedNode(new osg::Group, "b.osgb");
    wire(*node);
    ASSERT_TRUE(optionsOf(*node));
    EXPECT_NE(optionsOf(*node), source);
    EXPECT_EQ(optionsOf(*node)->getReadFileCallback(), callback);
    EXPECT_EQ(cacheOf(*node), "D:/cache");
}

TEST_F(SetReadFileCallback, ExistingOptionsAreKeptAndCompleted)
{
    const auto node = pagedNode(new osg::Group, "b.osgb");
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options("noRotation");
    options->setUserValue("cachePathDir", std::string("old"));
    node->setDatabaseOptions(options);
    wire(*node);
    EXPECT_EQ(optionsOf(*node), options);
    EXPECT_EQ(options->getOptionString(), "noRotation");
    EXPECT_EQ(options->getReadFileCallback(), callback);
    EXPECT_EQ(cacheOf(*node), "D:/cache");
}

TEST_F(SetReadFileCallback, OptionsOfAnotherTypeAreReplaced)
{
    const auto node = pagedNode(new osg::Group, "b.osgb");
    node->setDatabaseOptions(new osg::Group);
    wire(*node);
    ASSERT_TRUE(optionsOf(*node));
    EXPECT_EQ(optionsOf(*node)->getReadFileCallback(), callback);
}

TEST_F(SetReadFileCallback, CacheDirectoryIsSetEvenIfEmpty)
{
    source->getUserDataContainer()->removeUserObject(0);
    const auto node = pagedNode(new osg::Group, "b.osgb");
    wire(*node);
    EXPECT_EQ(cacheOf(*node), "");

    source->setUserValue("cachePathDir", 5); // no string
    const auto another = pagedNode(new osg::Group, "b.osgb");
    wire(*another);
    EXPECT_EQ(cacheOf(*another), "");
}

TEST_F(SetReadFileCallback, CallbackIsTakenAwayIfTheSourceHasNone)
{
    const auto node = pagedNode(new osg::Group, "b.osgb");
    wire(*node);
    source->setReadFileCallback(nullptr);
    wire(*node);
    EXPECT_FALSE(optionsOf(*node)->getReadFileCallback());
}

TEST_F(SetReadFileCallback, AllPagedNodesOfATileAreWiredButNoneBelowThem)
{
    const auto inner = pagedNode(new osg::Group, "d.osgb");
    const auto first = pagedNode(inner, "b.osgb");
    const auto second = pagedNode(new osg::Group, "c.osgb");
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(first);
    root->addChild(second);
    wire(*root);
    EXPECT_TRUE(optionsOf(*first));
    EXPECT_TRUE(optionsOf(*second));
    EXPECT_NE(optionsOf(*first), optionsOf(*second));
    EXPECT_FALSE(inner->getDatabaseOptions());
}

} // namespace

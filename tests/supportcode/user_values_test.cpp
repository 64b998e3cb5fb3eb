#include "support/UserValues.h"

#include <osg/Group>

#include <gtest/gtest.h>

namespace
{

using namespace mvgeo;

TEST(UserValues, ReadBackTheTypeTheyWereSetWith)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setUserValue("flag", true);
    node->setUserValue("text", std::string("3_b.osgb_0"));
    node->setUserValue("width", 2.5);

    ASSERT_TRUE(userValue<bool>(*node, "flag"));
    EXPECT_TRUE(*userValue<bool>(*node, "flag"));
    ASSERT_TRUE(userValue<std::string>(*node, "text"));
    EXPECT_EQ(*userValue<std::string>(*node, "text"), "3_b.osgb_0");
    ASSERT_TRUE(userValue<double>(*node, "width"));
    EXPECT_EQ(*userValue<double>(*node, "width"), 2.5);
}

TEST(UserValues, OfAnotherTypeCountAsAbsent)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setUserValue("width", 2.5F);
    node->setUserValue("count", 3);
    EXPECT_FALSE(userValue<double>(*node, "width"));
    EXPECT_FALSE(userValue<std::string>(*node, "width"));
    EXPECT_FALSE(userValue<unsigned int>(*node, "count"));
    EXPECT_FALSE(userValue<bool>(*node, "count"));
}

TEST(UserValues, ThatAreNoValueObjectsCountAsAbsent)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    const osg::ref_ptr<osg::Group> named = new osg::Group;
    named->setName("text");
    node->getOrCreateUserDataContainer()->addUserObject(named);
    EXPECT_FALSE(userValue<std::string>(*node, "text"));
}

TEST(UserValues, AreAbsentWithoutAContainer)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    EXPECT_FALSE(userValue<std::string>(*node, "text"));
    EXPECT_FALSE(node->getUserDataContainer()) << "asking must not make one";
}

TEST(UserValues, AskForTheWholeName)
{
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setUserValue("GlobalID2", std::string("x"));
    EXPECT_FALSE(userValue<std::string>(*node, keys::globalId));
    node->setUserValue("globalid", std::string("x"));
    EXPECT_FALSE(userValue<std::string>(*node, keys::globalId));
}

TEST(UserValues, HaveTheNamesThatOthersReadThemBy)
{
    EXPECT_EQ(keys::globalId, "GlobalID");
    EXPECT_EQ(keys::imagePath, "imagePath");
    EXPECT_EQ(keys::cachePathDir, "cachePathDir");
    EXPECT_EQ(keys::normal, "normal");
    EXPECT_EQ(keys::isCaching, "isCaching");
}

} // namespace

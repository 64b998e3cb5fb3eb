#include "updatescenegraph/PagedLODEx.h"

#include "PagedNodeParts.h"

#include <osg/MatrixTransform>

#include <gtest/gtest.h>

namespace
{

/** Writes down what is requested; loads nothing. */
class RequestRecorder : public osg::NodeVisitor::DatabaseRequestHandler
{
public:
    void requestNodeFile(const std::string& fileName, osg::NodePath& nodePath, float priority,
                         const osg::FrameStamp* frameStamp, osg::ref_ptr<osg::Referenced>& databaseRequest,
                         const osg::Referenced* options) override
    {
        requests.push_back({fileName, nodePath, priority, frameStamp, &databaseRequest, options});
    }

    struct Request
    {
        std::string fileName;
        osg::NodePath nodePath;
        float priority;
        const osg::FrameStamp* frameStamp;
        osg::ref_ptr<osg::Referenced>* databaseRequest;
        const osg::Referenced* options;
    };
    std::vector<Request> requests;

protected:
    ~RequestRecorder() override = default;
};

/** Three children at distance 20 with a view and a recorder of requests. */
class PagedLODExChildren : public testing::Test
{
protected:
    PagedLODExChildren()
    {
        view->setDatabaseRequestHandler(recorder);
        view->setFrameStamp(stamp);
    }
    static osg::ref_ptr<PagedLODEx> nodeAt20(const std::vector<Range>& ranges, unsigned int childCount)
    {
        return new PagedLODEx(*pagedWith(osg::LOD::DISTANCE_FROM_EYE_POINT, {20, 0, 0}, 1.0F, ranges, childCount));
    }

    osg::ref_ptr<RequestRecorder> recorder = new RequestRecorder;
    osg::ref_ptr<osg::FrameStamp> stamp = frame(7, 10.0);
    osg::ref_ptr<SceneViewVisitor> view = openView();
};

TEST_F(PagedLODExChildren, RangeHoldsItsMinimumAndNotItsMaximum)
{
    EXPECT_EQ(visibleIn(view, *nodeAt20({{0, 20}, {20, 40}}, 2)), Names{"1"});
    EXPECT_EQ(visibleIn(view, *nodeAt20({{20, 20}, {0, 100}}, 2)), Names{"1"}) << "an empty range holds nothing";
}

TEST_F(PagedLODExChildren, AllThatMatchAreVisitedInOrder)
{
    EXPECT_EQ(visibleIn(view, *nodeAt20({{0, 100}, {50, 100}, {10, 30}}, 3)), (Names{"0", "2"}));
    EXPECT_TRUE(recorder->requests.empty());
}

TEST_F(PagedLODExChildren, NoneMatchesNothingIsVisited)
{
    EXPECT_EQ(visibleIn(view, *nodeAt20({{0, 10}, {30, 40}}, 2)), Names{});
    EXPECT_TRUE(recorder->requests.empty());
}

TEST_F(PagedLODExChildren, VisitedOnesAreStampedAndOthersAreNot)
{
    const auto node = nodeAt20({{0, 100}, {50, 100}, {10, 30}}, 3);
    for (unsigned int i = 0; i < 3; ++i)
        node->setFileName(i, "");
    node->accept(*view);
    EXPECT_EQ(node->getTimeStamp(0), 10.0);
    EXPECT_EQ(node->getFrameNumber(0), 7U);
    EXPECT_EQ(node->getTimeStamp(1), 0.0);
    EXPECT_EQ(node->getFrameNumber(1), 0U);
    EXPECT_EQ(node->getTimeStamp(2), 10.0);
    EXPECT_EQ(node->getFrameNumber(2), 7U);
    EXPECT_EQ(node->getFrameNumberOfLastTraversal(), 7U);
}

TEST_F(PagedLODExChildren, WithoutFrameStampTheStampsAreZero)
{
    const auto node = nodeAt20({{0, 100}}, 1);
    node->setTimeStamp(0, 5.0);
    node->setFrameNumber(0, 5);
    node->setFrameNumberOfLastTraversal(5);
    view->setFrameStamp(nullptr);
    node->accept(*view);
    EXPECT_EQ(node->getTimeStamp(0), 0.0);
    EXPECT_EQ(node->getFrameNumber(0), 0U);
    EXPECT_EQ(node->getFrameNumberOfLastTraversal(), 5U);
}

TEST_F(PagedLODExChildren, CoarserChildStandsInForTheMissingOne)
{
    const auto node = nodeAt20({{50, 100}, {30, 50}, {0, 30}}, 2);
    node->setFileName(2, "fine.osgb");
    EXPECT_EQ(visibleIn(view, *node), Names{"1"});
    EXPECT_EQ(node->getTimeStamp(1), 10.0) << "and counts as visited";
    EXPECT_EQ(node->getFrameNumber(1), 7U);
    EXPECT_EQ(node->getFrameNumber(0), 0U);
}

TEST_F(PagedLODExChildren, LastChildIsNotVisitedTwice)
{
    const auto node = nodeAt20({{0, 100}, {0, 30}}, 1);
    node->setFileName(1, "fine.osgb");
    EXPECT_EQ(visibleIn(view, *node), Names{"0"});
    EXPECT_EQ(recorder->requests.size(), 1U);
}

TEST_F(PagedLODExChildren, StandInComesAfterAMatchingCoarserOne)
{
    const auto node = nodeAt20({{0, 100}, {50, 100}, {0, 30}}, 2);
    node->setFileName(2, "fine.osgb");
    EXPECT_EQ(visibleIn(view, *node), (Names{"0", "1"}));
}

TEST_F(PagedLODExChildren, NextFileIsRequestedEvenIfALaterOneIsWanted)
{
    const auto node = nodeAt20({{50, 100}, {30, 50}, {0, 30}}, 1);
    node->setFileName(1, "middle.osgb");
    node->setFileName(2, "fine.osgb");
    EXPECT_EQ(visibleIn(view, *node), Names{"0"});
    ASSERT_EQ(recorder->requests.size(), 1U);
    EXPECT_EQ(recorder->requests[0].fileName, "middle.osgb");
}

TEST_F(PagedLODExChildren, NodeWithoutChildrenOnlyRequests)
{
    const auto node = nodeAt20({{0, 30}}, 0);
    node->setFileName(0, "fine.osgb");
    EXPECT_EQ(visibleIn(view, *node), Names{});
    ASSERT_EQ(recorder->requests.size(), 1U);
    EXPECT_EQ(recorder->requests[0].fileName, "fine.osgb");
}

TEST_F(PagedLODExChildren, RequestCarriesPathStampAndOptions)
{
    const auto node = nodeAt20({{30, 100}, {0, 30}}, 1);
    node->setDatabasePath("D:/data/Tile_1");
    node->setFileName(1, "fine.osgb");
    const osg::ref_ptr<osg::Group> options = new osg::Group;
    node->setDatabaseOptions(options);
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    root->addChild(node);
    root->accept(*view);

    ASSERT_EQ(recorder->requests.size(), 1U);
    const RequestRecorder::Request& request = recorder->requests[0];
    EXPECT_EQ(request.fileName, "D:/data/Tile_1/fine.osgb");
    EXPECT_EQ(request.nodePath, (osg::NodePath{root, node}));
    EXPECT_EQ(request.frameStamp, stamp);
    EXPECT_EQ(request.databaseRequest, &node->getDatabaseRequest(1));
    EXPECT_EQ(request.options, options);
}

TEST_F(PagedLODExChildren, DistancePriorityGrowsTowardsTheMinimum)
{
    const auto node = nodeAt20({{60, 100}, {10, 60}}, 1); // (60 - 20) / (60 - 10) = 0.8
    node->setFileName(1, "fine.osgb");
    node->setPriorityScale(1, 10.0F);
    node->setPriorityOffset(1, 3.0F);
    node->accept(*view);
    ASSERT_EQ(recorder->requests.size(), 1U);
    EXPECT_FLOAT_EQ(recorder->requests[0].priority, 11.0F);
}

TEST_F(PagedLODExChildren, PixelPriorityIsNegated)
{
    const osg::ref_ptr<PagedLODEx> node =
        new PagedLODEx(*pagedWith(osg::LOD::PIXEL_SIZE_ON_SCREEN, {}, 20.0F, {{0, 10}, {10, 60}}, 1));
    node->setFileName(1, "fine.osgb");
    node->setPriorityScale(1, 10.0F);
    node->setPriorityOffset(1, 3.0F);
    node->accept(*view);
    ASSERT_EQ(recorder->requests.size(), 1U);
    EXPECT_FLOAT_EQ(recorder->requests[0].priority, -5.0F); // 3 - 10 * 0.8
}

TEST_F(PagedLODExChildren, PriorityIsThatOfTheRequestedRange)
{
    const auto node = nodeAt20({{60, 100}, {30, 70}, {0, 30}}, 1); // range 1: (70 - 20) / 40
    node->setFileName(1, "middle.osgb");
    node->setFileName(2, "fine.osgb");
    node->setPriorityScale(1, 1.0F);
    node->setPriorityOffset(1, 0.0F);
    node->accept(*view);
    ASSERT_EQ(recorder->requests.size(), 1U);
    EXPECT_FLOAT_EQ(recorder->requests[0].priority, 1.25F);
}

TEST_F(PagedLODExChildren, DisabledPagingOnlyStandsIn)
{
    const auto node = nodeAt20({{30, 100}, {0, 30}}, 1);
    node->setFileName(1, "fine.osgb");
    node->setDisableExternalChildrenPaging(true);
    EXPECT_EQ(visibleIn(view, *node), Names{"0"});
    EXPECT_TRUE(recorder->requests.empty());
}

TEST_F(PagedLODExChildren, WithoutAPagerOnlyStandsIn)
{
    const auto node = nodeAt20({{30, 100}, {0, 30}}, 1);
    node->setFileName(1, "fine.osgb");
    view->setDatabaseRequestHandler(nullptr);
    EXPECT_EQ(visibleIn(view, *node), Names{"0"});
}

TEST_F(PagedLODExChildren, RangeWithoutDataIsNotRequested)
{
    EXPECT_EQ(visibleIn(view, *nodeAt20({{30, 100}, {0, 30}}, 1)), Names{"0"});
    EXPECT_TRUE(recorder->requests.empty());
}

/** Any other visitor of cull type; lists the names it meets. */
class ForeignVisitor : public osg::NodeVisitor
{
public:
    ForeignVisitor(VisitorType type, TraversalMode mode) : osg::NodeVisitor(type, mode) {}
    using osg::NodeVisitor::apply;
    void apply(osg::Node& node) override
    {
        if (identityOf(&node) != "-") met.push_back(identityOf(&node));
        traverse(node);
    }

    Names met;
};

Names metBy(osg::NodeVisitor::VisitorType type, osg::NodeVisitor::TraversalMode mode, osg::PagedLOD& node)
{
    ForeignVisitor visitor(type, mode);
    visitor.setFrameStamp(frame(7, 10.0));
    node.accept(visitor);
    return visitor.met;
}

TEST_F(PagedLODExChildren, ForeignCullVisitorSelectsRangesThatContainZero)
{
    const auto node = nodeAt20({{0, 10}, {10, 30}, {-5, 1}}, 3);
    EXPECT_EQ(metBy(osg::NodeVisitor::CULL_VISITOR, osg::NodeVisitor::TRAVERSE_ACTIVE_CHILDREN, *node),
              (Names{"0", "2"}));
    EXPECT_EQ(node->getFrameNumberOfLastTraversal(), 7U);
}

TEST_F(PagedLODExChildren, VisitorThatCullsNothingLeavesNoStamps)
{
    const auto node = nodeAt20({{0, 10}}, 1);
    node->setTimeStamp(0, 5.0);
    node->setFrameNumberOfLastTraversal(5);
    EXPECT_EQ(metBy(osg::NodeVisitor::UPDATE_VISITOR, osg::NodeVisitor::TRAVERSE_ACTIVE_CHILDREN, *node), Names{"0"});
    EXPECT_EQ(node->getTimeStamp(0), 5.0);
    EXPECT_EQ(node->getFrameNumberOfLastTraversal(), 5U);
}

TEST_F(PagedLODExChildren, AllAreTraversedWhateverTheRanges)
{
    const auto node = nodeAt20({{50, 60}, {50, 60}, {0, 30}}, 2);
    node->setFileName(2, "fine.osgb");
    EXPECT_EQ(metBy(osg::NodeVisitor::NODE_VISITOR, osg::NodeVisitor::TRAVERSE_ALL_CHILDREN, *node), (Names{"0", "1"}));
    view->setTraversalMode(osg::NodeVisitor::TRAVERSE_ALL_CHILDREN);
    EXPECT_EQ(visibleIn(view, *node), (Names{"0", "1"}));
    EXPECT_TRUE(recorder->requests.empty());
}

// Called directly: the visitor's own traverse() does not even ask in these modes.
TEST_F(PagedLODExChildren, NoneAreTraversedInTheOtherModes)
{
    const auto node = nodeAt20({{0, 100}}, 1);
    for (const auto mode : {osg::NodeVisitor::TRAVERSE_NONE, osg::NodeVisitor::TRAVERSE_PARENTS})
    {
        ForeignVisitor visitor(osg::NodeVisitor::CULL_VISITOR, mode);
        visitor.setFrameStamp(stamp);
        node->setFrameNumberOfLastTraversal(0);
        node->traverse(visitor);
        EXPECT_EQ(visitor.met, Names{});
        EXPECT_EQ(node->getFrameNumberOfLastTraversal(), 7U) << "but the visit is recorded";
    }
}

TEST(PagedLODExCopies, CopyOfAPagedNodeSharesItsChildrenAndKeepsItsFiles)
{
    const auto original = pagedNode(content("inline"), "fine.osgb");
    original->setName("tile");
    const osg::ref_ptr<PagedLODEx> copy = new PagedLODEx(*original);
    ASSERT_EQ(copy->getNumChildren(), 1U);
    EXPECT_EQ(copy->getChild(0), original->getChild(0));
    EXPECT_EQ(copy->getFileName(1), "fine.osgb");
    EXPECT_EQ(copy->getMinRange(1), 100.0F);
    EXPECT_EQ(copy->getName(), "tile");
}

TEST(PagedLODExCopies, CloneIsAPlainPagedNode)
{
    const osg::ref_ptr<PagedLODEx> node = new PagedLODEx(*pagedNode(new osg::Group, "fine.osgb"));
    const osg::ref_ptr<osg::Object> clone = node->clone(osg::CopyOp::SHALLOW_COPY);
    const osg::ref_ptr<osg::Object> sameType = node->cloneType();
    for (const osg::Object* object : {clone.get(), sameType.get()})
    {
        EXPECT_TRUE(dynamic_cast<const osg::PagedLOD*>(object));
        EXPECT_FALSE(dynamic_cast<const PagedLODEx*>(object));
    }
    EXPECT_STREQ(node->className(), "PagedLOD");
    EXPECT_STREQ(node->libraryName(), "osg");
}

} // namespace

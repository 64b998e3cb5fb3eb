#include "ClipParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace cliptest;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace
{

using Polygon = std::vector<osg::Vec3d>;

TEST(ClipPolygon, LeavesWhatIsInsideAsItIs)
{
    const Polygon whole = {{1, 1, 5}, {3, 1, 6}, {1, 3, 7}};
    Polygon polygon = whole;
    EXPECT_TRUE(makeClipper({0, 4, 0, 4})->clipPolygon(polygon));
    EXPECT_THAT(polygon, ElementsAreArray(whole));
}

// By hand, from (-1, -1) around: west leaves (0, -1) (3, -1) (3, 3) (0, 3), south (3, 0) (3, 3) (0, 3) (0, 0),
// east (1.5, 3) (0, 3) (0, 0) (1.5, 0), north the result. Another order of the planes begins at another corner.
TEST(ClipPolygon, CutsWestSouthEastNorth)
{
    Polygon polygon = {{-1, -1, 0}, {3, -1, 0}, {3, 3, 0}, {-1, 3, 0}};
    EXPECT_TRUE(makeClipper({0, 1.5, 0, 1.5})->clipPolygon(polygon));
    EXPECT_THAT(polygon, ElementsAre(osg::Vec3d(0, 1.5, 0), osg::Vec3d(0, 0, 0), osg::Vec3d(1.5, 0, 0),
                                     osg::Vec3d(1.5, 1.5, 0)));
}

TEST(ClipPolygon, InterpolatesTheHeightAtACrossing)
{
    Polygon polygon = {{-1, 0, 10}, {3, 0, 18}, {3, 4, 30}};
    EXPECT_TRUE(makeClipper({0, 8, -8, 8})->clipPolygon(polygon));
    EXPECT_THAT(polygon,
                ElementsAre(osg::Vec3d(0, 0, 12), osg::Vec3d(3, 0, 18), osg::Vec3d(3, 4, 30), osg::Vec3d(0, 1, 15)));
}

TEST(ClipPolygon, CornerOnThePlaneIsKeptOnceAndMakesNoCrossing)
{
    Polygon polygon = {{-1, 0, 0}, {0, 1, 0}, {1, 0, 0}};
    EXPECT_TRUE(makeClipper({0, 8, -8, 8})->clipPolygon(polygon));
    EXPECT_THAT(polygon, ElementsAre(osg::Vec3d(0, 1, 0), osg::Vec3d(1, 0, 0), osg::Vec3d(0, 0, 0)));
}

TEST(ClipPolygon, RingThatLosesItsFirstPointIsClosedAgain)
{
    Polygon polygon = {{-2, 2, 0}, {2, 1, 0}, {2, 3, 0}}; // only its first point is beyond the west side
    EXPECT_TRUE(makeClipper({0, 8, 0, 8})->clipPolygon(polygon));
    EXPECT_THAT(polygon,
                ElementsAre(osg::Vec3d(0, 1.5, 0), osg::Vec3d(2, 1, 0), osg::Vec3d(2, 3, 0), osg::Vec3d(0, 2.5, 0)));
}

TEST(ClipPolygon, NothingIsLeftBeyondASideOrAtATouchedCorner)
{
    const osg::ref_ptr<MeshClipByRasterOverlay> clipper = makeClipper({0, 4, 0, 4});
    for (Polygon polygon : {Polygon{{-3, 1, 0}, {-1, 1, 0}, {-1, 3, 0}}, Polygon{{5, 1, 0}, {7, 1, 0}, {7, 3, 0}},
                            Polygon{{1, -3, 0}, {3, -3, 0}, {3, -1, 0}}, Polygon{{1, 5, 0}, {3, 5, 0}, {3, 7, 0}},
                            Polygon{{-1, 1, 0}, {0, 2, 0}, {-1, 3, 0}}})
        EXPECT_FALSE(clipper->clipPolygon(polygon)) << polygon[0].x() << ", " << polygon[0].y();
}

// The touching edge and its closing point make three, which is enough to go on; the closing point then goes.
TEST(ClipPolygon, TouchedEdgeIsReportedAsTwoPoints)
{
    Polygon polygon = {{0, 1, 0}, {0, 3, 0}, {-1, 1, 0}};
    EXPECT_TRUE(makeClipper({0, 4, 0, 4})->clipPolygon(polygon));
    EXPECT_THAT(polygon, ElementsAre(osg::Vec3d(0, 1, 0), osg::Vec3d(0, 3, 0)));
}

// The south side, reached twice, is crossed on the way there and on the way back.
TEST(ClipPolygon, TouchedEdgeThatALaterSideCutsIsReportedAsThreePoints)
{
    Polygon polygon = {{0, 1, 0}, {-1, 1, 0}, {0, -1, 0}};
    EXPECT_TRUE(makeClipper({0, 4, 0, 4})->clipPolygon(polygon));
    EXPECT_THAT(polygon, ElementsAre(osg::Vec3d(0, 1, 0), osg::Vec3d(0, 0, 0), osg::Vec3d(0, 0, 0)));
}

TEST(ClipPolygon, TakesFewerThanThreePoints)
{
    const osg::ref_ptr<MeshClipByRasterOverlay> clipper = makeClipper({0, 4, 0, 4});
    Polygon none;
    EXPECT_FALSE(clipper->clipPolygon(none));
    Polygon one = {{1, 1, 0}};
    EXPECT_FALSE(clipper->clipPolygon(one));
    Polygon two = {{1, 1, 0}, {2, 1, 0}};
    EXPECT_TRUE(clipper->clipPolygon(two)) << "with its closing point it has three";
    EXPECT_EQ(two.size(), 2U);
}

} // namespace

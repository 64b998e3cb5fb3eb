#include "mvdrapelines/SegmentChaining.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

using mvgeo::CutLine;
using mvgeo::CutSegment;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const osg::Vec3d kA(0, 0, 0);
const osg::Vec3d kB(1, 0, 5);
const osg::Vec3d kC(2, 0, 3);
const osg::Vec3d kD(3, 0, 4);

/** Lines run east. */
std::vector<CutLine> chained(std::vector<CutSegment> segments)
{
    return mvgeo::chainSegments(std::move(segments), osg::Plane(osg::Vec3d(1, 0, 0), osg::Vec3d()));
}

} // namespace

TEST(SegmentChaining, HasNothingToDoWithoutSegments)
{
    EXPECT_THAT(chained({}), IsEmpty());
}

TEST(SegmentChaining, MakesOneLineInWhateverOrderAndDirectionTheSegmentsCome)
{
    std::vector<CutSegment> segments{{kC, kB}, {kA, kB}, {kD, kC}};
    for (int order = 0; order < 3; ++order)
    {
        EXPECT_THAT(chained(segments), ElementsAre(CutLine{kA, kB, kC, kD}));
        std::rotate(segments.begin(), segments.begin() + 1, segments.end());
    }
}

TEST(SegmentChaining, TakesASegmentOnceHoweverOftenItComes)
{
    EXPECT_THAT(chained({{kA, kB}, {kB, kA}, {kA, kB}, {kB, kC}}), ElementsAre(CutLine{kA, kB, kC}));
}

TEST(SegmentChaining, OverlooksSegmentsWithoutLength)
{
    EXPECT_THAT(chained({{kA, kB}, {kB, kB}, {kB, kC}}), ElementsAre(CutLine{kA, kB, kC}));
}

TEST(SegmentChaining, JoinsNothingThatIsOnlyNear)
{
    const osg::Vec3d nearB = kB + osg::Vec3d(1e-12, 0, 0);
    EXPECT_THAT(chained({{kA, kB}, {nearB, kC}}), ElementsAre(CutLine{kA, kB}, CutLine{nearB, kC}));
}

TEST(SegmentChaining, EndsLinesWhereMoreThanTwoSegmentsMeet)
{
    const osg::Vec3d up(1, 0, 9);
    const osg::Vec3d upper(2, 0, 9);
    EXPECT_THAT(chained({{kA, kB}, {kB, kC}, {kB, up}, {up, upper}}),
                UnorderedElementsAre(CutLine{kA, kB}, CutLine{kB, kC}, CutLine{kB, up, upper}));
}

TEST(SegmentChaining, StandsInTheOrderOfTheStartingPoints)
{
    const osg::Vec3d west(-5, 0, 0);
    const osg::Vec3d middle(0.5, 0, 0);
    EXPECT_THAT(chained({{kC, kD}, {middle, west}, {kA, kB}}),
                ElementsAre(CutLine{west, middle}, CutLine{kA, kB}, CutLine{kC, kD}));
}

// Round a box: forward above, back below, from the rearmost point.
TEST(SegmentChaining, RunsRoundWhatIsClosed)
{
    const osg::Vec3d bottom(1, 0, -5);
    const CutLine expected{kA, kB, kC, bottom, kA};
    std::vector<CutSegment> segments{{kC, bottom}, {bottom, kA}, {kA, kB}, {kB, kC}};
    EXPECT_THAT(chained(segments), ElementsAre(expected));
    for (CutSegment& segment : segments)
        std::swap(segment.first, segment.second);
    EXPECT_THAT(chained(segments), ElementsAre(expected));
}

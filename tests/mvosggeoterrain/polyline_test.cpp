#include "mvosggeoterrain/TerrainFixture.h"

namespace
{

using Points = std::vector<KdGePoint3d>;

std::vector<double> easts(const Points& points)
{
    std::vector<double> result;
    for (const KdGePoint3d& point : points)
        result.push_back(point.x);
    return result;
}

struct TerrainPolyline : public testing::Test
{
    LogRecorder log;
    ModelDriver driver{kTerrainModel};
};

using testing::ElementsAre;

} // namespace

TEST_F(TerrainPolyline, ABoundaryLosesPointsThatRepeatTheOneBefore)
{
    Points points{{0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 0, 0}};
    EXPECT_TRUE(driver.model().checkBoundary(points));
    EXPECT_THAT(easts(points), ElementsAre(0.0, 1.0, 0.0)); // the last one repeats no neighbour
}

TEST_F(TerrainPolyline, PointsThatDifferInHeightAloneAreTwo)
{
    Points points{{0, 0, 0}, {0, 0, 1}};
    EXPECT_TRUE(driver.model().checkBoundary(points));
    EXPECT_EQ(points.size(), 2U);
}

TEST_F(TerrainPolyline, ABoundaryNeedsTwoPoints)
{
    Points none;
    Points one{{1, 2, 3}};
    Points same{{1, 2, 3}, {1, 2, 3}};
    EXPECT_FALSE(driver.model().checkBoundary(none));
    EXPECT_FALSE(driver.model().checkBoundary(one));
    EXPECT_FALSE(driver.model().checkBoundary(same));
}

TEST_F(TerrainPolyline, PiecesAreCleanedAndThoseOfOnePointGo)
{
    std::vector<Points> pieces{{{0, 0, 0}, {0, 0, 0}}, {{0, 0, 0}, {2, 0, 0}, {2, 0, 0}}, {}};
    driver.model().joinDrapedPieces(pieces);
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_THAT(easts(pieces[0]), ElementsAre(0.0, 2.0));
}

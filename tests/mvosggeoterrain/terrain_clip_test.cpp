#include "mvclipregions/ClipGeometry.h"
#include "mvosggeoterrain/TerrainFixture.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace
{

using namespace clipgeometry;

constexpr int kInside = MvGeoMesh::kClipInside;
constexpr int kOutside = MvGeoMesh::kClipOutside;
constexpr int kInMemory = 0;
constexpr int kFinest = MvGeoMesh::kFinestTiles;

/** The DEM's posts lie at 5, 15 ... 635 m and rise by 1 m each 10 m eastwards. */
struct TerrainClip : public TerrainFixture
{
    Points found;
    const Points field{{100, 100, 0}, {500, 120, 0}, {450, 300, 0}, {300, 250, 0}, {130, 480, 0}};

    void SetUp() override
    {
        TerrainFixture::SetUp();
        ASSERT_EQ(driver->add(source()), 0);
    }
    void clip(int mode, const Points& boundary, int options)
    {
        found.clear();
        const KdGeMatrix3d placement;
        ASSERT_TRUE(model().clip(mode, MvGeoMesh::kAllModelFiles, &placement, &boundary, nullptr, options, &found));
        EXPECT_EQ(badTriangles(found), 0);
    }
    [[nodiscard]] int uprightTriangles() const
    {
        int count = 0;
        for (std::size_t i = 0; i < found.size(); i += 3)
        {
            const osg::Vec3d normal = crossOf(found[i], found[i + 1], found[i + 2]);
            if (std::abs(normal.z()) < 0.1 * normal.length()) ++count; // the slope's is 0.995
        }
        return count;
    }
    /** The greatest distance from the plane z = (x - 5) / 10. */
    [[nodiscard]] double distanceFromSlope() const
    {
        double greatest = 0.0;
        for (const KdGePoint3d& point : found)
            greatest = std::max(greatest, std::abs(point.z - (point.x - 5.0) / 10.0));
        return greatest;
    }
};

} // namespace

TEST_F(TerrainClip, LeavesSkirtsOut)
{
    clip(kInside, {{-100, -100, 0}, {900, -100, 0}, {900, 900, 0}, {-100, 900, 0}}, kInMemory);
    EXPECT_GT(found.size(), 0U);
    EXPECT_EQ(uprightTriangles(), 0);
}

TEST_F(TerrainClip, TheTileInMemoryCoversTheField)
{
    const double area = enclosedArea(field);
    clip(kInside, field, kInMemory);
    EXPECT_NEAR(planArea(found), area, 1e-6 * area);
}

TEST_F(TerrainClip, TheFinestTilesCoverTheFieldOnce)
{
    const double area = enclosedArea(field);
    clip(kInside, field, kFinest);
    EXPECT_NEAR(planArea(found), area, 1e-6 * area);
    EXPECT_EQ(uprightTriangles(), 0);
    EXPECT_EQ(misplacedTriangles(found, field, true, 1e-6), 0);
    EXPECT_LT(distanceFromSlope(), 1e-3);
    EXPECT_EQ(driver->statistics().tilesHeld, 1U) << "nothing enters the scene";
}

TEST_F(TerrainClip, InsideAndOutsideAreTheWholeOfTheFinestTiles)
{
    clip(kInside, field, kFinest);
    const double inside = surfaceArea(found);
    clip(kOutside, field, kFinest);
    const double outside = surfaceArea(found);
    clip(kInside, {{-100, -100, 0}, {900, -100, 0}, {900, 900, 0}, {-100, 900, 0}}, kFinest);
    const double whole = surfaceArea(found);
    EXPECT_NEAR(inside + outside, whole, 1e-9 * whole);
}

TEST_F(TerrainClip, TilesReadForAClipAreNotKeptOnTheDisk)
{
    const std::size_t before = cacheFiles(".osgb").size();
    clip(kInside, field, kFinest);
    EXPECT_EQ(cacheFiles(".osgb").size(), before);
}

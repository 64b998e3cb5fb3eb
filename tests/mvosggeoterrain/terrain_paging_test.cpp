#include "mvosggeoterrain/TerrainFixture.h"

#include <algorithm>
#include <cmath>

namespace
{

using TerrainPaging = TerrainFixture;
using testing::ElementsAre;

/** The elevation of the test's DEM between the centres of its first and last post. */
double elevationAt(double east)
{
    return std::clamp(east / 10.0 - 0.5, 0.0, 63.0);
}

/** A vertex in the frame of the model. */
KdGePoint3d vertex(const RecordingMesh& mesh, std::size_t index)
{
    KdGePoint3d point(mesh.vertices[3 * index], mesh.vertices[3 * index + 1], mesh.vertices[3 * index + 2]);
    return point.transformBy(mesh.transform);
}

/** Checks the surface; what hangs below it is skirt. */
void expectOnTheDem(const RecordingMesh& mesh, double tolerance)
{
    std::size_t surfaceVertices = 0;
    for (std::size_t i = 0; i < mesh.vertices.size() / 3; ++i)
    {
        const KdGePoint3d point = vertex(mesh, i);
        if (point.z < elevationAt(point.x) - 1.0) continue;
        ++surfaceVertices;
        ASSERT_NEAR(point.z, elevationAt(point.x), tolerance) << point.x;
    }
    EXPECT_GT(surfaceVertices, mesh.vertices.size() / 3 / 4);
}

} // namespace

TEST_F(TerrainPaging, ATileIsRefinedFrom512PixelsOn)
{
    // Half the root's diagonal is 452.5 m. OSG's measure is 1611.9 * radius / depth for this view: 512 pixels
    // at 1424.7 m above the middle of the root's elevations, which is 31.5 m or a little less.
    driver->add(source());
    driver->view = fromAbove(1500.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_THAT(driver->receiver.visible, ElementsAre(id("terrain.osgb.3dimg_0")));

    driver->view = fromAbove(1400.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_EQ(driver->receiver.visibleIds(),
              (std::set<std::string>{id("0_0_0_c.osgb.3dimg_0"), id("0_0_0_c.osgb.3dimg_1"), id("0_0_0_c.osgb.3dimg_2"),
                                     id("0_0_0_c.osgb.3dimg_3")}));
    expectCleanContract();
}

// The root's posts are 20.6 m apart, so it reads one of two columns: the eastern one, 2 n + 1 m high, in the place of
// both, whose middle is at 20 n + 10 m. Its children read every column.
TEST_F(TerrainPaging, VerticesLieOnTheDem)
{
    driver->add(source());
    driver->view = fromAbove(300.0);
    ASSERT_TRUE(driver->converge());
    std::set<std::string> checked;
    for (const auto& [tile, container] : driver->receiver.tiles())
    {
        const bool isRoot = tile == id("terrain.osgb.3dimg_0");
        if (!isRoot && tile.find(id("0_0_0_c")) != 0) continue;
        checked.insert(tile);
        ASSERT_EQ(container.meshes.size(), 1U);
        for (std::size_t i = 0; i < 1024; ++i) // the surface; skirts come behind it
        {
            const KdGePoint3d point = vertex(*container.meshes[0], i);
            const double expected = isRoot ? std::clamp(point.x / 10.0, 1.0, 63.0) : elevationAt(point.x);
            ASSERT_NEAR(point.z, expected, 1e-3) << tile << ' ' << point.x << ' ' << point.y;
        }
    }
    EXPECT_EQ(checked.size(), 5U);
}

TEST_F(TerrainPaging, ARedNorthWesternCornerIsShownThere)
{
    driver->add(source());
    driver->view = fromAbove(1500.0);
    ASSERT_TRUE(driver->converge());
    const RecordingMesh* mesh = driver->receiver.onlyMesh(id("terrain.osgb.3dimg_0"));
    ASSERT_TRUE(mesh);
    const RecordedPixels pixels = mesh->pixels();
    ASSERT_EQ(pixels.width, 256U);
    const auto colourAt = [&](const KdGePoint3d& wanted)
    {
        std::size_t nearest = 0;
        for (std::size_t i = 1; i < 1024; ++i)
            if (std::hypot(vertex(*mesh, i).x - wanted.x, vertex(*mesh, i).y - wanted.y) <
                std::hypot(vertex(*mesh, nearest).x - wanted.x, vertex(*mesh, nearest).y - wanted.y))
                nearest = i;
        const auto column = static_cast<std::size_t>(std::min(mesh->texCoords[2 * nearest] * 256.0F, 255.0F));
        const auto row = static_cast<std::size_t>(std::min(mesh->texCoords[2 * nearest + 1] * 256.0F, 255.0F));
        const unsigned char* pixel = &pixels.bytes[(row * 256 + column) * 3];
        return pixel[0] > pixel[2] ? "red" : "blue";
    };
    EXPECT_STREQ(colourAt({20.0, 620.0, 0.0}), "red");
    EXPECT_STREQ(colourAt({620.0, 620.0, 0.0}), "blue");
    EXPECT_STREQ(colourAt({20.0, 20.0, 0.0}), "blue");
    EXPECT_STREQ(colourAt({620.0, 20.0, 0.0}), "blue");
}

TEST_F(TerrainPaging, BeyondTheDemTheSurfaceStaysAndTheImageGetsFiner)
{
    writeDom(2048); // 0.31 m a pixel, the DEM has 10 m a post
    driver->add(source());
    driver->view = fromAbove(100.0);
    ASSERT_TRUE(driver->converge());
    // Depth 2 has 5.2 m between its posts, twice that is more than the DEM's 10 m; from depth 3 on the mesh is cut out
    // of the parent's. The file that names it is one of depth 2 or more.
    std::size_t cutMeshes = 0;
    for (const auto& [tile, container] : driver->receiver.tiles())
    {
        if (tile < id("2_") || tile > id("9")) continue;
        for (const auto& mesh : container.meshes)
        {
            ++cutMeshes;
            expectOnTheDem(*mesh, 0.3);
            EXPECT_EQ(mesh->pixels().width, 256U);
        }
    }
    EXPECT_GT(cutMeshes, 4U);
    expectCleanContract();
}

TEST_F(TerrainPaging, ThePyramidEndsWhereBothRastersAreCoarser)
{
    // Tiles of depth d have 640 / 2^d / 255 m between their image samples. A tile's children are leaves once half of
    // that is below the DOM's 2.5 m and half their post spacing below the DEM's 10 m: depth 0: 1.25 m and 10.3 m, depth
    // 1: 0.6 m and 5.2 m. So depth 1 votes leaf, and depth 2 is the last.
    driver->add(source());
    driver->view = fromAbove(70.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_EQ(driver->statistics().tilesFailed, 0U);
    // The file of the root holds depth 1, those of depth 1 hold depth 2.
    const std::set<std::string> files = cacheFiles(".osgb");
    EXPECT_EQ(files.count("1_0_0_c.osgb"), 1U);
    for (const std::string& file : files)
        EXPECT_NE(file[0], '2') << file;
}

TEST_F(TerrainPaging, TilesAreTheSameAfterComingBack)
{
    writeDom(2048);
    driver->add(source());
    model().pager().setTargetMaximumNumberOfPageLOD(2);
    driver->view = fromAbove(100.0);
    ASSERT_TRUE(driver->converge());
    const std::set<std::string> before = driver->receiver.visibleIds();
    driver->receiver.allowsComingAndGoing = true;
    driver->view = perspectiveView({5000.0, 5000.0, 100.0}, {6000.0, 5000.0, 0.0}, {0.0, 0.0, 1.0});
    for (int i = 0; i < 5; ++i)
        driver->update();
    EXPECT_GT(driver->statistics().tilesExpired, 0U);
    driver->view = fromAbove(100.0);
    ASSERT_TRUE(driver->converge());
    EXPECT_EQ(driver->receiver.visibleIds(), before);
    expectCleanContract();
}

#include "TerrainFixture.h"

#include "support/TilePyramid.h"

#include <cmath>
#include <functional>

namespace
{

using Line = std::vector<KdGePoint3d>;
using Lines = std::vector<Line>;

Lines drape(MvOsgGeoMesh& model, const Line& line)
{
    const KdGeMatrix3d placement;
    Lines result;
    EXPECT_TRUE(model.section(&placement, &line, &result));
    return result;
}

void expectSame(const Lines& lines, const Lines& expected)
{
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        ASSERT_EQ(lines[i].size(), expected[i].size());
        for (std::size_t k = 0; k < lines[i].size(); ++k)
            EXPECT_LT(lines[i][k].distanceTo(expected[i][k]), 1e-9);
    }
}

/** A host that measures in the middle of an update. */
class MeasuringReceiver : public RecordingReceiver
{
public:
    void visibleTiles(const std::vector<std::string>& globalIds) override
    {
        RecordingReceiver::visibleTiles(globalIds);
        measure();
    }

    std::function<void()> measure;
};

/** Measures between and during updates while the view wanders and the pager's thread streams. */
void wanderAndMeasure(ModelDriver& driver, const std::function<HostView(int)>& view,
                      const std::function<void()>& measure)
{
    MeasuringReceiver receiver;
    receiver.allowsComingAndGoing = true;
    receiver.measure = measure;
    for (int frame = 1; frame <= 40; ++frame)
    {
        const HostView seen = view(frame);
        EXPECT_TRUE(driver.model().update(static_cast<unsigned int>(frame), &seen.model, &seen.view, &seen.projection,
                                          seen.width, seen.height, MvGeoMesh::kExtractTextures, nullptr, &receiver));
        receiver.finishUpdate();
        measure();
    }
    EXPECT_GT(driver.statistics().tilesMerged, 0U);
    EXPECT_THAT(receiver.errors, testing::IsEmpty());
}

using DrapeWhilePaging = TerrainFixture;

} // namespace

TEST_F(DrapeWhilePaging, ATerrainGivesWhatItGivesWhenQuiet)
{
    const Line line{{20, 33, 0}, {620, 577, 0}, {320, 320, 0}};
    ASSERT_EQ(driver->add(source()), 0);
    const Lines quiet = drape(model(), line);
    ASSERT_EQ(quiet.size(), 1U);
    renewModel();
    std::filesystem::remove_all(folder / "temp");
    ASSERT_EQ(driver->add(source()), 0);
    wanderAndMeasure(
        *driver,
        [](int frame)
        {
            const double x = 100.0 + 11.0 * frame;
            return perspectiveView({x, 320.0, 80.0}, {x, 320.0, 0.0});
        },
        [&] { expectSame(drape(model(), line), quiet); });
    driver->destroyModel();
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(DrapeWhilePaging, APyramidGivesWhatItGivesWhenQuiet)
{
    TilePyramidOptions options;
    options.levels = 5;
    const TilePyramid files(folder / "pyramid", options);
    const Line line{{3, 5, 0}, {97, 60, 0}, {20, 90, 0}};
    ModelDriver tiled;
    ASSERT_EQ(tiled.add(files.rootFile()), 0);
    const Lines quiet = drape(tiled.model(), line);
    ASSERT_EQ(quiet.size(), 1U);
    ASSERT_EQ(quiet[0].front().z, 4.0);
    wanderAndMeasure(
        tiled,
        [](int frame)
        {
            const double x = 10.0 + 2.0 * frame;
            return perspectiveView({x, 50.0, 20.0}, {x, 50.0, 0.0});
        },
        [&] { expectSame(drape(tiled.model(), line), quiet); });
}

TEST_F(DrapeWhilePaging, SoDoesAClipOfTheFinestTiles)
{
    const Line field{{20, 33, 0}, {620, 57, 0}, {320, 620, 0}};
    const auto clip = [&]
    {
        const KdGeMatrix3d placement;
        Line corners;
        EXPECT_TRUE(model().clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &placement, &field, nullptr,
                                 MvGeoMesh::kFinestTiles, &corners));
        return corners;
    };
    ASSERT_EQ(driver->add(source()), 0);
    const Line quiet = clip();
    ASSERT_FALSE(quiet.empty());
    wanderAndMeasure(
        *driver,
        [](int frame)
        {
            const double x = 100.0 + 11.0 * frame;
            return perspectiveView({x, 320.0, 80.0}, {x, 320.0, 0.0});
        },
        [&] { expectSame({clip()}, {quiet}); });
}

TEST_F(DrapeWhilePaging, AModelMayEndRightAfterAMeasurement)
{
    for (int round = 0; round < 10; ++round)
    {
        ASSERT_EQ(driver->add(source()), 0);
        driver->view = fromAbove(100.0 + round);
        driver->update(); // the first tiles are under way
        EXPECT_FALSE(drape(model(), {{20, 33, 0}, {620, 577, 0}}).empty());
        driver->destroyModel();
        EXPECT_EQ(openDatasets(), 0);
        renewModel();
        std::filesystem::remove_all(folder / "temp");
    }
}

#include "TerrainFixture.h"

#include "support/TilePyramid.h"

#include <cmath>
#include <optional>
#include <random>

namespace
{

constexpr double kAgreement = 1e-4; // m

/** Asks a model for the height at one spot in three ways. */
class HeightAsker
{
public:
    /** @param size  metres of what the heights are measured with */
    HeightAsker(ModelDriver& driver, double x, double y, double size) : _driver(driver), _x(x), _y(y), _size(size) {}

    /** Looks straight down and loads what there is to see. */
    void lookDown(double from, double halfHeight) const
    {
        _driver.view = orthographicView({_x, _y, from}, {_x, _y, 0.0}, halfHeight);
        ASSERT_TRUE(_driver.converge());
    }
    [[nodiscard]] std::optional<double> picked() const
    {
        const KdGePoint3d spot(_x, _y, 0.0);
        KdGePoint3d hit;
        if (!_driver.model().pickPoint(&_placement, &spot, &hit)) return std::nullopt;
        return hit.z;
    }
    /** Of the highest line above the spot. */
    [[nodiscard]] std::optional<double> draped() const
    {
        const std::vector<KdGePoint3d> across{{_x - 3.0 * _size, _y - 4.0 * _size, 0.0},
                                              {_x + 3.0 * _size, _y + 4.0 * _size, 0.0}};
        std::vector<std::vector<KdGePoint3d>> lines;
        EXPECT_TRUE(_driver.model().section(&_placement, &across, &lines));
        std::optional<double> highest;
        for (const auto& line : lines)
            for (std::size_t i = 1; i < line.size(); ++i)
                take(highest, between(line[i - 1], line[i]));
        return highest;
    }
    /** Of the highest triangle that holds the spot. */
    [[nodiscard]] std::optional<double> clipped() const
    {
        const std::vector<KdGePoint3d> square{{_x - _size, _y - _size, 0},
                                              {_x + _size, _y - _size, 0},
                                              {_x + _size, _y + _size, 0},
                                              {_x - _size, _y + _size, 0}};
        std::vector<KdGePoint3d> corners;
        EXPECT_TRUE(_driver.model().clip(MvGeoMesh::kClipInside, MvGeoMesh::kAllModelFiles, &_placement, &square,
                                         nullptr, 0, &corners));
        std::optional<double> highest;
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3)
            take(highest, inside(corners[i], corners[i + 1], corners[i + 2]));
        return highest;
    }

private:
    static void take(std::optional<double>& highest, std::optional<double> height)
    {
        if (height && (!highest || *height > *highest)) highest = height;
    }
    [[nodiscard]] std::optional<double> between(const KdGePoint3d& a, const KdGePoint3d& b) const
    {
        if (a.x == b.x || (a.x - _x) * (b.x - _x) > 0.0) return std::nullopt;
        return a.z + (b.z - a.z) * (_x - a.x) / (b.x - a.x);
    }
    [[nodiscard]] std::optional<double> inside(const KdGePoint3d& a, const KdGePoint3d& b, const KdGePoint3d& c) const
    {
        const double area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (std::abs(area) < 1e-12) return std::nullopt;
        const double u = ((_x - a.x) * (c.y - a.y) - (c.x - a.x) * (_y - a.y)) / area;
        const double v = ((b.x - a.x) * (_y - a.y) - (_x - a.x) * (b.y - a.y)) / area;
        constexpr double kEdge = -1e-9;
        if (u < kEdge || v < kEdge || u + v > 1.0 - kEdge) return std::nullopt;
        return a.z + u * (b.z - a.z) + v * (c.z - a.z);
    }

    ModelDriver& _driver;
    double _x;
    double _y;
    double _size;
    KdGeMatrix3d _placement;
};

/** @param lowest  no height there is lower */
void expectAgreement(ModelDriver& driver, double x, double y, double from, double lowest, double size = 1.0)
{
    SCOPED_TRACE(testing::Message() << "at " << x << ' ' << y);
    const HeightAsker ask(driver, x, y, size);
    ask.lookDown(from, 2.0 * size);
    const std::optional<double> picked = ask.picked();
    const std::optional<double> draped = ask.draped();
    const std::optional<double> clipped = ask.clipped();
    ASSERT_TRUE(picked && draped && clipped) << bool(picked) << bool(draped) << bool(clipped);
    EXPECT_GE(*picked, lowest);
    EXPECT_NEAR(*draped, *picked, kAgreement);
    EXPECT_NEAR(*clipped, *picked, kAgreement);
}

using HeightsAgree = TerrainFixture;

} // namespace

TEST_F(HeightsAgree, OnATerrainFarFromTheOrigin)
{
    TestRaster raster;
    raster.width = raster.height = 64;
    raster.type = GDT_Float32;
    raster.originX = 500000.0;
    raster.originY = 4000640.0;
    raster.pixelWidth = 10.0;
    raster.pixelHeight = -10.0;
    writeRaster(dem, raster,
                [](int, int column, int row)
                { return 2000.0 + 40.0 * std::sin(0.4 * column) * std::cos(0.3 * row) + 0.7 * column; });
    ASSERT_EQ(driver->add('?' + dem), 0);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> spot(20.0, 620.0);
    for (int i = 0; i < 12; ++i)
        expectAgreement(*driver, 500000.0 + spot(random), 4000000.0 + spot(random), 5000.0, 1900.0);
}

// Whole tiles are smaller than what their bounds, of single precision, are off by. The slope is the same in each level.
TEST_F(HeightsAgree, OnACentimetreRasterFarFromTheOrigin)
{
    TestRaster raster;
    raster.width = raster.height = 124;
    raster.type = GDT_Float32;
    raster.originX = 500000.07;
    raster.originY = 4000002.61;
    raster.pixelWidth = 0.02;
    raster.pixelHeight = -0.02;
    writeRaster(dem, raster, [](int, int column, int row) { return 20.0 + 0.004 * column - 0.002 * row; });
    ASSERT_EQ(driver->add('?' + dem), 0);
    for (const double x : {0.03, 0.61, 1.23, 2.45})
        for (const double y : {0.03, 0.64, 1.87, 2.45})
            expectAgreement(*driver, raster.originX + x, raster.originY - y, 30.0, 19.0, 0.005);
}

TEST_F(HeightsAgree, OnAPlacedPyramid)
{
    ModelDriver tiled;
    TilePyramidOptions options;
    options.levels = 3;
    const TilePyramid pyramid(folder / "data", options);
    ASSERT_EQ(tiled.add(pyramid.rootFile()), 0);
    const osg::Matrixd placed =
        osg::Matrixd::rotate(0.1, osg::Vec3d(1.0, 0.2, 0.0)) * osg::Matrixd::translate(500000.0, 4000000.0, 300.0);
    tiled.model().setTransform(hostMatrix(placed));
    for (const auto& [x, y] : {std::pair{50.2, 50.3}, {31.7, 68.9}, {77.1, 22.6}})
        expectAgreement(tiled, 500000.0 + x, 4000000.0 + y, 1000.0, 250.0);
}

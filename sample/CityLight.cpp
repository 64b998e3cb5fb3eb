#include "sample/CityLight.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kCell = 0.25;     // metres
constexpr int kBlurRatio = 4;      // surface cells in a blurred cell, each way
constexpr int kBlurRadius = 7;     // blurred cells: about a street's width
constexpr double kSunEast = -0.46; // towards the sun: afternoon, south-west
constexpr double kSunNorth = -0.58;
constexpr double kSunUp = 0.67;
constexpr double kNothing = -1.0e6; // metres: below every surface

const Colour kSunColour(0.89F, 0.85F, 0.76F);
const Colour kSkyColour(0.39F, 0.43F, 0.50F);

/** Averages over 2 * radius + 1 neighbours along a line of values that lie `stride` apart. */
void boxBlur(float* line, int count, int stride, int radius, std::vector<float>& scratch)
{
    scratch.resize(static_cast<std::size_t>(count));
    double sum = 0.0;
    const auto at = [&](int i) { return line[static_cast<std::ptrdiff_t>(std::clamp(i, 0, count - 1)) * stride]; };
    for (int i = -radius; i <= radius; ++i)
        sum += at(i);
    for (int i = 0; i < count; ++i)
    {
        scratch[static_cast<std::size_t>(i)] = static_cast<float>(sum / (2 * radius + 1));
        sum += at(i + radius + 1) - at(i - radius);
    }
    for (int i = 0; i < count; ++i)
        line[static_cast<std::ptrdiff_t>(i) * stride] = scratch[static_cast<std::size_t>(i)];
}
} // namespace

osg::Vec3d CityLight::sun()
{
    osg::Vec3d direction(kSunEast, kSunNorth, kSunUp);
    direction.normalize();
    return direction;
}

CityLight::CityLight(const CityLayout& city, const Rect& part)
{
    // The raster starts at whole metres, so that neighbouring parts compute the same cells.
    _area = part.grownBy(kReach);
    _area.minX = std::floor(_area.minX);
    _area.minY = std::floor(_area.minY);
    _columns = static_cast<int>(std::ceil(_area.width())) * kBlurRatio;
    _rows = static_cast<int>(std::ceil(_area.height())) * kBlurRatio;
    _surface.resize(static_cast<std::size_t>(_columns) * static_cast<std::size_t>(_rows));

    rasterGround(city.plan());
    rasterBoxes(city.objects().boxes);
    rasterTrees(city.plan(), city.objects().trees);
    sweepShadow();
    blurSurface();
}

void CityLight::rasterGround(const CityPlan& plan)
{
    std::size_t cell = 0;
    for (int row = 0; row < _rows; ++row)
    {
        for (int column = 0; column < _columns; ++column, ++cell)
            _surface[cell] = static_cast<float>(
                plan.groundHeight(_area.minX + (column + 0.5) * kCell, _area.minY + (row + 0.5) * kCell));
    }
}

CityLight::CellWindow CityLight::cellsOver(const Rect& rect) const
{
    const auto column = [this](double x)
    { return std::clamp(static_cast<int>((x - _area.minX) / kCell), 0, _columns); };
    const auto row = [this](double y) { return std::clamp(static_cast<int>((y - _area.minY) / kCell), 0, _rows); };
    return {column(rect.minX), row(rect.minY), column(rect.maxX + kCell), row(rect.maxY + kCell)};
}

template <typename HeightAt>
void CityLight::raise(const Rect& around, const HeightAt& heightAt)
{
    const CellWindow window = cellsOver(around);
    for (int row = window.firstRow; row < window.endRow; ++row)
    {
        for (int column = window.firstColumn; column < window.endColumn; ++column)
        {
            float& height = _surface[cellIndex(column, row)];
            const double here = heightAt(_area.minX + (column + 0.5) * kCell, _area.minY + (row + 0.5) * kCell);
            height = std::max(height, static_cast<float>(here));
        }
    }
}

void CityLight::rasterBoxes(const std::vector<Box>& boxes)
{
    for (const Box& box : boxes)
    {
        const double reach = std::hypot(box.halfX, box.halfY);
        const auto roof = [&box](double x, double y)
        {
            const double u = box.localX(x, y);
            const double v = box.localY(x, y);
            return std::abs(u) > box.halfX || std::abs(v) > box.halfY ? kNothing : box.top + box.roofRise(u, v);
        };
        raise({box.x - reach, box.y - reach, box.x + reach, box.y + reach}, roof);
    }
}

void CityLight::rasterTrees(const CityPlan& plan, const std::vector<Tree>& trees)
{
    for (const Tree& tree : trees)
    {
        const double ground = plan.groundHeight(tree.x, tree.y);
        const auto crown = [&](double x, double y)
        {
            const double east = x - tree.x;
            const double north = y - tree.y;
            const double inside = 1.0 - (east * east + north * north) / (tree.radius * tree.radius);
            return inside <= 0.0 ? kNothing : ground + tree.height * (0.45 + 0.5 * std::sqrt(inside));
        };
        raise({tree.x - tree.radius, tree.y - tree.radius, tree.x + tree.radius, tree.y + tree.radius}, crown);
    }
}

void CityLight::sweepShadow()
{
    // One row north is one cell farther from the sun; the ray goes sideways by `shift` columns and down by `drop`.
    constexpr double shift = -kSunEast / -kSunNorth;
    const auto drop =
        static_cast<float>(kCell * std::sqrt(1.0 + shift * shift) * kSunUp / std::hypot(kSunEast, kSunNorth));
    _shadowEdge.assign(_surface.size(), static_cast<float>(kNothing));
    for (int row = 1; row < _rows; ++row)
    {
        const std::size_t here = cellIndex(0, row);
        const std::size_t south = here - static_cast<std::size_t>(_columns);
        for (int column = 2; column < _columns; ++column)
        {
            const double from = column - shift;
            const auto left = static_cast<std::size_t>(from);
            const auto fraction = static_cast<float>(from - static_cast<double>(left));
            const float west = std::max(_surface[south + left], _shadowEdge[south + left]);
            const float east = std::max(_surface[south + left + 1], _shadowEdge[south + left + 1]);
            _shadowEdge[here + static_cast<std::size_t>(column)] = west + fraction * (east - west) - drop;
        }
    }
}

void CityLight::blurSurface()
{
    _blurColumns = _columns / kBlurRatio;
    _blurRows = _rows / kBlurRatio;
    _blurred.assign(static_cast<std::size_t>(_blurColumns) * static_cast<std::size_t>(_blurRows), 0.0F);
    for (int row = 0; row < _blurRows * kBlurRatio; ++row)
    {
        for (int column = 0; column < _blurColumns * kBlurRatio; ++column)
            _blurred[static_cast<std::size_t>(row / kBlurRatio) * static_cast<std::size_t>(_blurColumns) +
                     static_cast<std::size_t>(column / kBlurRatio)] +=
                _surface[cellIndex(column, row)] / static_cast<float>(kBlurRatio * kBlurRatio);
    }
    std::vector<float> scratch;
    for (int row = 0; row < _blurRows; ++row)
        boxBlur(_blurred.data() + static_cast<std::ptrdiff_t>(row) * _blurColumns, _blurColumns, 1, kBlurRadius,
                scratch);
    for (int column = 0; column < _blurColumns; ++column)
        boxBlur(_blurred.data() + column, _blurRows, _blurColumns, kBlurRadius, scratch);
}

float CityLight::sample(const std::vector<float>& raster, int columns, int rows, double column, double row)
{
    const double x = std::clamp(column, 0.0, columns - 1.001);
    const double y = std::clamp(row, 0.0, rows - 1.001);
    const auto left = static_cast<std::size_t>(x);
    const auto below = static_cast<std::size_t>(y);
    const auto u = static_cast<float>(x - static_cast<double>(left));
    const auto v = static_cast<float>(y - static_cast<double>(below));
    const float* south = raster.data() + below * static_cast<std::size_t>(columns) + left;
    const float* north = south + columns;
    const float low = south[0] + u * (south[1] - south[0]);
    const float high = north[0] + u * (north[1] - north[0]);
    return low + v * (high - low);
}

Colour CityLight::shade(const Colour& albedo, const osg::Vec3d& place, const osg::Vec3d& normal) const
{
    static const osg::Vec3d towardsSun = sun();
    const double x = (place.x() - _area.minX) / kCell;
    const double y = (place.y() - _area.minY) / kCell;
    const float edge = sample(_shadowEdge, _columns, _rows, x - 0.5, y - 0.5);
    const float around = sample(_blurred, _blurColumns, _blurRows, x / kBlurRatio - 0.5, y / kBlurRatio - 0.5);

    // The penumbra: 0.3 m of ray height on both sides of the edge.
    const double lit = smoothStep(edge - 0.35, edge + 0.25, place.z());
    const double facing = std::max(0.0, normal * towardsSun) / towardsSun.z();
    const double hidden = std::clamp((around - place.z()) / 15.0, 0.0, 1.0);
    const auto sunPart = static_cast<float>(lit * std::min(1.15, facing));
    const auto skyPart = static_cast<float>((1.0 - 0.50 * hidden) * (0.72 + 0.28 * normal.z()));
    const Colour light = kSunColour * sunPart + kSkyColour * skyPart;
    return {albedo.x() * light.x(), albedo.y() * light.y(), albedo.z() * light.z()};
}
} // namespace mvgeo::sample

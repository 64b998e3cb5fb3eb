#include "sample/TileAtlas.h"

#include "sample/BuildingColour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace mvgeo::sample
{
namespace
{
constexpr int kCrownKinds = 3;
constexpr std::array<std::array<int, 2>, 6> kSizes = {
    {{256, 128}, {256, 256}, {512, 256}, {512, 512}, {1024, 512}, {1024, 1024}}};

int roundedTexels(double metres, double metresPerTexel)
{
    return std::max(2, static_cast<int>(std::lround(metres / metresPerTexel)));
}
} // namespace

TileAtlas::TileAtlas(const TileContent& content)
{
    collect(content);

    // Walls and roofs get coarser until everything fits; the ground keeps its resolution.
    for (double coarsening = 1.0; coarsening < 64.0; coarsening *= 1.15)
    {
        setTexels(content, coarsening);
        for (const auto& size : kSizes)
        {
            if (pack(size[0], size[1])) return;
            if (coarsening < 1.4 && size[0] == 512 && size[1] == 512)
                break; // rather a little coarser than twice as big
        }
    }
}

void TileAtlas::collect(const TileContent& content)
{
    Chart ground;
    ground.width = content.area.width();
    ground.height = content.area.height();
    _charts.push_back(ground);
    for (const Box* box : content.boxes)
    {
        for (int side = 0; side < 4; ++side)
        {
            Chart wall;
            wall.kind = ChartKind::wall;
            wall.box = box;
            wall.index = side;
            const WallPlace place = wallOf(*box, side);
            wall.width = place.length;
            wall.height = box->top - box->bottom + (place.underGable ? box->ridge : 0.0);
            _charts.push_back(wall);
        }
        Chart roof;
        roof.kind = ChartKind::roof;
        roof.box = box;
        roof.width = 2.0 * box->halfX;
        roof.height = 2.0 * box->halfY;
        _charts.push_back(roof);
    }
    _firstCrown = _charts.size();
    for (int kind = 0; kind < kCrownKinds && !content.trees.empty(); ++kind)
    {
        Chart crown;
        crown.kind = ChartKind::crown;
        crown.index = kind;
        _charts.push_back(crown);
    }
}

void TileAtlas::setTexels(const TileContent& content, double coarsening)
{
    const double fine = content.detail.metresPerTexel;
    for (Chart& chart : _charts)
    {
        const double metresPerTexel = chart.kind == ChartKind::ground ? fine : fine * coarsening;
        chart.texelsX = roundedTexels(chart.width, metresPerTexel);
        chart.texelsY = roundedTexels(chart.height, metresPerTexel);
        if (chart.kind != ChartKind::crown) continue;
        chart.texelsX = std::clamp(static_cast<int>(12.0 / fine), 12, 96);
        chart.texelsY = std::clamp(static_cast<int>(4.0 / fine), 6, 40);
    }
}

bool TileAtlas::pack(int width, int height)
{
    // Shelves, the tallest charts first.
    std::vector<std::size_t> order(_charts.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [this](std::size_t a, std::size_t b) { return _charts[a].texelsY > _charts[b].texelsY; });

    int shelfX = 0;
    int shelfY = 0;
    int shelfHeight = 0;
    for (const std::size_t index : order)
    {
        Chart& chart = _charts[index];
        const int needX = chart.texelsX + 2 * kGutter;
        const int needY = chart.texelsY + 2 * kGutter;
        if (shelfX + needX > width)
        {
            shelfX = 0;
            shelfY += shelfHeight;
            shelfHeight = 0;
        }
        if (needX > width || shelfY + needY > height) return false;
        chart.x = shelfX + kGutter;
        chart.y = shelfY + kGutter;
        shelfX += needX;
        shelfHeight = std::max(shelfHeight, needY);
    }
    _width = width;
    _height = height;
    return true;
}

osg::Vec2f TileAtlas::coordinate(const Chart& chart, double alongMetres, double upMetres) const
{
    const double column = chart.x + alongMetres / chart.width * chart.texelsX;
    const double row = chart.y + upMetres / chart.height * chart.texelsY;
    return {static_cast<float>(column / _width), static_cast<float>(row / _height)};
}
} // namespace mvgeo::sample

#pragma once

#include "sample/TileContent.h"

#include <osg/Vec2f>

#include <vector>

namespace mvgeo::sample
{
enum class ChartKind
{
    ground,
    wall,
    roof,
    crown
};

/** One rectangle of a tile's texture and the surface that it shows. */
struct Chart
{
    ChartKind kind = ChartKind::ground;
    const Box* box = nullptr; // walls and roofs
    int index = 0;            // of the wall, or the kind of the crown
    double width = 1.0;       // metres; of a crown: any
    double height = 1.0;
    int texelsX = 1, texelsY = 1;
    int x = 0, y = 0; // of the lower left texel, behind the gutter
};

/** Where everything lies in a tile's texture. */
class TileAtlas
{
public:
    /** Texels around each chart that repeat its rim, against bleeding from neighbours in the small mip levels. */
    static constexpr int kGutter = 3;

    explicit TileAtlas(const TileContent& content);

    [[nodiscard]] int width() const { return _width; }
    [[nodiscard]] int height() const { return _height; }
    [[nodiscard]] const std::vector<Chart>& charts() const { return _charts; }

    /** Charts in the order of the content: the ground, then for each box four walls and the roof, then the crowns. */
    [[nodiscard]] const Chart& ground() const { return _charts.front(); }
    [[nodiscard]] const Chart& wall(std::size_t box, int side) const
    {
        return _charts[1 + 5 * box + static_cast<std::size_t>(side)];
    }
    [[nodiscard]] const Chart& roof(std::size_t box) const { return _charts[1 + 5 * box + 4]; }
    [[nodiscard]] const Chart& crown(int kind) const { return _charts[_firstCrown + static_cast<std::size_t>(kind)]; }

    /** Texture coordinate of a place in a chart, in metres from its lower left corner. */
    [[nodiscard]] osg::Vec2f coordinate(const Chart& chart, double alongMetres, double upMetres) const;

private:
    void collect(const TileContent& content);
    void setTexels(const TileContent& content, double coarsening);
    [[nodiscard]] bool pack(int width, int height);

    std::vector<Chart> _charts;
    std::size_t _firstCrown = 0;
    int _width = 0;
    int _height = 0;
};
} // namespace mvgeo::sample

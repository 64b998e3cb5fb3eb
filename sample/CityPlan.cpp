#include "sample/CityPlan.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kMargin = 7.0;      // metres from the city's edge to the outermost street
constexpr double kBlockPitch = 74.0; // metres between streets, about
constexpr double kRiverHalfWidth = 19.0;
constexpr double kRiverBandHalf = 40.0; // what the river's bends may use

Street makeStreet(double centre, bool avenue)
{
    return {centre, avenue ? 8.0 : 4.6, avenue};
}

/** Streets from one coordinate to another, both included, at an uneven pitch. */
void addStreets(std::vector<Street>& streets, double from, double to, std::uint32_t seed)
{
    const int count = std::max(1, static_cast<int>(std::lround((to - from) / kBlockPitch)));
    const double pitch = (to - from) / count;
    for (int i = 0; i <= count; ++i)
    {
        const bool inside = i > 0 && i < count;
        const double shift = inside ? (random01(seed, static_cast<std::uint32_t>(i)) - 0.5) * 0.22 * pitch : 0.0;
        streets.push_back(makeStreet(from + i * pitch + shift, i % 3 == 2));
    }
}

/** Index of the last street whose centre is not beyond the coordinate; -1 in front of all. */
int streetBefore(const std::vector<Street>& streets, double coordinate)
{
    const auto after = std::upper_bound(streets.begin(), streets.end(), coordinate,
                                        [](double value, const Street& street) { return value < street.centre; });
    return static_cast<int>(after - streets.begin()) - 1;
}
} // namespace

CityPlan::CityPlan(double width, double height, std::uint32_t seed)
    : _width(width), _height(height), _seed(seed), _relief(hashOf(seed, 1))
{
    const double riverY = 0.25 * height;
    _riverBand = {-1.0e6, riverY - kRiverBandHalf, 1.0e6, riverY + kRiverBandHalf};
    makeStreets();
    makeBlocks();
    placePond();
}

void CityPlan::makeStreets()
{
    addStreets(_streetsNorth, kMargin, _width - kMargin, hashOf(_seed, 2));

    // No street runs along the river bed: quays on both sides, and blocks that belong to the river between them.
    if (_riverBand.minY > kMargin + 30.0)
        addStreets(_streetsEast, kMargin, _riverBand.minY, hashOf(_seed, 3));
    else
        _streetsEast.push_back(makeStreet(std::max(_riverBand.minY, -kMargin), false));
    addStreets(_streetsEast, _riverBand.maxY, _height - kMargin, hashOf(_seed, 4));
}

void CityPlan::makeBlocks()
{
    for (std::size_t row = 0; row + 1 < _streetsEast.size(); ++row)
    {
        for (std::size_t column = 0; column + 1 < _streetsNorth.size(); ++column)
        {
            const Street& west = _streetsNorth[column];
            const Street& east = _streetsNorth[column + 1];
            const Street& south = _streetsEast[row];
            const Street& north = _streetsEast[row + 1];
            Block block;
            block.rect = {west.centre + west.half + kPavement, south.centre + south.half + kPavement,
                          east.centre - east.half - kPavement, north.centre - north.half - kPavement};
            block.seed = hashOf(_seed, static_cast<std::uint32_t>(row) + 100U, static_cast<std::uint32_t>(column));
            block.use = chooseUse(block.rect, block.seed);
            _blocks.push_back(block);
        }
    }
}

BlockUse CityPlan::chooseUse(const Rect& rect, std::uint32_t seed) const
{
    if (_riverBand.contains(rect.centreX(), rect.centreY())) return BlockUse::river;

    // Dense in the middle, gardens at the edges.
    const double distance =
        std::hypot((rect.centreX() - 0.56 * _width) / _width, (rect.centreY() - 0.62 * _height) / _height);
    const double dice = random01(seed, 5);
    if (distance < 0.17) return dice < 0.62 ? BlockUse::towers : BlockUse::courtyard;
    if (distance < 0.36)
    {
        if (dice < 0.60) return BlockUse::courtyard;
        if (dice < 0.82) return BlockUse::slabs;
        return dice < 0.92 ? BlockUse::school : BlockUse::towers;
    }
    if (dice < 0.62) return BlockUse::houses;
    if (dice < 0.82) return BlockUse::slabs;
    return dice < 0.93 ? BlockUse::works : BlockUse::school;
}

void CityPlan::placePond()
{
    // The park is the block nearest to a point south-west of the middle, where a camera from the south sees the pond.
    const auto distance = [this](const Block& block)
    {
        const double penalty = block.use == BlockUse::river ? 1.0e6 : 0.0;
        return penalty + std::hypot(block.rect.centreX() - 0.40 * _width, block.rect.centreY() - 0.48 * _height);
    };
    const auto park =
        std::min_element(_blocks.begin(), _blocks.end(),
                         [&distance](const Block& a, const Block& b) { return distance(a) < distance(b); });
    if (park == _blocks.end() || park->use == BlockUse::river) return;
    park->use = BlockUse::park;
    _pondX = park->rect.centreX() + 4.0;
    _pondY = park->rect.centreY() - 5.0;
    _pondRadius = 0.22 * std::min(park->rect.width(), park->rect.height());
}

const Block* CityPlan::blockAt(double x, double y) const
{
    const int column = streetBefore(_streetsNorth, x);
    const int row = streetBefore(_streetsEast, y);
    const int columns = static_cast<int>(_streetsNorth.size()) - 1;
    const int rows = static_cast<int>(_streetsEast.size()) - 1;
    if (column < 0 || column >= columns || row < 0 || row >= rows) return nullptr;
    return &_blocks[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                    static_cast<std::size_t>(column)];
}

double CityPlan::riverDistance(double x, double y) const
{
    // Far away the bends do not matter: nobody asks for more than that there is land.
    const double fromAxis = std::abs(y - 0.25 * _height);
    if (fromAxis > 70.0) return fromAxis - 40.0;

    const double bend = 12.0 * std::sin(x / 71.0 + 0.6) + 5.0 * std::sin(x / 29.0);
    return std::abs(y - 0.25 * _height - bend) - kRiverHalfWidth - 1.5 * std::sin(x / 17.0);
}

double CityPlan::waterDistance(double x, double y) const
{
    const double river = riverDistance(x, y);
    const double fromPond = std::sqrt((x - _pondX) * (x - _pondX) + (y - _pondY) * (y - _pondY));
    if (_pondRadius <= 0.0 || fromPond > 1.25 * _pondRadius + 30.0) return river;

    const double angle = std::atan2(y - _pondY, x - _pondX);
    const double shore = _pondRadius * (1.0 + 0.16 * std::sin(2.0 * angle + 0.5) + 0.07 * std::sin(5.0 * angle));
    return std::min(river, fromPond - shore);
}

double CityPlan::landHeight(double x, double y) const
{
    return kWaterLevel + 7.0 + 5.0 * _relief.fractal(x / 170.0 + 3.0, y / 170.0 + 8.0, 2);
}

double CityPlan::groundHeight(double x, double y, double shore) const
{
    if (shore <= 0.0) return kWaterLevel;

    const double land = landHeight(x, y) + 0.10 * _relief.at(x / 3.1, y / 3.1);
    return kWaterLevel + (land - kWaterLevel) * smoothStep(-1.0, 11.0, shore);
}
} // namespace mvgeo::sample

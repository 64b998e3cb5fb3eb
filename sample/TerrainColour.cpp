#include "sample/TerrainColour.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
const Colour kShallow(0.34F, 0.56F, 0.54F);
const Colour kDeep(0.06F, 0.22F, 0.31F);
const Colour kBeach(0.62F, 0.60F, 0.52F);
const Colour kMeadow(0.42F, 0.49F, 0.26F);
const Colour kAlpine(0.48F, 0.48F, 0.31F);
const Colour kDry(0.55F, 0.50F, 0.33F);
const Colour kConifer(0.20F, 0.26F, 0.18F);
const Colour kBroadleaf(0.31F, 0.38F, 0.21F);
const Colour kUndergrowth(0.12F, 0.15F, 0.10F);
const Colour kScree(0.61F, 0.59F, 0.55F);
const Colour kRockLight(0.60F, 0.57F, 0.51F);
const Colour kRockDark(0.40F, 0.38F, 0.34F);
const Colour kStream(0.60F, 0.64F, 0.60F);
const Colour kSnow(0.94F, 0.955F, 0.97F);

constexpr double kHighestFields = 160.0; // metres

// Shares of the highest peak's height.
constexpr double kTreeLine = 0.56;
constexpr double kSnowLine = 0.67;

float asFactor(double value)
{
    return static_cast<float>(value);
}
} // namespace

TerrainColour::TerrainColour(const TerrainPlan& plan, const TerrainRelief& relief)
    : _plan(plan),
      _heights(relief.heights),
      _noise(plan.noise()),
      _valley(plan, relief.heights),
      _posts(relief.heights.values.size())
{
    forEachPost(_heights,
                [&](int column, int row)
                {
                    const double x = _heights.x(column);
                    const double y = _heights.y(row);
                    const std::size_t post = _heights.index(column, row);
                    _posts[post] = {_heights.values[post],
                                    relief.slopes.values[post],
                                    relief.streams.values[post],
                                    relief.hollows.values[post],
                                    relief.light.values[post],
                                    _noise.fractal(x / 250.0, y / 250.0 + 8.0, 3),
                                    _noise.fractal(x / 45.0 + 3.0, y / 45.0, 3)};
                });
}

TerrainColour::Post TerrainColour::interpolate(const Post& first, const Post& second, float part)
{
    const auto mixed = [&](float Post::*number) { return first.*number + part * (second.*number - first.*number); };
    return {mixed(&Post::height), mixed(&Post::slope), mixed(&Post::stream), mixed(&Post::hollow),
            mixed(&Post::light),  mixed(&Post::broad), mixed(&Post::middle)};
}

TerrainColour::Post TerrainColour::postAt(double x, double y) const
{
    const GridPlace place(_heights, x, y);
    const Post* north = &_posts[place.first];
    const Post* south = north + _heights.columns;
    return interpolate(interpolate(north[0], north[1], place.east), interpolate(south[0], south[1], place.east),
                       place.south);
}

TerrainColour::Place TerrainColour::placeAt(double x, double y) const
{
    Place place{};
    static_cast<Post&>(place) = postAt(x, y);
    place.x = x;
    place.y = y;
    place.altitude = std::max(place.height, 0.0F) / _plan.peak();
    place.fine = _noise.fractal(x / 9.0, y / 9.0, 2);
    // What decides between covers is looked up a little aside, so that no border follows the posts' lines.
    const Post aside = postAt(x + 9.0 * place.fine, y + 9.0 * place.middle);
    place.slope = aside.slope;
    place.stream = aside.stream;
    place.hollow = aside.hollow;
    return place;
}

Colour TerrainColour::at(double x, double y) const
{
    const Place place = placeAt(x, y);
    return place.height < 0.0 ? water(place) : lit(land(place), place);
}

Colour TerrainColour::water(const Place& place) const
{
    const double depth = 1.0 - std::exp(place.height / 9.0);
    const Colour colour = blend(kShallow, kDeep, depth);
    const double wind = _noise.fractal(place.x / 420.0, place.y / 130.0, 3);
    return colour * asFactor(1.0 + 0.10 * wind + 0.03 * place.fine);
}

double TerrainColour::woodland(const Place& place) const
{
    const double line = place.altitude + 0.07 * place.broad + 0.04 * place.middle;
    const double belowLine = 1.0 - smoothStep(kTreeLine - 0.07, kTreeLine + 0.03, line);
    const double offFields = smoothStep(0.10, 0.24, place.slope + 0.10 * place.middle + 0.16 * place.broad);
    const double holdsRoots = 1.0 - smoothStep(0.95, 1.25, place.slope + 0.15 * place.middle);
    const double clearings = smoothStep(-0.42, -0.22, place.broad + 0.4 * place.middle);
    // Avalanches keep the gullies of the upper woods open.
    const double gully =
        smoothStep(4.2, 4.9, place.stream + 0.3 * place.middle) * smoothStep(0.22, 0.40, place.altitude);
    return belowLine * offFields * holdsRoots * clearings * (1.0 - 0.8 * gully);
}

Colour TerrainColour::pasture(const Place& place) const
{
    const double high = smoothStep(0.18, 0.60, place.altitude + 0.06 * place.broad);
    const double dry = smoothStep(-0.1, 0.5, place.middle - 0.02 * place.hollow + 0.5 * place.broad);
    const double moist = smoothStep(3.6, 5.2, place.stream);
    Colour colour = blend(kMeadow, kAlpine, high);
    colour = blend(colour, kDry, 0.55 * dry * (0.4 + 0.6 * high));
    return blend(colour, kMeadow, 0.5 * moist) * asFactor(1.0 + 0.16 * place.fine + 0.10 * place.middle);
}

Colour TerrainColour::rock(const Place& place) const
{
    // Layers that dip a little to the east, seen where the slope cuts them.
    const double layer = (place.height + 0.12 * place.x + 22.0 * place.broad + 9.0 * place.middle) / 24.0;
    const double bands = _noise.fractal(layer, 0.02 * layer, 3);
    const double tone = smoothStep(-0.7, 0.7, 0.9 * bands + 0.5 * place.fine + 0.35 * place.broad);
    return blend(kRockDark, kRockLight, tone) * asFactor(1.0 + 0.16 * place.fine);
}

Colour TerrainColour::land(const Place& place) const
{
    if (place.height < kHighestFields)
    {
        if (const std::optional<Colour> made = _valley.at(place.x, place.y, place.height, place.slope)) return *made;
    }
    return withSnow(withTrees(ground(place), place), place);
}

Colour TerrainColour::ground(const Place& place) const
{
    const bool tilled = place.height > 0.9F && place.height < kHighestFields && place.slope < 0.09F;
    Colour colour = tilled ? _valley.field(place.x, place.y) : pasture(place);
    const double beach = smoothStep(0.3, 0.8, place.height + 0.15 * place.middle);
    if (beach < 1.0) colour = blend(kBeach * asFactor(1.0 + 0.15 * place.fine), colour, beach);

    const double high = place.altitude + 0.10 * place.broad + 0.06 * place.middle;
    const double loose = smoothStep(0.52, 0.70, high) * smoothStep(0.35, 0.6, place.slope + 0.2 * place.middle);
    colour = blend(colour, kScree * asFactor(1.0 + 0.20 * place.fine + 0.10 * place.middle), 0.85 * loose);
    const double steep = place.slope + 0.30 * place.middle + 0.12 * place.fine + 0.60 * (place.altitude - 0.45);
    const double bare = smoothStep(0.90, 1.12, steep - 0.008 * place.hollow);
    if (bare > 0.0) colour = blend(colour, rock(place), bare);
    return tilled ? colour : blend(colour, kStream, smoothStep(5.75, 6.0, place.stream));
}

Colour TerrainColour::withTrees(const Colour& ground, const Place& place) const
{
    const double share = woodland(place);
    if (share < 0.01) return ground;
    const Crown crown = crownAt(place.x, place.y, share, 6.0, _plan.seed());
    if (!crown.covers) return blend(ground, kUndergrowth, 0.8 * smoothStep(0.5, 0.9, share));
    const double needles = smoothStep(0.05, 0.30, place.altitude + 0.25 * (crown.taste - 0.5) + 0.10 * place.broad);
    return blend(kBroadleaf, kConifer, needles) *
           asFactor((0.90 + 0.25 * crown.taste) * (1.0 + 0.34 * crown.light + 0.10 * place.middle));
}

Colour TerrainColour::withSnow(const Colour& ground, const Place& place) const
{
    const double shade = 0.10 * (0.6 - place.light); // the sun leaves more of it on the far side
    const double cold = place.altitude + shade + 0.09 * place.broad + 0.06 * place.middle + 0.0035 * place.hollow;
    const double lies = 1.0 - smoothStep(0.85, 1.15, place.slope + 0.25 * place.middle + 0.10 * place.fine);
    const Colour snow = kSnow * asFactor(1.0 + 0.025 * place.fine + 0.02 * place.middle);
    return blend(ground, snow, smoothStep(kSnowLine - 0.02, kSnowLine + 0.04, cold) * lies);
}

Colour TerrainColour::lit(const Colour& colour, const Place& place) const
{
    const double sun = 0.84 + 0.26 * std::max(place.light, 0.0F);
    const double dim = 1.0 - 0.16 * smoothStep(2.0, 30.0, place.hollow) + 0.06 * smoothStep(2.0, 30.0, -place.hollow);
    return colour * asFactor(sun * dim);
}
} // namespace mvgeo::sample

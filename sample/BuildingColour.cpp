#include "sample/BuildingColour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kPlinth = 0.9; // metres from a box's bottom to its ground floor, about

/** A bay's width such that whole bays fill the wall. */
double fittedBay(double length, double wanted)
{
    return length / std::max(1.0, std::round(length / wanted));
}

/** A window pane: dark rooms, curtains here and there, the sky's reflection growing with the height. */
Colour pane(std::uint32_t seed, double inPane)
{
    const double kind = random01(seed, 3U);
    if (kind < 0.16) return Colour(0.62F, 0.60F, 0.55F); // a blind
    const Colour dark(0.13F, 0.15F, 0.18F);
    const Colour sky(0.42F, 0.50F, 0.58F);
    return blend(dark, sky, 0.12 + 0.45 * random01(seed, 4U) * inPane);
}
} // namespace

WallPlace wallOf(const Box& box, int side)
{
    static constexpr std::array<std::array<double, 2>, 4> normals = {{{0, -1}, {1, 0}, {0, 1}, {-1, 0}}};
    const double nu = normals[static_cast<std::size_t>(side)][0];
    const double nv = normals[static_cast<std::size_t>(side)][1];
    const bool alongBoxX = side % 2 == 0;
    const double half = alongBoxX ? box.halfX : box.halfY;
    const double out = alongBoxX ? box.halfY : box.halfX;

    WallPlace place = {};
    const double au = -nv; // from outside, "right" is the normal turned by +90 degrees
    const double av = nu;
    place.leftX = box.worldX(nu * out - au * half, nv * out - av * half);
    place.leftY = box.worldY(nu * out - au * half, nv * out - av * half);
    place.alongX = au * box.cosine - av * box.sine;
    place.alongY = au * box.sine + av * box.cosine;
    place.normalX = nu * box.cosine - nv * box.sine;
    place.normalY = nu * box.sine + nv * box.cosine;
    place.length = 2.0 * half;
    place.underGable = box.roof == Roof::gable && !alongBoxX;
    return place;
}

Colour BuildingColour::masonry(const Box& box, double along, double up) const
{
    const double place = along + (box.seed % 997U);
    const float stains = _noise.fractal(place / 4.0, up / 9.0, 3);
    const float grain = _noise.at(place * 6.0, up * 6.0);
    const double damp = smoothStep(3.0, 0.0, up - kPlinth) * 0.10;
    const double streaks = std::max(0.0F, _noise.at(place * 1.4, up / 14.0)) * 0.10;
    float shade = 1.0F + 0.08F * stains + 0.03F * grain - static_cast<float>(damp + streaks);
    if (box.facade == Facade::brick)
    {
        const bool joint = positiveModulo(up, 0.30) < 0.06;
        shade *= joint ? 1.10F : 0.96F + 0.08F * _noise.at(place * 4.0, up * 9.0);
    }
    return box.wall * shade;
}

Colour BuildingColour::windows(const Box& box, int side, double along, double up, const Opening& opening) const
{
    const Colour wall = masonry(box, along, up);
    const double eaves = box.top - box.bottom;
    const double length = wallOf(box, side).length;
    const double bay = fittedBay(length, opening.bay);
    const double floor = up - kPlinth;
    if (floor < 0.0) return wall * 0.82F;
    if (up > eaves - 0.45) return up > eaves ? wall : wall * 1.08F; // cornice

    const auto storey = static_cast<std::uint32_t>(floor / opening.storey);
    const auto column = static_cast<std::uint32_t>(std::max(0.0, along) / bay);
    if ((storey + 1U) * opening.storey > eaves - kPlinth + 0.3) return wall;

    const double x = positiveModulo(along, bay) - 0.5 * bay;
    const double z = floor - storey * opening.storey - opening.sill;
    const std::uint32_t seed = hashOf(box.seed + static_cast<std::uint32_t>(side), storey, column);
    const bool shop = storey == 0U && eaves > 12.0 && box.facade != Facade::panel;
    const double half = shop ? 0.42 * bay : 0.5 * opening.width;
    const double height = shop ? 2.3 : opening.height;
    const double low = shop ? -opening.sill + 0.2 : 0.0;
    if (std::abs(x) > half + 0.12 || z < low - 0.14 || z > height + 0.10) return wall;
    if (std::abs(x) > half || z < low || z > height)
        return z < low ? wall * 1.14F : wall * 1.06F + Colour(0.03F, 0.03F, 0.03F);
    const bool frame = std::abs(x) < 0.05 || std::abs(std::abs(x) - half) < 0.07 || z > height - 0.07;
    if (frame) return shop ? Colour(0.25F, 0.25F, 0.26F) : Colour(0.78F, 0.77F, 0.74F);
    const float lintelShadow = z > height - 0.38 ? 0.62F : 1.0F;
    return pane(seed, std::clamp((z - low) / (height - low), 0.0, 1.0)) * lintelShadow;
}

Colour BuildingColour::curtainWall(const Box& box, int side, double along, double up) const
{
    const double bay = fittedBay(wallOf(box, side).length, 1.5);
    const auto storey = static_cast<std::uint32_t>(std::max(0.0, up) / 3.6);
    const auto column = static_cast<std::uint32_t>(std::max(0.0, along) / bay);
    const double x = positiveModulo(along, bay);
    const double z = positiveModulo(up, 3.6);
    if (x < 0.10) return Colour(0.56F, 0.58F, 0.60F);
    const double rise = up / std::max(1.0, box.top - box.bottom);
    const double tint = random01(box.seed + static_cast<std::uint32_t>(side), storey, column);
    const float cloud = _noise.fractal(along / 17.0 + box.seed % 61U, up / 23.0, 3);
    Colour glass = blend(box.wall * 0.75F, Colour(0.60F, 0.70F, 0.78F), 0.15 + 0.45 * rise + 0.25 * cloud);
    glass *= static_cast<float>(0.86 + 0.2 * tint);
    if (z < 0.85) return glass * 0.66F + Colour(0.08F, 0.08F, 0.08F); // the spandrel before each floor
    return tint > 0.93 ? blend(glass, Colour(0.72F, 0.71F, 0.66F), 0.6) : glass;
}

Colour BuildingColour::balconies(const Box& box, int side, double along, double up) const
{
    const Opening opening = {1.7, 1.5, 0.95, 3.4, 3.1};
    const double bay = fittedBay(wallOf(box, side).length, opening.bay);
    const auto column = static_cast<std::uint32_t>(std::max(0.0, along) / bay);
    const double floor = up - kPlinth;
    const double eaves = box.top - box.bottom;
    const bool loggia = side % 2 == 0 && column % 3U == 1U && floor > opening.storey && up < eaves - 0.6;
    if (!loggia)
    {
        const Colour colour = windows(box, side, along, up, opening);
        const bool joint = positiveModulo(along, bay) < 0.07 || positiveModulo(floor, opening.storey) < 0.07;
        return joint ? colour * 0.80F : colour;
    }
    const double z = positiveModulo(floor, opening.storey);
    const double x = positiveModulo(along, bay);
    if (x < 0.15 || x > bay - 0.15) return box.wall * 0.92F;
    if (z < 0.22) return Colour(0.74F, 0.73F, 0.70F);
    const std::uint32_t seed = hashOf(box.seed, column, static_cast<std::uint32_t>(floor / opening.storey));
    if (z < 1.15)
        return blend(box.wall, Colour(0.50F, 0.58F, 0.62F), 0.7) * static_cast<float>(0.85 + 0.3 * random01(seed));
    if (random01(seed, 9U) < 0.4) return pane(seed, 0.5) + Colour(0.10F, 0.11F, 0.12F); // glazed by its owner
    return box.wall * static_cast<float>(0.30 + 0.12 * z);
}

Colour BuildingColour::shedWall(const Box& box, int side, double along, double up) const
{
    const float ribs = positiveModulo(along, 0.6) < 0.3 ? 1.04F : 0.93F;
    const double floor = up - kPlinth;
    const double door = positiveModulo(along, 11.0);
    if (side % 2 == 0 && floor > -0.5 && floor < 4.4 && door > 3.5 && door < 7.8)
        return Colour(0.33F, 0.38F, 0.42F) * (positiveModulo(floor, 0.5) < 0.06 ? 0.8F : 1.0F);
    const double band = box.top - box.bottom - up;
    if (band > 1.0 && band < 2.0)
        return blend(Colour(0.45F, 0.52F, 0.57F), box.wall, positiveModulo(along, 2.4) < 0.2 ? 1.0 : 0.1);
    return masonry(box, along, up) * ribs;
}

Colour BuildingColour::arches(const Box& box, int side, double along, double up) const
{
    const double height = box.top - box.bottom;
    const double length = wallOf(box, side).length;
    const double span = fittedBay(length, 17.0);
    const double x = (positiveModulo(along, span) / span - 0.5) * 2.0;
    const double crown = (height - 1.7) * std::sqrt(std::max(0.0, 1.0 - x * x / 0.8));
    if (up < crown && std::abs(x) < 0.86) return Colour(0.12F, 0.13F, 0.12F);
    return masonry(box, along, up) * (up > height - 0.9 ? 1.1F : 0.95F);
}

Colour BuildingColour::wall(const Box& box, int side, double along, double up) const
{
    switch (box.facade)
    {
    case Facade::plaster:
    case Facade::brick:
        return windows(box, side, along, up, {1.15, 1.55, 0.9, 2.9, 3.1});
    case Facade::panel:
        return balconies(box, side, along, up);
    case Facade::glass:
        return curtainWall(box, side, along, up);
    case Facade::shed:
        return shedWall(box, side, along, up);
    case Facade::bridge:
        return arches(box, side, along, up);
    case Facade::plain:
        break;
    }
    return masonry(box, along, up);
}

Colour BuildingColour::tiles(const Box& box, double u, double v) const
{
    const double place = u + (box.seed % 991U);
    const double down = box.roof == Roof::hip
                            ? std::max(std::abs(v) / box.halfY, 1.0 - (box.halfX - std::abs(u)) / box.halfY)
                            : std::abs(v) / box.halfY;
    if (down < 0.035) return box.cover * 1.18F; // ridge
    const float rows = positiveModulo(down * box.halfY, 0.36) < 0.09 ? 0.84F : 1.0F;
    const float weather = _noise.fractal(place / 3.0, v / 5.0, 3);
    const float moss = std::max(0.0F, _noise.fractal(place / 5.0 + 40.0, v / 5.0, 3) - 0.12F);
    Colour colour = box.cover * (rows * (1.0F + 0.17F * weather + 0.09F * _noise.at(place * 4.0, v * 4.0)));
    if (box.facade == Facade::shed)
        colour = box.cover * (positiveModulo(u, 1.0) < 0.25 ? 0.88F : 1.02F + 0.06F * weather);
    colour = blend(colour, Colour(0.30F, 0.32F, 0.20F), std::min(0.5F, 1.2F * moss));

    // A skylight here and there, halfway down the slope.
    const auto bay = static_cast<std::uint32_t>(floorToInt(place / 3.4));
    const bool skylight = std::abs(down - 0.5) * box.halfY < 0.6 && std::abs(positiveModulo(place, 3.4) - 1.7) < 0.42 &&
                          random01(box.seed, bay, v > 0.0 ? 1U : 2U) < 0.22;
    return skylight ? Colour(0.24F, 0.29F, 0.34F) : colour;
}

Colour BuildingColour::flatRoof(const Box& box, double u, double v) const
{
    const double toEdge = std::min(box.halfX - std::abs(u), box.halfY - std::abs(v));
    const double place = u + (box.seed % 983U);
    if (toEdge < 0.35) return blend(box.wall, Colour(0.74F, 0.73F, 0.70F), 0.5) * 1.04F; // parapet
    if (toEdge < 0.75) return box.cover * 0.72F;                                         // its foot
    const float puddles = _noise.fractal(place / 5.0, v / 5.0, 3);
    const bool seam = positiveModulo(place, 1.9) < 0.06 && box.facade != Facade::glass;
    const float grain = _noise.at(place * 5.0, v * 5.0);
    return box.cover * ((seam ? 0.90F : 1.0F) * (1.0F + 0.20F * puddles + 0.05F * grain));
}

Colour BuildingColour::roof(const Box& box, double u, double v) const
{
    return box.roof == Roof::flat ? flatRoof(box, u, v) : tiles(box, u, v);
}

Colour BuildingColour::crown(int kind, double azimuth, double rise) const
{
    static const std::array<Colour, 3> greens = {Colour(0.27F, 0.36F, 0.16F), Colour(0.34F, 0.40F, 0.20F),
                                                 Colour(0.21F, 0.31F, 0.17F)};
    // The noise repeats after 256 cells, so 8 cells around the trunk would show a seam: mirror it instead.
    const double turn = std::abs(2.0 * azimuth - 1.0) * 7.0 + kind * 20.0;
    const float clumps = _noise.fractal(turn * 1.3, rise * 6.0 + kind * 9.0, 4);
    const float leaves = _noise.at(turn * 9.0, rise * 40.0);
    const auto deep = static_cast<float>(0.55 + 0.55 * rise);
    return greens[static_cast<std::size_t>(kind) % greens.size()] * (deep * (1.0F + 0.75F * clumps + 0.34F * leaves));
}
} // namespace mvgeo::sample

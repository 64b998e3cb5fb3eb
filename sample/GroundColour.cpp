#include "sample/GroundColour.h"

#include <algorithm>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
const Colour kPaint(0.86F, 0.86F, 0.82F); // road markings
} // namespace

GroundColour::StreetPlace GroundColour::nearest(const std::vector<Street>& streets, double coordinate)
{
    StreetPlace place;
    double best = 1.0e9;
    for (const Street& street : streets)
    {
        const double distance = std::abs(coordinate - street.centre) - street.half;
        if (distance >= best) continue;
        best = distance;
        place = {&street, coordinate - street.centre};
    }
    return place;
}

Colour GroundColour::asphalt(double x, double y) const
{
    const float patches = _noise.fractal(x / 9.0, y / 9.0, 3);
    const float grain = _noise.at(x * 5.0, y * 5.0);
    const float crack = std::abs(_noise.at(x / 2.3, y / 2.3)) < 0.02F ? -0.05F : 0.0F;
    const float grey = 0.40F + 0.07F * patches + 0.022F * grain + crack;
    return {grey * 1.01F, grey, grey * 0.985F};
}

Colour GroundColour::carriageway(const StreetPlace& along, const StreetPlace& crossing, double x, double y,
                                 double way) const
{
    Colour colour = asphalt(x, y);
    const double across = std::abs(along.across);
    const double half = along.street->half;
    const double toCrossing = crossing.street ? std::abs(crossing.across) - crossing.street->half : 1.0e3;
    if (toCrossing < 0.0) return colour;

    // Tyres darken the middle of each lane.
    const double lane = along.street->avenue ? 1.7 : 1.1;
    colour *= static_cast<float>(1.0 - 0.07 * std::max(0.0, 1.0 - std::abs(positiveModulo(across, 2.0 * lane) - lane)));

    const double worn = 0.62 + 0.38 * _noise.fractal(x / 1.7, y / 1.7, 2);
    const bool zebra = toCrossing > 1.2 && toCrossing < 4.4 && positiveModulo(along.across, 1.1) < 0.55;
    const bool stop = toCrossing > 5.2 && toCrossing < 5.6 && across < half - 0.4;
    bool line = false;
    if (toCrossing > 5.6)
    {
        const bool dash = positiveModulo(way, 8.0) < 3.6;
        if (along.street->avenue)
            line = std::abs(across - 0.22) < 0.09 || (std::abs(across - 4.6) < 0.09 && dash);
        else
            line = across < 0.085 && dash;
    }
    return zebra || stop || line ? blend(colour, kPaint, std::clamp(worn + 0.12, 0.0, 0.95)) : colour;
}

Colour GroundColour::pavement(double x, double y) const
{
    const bool joint = positiveModulo(x, 1.2) < 0.10 || positiveModulo(y, 1.2) < 0.10;
    const double stone =
        random01(static_cast<std::uint32_t>(floorToInt(x / 1.2)), static_cast<std::uint32_t>(floorToInt(y / 1.2)));
    const float grey = 0.62F + 0.08F * _noise.fractal(x / 7.0, y / 7.0, 3) + 0.04F * static_cast<float>(stone) -
                       (joint ? 0.05F : 0.0F);
    return {grey, grey * 0.965F, grey * 0.90F};
}

Colour GroundColour::grass(double x, double y) const
{
    const double dry = smoothStep(-0.15, 0.45, _noise.fractal(x / 23.0 + 5.0, y / 23.0, 3));
    const float blades = _noise.fractal(x * 1.7, y * 1.7, 3);
    const Colour lush(0.33F, 0.41F, 0.21F);
    const Colour parched(0.47F, 0.47F, 0.28F);
    return blend(lush, parched, 0.75 * dry) * (1.0F + 0.30F * blades);
}

Colour GroundColour::gravel(double x, double y) const
{
    const float grain = _noise.fractal(x * 2.0, y * 2.0, 3) + 0.5F * _noise.fractal(x / 5.0, y / 5.0, 2);
    return Colour(0.68F, 0.61F, 0.49F) * (1.0F + 0.13F * grain);
}

Colour GroundColour::water(double x, double y, double shore) const
{
    const float ripples = _noise.fractal(x / 1.4 + 0.3 * y, y / 0.7, 3);
    const float drift = _noise.fractal(x / 31.0, y / 17.0, 3);
    const double depth = smoothStep(0.0, 7.0, -shore);
    const Colour colour = blend(Colour(0.33F, 0.37F, 0.29F), Colour(0.19F, 0.28F, 0.29F), depth);
    return colour * (1.0F + 0.10F * ripples + 0.16F * drift);
}

Colour GroundColour::bank(double x, double y, double shore) const
{
    return blend(Colour(0.45F, 0.42F, 0.34F), grass(x, y), smoothStep(0.3, 2.0, shore + _noise.at(x, y)));
}

Colour GroundColour::onBridge(double x, double y) const
{
    const StreetPlace north = nearest(_plan.streetsNorth(), x);
    if (!north.street || std::abs(north.across) > north.street->half) return pavement(x, y);
    return carriageway(north, {}, x, y, y);
}

Colour GroundColour::at(double x, double y, double shore) const
{
    if (shore < 0.0) return water(x, y, shore);

    if (shore < 7.5) return bank(x, y, shore);

    const Block* block = _plan.blockAt(x, y);
    const bool river = block && block->use == BlockUse::river;
    const StreetPlace north = nearest(_plan.streetsNorth(), x);
    const StreetPlace east = nearest(_plan.streetsEast(), y);
    const bool northEnds = river && !north.street->avenue; // only avenues cross the river
    const double offNorth = northEnds ? 1.0e3 : std::abs(north.across) - north.street->half;
    const double offEast = std::abs(east.across) - east.street->half;

    if (offNorth < 0.0) return carriageway(north, east, x, y, y);
    if (offEast < 0.0) return carriageway(east, northEnds ? StreetPlace{} : north, x, y, x);
    const double kerb = std::min(offNorth, offEast);
    if (kerb < 0.28) return Colour(0.70F, 0.69F, 0.66F) * (1.0F + 0.06F * _noise.at(x, y));
    if (kerb < CityPlan::kPavement) return pavement(x, y);
    return block ? inBlock(*block, x, y, shore) : grass(x, y);
}

Colour GroundColour::inBlock(const Block& block, double x, double y, double shore) const
{
    switch (block.use)
    {
    case BlockUse::houses:
        return garden(block, x, y);
    case BlockUse::courtyard:
    {
        const double toEdge = std::min(std::min(x - block.rect.minX, block.rect.maxX - x),
                                       std::min(y - block.rect.minY, block.rect.maxY - y));
        const bool path = std::abs(x - block.rect.centreX() + 6.0 * _noise.at(y / 14.0, 3.0)) < 1.1;
        return toEdge < 15.5 || path ? plaza(x, y) * 0.93F : grass(x, y);
    }
    case BlockUse::slabs:
        return slabYard(block, x, y);
    case BlockUse::towers:
        return plaza(x, y);
    case BlockUse::park:
    case BlockUse::river:
        return parkGround(block, x, y, shore);
    case BlockUse::school:
        return pitch(block, x, y);
    case BlockUse::works:
        return asphalt(x, y) * 1.18F;
    }
    return grass(x, y);
}

Colour GroundColour::garden(const Block& block, double x, double y) const
{
    const int lots = std::max(1, static_cast<int>(block.rect.width() / 16.0));
    const double lotWidth = block.rect.width() / lots;
    const double inLot = positiveModulo(x - block.rect.minX, lotWidth);
    const auto lot =
        static_cast<std::uint32_t>((x - block.rect.minX) / lotWidth) * 2U + (y > block.rect.centreY() ? 1U : 0U);
    const double fromStreet = std::min(y - block.rect.minY, block.rect.maxY - y);
    const double taste = random01(block.seed, lot, 77U);

    const double drive = 0.72 + 0.2 * taste;
    if (fromStreet < 8.0 && std::abs(inLot / lotWidth - drive) < 0.12) return pavement(x, y) * 0.94F;
    if (fromStreet > 15.0 && fromStreet < 18.0 && std::abs(inLot / lotWidth - 0.45) < 0.22) return gravel(x, y) * 0.95F;
    if (fromStreet > 22.0 && taste < 0.45 && std::abs(inLot / lotWidth - 0.3) < 0.16)
    {
        const float rows = positiveModulo(y, 1.3) < 0.6 ? 0.75F : 1.1F; // vegetable beds
        return blend(Colour(0.36F, 0.27F, 0.18F), grass(x, y), 0.35) * rows;
    }
    return grass(x + 300.0 * taste, y) * static_cast<float>(0.88 + 0.26 * taste);
}

Colour GroundColour::slabYard(const Block& block, double x, double y) const
{
    const int rows = std::max(1, static_cast<int>(block.rect.height() / 27.0));
    const double pitchY = block.rect.height() / rows;
    const double inRow = positiveModulo(y - block.rect.minY - 0.34 * pitchY, pitchY); // from a slab's axis
    if (std::abs(inRow - 0.48 * pitchY) < 5.4 && x < block.rect.minX + 34.0)
    {
        const double bay = positiveModulo(x - block.rect.minX - 6.65, 2.7);
        const bool line = bay < 0.1 && std::abs(inRow - 0.48 * pitchY) < 2.6;
        return line ? kPaint * 0.85F : asphalt(x, y) * 1.05F;
    }
    if (inRow > 8.2 && inRow < 9.9) return pavement(x, y) * 0.95F;
    return grass(x, y);
}

Colour GroundColour::plaza(double x, double y) const
{
    const bool dark = (floorToInt(x / 4.0) + floorToInt(y / 4.0)) % 2 == 0;
    return pavement(x, y) * (dark ? 0.92F : 1.02F);
}

Colour GroundColour::parkGround(const Block& block, double x, double y, double shore) const
{
    if (block.use == BlockUse::river)
    {
        return std::abs(shore - 11.0 - 1.2 * _noise.at(x / 19.0, 2.0)) < 1.5 ? gravel(x, y) : grass(x, y);
    }
    const double u = x - block.rect.centreX();
    const double v = y - block.rect.centreY();
    const double aroundPond = std::abs(shore - 9.0);
    const double diagonal = std::abs(u - v * 0.8 + 9.0 * std::sin(v / 11.0)) * 0.78;
    const double other = std::abs(u + v * 0.9 + 7.0 * std::sin(u / 9.0)) * 0.74;
    return std::min(aroundPond, std::min(diagonal, other)) < 1.25 ? gravel(x, y) : grass(x, y);
}

Colour GroundColour::pitch(const Block& block, double x, double y) const
{
    const double west = block.rect.minX + 24.0;
    const double centreX = 0.5 * (west + block.rect.maxX - 5.0);
    const double centreY = block.rect.minY + 0.44 * block.rect.height();
    const double halfX = 0.5 * (block.rect.maxX - 5.0 - west);
    const double halfY = std::min(0.34 * block.rect.height(), 1.5 * halfX);
    const double u = std::abs(x - centreX);
    const double v = std::abs(y - centreY);
    if (u > halfX || v > halfY) return x < west - 3.0 ? plaza(x, y) : grass(x, y);

    const double toEdge = std::min(halfX - u, halfY - v);
    if (toEdge < 4.4)
    {
        const bool lane = positiveModulo(toEdge, 1.1) < 0.09;
        return (lane ? Colour(0.82F, 0.78F, 0.74F) : Colour(0.60F, 0.31F, 0.24F)) *
               (1.0F + 0.08F * _noise.fractal(x, y, 3));
    }
    const bool line = toEdge < 5.4 && toEdge > 5.25;
    const bool middle = v < 0.08 || std::abs(std::hypot(u, v) - 4.0) < 0.1;
    if (line || middle) return kPaint;
    const float stripes = positiveModulo(y, 7.0) < 3.5 ? 1.08F : 0.94F; // the mower's
    return Colour(0.29F, 0.43F, 0.20F) * (stripes * (1.0F + 0.18F * _noise.fractal(x * 1.5, y * 1.5, 3)));
}
} // namespace mvgeo::sample

#pragma once

#include "sample/BuildingColour.h"
#include "sample/CityLight.h"
#include "sample/GroundColour.h"
#include "sample/TileAtlas.h"

#include <osg/Image>

namespace mvgeo::sample
{
/** Paints a tile's texture: the surfaces' colours in the light that falls on them. Thread: any, it never changes. */
class TileTexture
{
public:
    TileTexture(const CityLayout& city, const CityLight& light, const Noise& noise)
        : _city(city), _light(light), _ground(city.plan(), noise), _buildings(noise)
    {
    }

    /** RGB, 8 bits; the first row is the lowest, as OSG has it. */
    [[nodiscard]] osg::ref_ptr<osg::Image> paint(const TileContent& content, const TileAtlas& atlas) const;

private:
    void paintChart(const TileContent& content, const Chart& chart, osg::Image& image) const;
    [[nodiscard]] Colour colourAt(const TileContent& content, const Chart& chart, double along, double up) const;
    [[nodiscard]] Colour groundAt(const TileContent& content, double x, double y) const;
    [[nodiscard]] Colour wallAt(const Chart& chart, double along, double up) const;
    [[nodiscard]] Colour roofAt(const Box& box, double u, double v) const;
    [[nodiscard]] Colour crownAt(const Chart& chart, double along, double up) const;

    const CityLayout& _city;
    const CityLight& _light;
    GroundColour _ground;
    BuildingColour _buildings;
};
} // namespace mvgeo::sample

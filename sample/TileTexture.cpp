#include "sample/TileTexture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
/** Where the samples of a texel lie, in texels from its lower left corner; the first ones alone are balanced too. */
constexpr std::array<std::array<double, 2>, 6> kSamples = {
    {{0.25, 0.35}, {0.75, 0.65}, {0.62, 0.15}, {0.38, 0.88}, {0.10, 0.62}, {0.90, 0.30}}};

/** A camera's response: a little haze, soft highlights, and the sensor's grain. */
void writeTexel(unsigned char* texel, const Colour& colour, double grain)
{
    const Colour haze(0.50F, 0.55F, 0.61F);
    for (int channel = 0; channel < 3; ++channel)
    {
        const double hazy = 0.955 * colour[channel] + 0.045 * haze[channel] + grain;
        const double soft = hazy < 0.7 ? hazy : 0.7 + 0.3 * std::tanh((hazy - 0.7) / 0.3);
        texel[channel] = static_cast<unsigned char>(std::clamp(soft * 255.0 + 0.5, 0.0, 255.0));
    }
}

/** A car from above in its own frame; paint is its body's colour. */
Colour carColour(const Car& car, double ahead, double aside)
{
    const double along = ahead / car.length; // -0.5 is the tail
    const bool bus = car.length > 6.0;
    const bool windscreen = along > 0.10 && along < 0.24 && std::abs(aside) < 0.42 * car.width;
    const bool rearWindow = along < -0.30 && along > -0.40 && std::abs(aside) < 0.40 * car.width;
    if (!bus && (windscreen || rearWindow)) return Colour(0.13F, 0.15F, 0.18F);
    const bool sides = std::abs(aside) > 0.43 * car.width;
    return car.paint * (sides ? 0.74F : along > 0.24 ? 0.94F : 1.05F);
}
} // namespace

osg::ref_ptr<osg::Image> TileTexture::paint(const TileContent& content, const TileAtlas& atlas) const
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(atlas.width(), atlas.height(), 1, GL_RGB, GL_UNSIGNED_BYTE);
    std::fill_n(image->data(), image->getTotalSizeInBytes(), static_cast<unsigned char>(110));
    for (const Chart& chart : atlas.charts())
        paintChart(content, chart, *image);
    return image;
}

void TileTexture::paintChart(const TileContent& content, const Chart& chart, osg::Image& image) const
{
    constexpr int gutter = TileAtlas::kGutter;
    const bool ground = chart.kind == ChartKind::ground;
    const int wanted = ground ? content.detail.groundSamples : content.detail.samples;
    const int samples = std::min(wanted, static_cast<int>(kSamples.size()));
    unsigned char* const texels = image.data();
    const std::ptrdiff_t width = image.s(); // a multiple of 4, so rows are not padded
    for (int row = -gutter; row < chart.texelsY + gutter; ++row)
    {
        for (int column = -gutter; column < chart.texelsX + gutter; ++column)
        {
            Colour sum;
            for (int sample = 0; sample < samples; ++sample)
            {
                const auto& offset = kSamples[static_cast<std::size_t>(sample)];
                const double along = std::clamp((column + offset[0]) / chart.texelsX, 0.002, 0.998) * chart.width;
                const double up = std::clamp((row + offset[1]) / chart.texelsY, 0.002, 0.998) * chart.height;
                sum += colourAt(content, chart, along, up);
            }
            const int x = chart.x + column;
            const int y = chart.y + row;
            const double grain = 0.012 * (random01(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)) - 0.5);
            writeTexel(texels + 3 * (y * width + x), sum / static_cast<float>(samples), grain);
        }
    }
}

Colour TileTexture::colourAt(const TileContent& content, const Chart& chart, double along, double up) const
{
    switch (chart.kind)
    {
    case ChartKind::ground:
        return groundAt(content, content.area.minX + along, content.area.minY + up);
    case ChartKind::wall:
        return wallAt(chart, along, up);
    case ChartKind::roof:
        return roofAt(*chart.box, along - chart.box->halfX, up - chart.box->halfY);
    case ChartKind::crown:
        return crownAt(chart, along, up);
    }
    return {};
}

Colour TileTexture::groundAt(const TileContent& content, double x, double y) const
{
    const osg::Vec3d up(0.0, 0.0, 1.0);
    const double shore = _city.plan().waterDistance(x, y);
    const osg::Vec3d place(x, y, _city.plan().groundHeight(x, y, shore));
    double contact = 1.0;
    for (const Car* car : content.cars)
    {
        constexpr double kFar = 7.5; // metres: no car, shadow included, reaches that far from its middle
        if (std::abs(x - car->x) > kFar || std::abs(y - car->y) > kFar) continue;
        const double ahead = (x - car->x) * car->cosine + (y - car->y) * car->sine;
        const double aside = (y - car->y) * car->cosine - (x - car->x) * car->sine;
        if (std::abs(ahead) < 0.5 * car->length && std::abs(aside) < 0.5 * car->width)
            return _light.shade(carColour(*car, ahead, aside), place + up * 0.7, up);

        // Its shadow falls away from the sun, as far as it is high.
        const double shadowX = x - 0.5 - car->x;
        const double shadowY = y - 0.6 - car->y;
        const double outAhead = std::abs(shadowX * car->cosine + shadowY * car->sine) - 0.5 * car->length;
        const double outAside = std::abs(shadowY * car->cosine - shadowX * car->sine) - 0.5 * car->width;
        contact = std::min(contact, 0.55 + 0.45 * smoothStep(-0.1, 0.35, std::max(outAhead, outAside)));
    }
    return _light.shade(_ground.at(x, y, shore), place, up) * static_cast<float>(contact);
}

Colour TileTexture::wallAt(const Chart& chart, double along, double up) const
{
    const WallPlace wall = wallOf(*chart.box, chart.index);
    const osg::Vec3d normal(wall.normalX, wall.normalY, 0.0);
    // The light is asked half a metre before the wall: in the wall's own cell stands the building.
    const osg::Vec3d place(wall.leftX + along * wall.alongX + 0.5 * normal.x(),
                           wall.leftY + along * wall.alongY + 0.5 * normal.y(), chart.box->bottom + up);
    return _light.shade(_buildings.wall(*chart.box, chart.index, along, up), place, normal);
}

Colour TileTexture::roofAt(const Box& box, double u, double v) const
{
    const double x = box.worldX(u, v);
    const double y = box.worldY(u, v);
    const double rise = box.roofRise(u, v);
    osg::Vec3d normal(0.0, 0.0, 1.0);
    if (box.ridge > 0.0)
    {
        const bool end = box.roof == Roof::hip && box.halfX - std::abs(u) < box.halfY - std::abs(v);
        const double slope = box.ridge / box.halfY;
        const double nu = end ? std::copysign(slope, u) : 0.0;
        const double nv = end ? 0.0 : std::copysign(slope, v);
        normal.set(nu * box.cosine - nv * box.sine, nu * box.sine + nv * box.cosine, 1.0);
        normal.normalize();
    }
    const Colour albedo = box.roof == Roof::deck ? _ground.onBridge(x, y) : _buildings.roof(box, u, v);
    return _light.shade(albedo, {x, y, box.top + rise + 0.15}, normal);
}

Colour TileTexture::crownAt(const Chart& chart, double along, double up) const
{
    // One patch serves every tree of its kind, so only the crown's own shade is in it.
    const double azimuth = 2.0 * osg::PI * along;
    const double level = std::sqrt(std::max(0.0, 1.0 - up * up));
    const osg::Vec3d normal(std::cos(azimuth) * level, std::sin(azimuth) * level, up);
    const osg::Vec3d sun = CityLight::sun();
    const double lit = std::max(0.0, 0.25 + 0.75 * (normal * sun)); // leaves let light through
    const auto light = static_cast<float>(0.42 + 0.98 * lit);
    const Colour warm(1.03F, 1.0F, 0.93F);
    const Colour colour = _buildings.crown(chart.index, along, up) * light;
    return {colour.x() * warm.x(), colour.y() * warm.y(), colour.z() * warm.z()};
}
} // namespace mvgeo::sample

#include "TexturePicture.h"

#include "sample/GroundColour.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

constexpr std::uint32_t kSeed = 7;
constexpr double kCitySide = 700.0; // metres
constexpr double kMetresPerPixel = 0.5;

unsigned char eightBits(float value)
{
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
}

} // namespace

osg::ref_ptr<osg::Image> groundPicture(int side)
{
    const sample::CityPlan plan(kCitySide, kCitySide, kSeed);
    const sample::Noise noise(kSeed);
    const sample::GroundColour ground(plan, noise);
    osg::ref_ptr<osg::Image> picture = new osg::Image;
    picture->allocateImage(side, side, 1, GL_RGB, GL_UNSIGNED_BYTE);
    for (int row = 0; row < side; ++row)
        for (int column = 0; column < side; ++column)
        {
            const double x = 100.0 + kMetresPerPixel * column;
            const double y = 100.0 + kMetresPerPixel * row;
            const sample::Colour colour = ground.at(x, y, plan.waterDistance(x, y));
            unsigned char* pixel = picture->data(static_cast<unsigned>(column), static_cast<unsigned>(row));
            for (int i = 0; i < 3; ++i)
                pixel[i] = eightBits(colour[i]);
        }
    return picture;
}

double psnrOf(const osg::Image& picture, const osg::Image& source)
{
    const auto isEightBit = [](const osg::Image& image)
    {
        return image.getDataType() == GL_UNSIGNED_BYTE &&
               (image.getPixelFormat() == GL_RGB || image.getPixelFormat() == GL_RGBA);
    };
    if (!isEightBit(picture) || !isEightBit(source) || picture.s() != source.s() || picture.t() != source.t())
        throw std::invalid_argument("these pictures cannot be compared");
    double sum = 0.0;
    for (unsigned row = 0; row < static_cast<unsigned>(source.t()); ++row)
        for (unsigned column = 0; column < static_cast<unsigned>(source.s()); ++column)
            for (int i = 0; i < 3; ++i)
            {
                const double difference = picture.data(column, row)[i] - source.data(column, row)[i];
                sum += difference * difference;
            }
    const double meanSquare = sum / (3.0 * source.s() * source.t());
    return 10.0 * std::log10(255.0 * 255.0 / meanSquare);
}

} // namespace mvgeo::bench

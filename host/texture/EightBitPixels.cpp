#include "texture/EightBitPixels.h"

#include "common/ImageBytes.h"
#include "texture/PixelReader.h"

#include <osg/Texture>
#include <osg/ValueObject>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

namespace mvgeo::host
{
namespace
{
constexpr std::string_view kSwizzleLetters = "rgba01"; // the channels, nothing, all
constexpr char kPremultiplied[] = "KTXpremultipliedAlpha";
constexpr GLenum kFirstSrgbDxt = 0x8C4C;
constexpr GLenum kSrgb8 = 0x8C41;
constexpr GLenum kSrgb8Alpha8 = 0x8C43;

bool isSrgb(GLint internalFormat)
{
    const auto format = static_cast<GLenum>(internalFormat);
    return format == kSrgb8 || format == kSrgb8Alpha8 || format - kFirstSrgbDxt < 4;
}

/** The one of BC1 to BC3 that OSG decodes, with or without sRGB; 0 for anything else. */
GLenum dxtOf(const osg::Image& image)
{
    const GLenum format = image.getPixelFormat();
    if (format - GL_COMPRESSED_RGB_S3TC_DXT1_EXT < 4) return format;
    if (format - kFirstSrgbDxt < 4) return GL_COMPRESSED_RGB_S3TC_DXT1_EXT + (format - kFirstSrgbDxt);
    return 0;
}

/** The colours of one slice of one level, whose pixels are borrowed. */
class SliceReader
{
public:
    SliceReader(const osg::Image& image, unsigned level, int slice)
        : _width(std::max(image.s() >> level, 1)),
          _height(std::max(image.t() >> level, 1)),
          _swizzle(swizzleOf(image)),
          _slice(new osg::Image),
          _reader(PixelReader::forFormat(image.getPixelFormat(), image.getDataType()))
    {
        const GLenum format = dxtOf(image) != 0 ? dxtOf(image) : image.getPixelFormat();
        auto* data =
            const_cast<unsigned char*>(image.getMipmapData(level)) + sliceBytes(image, level) * unsigned(slice);
        _slice->setImage(_width, _height, 1, image.getInternalTextureFormat(), format, image.getDataType(), data,
                         osg::Image::NO_DELETE, static_cast<int>(image.getPacking()));
        _isTopFirst = image.getOrigin() == osg::Image::TOP_LEFT;
    }

    [[nodiscard]] int width() const { return _width; }
    [[nodiscard]] int height() const { return _height; }
    [[nodiscard]] std::array<float, 4> at(int column, int rowFromBelow) const
    {
        const std::array<float, 4> stored = storedAt(column, rowFromBelow);
        if (_swizzle.empty()) return stored;
        const std::array<float, 6> sources{stored[0], stored[1], stored[2], stored[3], 0.0F, 1.0F};
        std::array<float, 4> colour{};
        for (std::size_t channel = 0; channel < colour.size(); ++channel)
            colour[channel] = sources[kSwizzleLetters.find(_swizzle[channel])];
        return colour;
    }

private:
    [[nodiscard]] std::array<float, 4> storedAt(int column, int rowFromBelow) const
    {
        const int row = _isTopFirst ? _height - 1 - rowFromBelow : rowFromBelow;
        if (_reader)
            return _reader->read(_slice->data(0, static_cast<unsigned>(row)) +
                                 static_cast<std::size_t>(column) * _reader->bytesPerPixel());
        const osg::Vec4 colour = _slice->getColor(static_cast<unsigned>(column), static_cast<unsigned>(row));
        return {colour.r(), colour.g(), colour.b(), colour.a()};
    }

    int _width;
    int _height;
    std::string _swizzle;
    osg::ref_ptr<osg::Image> _slice;
    std::optional<PixelReader> _reader; ///< empty for blocks
    bool _isTopFirst = false;
};

struct Target
{
    GLenum pixelFormat;
    bool grey;
    bool alpha;
    [[nodiscard]] std::size_t channels() const { return (grey ? 1U : 3U) + (alpha ? 1U : 0U); }
};

Target targetOf(const osg::Image& image, ChannelChoice choice)
{
    const auto reader = PixelReader::forFormat(image.getPixelFormat(), image.getDataType());
    bool hasColour = !reader || reader->hasColour();
    bool hasAlpha = reader ? reader->hasAlpha() : dxtOf(image) != GL_COMPRESSED_RGB_S3TC_DXT1_EXT;
    if (const std::string swizzle = swizzleOf(image); !swizzle.empty())
    {
        hasColour = swizzle.substr(0, 3) != std::string(3, swizzle[0]);
        hasAlpha = swizzle[3] != '1';
    }
    const bool keepsAlpha = choice.alpha == AlphaChoice::add || (hasAlpha && choice.alpha == AlphaChoice::keep);
    Target target{0, choice.grey && !hasColour, keepsAlpha};
    if (target.grey)
        target.pixelFormat = target.alpha ? GL_LUMINANCE_ALPHA : GL_LUMINANCE;
    else
        target.pixelFormat = target.alpha ? GL_RGBA : GL_RGB;
    return target;
}

unsigned char eightBits(float value)
{
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
}

void append(std::vector<unsigned char>& pixels, const std::array<float, 4>& colour, const Target& target)
{
    pixels.push_back(eightBits(colour[0]));
    if (!target.grey) pixels.insert(pixels.end(), {eightBits(colour[1]), eightBits(colour[2])});
    if (target.alpha) pixels.push_back(eightBits(colour[3]));
}

void append(std::vector<unsigned char>& pixels, const SliceReader& slice, const Target& target)
{
    for (int row = 0; row < slice.height(); ++row)
        for (int column = 0; column < slice.width(); ++column)
            append(pixels, slice.at(column, row), target);
}
} // namespace

std::string swizzleOf(const osg::Image& image)
{
    std::string swizzle;
    image.getUserValue("KTXswizzle", swizzle);
    const bool isOne = swizzle.size() == 4 && swizzle.find_first_not_of(kSwizzleLetters) == std::string::npos;
    return isOne ? swizzle : std::string();
}

bool isPremultiplied(const osg::Image& image)
{
    bool is = false;
    return image.getUserValue(kPremultiplied, is) && is;
}

bool canBecomeEightBit(const osg::Image& image)
{
    return dxtOf(image) != 0 ||
           (!image.isCompressed() && PixelReader::forFormat(image.getPixelFormat(), image.getDataType()).has_value());
}

bool isEightBit(const osg::Image& image, ChannelChoice channels)
{
    if (!swizzleOf(image).empty()) return false;
    if (image.getDataType() != GL_UNSIGNED_BYTE || image.getOrigin() == osg::Image::TOP_LEFT) return false;
    const GLenum format = image.getPixelFormat();
    const bool isGrey = format == GL_LUMINANCE || format == GL_LUMINANCE_ALPHA;
    const bool hasAlpha = format == GL_RGBA || format == GL_LUMINANCE_ALPHA;
    if (!isGrey && format != GL_RGB && format != GL_RGBA) return false;
    if (isGrey && !channels.grey) return false;
    return channels.alpha == AlphaChoice::keep || hasAlpha == (channels.alpha == AlphaChoice::add);
}

osg::ref_ptr<osg::Image> eightBitPixels(const osg::Image& image, ChannelChoice channels)
{
    if (!canBecomeEightBit(image)) return nullptr;
    const Target target = targetOf(image, channels);
    std::vector<unsigned char> pixels;
    osg::Image::MipmapDataType offsets;
    for (unsigned level = 0; level < image.getNumMipmapLevels(); ++level)
    {
        if (level > 0) offsets.push_back(static_cast<unsigned>(pixels.size()));
        for (int slice = 0; slice < std::max(image.r() >> level, 1); ++slice)
            append(pixels, SliceReader(image, level, slice), target);
    }
    const GLenum internalFormat = isSrgb(image.getInternalTextureFormat()) && !target.grey
                                      ? (target.alpha ? kSrgb8Alpha8 : kSrgb8)
                                      : target.pixelFormat;
    auto* copy = new unsigned char[pixels.size()];
    std::copy(pixels.begin(), pixels.end(), copy);
    const osg::ref_ptr<osg::Image> result = new osg::Image;
    result->setImage(image.s(), image.t(), image.r(), static_cast<GLint>(internalFormat), target.pixelFormat,
                     GL_UNSIGNED_BYTE, copy, osg::Image::USE_NEW_DELETE); // the image deletes them
    result->setMipmapLevels(offsets);
    if (target.alpha && isPremultiplied(image)) result->setUserValue(kPremultiplied, true);
    return result;
}
} // namespace mvgeo::host

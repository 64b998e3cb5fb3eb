#include "texture/PixelReader.h"

#include <osg/Image>
#include <osg/Texture>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace mvgeo::host
{
namespace
{
constexpr GLenum kHalfFloat = 0x140B;

std::string orderOf(GLenum pixelFormat)
{
    switch (pixelFormat)
    {
    case GL_RED:
    case GL_LUMINANCE:
    case GL_INTENSITY:
        return "l";
    case GL_LUMINANCE_ALPHA:
        return "la";
    case GL_ALPHA:
        return "a";
    case GL_RG:
        return "rg";
    case GL_RGB:
        return "rgb";
    case GL_RGBA:
        return "rgba";
    case GL_BGR:
        return "bgr";
    case GL_BGRA:
        return "bgra";
    default:
        return {};
    }
}

std::size_t componentBytes(GLenum dataType)
{
    switch (dataType)
    {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case kHalfFloat:
        return 2;
    case GL_FLOAT:
        return 4;
    default:
        return 0;
    }
}

template <typename T>
T valueAt(const unsigned char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

float halfToFloat(std::uint16_t half)
{
    const int exponent = half >> 10U & 0x1F;
    const float mantissa = static_cast<float>(half & 0x3FFU) / 1024.0F;
    float value = exponent == 0 ? std::ldexp(mantissa, -14) : std::ldexp(1.0F + mantissa, exponent - 15);
    if (exponent == 0x1F) value = mantissa == 0.0F ? HUGE_VALF : 0.0F; // what is no number shows as black
    return (half & 0x8000U) != 0 ? -value : value;
}

float component(const unsigned char* bytes, GLenum dataType)
{
    switch (dataType)
    {
    case GL_BYTE:
        return static_cast<float>(valueAt<std::int8_t>(bytes)) / 127.0F;
    case GL_UNSIGNED_BYTE:
        return static_cast<float>(*bytes) / 255.0F;
    case GL_SHORT:
        return static_cast<float>(valueAt<std::int16_t>(bytes)) / 32767.0F;
    case GL_UNSIGNED_SHORT:
        return static_cast<float>(valueAt<std::uint16_t>(bytes)) / 65535.0F;
    case kHalfFloat:
        return halfToFloat(valueAt<std::uint16_t>(bytes));
    default:
        return valueAt<float>(bytes);
    }
}

/** Several components in one number of 16 or 32 bits. */
struct Packing
{
    GLenum dataType;
    std::size_t bytes;
    std::array<unsigned, 4> bits; ///< in the order of the channels
    bool isFirstHighest;
};

constexpr Packing kPackings[] = {
    {0x8363, 2, {5, 6, 5, 0}, true},     // GL_UNSIGNED_SHORT_5_6_5
    {0x8364, 2, {5, 6, 5, 0}, false},    // GL_UNSIGNED_SHORT_5_6_5_REV
    {0x8033, 2, {4, 4, 4, 4}, true},     // GL_UNSIGNED_SHORT_4_4_4_4
    {0x8365, 2, {4, 4, 4, 4}, false},    // GL_UNSIGNED_SHORT_4_4_4_4_REV
    {0x8034, 2, {5, 5, 5, 1}, true},     // GL_UNSIGNED_SHORT_5_5_5_1
    {0x8366, 2, {5, 5, 5, 1}, false},    // GL_UNSIGNED_SHORT_1_5_5_5_REV
    {0x8367, 4, {8, 8, 8, 8}, false},    // GL_UNSIGNED_INT_8_8_8_8_REV
    {0x8368, 4, {10, 10, 10, 2}, false}, // GL_UNSIGNED_INT_2_10_10_10_REV
};

const Packing* packingOf(GLenum dataType)
{
    const auto* found = std::find_if(std::begin(kPackings), std::end(kPackings),
                                     [dataType](const Packing& p) { return p.dataType == dataType; });
    return found == std::end(kPackings) ? nullptr : found;
}

std::array<float, 4> unpack(const unsigned char* bytes, const Packing& packing)
{
    const std::uint32_t number = packing.bytes == 2 ? valueAt<std::uint16_t>(bytes) : valueAt<std::uint32_t>(bytes);
    std::array<float, 4> parts{};
    unsigned at = packing.isFirstHighest ? static_cast<unsigned>(8 * packing.bytes) : 0;
    for (std::size_t i = 0; i < 4 && packing.bits[i] > 0; ++i)
    {
        const std::uint32_t largest = (1U << packing.bits[i]) - 1;
        if (packing.isFirstHighest) at -= packing.bits[i];
        parts[i] = static_cast<float>(number >> at & largest) / static_cast<float>(largest);
        if (!packing.isFirstHighest) at += packing.bits[i];
    }
    return parts;
}
} // namespace

std::optional<PixelReader> PixelReader::forFormat(GLenum pixelFormat, GLenum dataType)
{
    PixelReader reader(orderOf(pixelFormat), dataType);
    const Packing* packing = packingOf(dataType);
    reader._bytesPerPixel = packing ? packing->bytes : reader._order.size() * componentBytes(dataType);
    if (packing && (packing->bits[3] > 0) != (reader._order.size() == 4)) return std::nullopt;
    if (reader._order.empty() || reader._bytesPerPixel == 0) return std::nullopt;
    return reader;
}

std::array<float, 4> PixelReader::read(const unsigned char* pixel) const
{
    Components parts{};
    if (const Packing* packing = packingOf(_dataType))
        parts = unpack(pixel, *packing);
    else
        for (std::size_t i = 0; i < _order.size(); ++i)
            parts[i] = component(pixel + i * componentBytes(_dataType), _dataType);

    Components colour{0.0F, 0.0F, 0.0F, 1.0F};
    for (std::size_t i = 0; i < _order.size(); ++i)
    {
        if (_order[i] == 'l')
            colour = {parts[i], parts[i], parts[i], 1.0F};
        else
            colour[std::string_view("rgba").find(_order[i])] = parts[i];
    }
    return colour;
}
} // namespace mvgeo::host

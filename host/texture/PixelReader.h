#pragma once

#include <osg/GL>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace mvgeo::host
{
/** Turns the bytes of one uncompressed pixel into colours. */
class PixelReader
{
public:
    /** Empty for integers, depths and types that have no name here. */
    static std::optional<PixelReader> forFormat(GLenum pixelFormat, GLenum dataType);

    [[nodiscard]] bool hasColour() const { return _order.find_first_of("gb") != std::string::npos; }
    [[nodiscard]] bool hasAlpha() const { return _order.find('a') != std::string::npos; }
    [[nodiscard]] std::size_t bytesPerPixel() const { return _bytesPerPixel; }

    /** Red, green, blue and alpha, mostly from 0 to 1. One channel counts as grey, two are red and green. */
    [[nodiscard]] std::array<float, 4> read(const unsigned char* pixel) const;

private:
    using Components = std::array<float, 4>;
    PixelReader(std::string order, GLenum dataType) : _order(std::move(order)), _dataType(dataType) {}

    std::string _order; ///< of the channels: "rgba", "bgr", "l" for grey
    GLenum _dataType;
    std::size_t _bytesPerPixel = 0;
};
} // namespace mvgeo::host

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace mvgeo::host
{
/** Numbers out of a file's bytes. Throws CutOff instead of reading beyond the end. */
class ByteReader
{
public:
    struct CutOff : std::runtime_error
    {
        CutOff() : std::runtime_error("the bytes end too early") {}
    };

    explicit ByteReader(std::string_view bytes, bool isBigEndian = false) : _bytes(bytes), _isBigEndian(isBigEndian) {}

    [[nodiscard]] std::uint8_t u8(std::size_t at) const { return static_cast<std::uint8_t>(number(at, 1)); }
    [[nodiscard]] std::uint16_t u16(std::size_t at) const { return static_cast<std::uint16_t>(number(at, 2)); }
    [[nodiscard]] std::uint32_t u32(std::size_t at) const { return static_cast<std::uint32_t>(number(at, 4)); }
    [[nodiscard]] std::string_view part(std::size_t at, std::size_t size) const
    {
        if (at > _bytes.size() || size > _bytes.size() - at) throw CutOff();
        return _bytes.substr(at, size);
    }
    [[nodiscard]] std::size_t size() const { return _bytes.size(); }

private:
    [[nodiscard]] std::uint64_t number(std::size_t at, std::size_t size) const
    {
        const std::string_view digits = part(at, size);
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8U | static_cast<unsigned char>(digits[_isBigEndian ? i : size - 1 - i]);
        return value;
    }

    std::string_view _bytes;
    bool _isBigEndian;
};
} // namespace mvgeo::host

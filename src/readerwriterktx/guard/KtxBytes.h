#pragma once

#include <cstddef>
#include <cstdint>

namespace mvgeo
{

/** Bytes of a file, borrowed, with numbers read at any offset: 0 beyond the end. */
class KtxBytes
{
public:
    KtxBytes(const unsigned char* bytes, std::size_t size, bool isBigEndian = false)
        : _bytes(bytes), _size(size), _isBigEndian(isBigEndian)
    {
    }

    [[nodiscard]] std::size_t size() const { return _size; }
    [[nodiscard]] bool has(std::uint64_t offset, std::uint64_t count) const
    {
        return offset <= _size && count <= _size - offset;
    }
    /** Empty unless it lies inside. */
    [[nodiscard]] KtxBytes part(std::uint64_t offset, std::uint64_t count) const
    {
        if (!has(offset, count)) return {nullptr, 0, _isBigEndian};
        return {_bytes + offset, static_cast<std::size_t>(count), _isBigEndian};
    }

    [[nodiscard]] unsigned int u8(std::uint64_t offset) const { return has(offset, 1) ? _bytes[offset] : 0; }
    [[nodiscard]] std::uint32_t u16(std::uint64_t offset) const
    {
        return static_cast<std::uint32_t>(number(offset, 2));
    }
    [[nodiscard]] std::uint32_t u32(std::uint64_t offset) const
    {
        return static_cast<std::uint32_t>(number(offset, 4));
    }
    [[nodiscard]] std::uint64_t u64(std::uint64_t offset) const { return number(offset, 8); }

private:
    [[nodiscard]] std::uint64_t number(std::uint64_t offset, unsigned int count) const
    {
        if (!has(offset, count)) return 0;
        std::uint64_t result = 0;
        for (unsigned int i = 0; i < count; ++i)
            result |= std::uint64_t{_bytes[offset + (_isBigEndian ? count - 1 - i : i)]} << (8 * i);
        return result;
    }

    const unsigned char* _bytes;
    std::size_t _size;
    bool _isBigEndian;
};

} // namespace mvgeo

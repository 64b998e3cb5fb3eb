#pragma once

#include "readerwriterktx/guard/KtxBytes.h"

#include <cstdint>

namespace mvgeo
{

/** The bits of ETC1S data, the lowest of each byte first; zeros behind the end, as the transcoder has it. */
class BasisBits
{
public:
    explicit BasisBits(const KtxBytes& bytes) : _bytes(bytes) {}

    /** The next bits, at most 32; the first one is the lowest of the result. */
    std::uint32_t peek(unsigned int count)
    {
        if (_waitingCount < count) fetch();
        return static_cast<std::uint32_t>(_waiting & ((1ULL << count) - 1));
    }
    std::uint32_t take(unsigned int count)
    {
        const std::uint32_t result = peek(count);
        skip(count);
        return result;
    }
    /** Bits that were peeked at. */
    void skip(unsigned int count)
    {
        _waiting >>= count;
        _waitingCount -= count;
    }

private:
    /** 32 bits at once: every streamed tile passes here. */
    void fetch()
    {
        std::uint64_t word = _bytes.u32(_next);
        if (!_bytes.has(_next, 4)) // then there may be some bytes still
            for (unsigned int i = 0; i < 4; ++i)
                word |= std::uint64_t{_bytes.u8(_next + i)} << (8 * i);
        _waiting |= word << _waitingCount;
        _waitingCount += 32;
        _next += 4;
    }

    KtxBytes _bytes;
    std::uint64_t _next = 0;
    std::uint64_t _waiting = 0;
    unsigned int _waitingCount = 0;
};

} // namespace mvgeo

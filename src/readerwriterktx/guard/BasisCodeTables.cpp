#include "readerwriterktx/guard/BasisCodeTables.h"

#include <array>
#include <optional>

namespace mvgeo
{

namespace
{

constexpr unsigned int kLongestWord = 16;
/** With a single symbol the transcoder builds its tables for this many bits; longer words would reach behind them. */
constexpr unsigned int kLongestSingleWord = 10;

// The symbols of the code that word lengths are written in: 0 to 16 are lengths, the others runs.
constexpr std::uint32_t kShortZeros = 17;
constexpr std::uint32_t kLongZeros = 18;
constexpr std::uint32_t kShortRepeat = 19;
constexpr std::uint32_t kLengthSymbols = 21;
/** The order in which the lengths of that code's own words come. */
constexpr unsigned int kLengthOrder[kLengthSymbols] = {17, 18, 19, 20, 0,  8, 7,  9, 6,  10, 5,
                                                       11, 4,  12, 3,  13, 2, 14, 1, 15, 16};

/** What the lengths of a code's words add up to, in the order of the symbols. */
class WordLengths
{
public:
    void add(std::uint32_t length, std::uint32_t times) // without branches: lengths come in no order to foresee
    {
        _count += times;
        _last = length;
        _used += length > 0 ? times : 0;
        _filled += times * (kWholeTree >> length & (kWholeTree - 1)); // nothing for length 0
    }

    [[nodiscard]] std::uint32_t count() const { return _count; }
    [[nodiscard]] std::uint32_t last() const { return _last; }
    /** Kraft's sum: a complete code fills the tree of its words exactly. */
    [[nodiscard]] bool isComplete() const
    {
        if (_used == 1) return _filled >= kWholeTree >> kLongestSingleWord;
        return _filled == kWholeTree;
    }

private:
    static constexpr std::uint32_t kWholeTree = 1U << kLongestWord;
    std::uint32_t _count = 0;
    std::uint32_t _last = 0;
    std::uint32_t _used = 0;
    std::uint32_t _filled = 0; // at most 2^14 words and one run, each half of the tree
};

/** The code that word lengths are written in, looked up by the next 7 bits. */
class LengthCode
{
public:
    /** False if it is not complete. */
    bool read(BasisBits& bits)
    {
        const std::uint32_t count = bits.take(5);
        if (count < 1 || count > kLengthSymbols) return false;
        std::array<std::uint8_t, kLengthSymbols> lengths{};
        WordLengths sum;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const std::uint32_t length = bits.take(3);
            lengths[kLengthOrder[i]] = static_cast<std::uint8_t>(length);
            sum.add(length, 1);
        }
        if (sum.isComplete()) fill(lengths);
        return sum.isComplete();
    }

    /** Nothing if the next bits are no word of the code. */
    std::optional<std::uint32_t> next(BasisBits& bits) const
    {
        const std::uint32_t entry = _entries[bits.peek(kBits)];
        if (entry == 0) return std::nullopt;
        bits.skip(entry & 0xFF);
        return entry >> 8;
    }

private:
    static constexpr unsigned int kBits = 7; // as long as a length of 3 bits can say

    /** The words of one length count upwards in the order of their symbols, and then those of the next one. Their
     * highest bit is stored first, so the table is looked up by reversed words, which are counted as such. */
    void fill(const std::array<std::uint8_t, kLengthSymbols>& lengths)
    {
        std::uint32_t reversed = 0;
        for (std::uint8_t length = 1; length <= kBits; ++length)
            for (std::uint8_t symbol = 0; symbol < kLengthSymbols; ++symbol)
            {
                if (lengths[symbol] != length) continue;
                for (std::uint32_t at = reversed; at < _entries.size(); at += 1U << length)
                    _entries[at] = static_cast<std::uint32_t>(symbol) << 8 | length;
                std::uint32_t bit = 1U << (length - 1U);
                for (; reversed & bit; bit >>= 1)
                    reversed ^= bit;
                reversed |= bit;
            }
    }

    std::array<std::uint32_t, 1U << kBits> _entries{};
};

/** Adds what a symbol stands for; false if that is nothing that can stand here. */
bool addLengths(std::uint32_t symbol, BasisBits& bits, WordLengths& lengths)
{
    if (symbol <= kLongestWord)
        lengths.add(symbol, 1);
    else if (symbol == kShortZeros)
        lengths.add(0, bits.take(3) + 3);
    else if (symbol == kLongZeros)
        lengths.add(0, bits.take(7) + 11);
    else
    {
        if (lengths.last() == 0) return false;
        lengths.add(lengths.last(), symbol == kShortRepeat ? bits.take(2) + 3 : bits.take(7) + 7);
    }
    return true;
}

} // namespace

bool readsCompleteCode(BasisBits& stored)
{
    BasisBits bits = stored; // of this function alone: kept in registers
    const std::uint32_t symbolCount = bits.take(kSymbolCountBits);
    LengthCode code;
    if (symbolCount == 0 || !code.read(bits)) return false;
    WordLengths lengths;
    while (lengths.count() < symbolCount)
    {
        const std::optional<std::uint32_t> symbol = code.next(bits);
        if (!symbol || !addLengths(*symbol, bits, lengths)) return false;
    }
    stored = bits;
    return lengths.count() == symbolCount && lengths.isComplete();
}

} // namespace mvgeo

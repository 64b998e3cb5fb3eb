#include "readerwriterthreedimg/TileSeal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace mvgeo
{

namespace
{

const std::string kMark = "tileseal";
constexpr std::size_t kSumSize = sizeof(std::uint64_t);

constexpr std::size_t kLanes = 4;

std::uint64_t step(std::uint64_t sum, std::uint64_t word)
{
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
    sum = (sum ^ word) * kOdd;
    return sum ^ (sum >> 29U);
}

/** Eight bytes a step, because a file has a megabyte, and four sums side by side, because a multiplication waits for
 * the one before it. Each step is one-to-one in the sum and in the bytes. */
std::uint64_t checksum(std::string_view bytes)
{
    std::array<std::uint64_t, kLanes> sums{1, 2, 3, 4};
    std::size_t i = 0;
    for (; i + kLanes * kSumSize <= bytes.size(); i += kLanes * kSumSize)
        for (std::size_t lane = 0; lane < kLanes; ++lane)
        {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes.data() + i + lane * kSumSize, kSumSize);
            sums[lane] = step(sums[lane], word);
        }
    std::uint64_t sum = bytes.size();
    for (; i < bytes.size(); i += kSumSize)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + i, std::min(kSumSize, bytes.size() - i));
        sum = step(sum, word);
    }
    for (const std::uint64_t lane : sums)
        sum = step(sum, lane);
    return sum;
}

} // namespace

std::string sealFor(std::string_view content)
{
    const std::uint64_t sum = checksum(content);
    std::string seal = kMark;
    seal.append(reinterpret_cast<const char*>(&sum), kSumSize); // as the machine has it: another one builds anew
    return seal;
}

Seal sealOn(std::string_view file)
{
    const std::size_t sealSize = kMark.size() + kSumSize;
    if (file.size() < sealSize) return Seal::none;
    const std::string_view content = file.substr(0, file.size() - sealSize);
    const std::string_view seal = file.substr(content.size());
    if (seal.substr(0, kMark.size()) != kMark) return Seal::none;
    return seal == sealFor(content) ? Seal::intact : Seal::broken;
}

} // namespace mvgeo

#include "readerwriterthreedimg/TileSeal.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace mvgeo
{

namespace
{

const std::string kMark = "tileseal";
constexpr std::size_t kSumSize = sizeof(std::uint64_t);

/** Eight bytes a step, because a file has a megabyte. Each step is one-to-one in the sum and in the bytes. */
std::uint64_t checksum(std::string_view bytes)
{
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
    std::uint64_t sum = bytes.size();
    for (std::size_t i = 0; i < bytes.size(); i += kSumSize)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + i, std::min(kSumSize, bytes.size() - i));
        sum = (sum ^ word) * kOdd;
        sum ^= sum >> 29U;
    }
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

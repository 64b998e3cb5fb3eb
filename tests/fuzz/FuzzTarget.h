#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/** A fuzz target <name> is <name>_fuzz.cpp with the function below and <name>_seeds.cpp with seeds(). With FuzzMain.cpp
 * they make a libFuzzer program, with SeedRun.cpp a test that runs every seed once in any build. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace mvgeo::fuzz
{

/** Deals out the fuzzer's bytes; zeros when they are used up. */
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : _data(data), _size(size) {}

    unsigned char byte()
    {
        if (_size == 0) return 0;
        --_size;
        return *_data++;
    }
    std::uint32_t number()
    {
        std::uint32_t number = 0;
        for (int shift = 0; shift < 32; shift += 8)
            number |= static_cast<std::uint32_t>(byte()) << shift;
        return number;
    }
    /** No more than there are. */
    std::string bytes(std::size_t count)
    {
        count = std::min(count, _size);
        const std::string taken(reinterpret_cast<const char*>(_data), count);
        _data += count;
        _size -= count;
        return taken;
    }
    std::string rest() { return bytes(_size); }

private:
    const std::uint8_t* _data;
    std::size_t _size;
};

/** Ends the program if a promise is broken: a fuzzer keeps the input that did it. */
inline void require(bool isKept, const char* promise)
{
    if (isKept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

/** Inputs to begin with: ordinary cases and known edges. */
std::vector<std::string> seeds();

} // namespace mvgeo::fuzz

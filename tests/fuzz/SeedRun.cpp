#include "fuzz/FuzzTarget.h"

#include <iostream>

// Runs a fuzz target over its seeds, and over each seed cut short, without a fuzzer: so every build checks it.
int main()
{
    std::size_t count = 0;
    for (const std::string& seed : mvgeo::fuzz::seeds())
        for (std::size_t length = 0; length <= seed.size(); length += length < 40 ? 1 : 97)
        {
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(seed.data()), length);
            ++count;
        }
    std::cout << count << " inputs\n";
    return count > 0 ? 0 : 1;
}

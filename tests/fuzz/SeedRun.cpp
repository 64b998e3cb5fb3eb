#include "fuzz/FuzzTarget.h"

#include <iostream>

// Runs a fuzz target over each of its seeds, cut short and whole, without a fuzzer: so every build checks it.
int main()
{
    std::size_t count = 0;
    for (const std::string& seed : mvgeo::fuzz::seeds())
    {
        const auto run = [&](std::size_t length)
        {
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(seed.data()), length);
            ++count;
        };
        for (std::size_t length = 0; length < seed.size(); length += length < 40 ? 1 : 97)
            run(length);
        run(seed.size());
    }
    std::cout << count << " inputs\n";
    return count > 0 ? 0 : 1;
}

#include "fuzz/FuzzTarget.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

// Writes a fuzzer's first corpus: <target> --write-seeds FOLDER.

namespace
{

bool writeSeeds(const std::filesystem::path& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    int number = 0;
    for (const std::string& seed : mvgeo::fuzz::seeds())
    {
        std::ofstream stream(folder / ("seed-" + std::to_string(number++)), std::ios::binary);
        stream << seed;
        if (!stream.flush()) return false;
    }
    std::cout << number << " seeds written to " << folder.string() << '\n';
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argumentCount, char*** arguments)
{
    if (*argumentCount == 3 && std::strcmp((*arguments)[1], "--write-seeds") == 0)
        std::exit(writeSeeds((*arguments)[2]) ? EXIT_SUCCESS : EXIT_FAILURE);
    return 0;
}

#include "SamplePyramidFolder.h"

#include "sample/SamplePyramid.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace mvgeo::bench
{

namespace
{

const fs::path kFolder = MVGEO_BENCH_FOLDER;

fs::path writtenSample()
{
    const fs::path sample = kFolder / "sample";
    const fs::path stamp = kFolder / "sample.complete";
    if (!fs::exists(stamp))
    {
        fs::remove_all(sample);
        const sample::SamplePyramidResult result = sample::writeSamplePyramid(sample.string(), {});
        if (!result.ok) throw std::runtime_error(result.message);
        std::ofstream(stamp) << result.files << '\n';
    }
    return sample / "Data";
}

bool isRoot(const fs::path& file)
{
    return file.stem() == file.parent_path().filename();
}

std::vector<std::string> tilesWhere(bool rootsOnly)
{
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(writtenSample()))
        if (entry.path().extension() == ".osgb" && (!rootsOnly || isRoot(entry.path())))
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

const std::vector<std::string>& sampleRoots()
{
    static const std::vector<std::string> roots = tilesWhere(true);
    return roots;
}

const std::vector<std::string>& sampleTiles()
{
    static const std::vector<std::string> tiles = tilesWhere(false);
    return tiles;
}

void useTextureCache(bool empty)
{
    const fs::path folder = kFolder / "temp";
    if (empty) fs::remove_all(folder);
    fs::create_directories(folder);
    setenv("TEMP", folder.c_str(), 1);
}

} // namespace mvgeo::bench

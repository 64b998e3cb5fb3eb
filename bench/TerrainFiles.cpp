#include "TerrainFiles.h"

#include "sample/SampleTerrain.h"
#include "support/PathHash.h"

#include <gdal_priv.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace mvgeo::bench
{

namespace
{

const fs::path kFolder = MVGEO_BENCH_FOLDER;

void throwUnless(bool isDone, const fs::path& file)
{
    if (!isDone) throw std::runtime_error("cannot write " + file.string() + ": " + CPLGetLastErrorMsg());
}

void copyUncompressed(const std::string& source, const fs::path& target)
{
    const GDALDatasetUniquePtr raster(GDALDataset::Open(source.c_str()));
    throwUnless(raster != nullptr, target);
    std::array<const char*, 3> options = {"TILED=YES", "INTERLEAVE=PIXEL", nullptr};
    const GDALDatasetUniquePtr copy(GetGDALDriverManager()->GetDriverByName("GTiff")->CreateCopy(
        target.c_str(), raster.get(), FALSE, const_cast<char**>(options.data()), nullptr, nullptr));
    throwUnless(copy != nullptr, target);
}

void addOverviews(const fs::path& file)
{
    const GDALDatasetUniquePtr raster(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
    throwUnless(raster != nullptr, file);
    std::array<int, 4> factors = {2, 4, 8, 16};
    throwUnless(raster->BuildOverviews("AVERAGE", static_cast<int>(factors.size()), factors.data(), 0, nullptr, nullptr,
                                       nullptr) == CE_None,
                file);
}

void writeVariant(const sample::SampleTerrainResult& sample, const fs::path& folder, bool withOverviews)
{
    fs::create_directories(folder);
    for (const std::string& source : {sample.demFile, sample.domFile})
    {
        const fs::path target = folder / fs::path(source).filename();
        copyUncompressed(source, target);
        if (withOverviews) addOverviews(target);
    }
}

void writeBothVariants(const fs::path& folder)
{
    fs::remove_all(folder);
    sample::SampleTerrainOptions options;
    options.columns = kDemSide;
    options.rows = kDemSide;
    options.domPixelsPerPost = kDomSide / kDemSide;
    const sample::SampleTerrainResult sample = sample::writeSampleTerrain((folder / "sample").string(), options);
    if (!sample.ok) throw std::runtime_error(sample.message);
    writeVariant(sample, folder / "plain", false);
    writeVariant(sample, folder / "overviews", true);
    fs::remove_all(folder / "sample");
}

const fs::path& terrainFolder()
{
    static const fs::path folder = []
    {
        const fs::path rasters = kFolder / "rasters";
        const fs::path stamp = kFolder / "rasters.complete";
        if (!fs::exists(stamp))
        {
            writeBothVariants(rasters);
            std::ofstream(stamp) << kDemSide << ' ' << kDomSide << '\n';
        }
        return rasters;
    }();
    return folder;
}

fs::path scratchParent()
{
    constexpr std::uintmax_t kNeeded = std::uintmax_t{4} << 30U; // two pyramids of tiles and textures, with room
    const fs::path memory = "/dev/shm";
    std::error_code problem;
    const fs::space_info space = fs::space(memory, problem);
    if (problem || space.available < kNeeded) return kFolder;
    return memory / ("mvgeo-bench-" + pathHashText(kFolder.string())); // the same for the next run, after a crash too
}

TerrainFiles filesIn(const fs::path& folder)
{
    return {(folder / "dem.tif").string(), (folder / "dom.tif").string()};
}

} // namespace

const TerrainFiles& terrainFiles(bool withOverviews)
{
    static const TerrainFiles plain = filesIn(terrainFolder() / "plain");
    static const TerrainFiles overviews = filesIn(terrainFolder() / "overviews");
    return withOverviews ? overviews : plain;
}

ScratchFolder::ScratchFolder(const std::string& name) : _path((scratchParent() / name).string())
{
    fs::remove_all(_path);
    fs::create_directories(_path);
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    fs::remove_all(_path, ignored);
    fs::remove(fs::path(_path).parent_path(), ignored); // fails while something else is in it
}

} // namespace mvgeo::bench

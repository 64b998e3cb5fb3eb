#include "sample/SamplePyramid.h"

#include "common/Mutex.h"
#include "sample/TileFile.h"
#include "sample/TileMesh.h"
#include "sample/TileTexture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

namespace mvgeo::sample
{
namespace
{
// The finer tile is wanted once a texel covers more than this many pixels.
constexpr double kMagnification = 1.3;
constexpr int kFirstNumberedLevel = 15; // what published pyramids call the level below the root file

constexpr const char* kMetadata = R"(<?xml version="1.0" encoding="utf-8"?>
<ModelMetadata version="1">
	<!--Spatial Reference System-->
	<SRS>EPSG:32650</SRS>
	<!--Origin in Spatial Reference System-->
	<SRSOrigin>447000,4418000,0</SRSOrigin>
	<Texture>
		<ColorSource>Visible</ColorSource>
	</Texture>
</ModelMetadata>
)";

/** What the threads tell each other. */
struct Work
{
    struct Done
    {
        int running = 0;   // threads that are not done yet
        std::string error; // the first one stays
        unsigned files = 0;
        unsigned long long bytes = 0;
    };

    explicit Work(int threads) { done.running = threads; }

    std::atomic<int> nextRoot = 0;
    std::atomic<bool> stop = false;

    host::Mutex mutex; // never held while a tile is made
    std::condition_variable_any changed;
    Done done MVGEO_GUARDED_BY(mutex);

    Done doneSoFar()
    {
        const host::Lock lock(mutex);
        return done;
    }

    /** Counts a file, or keeps its error and stops everybody. */
    bool record(const host::WriteResult& result)
    {
        {
            const host::Lock lock(mutex);
            if (result.ok()) ++done.files, done.bytes += result.bytes;
            if (!result.ok() && done.error.empty()) done.error = result.error;
        }
        if (!result.ok()) stop = true;
        changed.notify_one();
        return result.ok();
    }
};

/** Writes all files of one root tile. Thread: the one that made it. */
class RootTileWriter
{
public:
    RootTileWriter(const CityLayout& city, const Noise& noise, const SamplePyramidOptions& options, int column, int row,
                   const std::string& dataFolder)
        : _city(city),
          _options(options),
          _column(column),
          _row(row),
          _light(city, partArea(0, 0, 0)),
          _texture(city, _light, noise)
    {
        char name[48];
        std::snprintf(name, sizeof name, "Tile_%+04d_%+04d", column, row);
        _name = name;
        _folder = dataFolder + "/" + _name;
    }

    bool writeAll(Work& work)
    {
        std::error_code problem;
        std::filesystem::create_directories(std::filesystem::u8path(_folder), problem);
        if (problem) return work.record({"cannot make the folder " + _folder + ": " + problem.message()});
        return writeFile(work, 0, "", 0, 0);
    }

private:
    /** Quadrant of the root tile; depth 0 is the whole. The same edge is the same number in both its neighbours. */
    [[nodiscard]] Rect partArea(int depth, int x, int y) const
    {
        const double quadrants = std::pow(2.0, depth);
        const auto edge = [this, quadrants](int root, int quadrant)
        { return _options.tileSizeMetres * ((root * quadrants + quadrant) / quadrants); };
        return {edge(_column, x), edge(_row, y), edge(_column, x + 1), edge(_row, y + 1)};
    }

    [[nodiscard]] std::string fileStem(int level, const std::string& path) const
    {
        if (level == 0) return _name;
        return _name + "_L" + std::to_string(kFirstNumberedLevel - 1 + level) + "_" + path;
    }

    /** Finer files first: a file that exists names files that exist. */
    bool writeFile(Work& work, int level, const std::string& path, int x, int y)
    {
        const bool leaf = level == _options.levels - 1;
        const bool splits = level > 0 && !leaf;
        const std::string stem = fileStem(level, path);
        std::vector<TilePart> parts;
        for (int quadrant = 0; quadrant < (splits ? 4 : 1); ++quadrant)
        {
            const int partX = splits ? 2 * x + quadrant % 2 : x;
            const int partY = splits ? 2 * y + quadrant / 2 : y;
            const std::string partPath = path + std::to_string(quadrant);
            if (!leaf && !writeFile(work, level + 1, partPath, partX, partY)) return false;
            if (work.stop) return false;
            const std::string imageName = stem + "_" + std::to_string(quadrant) + extensionOf(_options.textures);
            const int depth = level == 0 ? 0 : leaf ? level - 1 : level;
            TilePart part = makePart(level, partArea(depth, partX, partY), imageName);
            if (!part.mesh) return work.record({"cannot encode the texture " + imageName});
            if (!leaf) part.finerFile = fileStem(level + 1, partPath) + ".osgb";
            parts.push_back(part);
        }
        return work.record(writeTileFile(*makeTileNode(parts), _folder + "/" + stem + ".osgb", _options.textures));
    }

    /** Without mesh if its texture cannot be had. */
    [[nodiscard]] TilePart makePart(int level, const Rect& area, const std::string& imageName) const
    {
        const TileDetail detail = TileDetail::ofLevel(level, _options.levels, _options.tileSizeMetres);
        const TileContent content(_city.objects(), area, detail);
        const TileAtlas atlas(content);
        const osg::ref_ptr<osg::Image> image = prepareForStorage(_texture.paint(content, atlas), _options.textures);
        if (!image) return {};
        TilePart part;
        part.mesh = makeTileMesh(_city.plan(), content, atlas);
        applyTexture(*part.mesh, *image, imageName);
        part.switchPixels = 2.0 * part.mesh->getBoundingBox().radius() / detail.metresPerTexel * kMagnification;
        return part;
    }

    const CityLayout& _city;
    const SamplePyramidOptions& _options;
    int _column;
    int _row;
    CityLight _light;
    TileTexture _texture;
    std::string _name;
    std::string _folder;
};

int filesPerRoot(int levels)
{
    int files = 1;
    for (int level = 1; level < levels; ++level)
        files += 1 << (2 * (level - 1));
    return files;
}

std::string findOptionError(const SamplePyramidOptions& options)
{
    const auto outside = [](double value, double low, double high) { return !(value >= low && value <= high); };
    if (outside(options.rootTilesX, 1, 50) || outside(options.rootTilesY, 1, 50))
        return "the number of root tiles must be from 1 to 50 each way";
    if (outside(options.levels, 5, 8)) return "the number of levels must be from 5 to 8";
    if (outside(options.tileSizeMetres, 100.0, 1000.0)) return "a root tile's size must be from 100 to 1000 metres";
    return {};
}

/** Makes the data folder; an error sentence if there is something already, or it cannot be made. */
std::string prepareFolder(const std::string& directory, const std::string& dataFolder)
{
    std::error_code problem;
    for (const std::string& existing : {directory + "/metadata.xml", dataFolder})
    {
        if (std::filesystem::exists(std::filesystem::u8path(existing), problem))
            return existing + " already exists; choose another folder or remove it first";
    }
    std::filesystem::create_directories(std::filesystem::u8path(dataFolder), problem);
    return problem ? "cannot make the folder " + dataFolder + ": " + problem.message() : std::string();
}

void writeRoots(Work& work, const CityLayout& city, const Noise& noise, const SamplePyramidOptions& options,
                const std::string& dataFolder)
{
    const int roots = options.rootTilesX * options.rootTilesY;
    for (int root = work.nextRoot++; root < roots && !work.stop; root = work.nextRoot++)
    {
        RootTileWriter writer(city, noise, options, root % options.rootTilesX, root / options.rootTilesX, dataFolder);
        if (!writer.writeAll(work)) break;
    }
    const host::Lock lock(work.mutex);
    --work.done.running;
    work.changed.notify_one();
}

/** Reports and listens on the caller's thread until the others are done; true if the caller cancelled. */
bool waitUntilDone(Work& work, const SamplePyramidOptions& options, int expectedFiles)
{
    bool cancelled = false;
    for (bool running = true; running;)
    {
        cancelled = cancelled || (options.cancelled && options.cancelled());
        if (cancelled) work.stop = true;
        unsigned files = 0;
        {
            const host::Lock lock(work.mutex);
            if (work.done.running > 0) work.changed.wait_for(work.mutex, std::chrono::milliseconds(100));
            running = work.done.running > 0;
            files = work.done.files;
        }
        if (options.progress && !work.stop) options.progress(static_cast<double>(files) / expectedFiles);
    }
    return cancelled;
}
} // namespace

SamplePyramidResult writeSamplePyramid(const std::string& directory, const SamplePyramidOptions& options)
{
    SamplePyramidResult result;
    result.message = findOptionError(options);
    if (result.message.empty()) result.message = findStorageError(options.textures);
    if (!result.message.empty()) return result;
    const std::string dataFolder = directory + "/Data";
    result.message = prepareFolder(directory, dataFolder);
    if (!result.message.empty()) return result;

    const CityLayout city(options.rootTilesX * options.tileSizeMetres, options.rootTilesY * options.tileSizeMetres,
                          options.seed);
    const Noise noise(hashOf(options.seed, 0xC0104U));
    const int roots = options.rootTilesX * options.rootTilesY;
    const int threadCount = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, std::min(roots, 8));
    Work work(threadCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&] { writeRoots(work, city, noise, options, dataFolder); });
    const int expectedFiles = roots * filesPerRoot(options.levels) + 1;
    const bool cancelled = waitUntilDone(work, options, expectedFiles);
    for (std::thread& thread : threads)
        thread.join();

    // The metadata come last: a folder that has them is complete.
    if (!cancelled && work.doneSoFar().error.empty())
        work.record(host::writeWholeFile(kMetadata, directory + "/metadata.xml"));
    const Work::Done done = work.doneSoFar();
    result.message = cancelled ? "cancelled; nothing was kept in " + directory : done.error;
    result.ok = result.message.empty();
    if (!result.ok)
    {
        std::error_code ignored;
        std::filesystem::remove_all(std::filesystem::u8path(dataFolder), ignored);
        return result;
    }
    result.files = done.files;
    result.bytes = done.bytes;
    result.dataFolder = dataFolder;
    if (options.progress) options.progress(1.0);
    return result;
}
} // namespace mvgeo::sample

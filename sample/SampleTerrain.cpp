#include "sample/SampleTerrain.h"

#include "sample/TerrainColour.h"
#include "sample/TerrainRaster.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <vector>

namespace mvgeo::sample
{
namespace
{
constexpr double kWest = 391000.0; // metres in UTM zone 32 north: the Alps
constexpr double kSouth = 5148000.0;
constexpr float kNoData = -9999.0F;
constexpr int kRowsAtOnce = 256; // of the ortho-image: a row of the file's tiles
constexpr int kSmallestOverview = 200;

// Shares of the whole work, about.
constexpr double kReliefDone = 0.35;
constexpr double kDemDone = 0.40;
constexpr double kColoursDone = 0.90;
constexpr double kFilesDone = 0.99;

/** Tells the caller how far the work is, and hears whether it is to stop. */
class ProgressRelay
{
public:
    explicit ProgressRelay(const SampleTerrainOptions& options) : _options(options) {}

    [[nodiscard]] bool advance(double fraction)
    {
        _stopped = _stopped || (_options.cancelled && _options.cancelled());
        if (!_stopped && _options.progress) _options.progress(std::min(fraction, 1.0));
        return !_stopped;
    }
    /** The same for a part of the work. */
    [[nodiscard]] std::function<bool(double)> between(double first, double last)
    {
        return [this, first, last](double fraction) { return advance(first + (last - first) * fraction); };
    }
    [[nodiscard]] bool stopped() const { return _stopped; }

private:
    const SampleTerrainOptions& _options;
    bool _stopped = false;
};

std::string findOptionError(const SampleTerrainOptions& options)
{
    const auto outside = [](double value, double low, double high) { return !(value >= low && value <= high); };
    if (outside(options.columns, 64, 2048) || outside(options.rows, 64, 2048))
        return "the number of posts must be from 64 to 2048 each way";
    if (outside(options.demPixelMetres, 1.0, 100.0)) return "the posts' spacing must be from 1 to 100 metres";
    if (outside(options.domPixelsPerPost, 1, 8)) return "the pixels for each post must be from 1 to 8";
    return {};
}

/** Makes the folder; an error sentence if there is something already, or it cannot be made. */
std::string prepareFolder(const std::string& folder)
{
    std::error_code problem;
    if (std::filesystem::exists(std::filesystem::u8path(folder), problem))
        return folder + " already exists; choose another folder or remove it first";
    std::filesystem::create_directories(std::filesystem::u8path(folder), problem);
    return problem ? "cannot make the folder " + folder + ": " + problem.message() : std::string();
}

/** Each half the size of the one before, as long as that is worth it. */
std::vector<int> overviewFactors(int first, int columns, int rows)
{
    std::vector<int> factors = {first};
    while (std::min(columns, rows) / factors.back() > 2 * kSmallestOverview)
        factors.push_back(2 * factors.back());
    return factors;
}

RasterShape shapeOf(const SampleTerrainOptions& options, int pixelsPerPost)
{
    RasterShape shape;
    shape.columns = options.columns * pixelsPerPost;
    shape.rows = options.rows * pixelsPerPost;
    shape.pixel = options.demPixelMetres / pixelsPerPost;
    shape.west = kWest;
    shape.north = kSouth + options.rows * options.demPixelMetres;
    return shape;
}

std::string writeDem(const std::string& path, const SampleTerrainOptions& options, const TerrainGrid& heights,
                     const std::function<bool(double)>& advance)
{
    std::vector<float> posts = heights.values;
    for (float& post : posts)
        post = post < 0.0F ? kNoData : std::round(post * 64.0F) / 64.0F; // 16 mm; finer digits only fill the disk

    RasterShape shape = shapeOf(options, 1);
    shape.type = GDT_Float32;
    shape.predictor = "3";
    TerrainRaster raster(path);
    std::string error = raster.create(shape);
    if (!error.empty()) return error;
    raster.setNoData(kNoData);
    error = raster.writeRows(0, shape.rows, posts.data());
    return error.empty() ? raster.finish(overviewFactors(2, shape.columns, shape.rows), advance) : error;
}

/** Even numbers only: nobody sees the lowest bit, which is a fifth of the file. */
void paintRow(const TerrainColour& colours, const RasterShape& shape, int row, unsigned char* pixels)
{
    const double y = (shape.rows - row - 0.5) * shape.pixel;
    for (int column = 0; column < shape.columns; ++column)
    {
        const Colour colour = colours.at((column + 0.5) * shape.pixel, y);
        for (int band = 0; band < 3; ++band)
            *pixels++ = static_cast<unsigned char>(2 * static_cast<int>(std::clamp(colour[band], 0.0F, 1.0F) * 127.5F));
    }
}

/** An empty error and a raster that is not complete mean that `advance` said stop. */
std::string writeDom(const std::string& path, const SampleTerrainOptions& options, const TerrainColour& colours,
                     ProgressRelay& progress)
{
    RasterShape shape = shapeOf(options, options.domPixelsPerPost);
    shape.bands = 3;
    TerrainRaster raster(path);
    std::string error = raster.create(shape);
    const std::size_t rowBytes = 3U * static_cast<std::size_t>(shape.columns);
    std::vector<unsigned char> pixels(rowBytes * kRowsAtOnce);
    const auto advance = progress.between(kDemDone, kColoursDone);
    for (int first = 0; first < shape.rows && error.empty(); first += kRowsAtOnce)
    {
        if (!advance(static_cast<double>(first) / shape.rows)) return {};
        const int rows = std::min(kRowsAtOnce, shape.rows - first);
        forEachRow(rows, [&](int row)
                   { paintRow(colours, shape, first + row, &pixels[rowBytes * static_cast<std::size_t>(row)]); });
        error = raster.writeRows(first, rows, pixels.data());
    }
    if (!error.empty()) return error;
    // They begin at a quarter: one of half the size would be another fourth of the file.
    return raster.finish(overviewFactors(4, shape.columns, shape.rows), progress.between(kColoursDone, kFilesDone));
}

/** An error sentence; also empty if the caller cancelled. */
std::string writeFiles(const SampleTerrainResult& files, const SampleTerrainOptions& options, ProgressRelay& progress)
{
    const double cell = options.demPixelMetres;
    const TerrainPlan plan(options.columns * cell, options.rows * cell, options.seed);
    const std::optional<TerrainRelief> relief =
        TerrainRelief::make(plan, options.columns, options.rows, cell, progress.between(0.0, kReliefDone));
    if (!relief) return {};
    const std::string error =
        writeDem(files.demFile, options, relief->heights, progress.between(kReliefDone, kDemDone));
    if (!error.empty() || progress.stopped()) return error;
    return writeDom(files.domFile, options, TerrainColour(plan, *relief), progress);
}
} // namespace

std::string sampleTerrainFolder(const std::string& directory)
{
    return directory + "/terrain";
}

SampleTerrainResult writeSampleTerrain(const std::string& directory, const SampleTerrainOptions& options)
{
    SampleTerrainResult result;
    result.message = findOptionError(options);
    if (!result.message.empty()) return result;
    const std::string folder = sampleTerrainFolder(directory);
    result.message = prepareFolder(folder);
    if (!result.message.empty()) return result;

    GDALAllRegister();
    result.demFile = folder + "/dem.tif";
    result.domFile = folder + "/dom.tif";
    ProgressRelay progress(options);
    result.message = writeFiles(result, options, progress);
    const bool complete = result.message.empty() && !progress.stopped() && progress.advance(1.0);
    if (progress.stopped()) result.message = "cancelled; nothing was kept in " + directory;
    std::error_code ignored;
    if (!complete)
    {
        std::filesystem::remove_all(std::filesystem::u8path(folder), ignored);
        return result;
    }
    for (const std::string& file : {result.demFile, result.domFile})
        result.bytes += std::filesystem::file_size(std::filesystem::u8path(file), ignored);
    result.ok = true;
    return result;
}
} // namespace mvgeo::sample

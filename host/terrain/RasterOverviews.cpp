#include "terrain/RasterOverviews.h"

#include "common/GdalAccess.h"
#include "common/HostError.h"

#include <cpl_multiproc.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr int kLargeSide = 1024;
constexpr int kSmallSide = 256;

/** A virtual copy of the raster, whose overviews lie in a file of another name until they are complete. */
class OverviewDraft
{
public:
    explicit OverviewDraft(const RasterFacts& raster)
        : _final(raster.path + ".ovr"), _copy(raster.path + "." + std::to_string(CPLGetCurrentProcessID()) + ".vrt")
    {
    }
    ~OverviewDraft()
    {
        std::error_code ignored;
        fs::remove(_copy, ignored);
        fs::remove(draft(), ignored);
    }
    OverviewDraft(const OverviewDraft&) = delete;
    OverviewDraft& operator=(const OverviewDraft&) = delete;

    [[nodiscard]] bool makeCopy(const std::string& source) const
    {
        const GDALDatasetUniquePtr dataset = openRaster(source);
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("VRT");
        if (!dataset || !driver) return false;
        const GDALDatasetUniquePtr copy(
            driver->CreateCopy(_copy.c_str(), dataset.get(), FALSE, nullptr, nullptr, nullptr));
        return copy != nullptr;
    }
    [[nodiscard]] const std::string& copy() const { return _copy; }
    [[nodiscard]] bool finish() const
    {
        std::error_code error;
        fs::rename(draft(), _final, error);
        return !error;
    }

private:
    [[nodiscard]] std::string draft() const { return _copy + ".ovr"; }

    std::string _final;
    std::string _copy;
};

struct ProgressRelay
{
    const std::function<bool(double)>& progress;
    bool isStopped = false;

    static int CPL_STDCALL report(double part, const char*, void* relay)
    {
        auto& self = *static_cast<ProgressRelay*>(relay);
        if (!self.progress(part)) self.isStopped = true;
        return self.isStopped ? FALSE : TRUE;
    }
};

/** GDAL's writer of overviews does not survive every full disk, so the room is looked for first. A pyramid has a third
 * of the raster's pixels; twice that leaves room for what other programs write meanwhile. */
void checkDiskSpace(const RasterFacts& raster, GDALDataset& dataset)
{
    double bytesPerPixel = 0.0;
    for (int band = 1; band <= dataset.GetRasterCount(); ++band)
        bytesPerPixel += GDALGetDataTypeSizeBytes(dataset.GetRasterBand(band)->GetRasterDataType());
    const double needed = 2.0 / 3.0 * raster.width * raster.height * bytesPerPixel;
    std::error_code unknown;
    const fs::space_info room = fs::space(fs::absolute(raster.path).parent_path(), unknown);
    if (!unknown && static_cast<double>(room.available) < needed)
        throw HostError("There is no room for overviews beside '" + raster.path + "'.");
}

[[noreturn]] void fail(const RasterFacts& raster)
{
    throw HostError("Cannot write overviews beside '" + raster.path + "'" + QuietGdal::reason() + ".");
}
} // namespace

bool wantsOverviews(const RasterFacts& raster)
{
    return std::max(raster.width, raster.height) > kLargeSide && raster.overviews.empty();
}

std::vector<int> overviewFactors(int width, int height)
{
    std::vector<int> factors;
    for (int factor = 2, side = std::max(width, height); side >= kSmallSide; factor *= 2)
    {
        factors.push_back(factor);
        side = (side + 1) / 2;
    }
    return factors;
}

bool buildOverviews(const RasterFacts& raster, const std::function<bool(double)>& progress)
{
    std::vector<int> factors = overviewFactors(raster.width, raster.height);
    const QuietGdal quiet;
    const OverviewDraft draft(raster);
    if (!draft.makeCopy(raster.path)) fail(raster);
    ProgressRelay relay{progress};
    {
        const GDALDatasetUniquePtr copy = openRaster(draft.copy());
        if (copy) checkDiskSpace(raster, *copy);
        const char* method = raster.hasPalette ? "NEAREST" : "AVERAGE"; // no colour lies between two numbers
        const bool done = copy && copy->BuildOverviews(method, static_cast<int>(factors.size()), factors.data(), 0,
                                                       nullptr, ProgressRelay::report, &relay) == CE_None;
        if (relay.isStopped) return false;
        if (!done) fail(raster);
    }
    if (!draft.finish()) fail(raster);
    return true;
}
} // namespace mvgeo::host

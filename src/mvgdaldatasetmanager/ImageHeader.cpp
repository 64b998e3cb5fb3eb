#include "mvgdaldatasetmanager/ImageHeader.h"

#include "mvgdaldatasetmanager/QuietGdal.h"
#include "mvgdaldatasetmanager/RasterFile.h"
#include "mvgdaldatasetmanager/RasterStamp.h"
#include "support/LogLine.h"
#include "support/OsgPaths.h"

#include <OpenThreads/Thread>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace
{

using GeoTransform = std::array<double, 6>;

constexpr int kLargeSide = 4096;         // pixels; up to here a whole read costs less than a second
constexpr double kLargeArea = 1048576.0; // pixels; a long and thin raster costs nothing either
constexpr std::size_t kThreadBuckets = 8;

/** The nearest float. Beyond the floats' range a conversion would be undefined. */
float toFloat(double value)
{
    constexpr double kMax = std::numeric_limits<float>::max();
    return static_cast<float>(std::isfinite(value) ? std::clamp(value, -kMax, kMax) : value);
}

bool isFinite(const GeoTransform& transform, int width, int height)
{
    const auto isFiniteTerm = [](double term) { return std::isfinite(term); };
    return std::all_of(transform.begin(), transform.end(), isFiniteTerm) &&
           std::isfinite(transform[0] + transform[1] * width) && std::isfinite(transform[3] + transform[5] * height);
}

/** A file may carry rounding errors there: what counts is how far rows and columns drift over the whole raster. */
bool isRotated(const GeoTransform& transform, int width, int height)
{
    constexpr double kLargestDrift = 0.01; // pixels
    return std::abs(transform[2] * height) > kLargestDrift * std::abs(transform[1]) ||
           std::abs(transform[4] * width) > kLargestDrift * std::abs(transform[5]);
}

/** Why the raster cannot be laid out as terrain; null if it can. */
const char* georeferencingFault(GDALDataset& dataset, GeoTransform& transform)
{
    const int width = dataset.GetRasterXSize();
    const int height = dataset.GetRasterYSize();
    if (dataset.GetGeoTransform(transform.data()) != CE_None) return "it has no georeferencing";
    if (!isFinite(transform, width, height)) return "its georeferencing is not made of finite numbers";
    if (isRotated(transform, width, height)) return "it is rotated or sheared; warp it to north-up first";
    if (!(transform[1] > 0.0)) return "its columns do not run east; warp it to north-up first";
    if (!(transform[5] < 0.0)) return "its rows do not run south; warp it to north-up first";
    const bool canTellPixels = transform[0] + transform[1] > transform[0] && transform[3] + transform[5] < transform[3];
    return canTellPixels ? nullptr : "its pixels are too small for the size of its coordinates";
}

bool isFirstWarning(const std::string& text)
{
    static mvgeo::Mutex mutex;
    static std::set<std::string> warned MVGEO_GUARDED_BY(mutex);
    const mvgeo::Lock lock(mutex);
    return warned.insert(text).second;
}

/** Said once a process and reason: tiles ask for a raster that is not there again and again. */
bool refuse(const KdString& path, const char* reason)
{
    const std::string text = "cannot use the raster " + mvgeo::osgPath(path) + ": " + reason;
    if (isFirstWarning(text)) MVGEO_LOG(WARN) << text;
    return false;
}

/** Said once a process and file, because every model opens its rasters again. */
void warnIfSlow(GDALDataset& dataset, const std::string& path)
{
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    const int width = dataset.GetRasterXSize();
    const int height = dataset.GetRasterYSize();
    if (std::max(width, height) <= kLargeSide || 1.0 * width * height <= kLargeArea) return;
    if (band.GetOverviewCount() > 0 || band.HasArbitraryOverviews()) return;
    if (!isFirstWarning(path)) return;
    const double bytes =
        1.0 * width * height * dataset.GetRasterCount() * GDALGetDataTypeSizeBytes(band.GetRasterDataType());
    MVGEO_LOG(WARN) << "the raster has no overviews: " << path << ", " << width << " x " << height
                    << " pixels; the coarsest tile must read up to " << std::ceil(bytes / 1e6)
                    << " MB. External overviews (gdaladdo -ro) make it fast";
}

} // namespace

ImageHeader::ImageHeader() : _datasetsByThread(kThreadBuckets)
{
    _datasetsByThread.max_load_factor(1.0F);
}

ImageHeader::~ImageHeader() = default;

bool ImageHeader::open(const KdString& path)
{
    _path = path;
    GDALDatasetUniquePtr dataset = mvgeo::openRaster(path);
    if (!dataset) return false;
    if (dataset->GetRasterCount() == 0) return refuse(path, "it has no bands of its own");
    if (const char* fault = georeferencingFault(*dataset, _geoTransform)) return refuse(path, fault);
    _width = dataset->GetRasterXSize();
    _height = dataset->GetRasterYSize();
    {
        const mvgeo::QuietGdal quiet; // types whose no-data value is no double complain
        int isDeclared = 0;
        const double noData = dataset->GetRasterBand(1)->GetNoDataValue(&isDeclared);
        _noData = isDeclared ? toFloat(noData) : kUndeclaredNoData;
        _stamp = mvgeo::rasterStamp(*dataset);
    }
    warnIfSlow(*dataset, mvgeo::osgPath(path));
    const mvgeo::Lock lock(_datasetsLock);
    _datasetsByThread[OpenThreads::Thread::CurrentThreadId()] = std::move(dataset);
    return true;
}

GDALDataset* ImageHeader::getDataset()
{
    return getDataset(OpenThreads::Thread::CurrentThreadId());
}

GDALDataset* ImageHeader::getDataset(std::uint64_t threadId)
{
    {
        const mvgeo::Lock lock(_datasetsLock);
        if (const GDALDatasetUniquePtr& known = _datasetsByThread[threadId]) return known.get();
    }
    GDALDatasetUniquePtr dataset = mvgeo::openRaster(_path); // closed, if it is one too many, when the lock is given up
    if (!dataset || dataset->GetRasterCount() == 0) return nullptr;
    const mvgeo::Lock lock(_datasetsLock);
    GDALDatasetUniquePtr& slot = _datasetsByThread[threadId];
    if (!slot) slot = std::move(dataset); // else somebody asked for the same number meanwhile, and reads already
    return slot.get();
}

void ImageHeader::closeThreadDataset(std::uint64_t threadId)
{
    DatasetsByThread::node_type closed; // when the lock is given up
    const mvgeo::Lock lock(_datasetsLock);
    closed = _datasetsByThread.extract(threadId);
}

const OrthoLayout& ImageHeader::orthoLayout(GDALDataset& dataset) const
{
    std::call_once(_layoutOnce, [&] { _layout = orthoLayoutOf(dataset); });
    return _layout;
}

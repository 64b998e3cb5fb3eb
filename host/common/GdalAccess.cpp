#include "common/GdalAccess.h"

#include <cpl_error.h>

#include <algorithm>
#include <mutex>

namespace mvgeo::host
{
QuietGdal::QuietGdal()
{
    CPLPushErrorHandler(CPLQuietErrorHandler);
    CPLErrorReset();
}

QuietGdal::~QuietGdal()
{
    CPLPopErrorHandler();
}

std::string QuietGdal::reason()
{
    std::string message = CPLGetLastErrorMsg();
    std::replace(message.begin(), message.end(), '\n', ' ');
    while (!message.empty() && (message.back() == '.' || message.back() == ' '))
        message.pop_back();
    return message.empty() ? std::string() : " (" + message + ")";
}

GDALDatasetUniquePtr openRaster(const std::string& path)
{
    static std::once_flag registered;
    std::call_once(registered, GDALAllRegister);
    const QuietGdal quiet;
    return GDALDatasetUniquePtr(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
}

void limitBlockCache()
{
    constexpr GIntBig kBytes = 64 << 20;
    if (!CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) GDALSetCacheMax64(kBytes);
}
} // namespace mvgeo::host

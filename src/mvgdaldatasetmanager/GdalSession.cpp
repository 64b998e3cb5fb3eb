#include "mvgdaldatasetmanager/GdalSession.h"

#include <cpl_error.h>

#include <mutex>

namespace mvgeo
{

GDALDatasetUniquePtr openRaster(const KdString& path)
{
    static std::once_flag registered;
    std::call_once(registered, GDALAllRegister);
    const QuietGdal quiet;
    return GDALDatasetUniquePtr(GDALDataset::FromHandle(GDALOpen(path.utf8Ptr(), GA_ReadOnly)));
}

QuietGdal::QuietGdal()
{
    CPLPushErrorHandler(CPLQuietErrorHandler);
}

QuietGdal::~QuietGdal()
{
    CPLPopErrorHandler();
}

} // namespace mvgeo

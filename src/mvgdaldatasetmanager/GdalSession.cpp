#include "mvgdaldatasetmanager/GdalSession.h"

#include <cpl_error.h>
#include <gdal.h>

#include <mutex>

namespace mvgeo
{

void registerRasterDrivers()
{
    static std::once_flag registered;
    std::call_once(registered, GDALAllRegister);
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

#include "mvgdaldatasetmanager/RasterFile.h"

#include "mvgdaldatasetmanager/QuietGdal.h"

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

} // namespace mvgeo

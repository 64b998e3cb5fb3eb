#include "support/RasterDriver.h"

#include <array>
#include <utility>

RasterDriver::Open RasterDriver::_open;

RasterDriver::RasterDriver(Open open) : _driver(new GDALDriver)
{
    GDALAllRegister();
    _open = std::move(open);
    _driver->SetDescription("MVGEO_TEST");
    _driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
    _driver->pfnOpen = openFile;
    GetGDALDriverManager()->RegisterDriver(_driver);
}

RasterDriver::~RasterDriver()
{
    GetGDALDriverManager()->DeregisterDriver(_driver);
    delete _driver;
    _open = nullptr;
}

GDALDataset* RasterDriver::openFile(GDALOpenInfo* info)
{
    const std::string path = info->pszFilename;
    const std::string end = ".test";
    const bool isOurs = path.size() >= end.size() && path.compare(path.size() - end.size(), end.size(), end) == 0;
    return isOurs ? _open(path) : nullptr;
}

GDALDataset* RasterDriver::makeDataset()
{
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    GDALDataset* dataset = memory->Create("", 4, 4, 1, GDT_Float32, nullptr);
    std::array<double, 6> transform = {0.0, 1.0, 0.0, 4.0, 0.0, -1.0};
    dataset->SetGeoTransform(transform.data());
    return dataset;
}

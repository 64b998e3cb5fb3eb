#include "support/TestRaster.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <mutex>
#include <stdexcept>

namespace
{

void check(bool succeeded, const std::string& path)
{
    if (!succeeded) throw std::runtime_error("cannot write " + path + ": " + CPLGetLastErrorMsg());
}

GDALDatasetUniquePtr create(const std::string& path, const TestRaster& raster)
{
    static std::once_flag registered;
    std::call_once(registered, GDALAllRegister);
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(raster.driver.c_str());
    if (!driver) throw std::runtime_error("no raster driver " + raster.driver);
    CPLStringList options;
    for (const std::string& option : raster.creationOptions)
        options.AddString(option.c_str());
    return GDALDatasetUniquePtr(
        driver->Create(path.c_str(), raster.width, raster.height, raster.bands, raster.type, options.List()));
}

void describe(GDALDataset& dataset, const TestRaster& raster)
{
    if (raster.isGeoreferenced)
    {
        std::array<double, 6> transform = {raster.originX, raster.pixelWidth,     raster.rowRotation,
                                           raster.originY, raster.columnRotation, raster.pixelHeight};
        dataset.SetGeoTransform(transform.data());
    }
    if (raster.epsg != 0)
    {
        OGRSpatialReference system;
        system.importFromEPSG(raster.epsg);
        dataset.SetSpatialRef(&system);
    }
    if (!raster.palette.empty())
    {
        GDALColorTable table;
        for (std::size_t i = 0; i < raster.palette.size(); ++i)
        {
            const auto& [red, green, blue] = raster.palette[i];
            const GDALColorEntry entry = {red, green, blue, 255};
            table.SetColorEntry(static_cast<int>(i), &entry);
        }
        dataset.GetRasterBand(1)->SetColorTable(&table);
    }
    for (int band = 1; band <= raster.bands; ++band)
    {
        const auto index = static_cast<std::size_t>(band - 1);
        if (index < raster.colours.size()) dataset.GetRasterBand(band)->SetColorInterpretation(raster.colours[index]);
        if (raster.noData) dataset.GetRasterBand(band)->SetNoDataValue(*raster.noData);
    }
}

bool writePixels(GDALDataset& dataset, const TestRaster& raster, const RasterValue& value)
{
    std::vector<double> line(static_cast<std::size_t>(raster.width));
    for (int band = 1; band <= raster.bands; ++band)
        for (int row = 0; row < raster.height; ++row)
        {
            for (int column = 0; column < raster.width; ++column)
                line[static_cast<std::size_t>(column)] = value(band, column, row);
            if (dataset.GetRasterBand(band)->RasterIO(GF_Write, 0, row, raster.width, 1, line.data(), raster.width, 1,
                                                      GDT_Float64, 0, 0, nullptr) != CE_None)
                return false;
        }
    return true;
}

} // namespace

void writeRaster(const std::string& path, const TestRaster& raster, const RasterValue& value)
{
    CPLErrorReset();
    const GDALDatasetUniquePtr dataset = create(path, raster);
    check(dataset != nullptr, path);
    describe(*dataset, raster);
    check(writePixels(*dataset, raster, value), path);
    std::vector<int> factors = raster.overviews;
    if (!factors.empty())
        check(dataset->BuildOverviews("NEAREST", static_cast<int>(factors.size()), factors.data(), 0, nullptr, nullptr,
                                      nullptr) == CE_None,
              path);
    dataset->FlushCache();
    check(CPLGetLastErrorType() < CE_Failure, path);
}

void writeRaster(const std::string& path, const TestRaster& raster, double value)
{
    writeRaster(path, raster, [value](int, int, int) { return value; });
}

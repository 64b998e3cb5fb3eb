#pragma once

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <array>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/** What a raster file is to look like. The default is 4 x 4 heights of one metre a pixel. */
struct RasterPlan
{
    int width = 4;
    int height = 4;
    int bands = 1;
    GDALDataType type = GDT_Float32;
    int epsg = 0; ///< 0: no coordinate system
    std::array<double, 6> transform{0.0, 1.0, 0.0, 4.0, 0.0, -1.0};
    bool isGeoreferenced = true;
    std::optional<double> noData;
    std::string driver = "GTiff";
};

inline RasterPlan rasterAt(int epsg, double west, double north, double pixel, int side)
{
    RasterPlan plan;
    plan.epsg = epsg;
    plan.width = plan.height = side;
    plan.transform = {west, pixel, 0.0, north, 0.0, -pixel};
    return plan;
}

inline RasterPlan orthoAt(int epsg, double west, double north, double pixel, int side)
{
    RasterPlan plan = rasterAt(epsg, west, north, pixel, side);
    plan.type = GDT_Byte;
    plan.bands = 3;
    return plan;
}

/** @param value  of a column and a row, from the first pixel in the file; the same in all bands */
inline std::string writeRaster(
    const std::string& path, const RasterPlan& plan,
    const std::function<double(int, int)>& value = [](int, int) { return 100.0; })
{
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(plan.driver.c_str());
    const GDALDatasetUniquePtr dataset(
        driver ? driver->Create(path.c_str(), plan.width, plan.height, plan.bands, plan.type, nullptr) : nullptr);
    if (!dataset) throw std::runtime_error("cannot write " + path);
    std::array<double, 6> transform = plan.transform;
    if (plan.isGeoreferenced) dataset->SetGeoTransform(transform.data());
    OGRSpatialReference srs;
    if (plan.epsg != 0 && srs.importFromEPSG(plan.epsg) == OGRERR_NONE) dataset->SetSpatialRef(&srs);
    std::vector<double> row(static_cast<std::size_t>(plan.width));
    for (int band = 1; band <= plan.bands; ++band)
    {
        if (plan.noData) dataset->GetRasterBand(band)->SetNoDataValue(*plan.noData);
        for (int y = 0; y < plan.height; ++y)
        {
            for (int x = 0; x < plan.width; ++x)
                row[static_cast<std::size_t>(x)] = value(x, y);
            if (dataset->GetRasterBand(band)->RasterIO(GF_Write, 0, y, plan.width, 1, row.data(), plan.width, 1,
                                                       GDT_Float64, 0, 0, nullptr) != CE_None)
                throw std::runtime_error("cannot fill " + path);
        }
    }
    return path;
}

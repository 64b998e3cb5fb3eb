#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"

#include <gdal_priv.h>

#include <osg/ref_ptr>

#include <string>

/** Null if the raster cannot be opened or used. */
[[nodiscard]] inline osg::ref_ptr<ImageHeader> openedHeader(const std::string& path)
{
    osg::ref_ptr<ImageHeader> header = new ImageHeader;
    return header->open(KdString(path.c_str())) ? header : nullptr;
}

/** How many datasets are open in this process, whoever opened them. */
[[nodiscard]] inline int openDatasetCount()
{
    int count = 0;
    GDALDataset::GetOpenDatasets(&count);
    return count;
}

/** The value of a pixel of band 1 at the north-western corner; -1 if it cannot be read. */
[[nodiscard]] inline double firstPixel(GDALDataset& dataset)
{
    double value = -1.0;
    const CPLErr result =
        dataset.GetRasterBand(1)->RasterIO(GF_Read, 0, 0, 1, 1, &value, 1, 1, GDT_Float64, 0, 0, nullptr);
    return result == CE_None ? value : -1.0;
}

/** A virtual raster of 100 x 50 bytes without content. Without a geotransform if that is empty. */
[[nodiscard]] inline std::string virtualRaster(const std::string& geoTransform, const std::string& bands)
{
    const std::string placed = geoTransform.empty() ? "" : "<GeoTransform>" + geoTransform + "</GeoTransform>";
    return "<VRTDataset rasterXSize=\"100\" rasterYSize=\"50\">" + placed + bands + "</VRTDataset>";
}

#pragma once

#include <gdal_priv.h>

#include <functional>
#include <string>

/** A format of its own for GDAL: files whose paths end in ".test", there or not. Whoever opens one is told to the test,
 * on his own thread. One at a time; lives longer than the datasets that it gave. */
class RasterDriver
{
public:
    /** Makes the dataset, or answers null for a file that cannot be opened. */
    using Open = std::function<GDALDataset*(const std::string& path)>;

    explicit RasterDriver(Open open);
    ~RasterDriver();
    RasterDriver(const RasterDriver&) = delete;
    RasterDriver& operator=(const RasterDriver&) = delete;

    /** 4 x 4 zeros of one unit each, the north-western corner at (0, 4). */
    static GDALDataset* makeDataset();

private:
    static GDALDataset* openFile(GDALOpenInfo* info);

    static Open _open;
    GDALDriver* _driver; // GDAL's
};

#pragma once

#include <gdal_priv.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mvgeo::sample
{
struct RasterShape
{
    int columns = 0;
    int rows = 0;
    int bands = 1;
    GDALDataType type = GDT_Byte;
    double pixel = 1.0;             // metres
    double west = 0.0, north = 0.0; // of the north-western corner
    const char* predictor = "2";    // what DEFLATE is helped by: 2 for integers, 3 for floating point
};

/** A GeoTIFF in UTM zone 32 north that is written from north to south: create, writeRows, finish.
 *
 * It is made in memory and goes to the disk in one piece: GDAL 3.6 crashes where the disk fills up while it builds
 * overviews. Each function returns an error sentence with the path, empty if all went well; GDAL's own messages stay
 * silent.
 *
 * Thread: one at a time. Compresses on threads of its own. */
class TerrainRaster
{
public:
    explicit TerrainRaster(const std::string& path);
    ~TerrainRaster();
    TerrainRaster(const TerrainRaster&) = delete;
    TerrainRaster& operator=(const TerrainRaster&) = delete;

    [[nodiscard]] std::string create(const RasterShape& shape);
    void setNoData(double value) { _dataset->GetRasterBand(1)->SetNoDataValue(value); }

    /** Pixels in the raster's type, the bands of a pixel beside each other. */
    [[nodiscard]] std::string writeRows(int firstRow, int rows, void* pixels);

    /** Builds the overviews and writes the file.
     * @param advance  told how far it is (0 to 1); false to stop, which is an error like another */
    [[nodiscard]] std::string finish(std::vector<int> overviews, const std::function<bool(double)>& advance);

private:
    [[nodiscard]] std::string problem() const;

    struct Close
    {
        void operator()(GDALDataset* dataset) const;
    };

    [[nodiscard]] std::string writeToDisk() const;

    std::string _path;   // UTF-8
    std::string _memory; // the name of the file in memory
    RasterShape _shape;
    std::unique_ptr<GDALDataset, Close> _dataset;
};
} // namespace mvgeo::sample

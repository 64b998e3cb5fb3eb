#include "sample/TerrainRaster.h"

#include "common/GdalAccess.h"
#include "common/WholeFile.h"

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <ogr_spatialref.h>

#include <array>
#include <sstream>

namespace mvgeo::sample
{
namespace
{
// On machines with one core too: the file's parts come in another order without threads.
constexpr const char* kThreads = "4";

/** Some failures of writing show nowhere else. */
bool anyFailure()
{
    return CPLGetLastErrorType() >= CE_Failure;
}

/** Built from its parameters: PROJ's database need not be found. */
OGRSpatialReference utm32North()
{
    OGRSpatialReference reference;
    reference.SetProjCS("WGS 84 / UTM zone 32N");
    reference.SetWellKnownGeogCS("WGS84");
    reference.SetUTM(32, TRUE);
    reference.SetLinearUnits(SRS_UL_METER, 1.0);
    reference.SetAuthority("PROJCS", "EPSG", 32632);
    return reference;
}

int CPL_STDCALL forwardProgress(double part, const char*, void* advance)
{
    return (*static_cast<const std::function<bool(double)>*>(advance))(part) ? TRUE : FALSE;
}
} // namespace

TerrainRaster::TerrainRaster(const std::string& path) : _path(path)
{
    std::ostringstream name;
    name << "/vsimem/mvgeo-sample-" << this << ".tif"; // no two live at one address
    _memory = name.str();
}

TerrainRaster::~TerrainRaster()
{
    _dataset.reset();
    VSIUnlink(_memory.c_str());
}

void TerrainRaster::Close::operator()(GDALDataset* dataset) const
{
    const host::QuietGdal quiet;
    GDALClose(dataset);
}

std::string TerrainRaster::problem() const
{
    const std::string reason = CPLGetLastErrorMsg();
    return "cannot write " + _path + ": " + (reason.empty() ? "the raster library does not say why" : reason);
}

std::string TerrainRaster::create(const RasterShape& shape)
{
    const host::QuietGdal quiet;
    _shape = shape;
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    if (!driver) return "cannot write " + _path + ": the raster library has no GeoTIFF driver";
    CPLStringList options;
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("COMPRESS", "DEFLATE");
    options.SetNameValue("PREDICTOR", shape.predictor);
    options.SetNameValue("ZLEVEL", "2"); // 6, the usual, takes three times as long for 3 % less
    options.SetNameValue("NUM_THREADS", kThreads);
    if (shape.bands == 3) options.SetNameValue("PHOTOMETRIC", "RGB");
    _dataset.reset(driver->Create(_memory.c_str(), shape.columns, shape.rows, shape.bands, shape.type, options.List()));
    if (!_dataset) return problem();

    std::array<double, 6> transform = {shape.west, shape.pixel, 0.0, shape.north, 0.0, -shape.pixel};
    const OGRSpatialReference reference = utm32North();
    if (_dataset->SetGeoTransform(transform.data()) != CE_None || _dataset->SetSpatialRef(&reference) != CE_None)
        return problem();
    return {};
}

std::string TerrainRaster::writeRows(int firstRow, int rows, void* pixels)
{
    const host::QuietGdal quiet;
    const int bytes = GDALGetDataTypeSizeBytes(_shape.type);
    const CPLErr error =
        _dataset->RasterIO(GF_Write, 0, firstRow, _shape.columns, rows, pixels, _shape.columns, rows, _shape.type,
                           _shape.bands, nullptr, static_cast<GSpacing>(_shape.bands) * bytes,
                           static_cast<GSpacing>(_shape.columns) * _shape.bands * bytes, bytes, nullptr);
    return error != CE_None || anyFailure() ? problem() : std::string();
}

std::string TerrainRaster::finish(std::vector<int> overviews, const std::function<bool(double)>& advance)
{
    const host::QuietGdal quiet;
    CPLSetThreadLocalConfigOption("GDAL_NUM_THREADS", kThreads);
    auto callback = advance;
    const CPLErr error = _dataset->BuildOverviews("AVERAGE", static_cast<int>(overviews.size()), overviews.data(), 0,
                                                  nullptr, forwardProgress, &callback);
    CPLSetThreadLocalConfigOption("GDAL_NUM_THREADS", nullptr);
    if (error != CE_None || anyFailure()) return problem();
    GDALClose(_dataset.release()); // writes what is still open, and does not return whether that worked
    return anyFailure() ? problem() : writeToDisk();
}

std::string TerrainRaster::writeToDisk() const
{
    vsi_l_offset size = 0;
    const GByte* const bytes = VSIGetMemFileBuffer(_memory.c_str(), &size, FALSE);
    if (!bytes) return problem();
    const auto* const text = reinterpret_cast<const char*>(bytes);
    return host::writeWholeFile({text, static_cast<std::size_t>(size)}, _path).error;
}
} // namespace mvgeo::sample

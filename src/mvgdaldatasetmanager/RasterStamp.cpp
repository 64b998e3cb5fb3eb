#include "mvgdaldatasetmanager/RasterStamp.h"

#include "mvgdaldatasetmanager/QuietGdal.h"
#include "support/PathHash.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <array>
#include <exception>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace mvgeo
{

namespace
{

// Goes up when the same files are to give another stamp.
constexpr const char* kVersion = "1";

bool endsWith(const std::string& text, const std::string& tail)
{
    return text.size() >= tail.size() && EQUAL(text.c_str() + text.size() - tail.size(), tail.c_str());
}

/** Virtual rasters list the files that they are made of, but not those that a virtual raster among them is made of. */
void addFiles(GDALDataset& dataset, std::set<std::string>& files)
{
    const CPLStringList list(dataset.GetFileList());
    for (int i = 0; i < list.size(); ++i)
    {
        const std::string name = list[i];
        if (endsWith(name, ".aux.xml") || !files.insert(name).second || !endsWith(name, ".vrt")) continue;
        if (name == dataset.GetDescription()) continue;
        const GDALDatasetUniquePtr inner(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
        if (inner) addFiles(*inner, files);
    }
}

/** The file of the system that holds this one: itself, or the archive that it lies in. Empty if no archive is found. */
fs::path systemFile(const std::string& name)
{
    for (const std::string prefix : {"/vsizip/", "/vsitar/", "/vsigzip/"})
        if (name.compare(0, prefix.size(), prefix) == 0)
        {
            fs::path path = fs::u8path(name.substr(prefix.size()));
            std::error_code ignored;
            while (path.has_relative_path() && !fs::is_regular_file(path, ignored))
                path = path.parent_path();
            return path.has_relative_path() ? path : fs::path();
        }
    return fs::u8path(name);
}

/** Size and time as GDAL sees them, in seconds, and the system's time, which is much finer where there is one. */
void describeFile(std::ostream& text, const std::string& name)
{
    VSIStatBufL status{};
    if (VSIStatExL(name.c_str(), &status, VSI_STAT_EXISTS_FLAG | VSI_STAT_SIZE_FLAG) != 0) return;
    text << '|' << status.st_size << ' ' << status.st_mtime;
    std::error_code failure;
    const fs::file_time_type time = fs::last_write_time(systemFile(name), failure);
    if (!failure) text << ' ' << time.time_since_epoch().count();
}

void describeContent(std::ostream& text, GDALDataset& dataset)
{
    std::array<double, 6> transform{};
    dataset.GetGeoTransform(transform.data());
    text << std::hexfloat;
    for (const double term : transform)
        text << '|' << term;
    if (GDALRasterBand* band = dataset.GetRasterBand(1)) text << '|' << band->GetNoDataValue();
}

} // namespace

std::string rasterStamp(GDALDataset& dataset)
try
{
    const QuietGdal quiet;
    std::set<std::string> files;
    addFiles(dataset, files);
    std::ostringstream text;
    for (const std::string& file : files)
        describeFile(text, file);
    describeContent(text, dataset);
    return kVersion + ('-' + pathHashText(text.str()));
}
catch (const std::exception&)
{
    return kVersion; // a file name that the system cannot express: no worse than no stamp
}

} // namespace mvgeo

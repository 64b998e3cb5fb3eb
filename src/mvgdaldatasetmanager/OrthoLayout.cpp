#include "mvgdaldatasetmanager/OrthoLayout.h"

#include "mvgdaldatasetmanager/QuietGdal.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace
{

constexpr int kSampleSide = 256; // pixels, the size of a tile's image: no more is read than for the coarsest tile

/** Left out at each end before values are stretched: a few glaring or dead pixels would take all contrast away. */
constexpr double kTail = 0.02;

bool isWithin(const std::vector<double>& sorted, double low, double high)
{
    return sorted.front() >= low && sorted.back() <= high;
}

/** The value that this part of the others lies below, or the next one up. */
double quantile(const std::vector<double>& sorted, double part)
{
    return sorted[static_cast<std::size_t>(std::lround(part * static_cast<double>(sorted.size() - 1)))];
}

std::uint8_t toByte(int value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

std::array<std::uint8_t, 3> toColour(const GDALColorEntry& entry, GDALPaletteInterp kind)
{
    switch (kind)
    {
    case GPI_RGB:
        return {toByte(entry.c1), toByte(entry.c2), toByte(entry.c3)};
    case GPI_CMYK:
        return {toByte(255 - entry.c1 - entry.c4), toByte(255 - entry.c2 - entry.c4),
                toByte(255 - entry.c3 - entry.c4)};
    case GPI_HLS:
        return {toByte(entry.c2), toByte(entry.c2), toByte(entry.c2)}; // the lightness
    default:
        return {toByte(entry.c1), toByte(entry.c1), toByte(entry.c1)};
    }
}

/** Empty if the band is not paletted. */
std::vector<std::array<std::uint8_t, 3>> paletteOf(GDALRasterBand& band)
{
    std::vector<std::array<std::uint8_t, 3>> palette;
    const GDALColorTable* table = band.GetColorTable();
    if (!table || band.GetColorInterpretation() != GCI_PaletteIndex) return palette;
    for (int i = 0; i < table->GetColorEntryCount(); ++i)
        palette.push_back(toColour(*table->GetColorEntry(i), table->GetPaletteInterpretation()));
    return palette;
}

/** The number of the first band with this tag, 0 if there is none. */
int taggedBand(GDALDataset& dataset, GDALColorInterp tag)
{
    for (int number = 1; number <= dataset.GetRasterCount(); ++number)
        if (dataset.GetRasterBand(number)->GetColorInterpretation() == tag) return number;
    return 0;
}

std::array<int, 3> bandsOf(GDALDataset& dataset)
{
    const std::array<int, 3> tagged = {taggedBand(dataset, GCI_RedBand), taggedBand(dataset, GCI_GreenBand),
                                       taggedBand(dataset, GCI_BlueBand)};
    if (tagged[0] != 0 && tagged[1] != 0 && tagged[2] != 0) return tagged;
    if (dataset.GetRasterCount() < 3) return {1, 1, 1};
    return {1, 2, 3};
}

/** Adds evenly spread samples of the band, without those that are no-data or not finite. Nothing is asked of GDAL's own
 * statistics: those may come from a side file, which must not change how the image looks. */
void addSamples(GDALRasterBand& band, std::vector<double>& result)
{
    const int width = std::min(band.GetXSize(), kSampleSide);
    const int height = std::min(band.GetYSize(), kSampleSide);
    std::vector<double> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    if (band.RasterIO(GF_Read, 0, 0, band.GetXSize(), band.GetYSize(), samples.data(), width, height, GDT_Float64, 0, 0,
                      nullptr) != CE_None)
        return;

    int hasNoData = 0;
    const double noData = band.GetNoDataValue(&hasNoData);
    // A decimal fraction that a file declares is seldom exactly a float.
    const bool isRounded = band.GetRasterDataType() == GDT_Float32 && std::isfinite(noData);
    const double tolerance = isRounded ? 1e-6 * std::abs(noData) : 0.0;
    for (const double sample : samples)
        if (std::isfinite(sample) && !(hasNoData && std::abs(sample - noData) <= tolerance)) result.push_back(sample);
}

std::vector<double> sortedSamples(GDALDataset& dataset, const std::array<int, 3>& bands)
{
    std::vector<double> samples;
    for (const int number : std::set<int>(bands.begin(), bands.end()))
        addSamples(*dataset.GetRasterBand(number), samples);
    std::sort(samples.begin(), samples.end());
    return samples;
}

void setRange(OrthoLayout& layout, const std::vector<double>& sorted, bool isFloating)
{
    if (sorted.empty()) return;
    if (isFloating && isWithin(sorted, 0.0, 1.0))
        layout.scale = 255.0;
    else if (!isWithin(sorted, 0.0, 255.0))
    {
        const double low = quantile(sorted, kTail);
        const double scale = 127.5 / (0.5 * quantile(sorted, 1.0 - kTail) - 0.5 * low); // might overflow as a whole
        layout.offset = low;
        layout.scale = std::isfinite(scale) ? scale : 1.0; // one value only
    }
}

} // namespace

OrthoLayout orthoLayoutOf(GDALDataset& dataset)
{
    const mvgeo::QuietGdal quiet;
    OrthoLayout layout;
    layout.palette = paletteOf(*dataset.GetRasterBand(1));
    layout.bands = layout.palette.empty() ? bandsOf(dataset) : std::array<int, 3>{1, 1, 1};

    GDALDataType type = GDT_Byte;
    for (const int number : layout.bands)
        type = GDALDataTypeUnion(type, dataset.GetRasterBand(number)->GetRasterDataType());
    layout.isByte = type == GDT_Byte;
    if (!layout.isByte && layout.palette.empty())
        setRange(layout, sortedSamples(dataset, layout.bands), GDALDataTypeIsFloating(type) != 0);
    return layout;
}

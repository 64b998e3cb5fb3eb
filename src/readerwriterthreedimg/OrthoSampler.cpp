#include "readerwriterthreedimg/OrthoSampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::size_t kChannels = 3;

/** The window's cells as colours. */
struct ColourCells
{
    std::vector<unsigned char> rgb;
    std::vector<bool> hasData; ///< empty if every cell has
    std::size_t columns = 0;

    [[nodiscard]] const unsigned char* at(int column, int row) const
    {
        return &rgb[(static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)) * kChannels];
    }
    [[nodiscard]] bool hasDataAt(int column, int row) const
    {
        return hasData[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)];
    }
};

/** Marks the cells whose first channel is the no-data value; `values` are interleaved. */
template <typename Value>
void markNoData(const std::vector<Value>& values, std::size_t channels, float noData, std::vector<bool>& hasData)
{
    const auto isMissing = [noData](Value value)
    {
        const auto number = static_cast<float>(value);
        return number == noData || !std::isfinite(number);
    };
    for (std::size_t i = 0; i < values.size(); i += channels)
    {
        if (!isMissing(values[i])) continue;
        if (hasData.empty()) hasData.assign(values.size() / channels, true);
        hasData[i / channels] = false;
    }
}

bool readBytes(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, const OrthoLayout& layout,
               ColourCells& cells)
{
    if (!readWindow(header, dataset, window, {layout.bands.begin(), layout.bands.end()}, GDT_Byte, cells.rgb.data()))
        return false;
    // A byte is never a value outside 0..255, which most images "without" no-data declare.
    if (header.noData() >= 0.0F && header.noData() <= 255.0F)
        markNoData(cells.rgb, kChannels, header.noData(), cells.hasData);
    return true;
}

bool readPalette(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, const OrthoLayout& layout,
                 ColourCells& cells)
{
    std::vector<std::uint16_t> indices(cells.rgb.size() / kChannels);
    if (!readWindow(header, dataset, window, {layout.bands[0]}, GDT_UInt16, indices.data())) return false;
    markNoData(indices, 1, header.noData(), cells.hasData);
    for (std::size_t i = 0; i < indices.size(); ++i)
    {
        const std::size_t colour = std::min<std::size_t>(indices[i], layout.palette.size() - 1);
        std::copy(layout.palette[colour].begin(), layout.palette[colour].end(), &cells.rgb[i * kChannels]);
    }
    return true;
}

bool readNumbers(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, const OrthoLayout& layout,
                 ColourCells& cells)
{
    std::vector<float> values(cells.rgb.size());
    if (!readWindow(header, dataset, window, {layout.bands.begin(), layout.bands.end()}, GDT_Float32, values.data()))
        return false;
    markNoData(values, kChannels, header.noData(), cells.hasData);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const double byte = std::round((static_cast<double>(values[i]) - layout.offset) * layout.scale);
        cells.rgb[i] = static_cast<unsigned char>(byte > 0.0 ? std::min(byte, 255.0) : 0.0); // NaN is not above 0
    }
    return true;
}

std::optional<ColourCells> readCells(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window)
{
    ColourCells cells;
    cells.columns = static_cast<std::size_t>(window.x.cells);
    cells.rgb.resize(cells.columns * static_cast<std::size_t>(window.y.cells) * kChannels);
    const OrthoLayout& layout = header.orthoLayout(dataset);
    const auto read = !layout.palette.empty() ? &readPalette : layout.isByte ? &readBytes : &readNumbers;
    if (!read(header, dataset, window, layout, cells)) return std::nullopt;
    return cells;
}

float lerp(float from, float to, float part)
{
    return from + (to - from) * part;
}

/** Any window: pixels outside the raster, cells without data. */
void samplePixelByPixel(const ColourCells& cells, const std::vector<CellPosition>& x,
                        const std::vector<CellPosition>& y, unsigned char outside, unsigned char* pixels)
{
    for (const CellPosition& row : y)
        for (const CellPosition& column : x)
        {
            if (!row.isInside() || !column.isInside())
                std::fill_n(pixels, kChannels, outside);
            else if (cells.hasData.empty() ||
                     (cells.hasDataAt(column.lower, row.lower) && cells.hasDataAt(column.upper, row.lower) &&
                      cells.hasDataAt(column.lower, row.upper) && cells.hasDataAt(column.upper, row.upper)))
            {
                const unsigned char* northWest = cells.at(column.lower, row.lower);
                const unsigned char* northEast = cells.at(column.upper, row.lower);
                const unsigned char* southWest = cells.at(column.lower, row.upper);
                const unsigned char* southEast = cells.at(column.upper, row.upper);
                const auto partX = static_cast<float>(column.fraction);
                const auto partY = static_cast<float>(row.fraction);
                for (std::size_t c = 0; c < kChannels; ++c)
                    pixels[c] = static_cast<unsigned char>(
                        lerp(lerp(northWest[c], northEast[c], partX), lerp(southWest[c], southEast[c], partX), partY));
            }
            else
                std::copy_n(cells.at(column.nearest(), row.nearest()), kChannels, pixels);
            pixels += kChannels;
        }
}

/** The same colours for a window that covers all samples and has data everywhere, in two passes: each row of cells is
 *  blended in x once, and pairs of rows are then blended in y over contiguous memory. */
class RowBlender
{
public:
    RowBlender(const ColourCells& cells, const std::vector<CellPosition>& x) : _cells(cells), _x(x)
    {
        for (Line& line : _lines)
            line.values.resize(x.size() * kChannels);
    }

    void blendRow(const CellPosition& row, unsigned char* pixels)
    {
        const float* north = line(row.lower, row.upper).values.data();
        const float* south = line(row.upper, row.lower).values.data();
        const auto part = static_cast<float>(row.fraction);
        const std::size_t count = _x.size() * kChannels;
        for (std::size_t i = 0; i < count; ++i)
            pixels[i] = static_cast<unsigned char>(static_cast<int>(lerp(north[i], south[i], part)));
    }

private:
    struct Line
    {
        int row = -1;
        std::vector<float> values;
    };

    /** The line of a row of cells; made in the place of a line that is neither of the two wanted ones. */
    const Line& line(int row, int otherWanted)
    {
        for (const Line& known : _lines)
            if (known.row == row) return known;
        Line& target = _lines[0].row == otherWanted ? _lines[1] : _lines[0];
        target.row = row;
        const unsigned char* rowOfCells = _cells.at(0, row);
        float* value = target.values.data();
        for (const CellPosition& column : _x)
        {
            const unsigned char* west = rowOfCells + static_cast<std::size_t>(column.lower) * kChannels;
            const unsigned char* east = rowOfCells + static_cast<std::size_t>(column.upper) * kChannels;
            const auto part = static_cast<float>(column.fraction);
            for (std::size_t c = 0; c < kChannels; ++c)
                *value++ = lerp(west[c], east[c], part);
        }
        return target;
    }

    const ColourCells& _cells;
    const std::vector<CellPosition>& _x;
    std::array<Line, 2> _lines;
};

bool allInside(const std::vector<CellPosition>& positions)
{
    return std::all_of(positions.begin(), positions.end(), [](const CellPosition& p) { return p.isInside(); });
}

std::size_t pixelCount(const TerrainTileInfo& info)
{
    return static_cast<std::size_t>(info.imageWidth) * static_cast<std::size_t>(info.imageHeight);
}

} // namespace

unsigned char noDataByte(float noData)
{
    constexpr float kLimit = 9.0e18F; // just inside 64 bits
    if (!(noData > -kLimit && noData < kLimit)) return 0;
    return static_cast<unsigned char>(static_cast<std::uint64_t>(static_cast<std::int64_t>(noData)) & 0xFFU);
}

RgbPixels uniformImage(const TerrainTileInfo& info, unsigned char value)
{
    const std::size_t size = pixelCount(info) * kChannels;
    RgbPixels pixels(new unsigned char[size]);
    std::memset(pixels.get(), value, size);
    return pixels;
}

RgbPixels sampleDomImage(ImageHeader& domHeader, GDALDataset& domDataset, const TerrainTileInfo& info)
{
    const RasterFrame raster = frameOf(domHeader);
    const SampleGrid grid{info.startX, info.startY, info.endX, info.endY, info.imageWidth, info.imageHeight};
    const std::optional<RasterWindow> window = windowOver(raster, grid);
    if (!window) return nullptr;
    const std::optional<ColourCells> cells = readCells(domHeader, domDataset, *window);
    if (!cells) return nullptr;

    const std::vector<CellPosition> x = columnPositions(raster, grid, *window);
    const std::vector<CellPosition> y = rowPositions(raster, grid, *window);
    RgbPixels pixels(new unsigned char[pixelCount(info) * kChannels]);
    if (!cells->hasData.empty() || !allInside(x) || !allInside(y))
    {
        samplePixelByPixel(*cells, x, y, noDataByte(domHeader.noData()), pixels.get());
        return pixels;
    }
    RowBlender blender(*cells, x);
    for (std::size_t row = 0; row < y.size(); ++row)
        blender.blendRow(y[row], pixels.get() + row * x.size() * kChannels);
    return pixels;
}

} // namespace mvgeo

#include "readerwriterthreedimg/OrthoSampler.h"

#include "readerwriterthreedimg/ElevationGrid.h"

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
    std::vector<unsigned char> isHole; ///< by cell, 1 for one without data; empty if every cell has
    std::size_t columns = 0;

    [[nodiscard]] const unsigned char* row(int row) const
    {
        return &rgb[static_cast<std::size_t>(row) * columns * kChannels];
    }
    [[nodiscard]] const unsigned char* holesInRow(int row) const
    {
        return &isHole[static_cast<std::size_t>(row) * columns];
    }
};

/** Marks the cells whose first channel is missing; `values` are interleaved. */
template <typename Value, typename IsMissing>
void markHoles(const std::vector<Value>& values, std::size_t channels, IsMissing isMissing,
               std::vector<unsigned char>& isHole)
{
    const std::size_t count = values.size() / channels;
    isHole.resize(count);
    unsigned char* mark = isHole.data(); // not through the vector: a byte that is written may be part of anything
    unsigned char isAny = 0;
    for (std::size_t i = 0; i < count; ++i)
        isAny |= mark[i] = isMissing(values[i * channels]) ? 1 : 0;
    if (isAny == 0) isHole.clear();
}

/** A byte is never a value outside 0..255, which most images "without" no-data declare, nor a fraction. */
void markHoles(const std::vector<unsigned char>& rgb, float noData, std::vector<unsigned char>& isHole)
{
    if (!(noData >= 0.0F && noData <= 255.0F) || noData != std::trunc(noData)) return;
    const auto missing = static_cast<unsigned char>(noData);
    if (!std::memchr(rgb.data(), missing, rgb.size())) return; // in no channel: found ten times as fast
    markHoles(
        rgb, kChannels, [missing](unsigned char value) { return value == missing; }, isHole);
}

bool readBytes(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, const OrthoLayout& layout,
               ColourCells& cells)
{
    if (!readWindow(header, dataset, window, {layout.bands.begin(), layout.bands.end()}, GDT_Byte, cells.rgb.data()))
        return false;
    markHoles(cells.rgb, header.noData(), cells.isHole);
    return true;
}

bool readPalette(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window, const OrthoLayout& layout,
                 ColourCells& cells)
{
    std::vector<std::uint16_t> indices(cells.rgb.size() / kChannels);
    if (!readWindow(header, dataset, window, {layout.bands[0]}, GDT_UInt16, indices.data())) return false;
    markHoles(
        indices, 1, [&](std::uint16_t index) { return static_cast<float>(index) == header.noData(); }, cells.isHole);
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
    markHoles(
        values, kChannels, [&](float value) { return isNoData(value, header.noData()); }, cells.isHole);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const double byte = std::round((static_cast<double>(values[i]) - layout.offset) * layout.scale);
        cells.rgb[i] = static_cast<unsigned char>(byte > 0.0 ? std::min(byte, 255.0) : 0.0); // NaN is not above 0
    }
    return true;
}

std::optional<ColourCells> readColourCells(ImageHeader& header, GDALDataset& dataset, const RasterWindow& window)
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

/** The samples of one axis that lie inside the raster, which are contiguous. */
struct InsideSamples
{
    explicit InsideSamples(const std::vector<CellPosition>& positions)
    {
        while (first < positions.size() && !positions[first].isInside())
            ++first;
        end = first;
        while (end < positions.size() && positions[end].isInside())
            ++end;
    }

    std::size_t first = 0;
    std::size_t end = 0;
};

/** Blends cells over the columns of samples that lie inside the raster, a row of samples at a time, in two passes: each
 * row of cells is blended in x once, and pairs of rows are then blended in y over contiguous memory. Where one of the
 * four cells has no data the nearest one replaces the blend. */
class RowBlender
{
public:
    RowBlender(const ColourCells& cells, const std::vector<CellPosition>& x, const InsideSamples& inside)
        : _cells(cells), _cellValues((cells.columns + 1) * kChannels), _isHoleInPair(cells.columns)
    {
        for (std::size_t i = inside.first; i < inside.end; ++i)
            _columns.push_back({static_cast<std::size_t>(x[i].lower), static_cast<std::size_t>(x[i].upper),
                                static_cast<std::size_t>(x[i].nearest()), static_cast<float>(x[i].fraction)});
        for (Line& line : _lines)
            line.values.resize((_columns.size() + 1) * kChannels);
    }

    void blendRow(const CellPosition& row, unsigned char* pixels)
    {
        const float* north = line(row.lower, row.upper).values.data();
        const float* south = line(row.upper, row.lower).values.data();
        const auto part = static_cast<float>(row.fraction);
        const std::size_t count = _columns.size() * kChannels;
        for (std::size_t i = 0; i < count; ++i)
            pixels[i] = static_cast<unsigned char>(static_cast<int>(lerp(north[i], south[i], part)));
        if (!_cells.isHole.empty()) replaceBesideHoles(row, pixels);
    }

private:
    struct Column
    {
        std::size_t west; // numbers of cells in their row
        std::size_t east;
        std::size_t nearest;
        float part;
    };
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
        const unsigned char* bytes = _cells.row(row);
        for (std::size_t i = 0; i < _cells.columns * kChannels; ++i)
            _cellValues[i] = bytes[i];
        float* value = target.values.data();
        for (const Column& column : _columns)
        {
            // Four at once is one instruction; the fourth is overwritten by the next column, or lies in the spare room.
            std::array<float, 4> west;
            std::array<float, 4> east;
            std::memcpy(west.data(), &_cellValues[column.west * kChannels], sizeof west);
            std::memcpy(east.data(), &_cellValues[column.east * kChannels], sizeof east);
            for (std::size_t c = 0; c < west.size(); ++c)
                west[c] = lerp(west[c], east[c], column.part);
            std::memcpy(value, west.data(), sizeof west);
            value += kChannels;
        }
        return target;
    }

    void replaceBesideHoles(const CellPosition& row, unsigned char* pixels)
    {
        const unsigned char* north = _cells.holesInRow(row.lower);
        const unsigned char* south = _cells.holesInRow(row.upper);
        unsigned char* isHole = _isHoleInPair.data();
        const std::size_t count = _cells.columns;
        for (std::size_t i = 0; i < count; ++i)
            isHole[i] = north[i] | south[i];
        if (!std::memchr(isHole, 1, count)) return;
        const unsigned char* nearestRow = _cells.row(row.nearest());
        for (const Column& column : _columns)
        {
            if ((isHole[column.west] | isHole[column.east]) != 0)
                std::memcpy(pixels, nearestRow + column.nearest * kChannels, kChannels);
            pixels += kChannels;
        }
    }

    const ColourCells& _cells;
    std::vector<Column> _columns;
    std::array<Line, 2> _lines;
    std::vector<float> _cellValues;           // of the row at hand
    std::vector<unsigned char> _isHoleInPair; // of the two rows at hand
};

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
    const std::optional<ColourCells> cells = readColourCells(domHeader, domDataset, *window);
    if (!cells) return nullptr;

    const std::vector<CellPosition> x = columnPositions(raster, grid, *window);
    const std::vector<CellPosition> y = rowPositions(raster, grid, *window);
    const InsideSamples insideX(x);
    const InsideSamples insideY(y);
    RgbPixels pixels = uniformImage(info, noDataByte(domHeader.noData())); // what stays outside
    RowBlender blender(*cells, x, insideX);
    for (std::size_t row = insideY.first; row < insideY.end; ++row)
        blender.blendRow(y[row], pixels.get() + (row * x.size() + insideX.first) * kChannels);
    return pixels;
}

} // namespace mvgeo

#include "readerwriterthreedimg/RasterWindow.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace mvgeo
{

namespace
{

constexpr int kMaxLevel = 30;
constexpr std::int64_t kMaxCells = std::int64_t{1} << 24; // a window that long and thin is decimated further

/** One axis in pixels: where the raster's edge is for the grid's first and last sample, counted in reading direction.
 */
struct PixelSpan
{
    double first = 0.0;
    double last = 0.0;
    int size = 0; ///< of the raster
};

// Rounded to a millionth of a pixel: two grids that share a post reach it by different sums, and must still read the
// same value there, bit for bit.
double toPixels(double coordinate, double origin, double pixelSize)
{
    constexpr double kSteps = 1048576.0;
    return std::round((coordinate - origin) / pixelSize * kSteps) / kSteps;
}

/** The place on the lattice that a position means; the position itself if it means none. */
double snapped(double pixel, const PixelLattice& lattice)
{
    constexpr double kLargestError = 1e-5; // pixels; of coordinates, however large
    if (!(lattice.spacing > 0.0)) return pixel;
    const double place = lattice.origin + std::round((pixel - lattice.origin) / lattice.spacing) * lattice.spacing;
    return std::abs(place - pixel) <= kLargestError ? place : pixel;
}

/** Full halvings that fit into the step. A step that misses a power of two by its rounding has it: neighbours, whose
 * steps differ by no more, must be decimated alike. */
int levelFor(double step, double pixelSize)
{
    constexpr double kRounding = 1e-6;
    const double ratio = std::abs(step / pixelSize) * (1.0 + kRounding);
    if (!(ratio > 1.0)) return 0;
    return static_cast<int>(std::min(std::log2(ratio), kMaxLevel * 1.0));
}

/** Nothing if the span lies outside. Cells beyond the raster's last full one are not read, so that every cell stands
 * for the same pixels in every window; a stretched last cell would make neighbours disagree. */
std::optional<WindowAxis> axisOver(const PixelSpan& span, int scale)
{
    const double size = span.size;
    const double lastCell = std::trunc((size - 1.0) / scale + 0.5);
    double firstWanted = std::trunc(std::max(std::trunc(span.first), 0.0) / scale);
    const double lastWanted =
        std::min(lastCell, std::trunc(std::min(size - 1.0, std::trunc(span.last)) / scale + 0.5) + 1.0);
    firstWanted = std::max(firstWanted - 1.0, 0.0);
    if (!(firstWanted <= lastWanted) || firstWanted * scale >= size) return std::nullopt;

    WindowAxis axis;
    axis.first = static_cast<int>(firstWanted * scale);
    axis.cells = static_cast<int>(lastWanted - firstWanted) + 1;
    const int available = span.size - axis.first;
    axis.cellsRead = std::min(axis.cells, available / scale);
    axis.pixels = axis.cellsRead * scale;
    if (axis.cellsRead == 0) // narrower than one cell
    {
        axis.cellsRead = 1;
        axis.pixels = available;
    }
    return axis;
}

PixelSpan spanX(const RasterFrame& raster, const SampleGrid& grid)
{
    return {toPixels(grid.startX, raster.originX, raster.pixelWidth),
            toPixels(grid.endX, raster.originX, raster.pixelWidth), raster.width};
}

PixelSpan spanY(const RasterFrame& raster, const SampleGrid& grid)
{
    return {toPixels(grid.endY, raster.originY, raster.pixelHeight),
            toPixels(grid.startY, raster.originY, raster.pixelHeight), raster.height};
}

/** `pixel` counts from the raster's edge; cell centres lie half a cell behind the edge of the cell. */
CellPosition positionOf(double pixel, const WindowAxis& axis, int scale)
{
    double cell = (pixel - axis.first) / scale - 0.5;
    if (cell >= -0.5 && cell < 0.0) cell = 0.0;
    CellPosition position;
    if (!(cell >= 0.0 && cell < axis.cells)) return position;
    position.lower = static_cast<int>(cell);
    const bool isLast = position.lower == axis.cells - 1;
    position.upper = isLast ? position.lower : position.lower + 1;
    position.fraction = isLast ? 0.0 : cell - position.lower;
    return position;
}

template <typename PixelAt>
std::vector<CellPosition> positionsOf(int count, const PixelAt& pixelAt, const PixelLattice& lattice,
                                      const WindowAxis& axis, int scale)
{
    std::vector<CellPosition> positions;
    positions.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        positions.push_back(positionOf(snapped(pixelAt(i), lattice), axis, scale));
    return positions;
}

} // namespace

std::optional<RasterWindow> windowOver(const RasterFrame& raster, const SampleGrid& grid)
{
    const PixelSpan x = spanX(raster, grid);
    const PixelSpan y = spanY(raster, grid);
    int level = std::min(levelFor(grid.stepX(), raster.pixelWidth), levelFor(grid.stepY(), raster.pixelHeight));
    for (;; ++level)
    {
        RasterWindow window;
        window.scale = 1 << level;
        const std::optional<WindowAxis> axisX = axisOver(x, window.scale);
        const std::optional<WindowAxis> axisY = axisOver(y, window.scale);
        if (!axisX || !axisY) return std::nullopt;
        window.x = *axisX;
        window.y = *axisY;
        if (std::int64_t{window.x.cells} * window.y.cells <= kMaxCells || level == kMaxLevel) return window;
    }
}

std::vector<CellPosition> columnPositions(const RasterFrame& raster, const SampleGrid& grid, const RasterWindow& window)
{
    const auto pixelAt = [&](int column)
    { return toPixels(grid.startX + column * grid.stepX(), raster.originX, raster.pixelWidth); };
    return positionsOf(grid.columns, pixelAt, grid.latticeX, window.x, window.scale);
}

std::vector<CellPosition> rowPositions(const RasterFrame& raster, const SampleGrid& grid, const RasterWindow& window)
{
    const auto pixelAt = [&](int row)
    { return toPixels(grid.endY + row * grid.stepY(), raster.originY, raster.pixelHeight); };
    return positionsOf(grid.rows, pixelAt, grid.latticeY, window.y, window.scale);
}

} // namespace mvgeo

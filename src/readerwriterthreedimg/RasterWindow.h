#pragma once

#include <optional>
#include <vector>

namespace mvgeo
{

/** Where samples lie exactly, in pixels along one axis: at origin + n * spacing for whole n. Coordinates, whose sums
 * are rounded, only tell which n. */
struct PixelLattice
{
    double origin = 0.0;
    double spacing = 0.0; ///< 0: not known
};

/** A regular grid of samples whose outermost ones lie on its edges; rows run south. Frame: the rasters'. */
struct SampleGrid
{
    double startX = 0.0; ///< west
    double startY = 0.0; ///< south
    double endX = 0.0;
    double endY = 0.0;
    int columns = 0; ///< at least 2
    int rows = 0;
    PixelLattice latticeX{};
    PixelLattice latticeY{}; ///< counted from the north

    [[nodiscard]] double stepX() const { return (endX - startX) / (columns - 1); }
    /** Negative: rows run south. */
    [[nodiscard]] double stepY() const { return (startY - endY) / (rows - 1); }
};

/** Where a raster's pixels lie. The origin is the outer corner of the north-western pixel; pixelHeight is negative. */
struct RasterFrame
{
    double originX = 0.0;
    double originY = 0.0;
    double pixelWidth = 1.0;
    double pixelHeight = -1.0;
    int width = 0;
    int height = 0;
};

/** One axis of a decimated read: `cells` cells of `scale` pixels each, from pixel `first` on. */
struct WindowAxis
{
    int first = 0;
    int pixels = 0;    ///< to be read: a multiple of scale, unless the raster ends before one cell is full
    int cellsRead = 0; ///< cells that `pixels` fill; those behind repeat the last one
    int cells = 0;
};

/** The part of a raster under a sample grid, decimated to the power of two just below the grid's step. */
struct RasterWindow
{
    WindowAxis x;
    WindowAxis y;
    int scale = 1;
};

/** Nothing if the grid lies outside the raster. */
[[nodiscard]] std::optional<RasterWindow> windowOver(const RasterFrame& raster, const SampleGrid& grid);

/** Where one row or column of samples lies between the cells of a window. */
struct CellPosition
{
    int lower = -1; ///< -1: outside the window
    int upper = 0;  ///< the neighbour, the same as lower on the last cell
    double fraction = 0.0;

    [[nodiscard]] bool isInside() const { return lower >= 0; }
    [[nodiscard]] int nearest() const { return fraction > 0.5 ? upper : lower; }
};

/** The positions of the grid's columns, from west to east. */
[[nodiscard]] std::vector<CellPosition> columnPositions(const RasterFrame& raster, const SampleGrid& grid,
                                                        const RasterWindow& window);
/** The positions of the grid's rows, from north to south. */
[[nodiscard]] std::vector<CellPosition> rowPositions(const RasterFrame& raster, const SampleGrid& grid,
                                                     const RasterWindow& window);

} // namespace mvgeo

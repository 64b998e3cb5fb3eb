#pragma once

#include "sample/CityLayout.h"

#include <osg/Vec3d>

#include <vector>

namespace mvgeo::sample
{
/** Sun and sky over one part of the city: what is in cast shadow and how much of the sky a place sees.
 *
 * Built from a raster of the surface with everything on it. A sweep away from the sun carries the upper edge of the
 * shadow along, so every height above a raster cell can be asked, walls included.
 *
 * Thread: any, it never changes after its construction. Memory: about 9 bytes for each 0.25 m cell. */
class CityLight
{
public:
    /** Lights a part of the city; what stands within kReach metres around it casts shadows into it. */
    CityLight(const CityLayout& city, const Rect& part);

    static constexpr double kReach = 80.0;

    /** The colour of a surface in the light of a summer afternoon. The normal has unit length; place is in metres. */
    [[nodiscard]] Colour shade(const Colour& albedo, const osg::Vec3d& place, const osg::Vec3d& normal) const;

    /** Towards the sun, unit length. */
    [[nodiscard]] static osg::Vec3d sun();

private:
    void rasterGround(const CityPlan& plan);
    void rasterBoxes(const std::vector<Box>& boxes);
    void rasterTrees(const CityPlan& plan, const std::vector<Tree>& trees);
    void sweepShadow();
    void blurSurface();

    /** Fits a rectangle to the raster's cells: first and last column and row, the last one excluded. */
    struct CellWindow
    {
        int firstColumn, firstRow, endColumn, endRow;
    };
    [[nodiscard]] CellWindow cellsOver(const Rect& rect) const;
    [[nodiscard]] std::size_t cellIndex(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(_columns) + static_cast<std::size_t>(column);
    }
    /** Lifts the surface to heightAt(x, y) where that is higher. */
    template <typename HeightAt>
    void raise(const Rect& around, const HeightAt& heightAt);
    [[nodiscard]] static float sample(const std::vector<float>& raster, int columns, int rows, double column,
                                      double row);

    Rect _area;
    int _columns = 0, _rows = 0;
    int _blurColumns = 0, _blurRows = 0;
    std::vector<float> _surface;    // metres, the upper side of everything
    std::vector<float> _shadowEdge; // metres, below it the sun is hidden
    std::vector<float> _blurred;    // the surface averaged over some metres, in cells of 1 m
};
} // namespace mvgeo::sample

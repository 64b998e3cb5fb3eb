#include "readerwriterthreedimg/TileSurface.h"

#include "readerwriterthreedimg/ElevationSampler.h"
#include "readerwriterthreedimg/VertexNormals.h"

#include <cmath>

namespace mvgeo
{

namespace
{

/** The distance of posts at one depth of a pyramid. Two tiles of a depth differ in their width by the rounding of their
 * edges; what they share must be laid out with one number. */
double sharedSpacing(double tileSize, int posts, int lod, double rootSize)
{
    const double nominal = std::ldexp(rootSize, -lod);
    const bool isOfThisRoot = std::abs(nominal - tileSize) <= 1e-6 * tileSize;
    return (isOfThisRoot ? nominal : tileSize) / (posts - 1);
}

/** Which posts of the tile a strip's middle line replaces: `count` of them, `step` apart, from `first` on. */
struct Edge
{
    std::size_t first;
    std::size_t step;
    std::size_t count;
};

class EdgeReader
{
public:
    EdgeReader(ImageHeader& header, GDALDataset& dataset, const TerrainTileInfo& info, TileSurface& surface)
        : _header(header),
          _dataset(dataset),
          _info(info),
          _surface(surface),
          _dx(sharedSpacing(info.endX - info.startX, info.demWidth, info.lod,
                            rootSquareOf(info).side * info.demResolutionX)),
          _dy(sharedSpacing(info.endY - info.startY, info.demHeight, info.lod,
                            rootSquareOf(info).side * info.demResolutionY))
    {
    }

    /** In an order that leaves the corners to the western and eastern strips. */
    void readAll()
    {
        const auto columns = static_cast<std::size_t>(_info.demWidth);
        const auto rows = static_cast<std::size_t>(_info.demHeight);
        replace(alongX(_info.endY), {0, 1, columns}, 1, _info.demWidth + 2);
        replace(alongX(_info.startY), {(rows - 1) * columns, 1, columns}, 1, _info.demWidth + 2);
        replace(alongY(_info.startX), {0, columns, rows}, 3, 1);
        replace(alongY(_info.endX), {columns - 1, columns, rows}, 3, 1);
    }

private:
    /** A strip of three rows around the parallel `y`, one post longer than the tile at both ends. */
    [[nodiscard]] SampleGrid alongX(double y) const
    {
        SampleGrid strip = postsOf(_info);
        strip.columns += 2;
        strip.rows = 3;
        strip.startX -= _dx;
        strip.endX += _dx;
        strip.startY = y - _dy;
        strip.endY = y + _dy;
        return strip;
    }

    [[nodiscard]] SampleGrid alongY(double x) const
    {
        SampleGrid strip = postsOf(_info);
        strip.columns = 3;
        strip.rows += 2;
        strip.startX = x - _dx;
        strip.endX = x + _dx;
        strip.startY -= _dy;
        strip.endY += _dy;
        return strip;
    }

    /** Puts the strip's middle line, without its two ends, in the place of the edge. The line's posts lie `stride`
     * apart in the strip, from `lineStart` on. */
    void replace(const SampleGrid& strip, const Edge& edge, std::size_t stride, int lineStart)
    {
        const std::optional<ElevationGrid> grid = sampleDemPosts(_header, _dataset, strip);
        if (!grid) return;
        std::vector<osg::Vec3d> normals;
        if (!_surface.normals.empty())
            normals = computeVertexNormals(*grid, static_cast<float>(_dx), static_cast<float>(_dy), _header.noData());
        for (std::size_t i = 0; i < edge.count; ++i)
        {
            const std::size_t from = static_cast<std::size_t>(lineStart) + (i + 1) * stride;
            const std::size_t to = edge.first + i * edge.step;
            _surface.grid.heights[to] = grid->heights[from];
            if (!normals.empty()) _surface.normals[to] = normals[from];
        }
    }

    ImageHeader& _header;
    GDALDataset& _dataset;
    const TerrainTileInfo& _info;
    TileSurface& _surface;
    double _dx;
    double _dy;
};

} // namespace

TileSurface flatSurface(const TerrainTileInfo& info, float height, bool wantNormals)
{
    TileSurface surface;
    surface.grid = ElevationGrid(info.demWidth, info.demHeight, height);
    if (wantNormals) surface.normals.assign(surface.grid.heights.size(), osg::Vec3d(0.0, 0.0, 1.0));
    return surface;
}

std::optional<TileSurface> readDemWithEdges(ImageHeader* demHeader, GDALDataset* demDataset,
                                            const TerrainTileInfo& info, bool wantNormals)
{
    if (!demHeader || !demDataset) return std::nullopt;
    std::optional<ElevationGrid> grid = sampleDemGrid(*demHeader, *demDataset, info);
    if (!grid) return std::nullopt;

    TileSurface surface;
    surface.grid = std::move(*grid);
    if (wantNormals)
        surface.normals = computeVertexNormals(surface.grid, static_cast<float>(info.postSpacingX()),
                                               static_cast<float>(info.postSpacingY()), demHeader->noData());
    EdgeReader(*demHeader, *demDataset, info, surface).readAll();
    return surface;
}

} // namespace mvgeo

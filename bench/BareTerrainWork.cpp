#include "BareTerrainWork.h"

#include "RatioTimer.h"

#include "support/VisitorGeometry.h"

#include <osgDB/FileNameUtils>
#include <osgDB/WriteFile>

#include <algorithm>
#include <stdexcept>

namespace mvgeo::bench
{

namespace
{

constexpr unsigned int kQuadrants = 4;

GDALDatasetUniquePtr openRaster(const std::string& path)
{
    GDALDatasetUniquePtr raster(GDALDataset::Open(path.c_str()));
    if (!raster) throw std::runtime_error("cannot open " + path);
    return raster;
}

RasterFrame frameOf(GDALDataset& raster)
{
    std::array<double, 6> transform{};
    raster.GetGeoTransform(transform.data());
    return {transform[0], transform[3], transform[1], transform[5], raster.GetRasterXSize(), raster.GetRasterYSize()};
}

SampleGrid imageGrid(const TerrainTileInfo& tile)
{
    return {tile.startX, tile.startY, tile.endX, tile.endY, tile.imageWidth, tile.imageHeight};
}

/** The tile's posts, and the four strips of three lines across its edges. */
std::vector<SampleGrid> demGrids(const TerrainTileInfo& tile)
{
    const double dx = tile.postSpacingX();
    const double dy = tile.postSpacingY();
    const int columns = tile.demWidth + 2;
    const int rows = tile.demHeight + 2;
    const auto alongX = [&](double y)
    { return SampleGrid{tile.startX - dx, y - dy, tile.endX + dx, y + dy, columns, 3}; };
    const auto alongY = [&](double x) { return SampleGrid{x - dx, tile.startY - dy, x + dx, tile.endY + dy, 3, rows}; };
    return {{tile.startX, tile.startY, tile.endX, tile.endY, tile.demWidth, tile.demHeight},
            alongX(tile.endY),
            alongX(tile.startY),
            alongY(tile.startX),
            alongY(tile.endX)};
}

struct BufferSize
{
    int columns = 0;
    int rows = 0;
    int rowLength = 0; // in cells
};

void readBare(GDALDataset& raster, const RasterWindow& window, const BufferSize& size, GDALDataType type,
              std::vector<int> bands, void* buffer)
{
    GDALRasterIOExtraArg extra;
    INIT_RASTERIO_EXTRA_ARG(extra);
    extra.eResampleAlg = GRIORA_Bilinear; // where the buffer has another size than the window
    extra.bFloatingPointWindowValidity = TRUE;
    extra.dfXOff = window.x.first;
    extra.dfYOff = window.y.first;
    extra.dfXSize = window.x.pixels;
    extra.dfYSize = window.y.pixels;
    const auto valueSize = static_cast<GSpacing>(GDALGetDataTypeSizeBytes(type));
    const GSpacing cellSize = valueSize * static_cast<GSpacing>(bands.size());
    const CPLErr error = raster.RasterIO(GF_Read, window.x.first, window.y.first, window.x.pixels, window.y.pixels,
                                         buffer, size.columns, size.rows, type, static_cast<int>(bands.size()),
                                         bands.data(), cellSize, cellSize * size.rowLength, valueSize, &extra);
    if (error != CE_None) throw std::runtime_error(CPLGetLastErrorMsg());
}

} // namespace

TerrainTileInfo infoOf(osg::Node& pagedNode)
{
    TerrainTileInfo info;
    readTileInfo(pagedNode, info);
    return info;
}

BareTerrainWork::BareTerrainWork(const TerrainFiles& files, int deepest) : _files(files)
{
    addSamples(files, deepest);
    const Handles handles = openRasters();
    _demFrame = frameOf(*handles.dem);
    _domFrame = frameOf(*handles.dom);

    const TerrainTileInfo root = infoOf(*_samples[0].front().node);
    Step step{0, "terrain.osgb", {}, {}};
    addTile(root, step);
    _steps.push_back(step);
    addSteps(root, deepest);

    std::size_t largest = 0;
    for (const Step& known : _steps)
        for (const Read& read : known.reads)
            largest = std::max(
                {largest, static_cast<std::size_t>(read.window.x.cells) * static_cast<std::size_t>(read.window.y.cells),
                 static_cast<std::size_t>(read.columns) * static_cast<std::size_t>(read.rows)});
    _buffer.resize(largest * sizeof(float));
}

void BareTerrainWork::addSamples(const TerrainFiles& files, int deepest)
{
    _samples.resize(static_cast<std::size_t>(deepest) + 1);
    for (unsigned int quadrant = 0; quadrant < kQuadrants; ++quadrant)
    {
        const std::vector<osg::ref_ptr<osg::Node>> branch = terrainBranch(files, quadrant, deepest);
        for (std::size_t depth = 0; depth < branch.size(); ++depth)
        {
            Sample sample{branch[depth], {}};
            VisitorGeometry collector;
            sample.node->accept(collector);
            for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
                sample.images.emplace_back(textureOf(*geometry)->getImage());
            _samples[depth].push_back(sample);
        }
    }
}

void BareTerrainWork::addSteps(const TerrainTileInfo& parent, int deepest)
{
    if (parent.lod == deepest) return;
    Step step;
    step.depth = parent.lod + 1;
    step.name = osgDB::getSimpleFileName(osgDB::getNameLessExtension(childFileName(parent)));
    std::vector<TerrainTileInfo> children(kQuadrants);
    for (unsigned int quadrant = 0; quadrant < kQuadrants; ++quadrant)
        if (childTileInfo(parent, quadrant, children[quadrant])) addTile(children[quadrant], step);
    _steps.push_back(step);
    for (const TerrainTileInfo& child : children)
        addSteps(child, deepest);
}

void BareTerrainWork::addTile(const TerrainTileInfo& tile, Step& step) const
{
    for (const SampleGrid& grid : demGrids(tile))
        if (const std::optional<RasterWindow> window = windowOver(_demFrame, grid))
            step.reads.push_back({false, *window, grid.columns, grid.rows});
    if (const std::optional<RasterWindow> window = windowOver(_domFrame, imageGrid(tile)))
        step.reads.push_back({true, *window, tile.imageWidth, tile.imageHeight});
    step.textureNames.push_back(osgDB::getSimpleFileName(domImageName(tile)));
}

BareTerrainWork::Handles BareTerrainWork::openRasters() const
{
    return {openRaster(_files.dem), openRaster(_files.dom)};
}

void BareTerrainWork::doReads(const Step& step, const Handles& handles, Samples samples)
{
    for (const Read& read : step.reads)
    {
        const RasterWindow& window = read.window;
        const BufferSize size = samples == Samples::cells
                                    ? BufferSize{window.x.cellsRead, window.y.cellsRead, window.x.cells}
                                    : BufferSize{read.columns, read.rows, read.columns};
        if (read.isDom)
            readBare(*handles.dom, window, size, GDT_Byte, {1, 2, 3}, _buffer.data());
        else
            readBare(*handles.dem, window, size, GDT_Float32, {1}, _buffer.data());
    }
}

void BareTerrainWork::doWrites(const Step& step, const std::string& directory, std::size_t number) const
{
    const std::vector<Sample>& samples = _samples[static_cast<std::size_t>(step.depth)];
    const Sample& sample = samples[number % samples.size()];
    if (!osgDB::writeNodeFile(*sample.node, directory + '/' + step.name))
        throw std::runtime_error("cannot write to " + directory);
    for (std::size_t i = 0; i < step.textureNames.size(); ++i)
        osgDB::writeImageFile(*sample.images.at(i), directory + '/' + step.textureNames[i]);
}

DepthSeconds BareTerrainWork::readAs(Samples samples)
{
    DepthSeconds seconds{};
    const Handles handles = openRasters();
    for (const Step& step : _steps)
        seconds[static_cast<std::size_t>(step.depth)] +=
            RatioTimer::secondsOfCpu([&] { doReads(step, handles, samples); });
    return seconds;
}

DepthSeconds BareTerrainWork::read()
{
    return readAs(Samples::cells);
}

DepthSeconds BareTerrainWork::readBlended()
{
    return readAs(Samples::ofTheTile);
}

DepthSeconds BareTerrainWork::readAndWrite(const std::string& directory)
{
    DepthSeconds seconds{};
    const Handles handles = openRasters();
    std::size_t number = 0;
    for (const Step& step : _steps)
        seconds[static_cast<std::size_t>(step.depth)] += RatioTimer::secondsOfCpu(
            [&]
            {
                doReads(step, handles, Samples::cells);
                doWrites(step, directory, number++);
            });
    return seconds;
}

} // namespace mvgeo::bench

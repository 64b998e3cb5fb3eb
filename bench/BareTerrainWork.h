#pragma once

#include "TerrainWalk.h"

#include "readerwriterthreedimg/RasterWindow.h"
#include "readerwriterthreedimg/TerrainTileInfo.h"

#include <osg/Image>

#include <gdal_priv.h>

#include <string>
#include <vector>

namespace mvgeo::bench
{

/** The yardstick for making tiles: what a terrain's tiles cannot do without, and nothing else. In the order of
 * walkTerrain(), the same raster reads into one buffer, and OSG's own writing of files that equal the tiles'.
 */
class BareTerrainWork
{
public:
    BareTerrainWork(const TerrainFiles& files, int deepest);

    /** The reads alone, through handles opened for this call. */
    DepthSeconds read();
    /** The same windows, which GDAL itself blends into as many samples as the tiles have. */
    DepthSeconds readBlended();
    /** The reads; and each group of four as an ".osgb" file and its textures as ".jpeg" files. */
    DepthSeconds readAndWrite(const std::string& directory);

private:
    struct Read
    {
        bool isDom = false;
        RasterWindow window;
        int columns = 0; // of the tile's samples in it
        int rows = 0;
    };
    enum class Samples
    {
        cells,
        ofTheTile
    };
    /** What one request makes. */
    struct Step
    {
        int depth = 0;
        std::string name;
        std::vector<std::string> textureNames;
        std::vector<Read> reads;
    };
    /** Built tiles of one request, to be written under many names. */
    struct Sample
    {
        osg::ref_ptr<osg::Node> node;
        std::vector<osg::ref_ptr<osg::Image>> images;
    };
    struct Handles
    {
        GDALDatasetUniquePtr dem;
        GDALDatasetUniquePtr dom;
    };

    void addSamples(const TerrainFiles& files, int deepest);
    void addSteps(const TerrainTileInfo& parent, int deepest);
    void addTile(const TerrainTileInfo& tile, Step& step) const;
    [[nodiscard]] Handles openRasters() const;
    void doReads(const Step& step, const Handles& handles, Samples samples);
    DepthSeconds readAs(Samples samples);
    void doWrites(const Step& step, const std::string& directory, std::size_t number) const;

    TerrainFiles _files;
    RasterFrame _demFrame;
    RasterFrame _domFrame;
    std::vector<Step> _steps;
    std::vector<std::vector<Sample>> _samples; // by depth
    std::vector<unsigned char> _buffer;
};

/** The description of a tile that is a paged node. */
[[nodiscard]] TerrainTileInfo infoOf(osg::Node& pagedNode);

} // namespace mvgeo::bench

#pragma once

#include <osg/Object>
#include <osg/PagedLOD>

#include <string>

/** Describes one tile of a terrain: everything that is needed to build it. Copied by value.
 *
 * Frame: the rasters' own coordinate system and unit. Samples lie on both edges of the tile, so that neighbours share
 * those on their common edge. It travels as user values on read options and paged nodes (readTileInfo, storeTileInfo);
 * minZ and maxZ do not: they live only while the tile is being built.
 */
struct TerrainTileInfo
{
    int imageWidth = 0; ///< samples of the ortho-image across the tile: the texture's width
    int imageHeight = 0;
    int demWidth = 0; ///< posts of the elevation grid across the tile
    int demHeight = 0;
    double startX = 0.0; ///< west edge
    double startY = 0.0; ///< south edge
    double endX = 0.0;
    double endY = 0.0;
    double minZ = 0.0; ///< lowest and highest elevation of the built tile
    double maxZ = 0.0;
    double offsetX = 0.0; ///< the terrain's local origin, to which vertices are relative
    double offsetY = 0.0;
    int lod = 0;                 ///< depth in the pyramid, 0 for the root
    int x = 0;                   ///< column at this depth, 0 in the west
    int y = 0;                   ///< row at this depth, 0 in the south
    double demResolutionX = 0.0; ///< pixel size of the DEM, both positive
    double demResolutionY = 0.0;
    double rootXmin = 0.0; ///< the DEM's real extent, without the padding of the square root tile
    double rootYmin = 0.0;
    double rootXmax = 0.0;
    double rootYmax = 0.0;
    std::string demPath; ///< paths as OSG takes them
    std::string domPath;
    std::string cachePathDir; ///< folder of the tile cache
    bool normal = false;      ///< vertices get normals

    [[nodiscard]] double postSpacingX() const { return (endX - startX) / (demWidth - 1); }
    [[nodiscard]] double postSpacingY() const { return (endY - startY) / (demHeight - 1); }
};

namespace mvgeo
{

/** Fills `info` from the user values of options or of a node. A value that is absent or of another type leaves its
 * field as it was. Thread: any that may read the object. */
void readTileInfo(const osg::Object& object, TerrainTileInfo& info);

/** Adds the description to an object that has none yet, in the order of the keys. */
void storeTileInfo(osg::Object& object, const TerrainTileInfo& info);

/** Installs new read options with the description on a paged node; no two nodes share options. */
void setTileOptions(osg::PagedLOD& node, const TerrainTileInfo& info);

/** The root tile's square, in pixels of the DEM: the raster's rows or columns are padded on both sides, and an odd
 * pixel goes south or east. */
struct RootSquare
{
    RootSquare(double rasterColumns, double rasterRows);

    double side;
    double padWest;
    double padEast;
    double padNorth;
    double padSouth;
};

/** The square from what every tile of a pyramid inherits unchanged; its numbers are not finite if that cannot be. */
[[nodiscard]] RootSquare rootSquareOf(const TerrainTileInfo& info);

/** The description of one of the four quarters: 0 south-west, 1 south-east, 2 north-west, 3 north-east. False, with
 * `child` left alone, for a quadrant above 3. */
[[nodiscard]] bool childTileInfo(const TerrainTileInfo& parent, unsigned int quadrant, TerrainTileInfo& child);

/** The path that stands for the four children of a tile; no such file exists. */
[[nodiscard]] std::string childFileName(const TerrainTileInfo& info);

/** The path of the tile's texture in the image cache. */
[[nodiscard]] std::string domImageName(const TerrainTileInfo& info);

/** Keys of the values on read options that are no part of the description. */
namespace keys
{
inline const std::string lod = "lod";                       ///< int; its presence tells a child request from a root's
inline const std::string parentGeometry = "ParentGeometry"; ///< a GeometryContainer
inline const std::string domPath = "domPath";
inline const std::string demPath = "demPath";
inline const std::string domHeader = "domHeader"; ///< plugin data: the model's ImageHeader, null if it has none
inline const std::string demHeader = "demHeader";
} // namespace keys

} // namespace mvgeo

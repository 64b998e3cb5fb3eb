#pragma once

#include <osg/Image>
#include <osg/Node>
#include <osg/Texture2D>

#include <string>
#include <vector>

/** How a pyramid is to be built. */
struct TilePyramidOptions
{
    enum class RangeMode
    {
        pixelSize,
        distance
    };
    enum class Textures
    {
        none,
        embedded, ///< pixels in the tile, with the name "<tile>.png" of a file that does not exist
        named,    ///< pixels in a file beside the tile
        unnamed   ///< pixels in the tile, without any name
    };
    enum class RootKind
    {
        pagedLod,
        group, ///< a group with the paged node in it
        geode, ///< one level only, whatever `levels` says
        emptyNode
    };

    int levels = 3;
    int rootTiles = 1;
    int childrenPerTile = 4; ///< 4: quadrants; 1: a chain of tiles with equal bounds
    RangeMode rangeMode = RangeMode::pixelSize;
    /** Pixels of a tile's radius above which its child replaces it, or metres of distance below which it does. */
    float threshold = 200.0F;
    Textures textures = Textures::embedded;
    int indexBits = 32;                ///< 8, 16 or 32
    bool addsUntextured = false;       ///< a second, untextured geometry beside each textured one
    bool hasTransform = false;         ///< a MatrixTransform that lifts by 100 between geode and geometry
    bool transformAbovePaging = false; ///< a MatrixTransform that lifts by 100 above each root file's paged node
    bool isCompressed = false;         ///< zlib
    RootKind rootKind = RootKind::pagedLod;
};

/** Writes real tile files:
 *
 *     <folder>/Tile_<r>/Tile_<r>.osgb                       level 0: the whole square
 *     <folder>/Tile_<r>/Tile_<r>_L1.osgb                    level 1: a group of its quadrants
 *     <folder>/Tile_<r>/Tile_<r>_L2_<q>.osgb                level 2: a group of the quadrants of quadrant q, and so on
 *
 * Tile r covers x from 100 r to 100 r + 100 and y from 0 to 100; level n lies at z = n. Its four vertices run from the
 * south-west corner counter-clockwise, and its two triangles are 0 1 2 and 0 2 3. Every texture is 8 x 4 pixels of RGB
 * in one colour, see colourOf(). The content node of quadrant q in a file is the q-th that is tagged there.
 */
class TilePyramid
{
public:
    explicit TilePyramid(std::string folder, const TilePyramidOptions& options = {});

    [[nodiscard]] std::string rootFile(int rootTile = 0) const;
    /** All files, root files first, each before its children. */
    [[nodiscard]] const std::vector<std::string>& files() const { return _files; }
    /** The file of a tile below root tile 0: "" is the root, "_L1", "_L2_3". */
    [[nodiscard]] std::string file(const std::string& suffix) const;

    /** Writes an index file without geometry that names the root files with back-slashes. @return its path */
    [[nodiscard]] std::string writeIndexFile(const std::string& name = "index.osgb") const;

private:
    void writeRoot(int rootTile);
    void writeChildren(int rootTile, int level, const std::string& parentPath, double x, double y, double size);
    [[nodiscard]] osg::ref_ptr<osg::Node> content(int rootTile, const std::string& suffix, int level, double x,
                                                  double y, double size) const;
    [[nodiscard]] osg::ref_ptr<osg::Node> paged(const osg::ref_ptr<osg::Node>& inlineChild,
                                                const std::string& childFile, double x, double y, double size,
                                                int level) const;
    void write(const osg::Node& node, int rootTile, const std::string& suffix);

    std::string _folder;
    TilePyramidOptions _options;
    std::vector<std::string> _files;
};

/** A square of two triangles at height z, lying in the x-y plane; with texture coordinates, without texture. */
[[nodiscard]] osg::ref_ptr<osg::Geometry> makeSquare(double x, double y, double z, double size, int indexBits = 32);

/** 8 x 4 pixels of one colour. */
[[nodiscard]] osg::ref_ptr<osg::Image> makeImage(const std::string& fileName, unsigned char red, unsigned char green,
                                                 unsigned char blue);

/** The RGB of the texture of a tile: its level, and the whole-number coordinates of its south-west corner. */
[[nodiscard]] std::vector<unsigned char> colourOf(int level, double x, double y);

/** Writes a scene as a tile. Images with pixels are stored in the file unless `imagesBeside`. */
void writeTile(const osg::Node& node, const std::string& path, bool isCompressed = false, bool imagesBeside = false);

#include "readerwriterthreedimg/TileGeometry.h"

#include <osg/Texture2D>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace mvgeo
{

namespace
{

constexpr unsigned int kNone = std::numeric_limits<unsigned int>::max();
constexpr float kSkirtPartOfDiagonal = 0.02F; // the tile's

/** First and last post on an axis that lies inside the DEM's extent; tells also posts that lie on its edge but for the
 * rounding of the division. */
struct PostRange
{
    int first = 0;
    int last = -1;

    PostRange(double low, double high, int count)
    {
        constexpr double kRounding = 1e-6;
        const double lastPost = count - 1;
        if (!(low <= lastPost + kRounding && high >= -kRounding)) return;
        first = static_cast<int>(std::ceil(std::max(low - kRounding, 0.0)));
        last = static_cast<int>(std::floor(std::min(high + kRounding, lastPost)));
    }
};

/** Posts are counted by column from the west and row from the south. */
class TileMesh
{
public:
    TileMesh(const TileSurface& surface, float demNoData, TerrainTileInfo& info)
        : _surface(surface),
          _noData(demNoData),
          _info(info),
          _dx(info.postSpacingX()),
          _dy(info.postSpacingY()),
          _columns((info.rootXmin - info.startX) / _dx, (info.rootXmax - info.startX) / _dx, info.demWidth),
          _rows((info.rootYmin - info.startY) / _dy, (info.rootYmax - info.startY) / _dy, info.demHeight),
          _indexOfPost(surface.grid.heights.size(), kNone)
    {
        const std::size_t borderPosts = 2U * static_cast<std::size_t>(info.demWidth + info.demHeight);
        const std::size_t vertexCount = _indexOfPost.size() + borderPosts;
        _vertices->reserve(vertexCount);
        _texCoords->reserve(vertexCount);
        if (hasNormals()) _normals->reserve(vertexCount);
        _triangles->reserve((6U * static_cast<std::size_t>(info.demWidth) - 6U) *
                                static_cast<std::size_t>(info.demHeight - 1) +
                            6U * borderPosts);
    }

    osg::ref_ptr<osg::Geometry> build()
    {
        addSurfaceVertices();
        addSurfaceTriangles();
        addSkirts();

        osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
        geometry->setVertexArray(_vertices);
        if (hasNormals()) geometry->setNormalArray(_normals, osg::Array::BIND_PER_VERTEX);
        geometry->setTexCoordArray(0, _texCoords, osg::Array::BIND_PER_VERTEX);
        geometry->addPrimitiveSet(_triangles);
        return geometry;
    }

private:
    [[nodiscard]] bool hasNormals() const { return !_surface.normals.empty(); }

    [[nodiscard]] std::size_t postIndex(int column, int row) const
    {
        return _surface.grid.index(column, _info.demHeight - 1 - row);
    }

    [[nodiscard]] unsigned int vertexAt(int column, int row) const { return _indexOfPost[postIndex(column, row)]; }

    void addSurfaceVertices()
    {
        _info.minZ = std::numeric_limits<float>::max();
        _info.maxZ = -_info.minZ;
        for (int row = _rows.first; row <= _rows.last; ++row)
            for (int column = _columns.first; column <= _columns.last; ++column)
                addSurfaceVertex(column, row);
        if (_info.minZ > _info.maxZ)
        {
            _info.minZ = -1.0;
            _info.maxZ = 1.0;
        }
    }

    void addSurfaceVertex(int column, int row)
    {
        const std::size_t post = postIndex(column, row);
        const float height = _surface.grid.heights[post];
        const float z = isNoData(height, _noData) ? 0.0F : height;
        // The last ones are taken as they are: the sum of the steps may miss the neighbour's first by its rounding.
        const double x = column == _info.demWidth - 1 ? _info.endX : _info.startX + column * _dx;
        const double y = row == _info.demHeight - 1 ? _info.endY : _info.startY + row * _dy;

        _indexOfPost[post] = static_cast<unsigned int>(_vertices->size());
        // Float from here on: small numbers only.
        _vertices->push_back(
            osg::Vec3(static_cast<float>(x - _info.offsetX), static_cast<float>(y - _info.offsetY), z));
        _texCoords->push_back(
            osg::Vec2(static_cast<float>(column) / static_cast<float>(_info.demWidth - 1),
                      static_cast<float>(_info.demHeight - 1 - row) / static_cast<float>(_info.demHeight - 1)));
        if (hasNormals()) _normals->push_back(osg::Vec3(_surface.normals[post]));
        _info.minZ = std::min(_info.minZ, static_cast<double>(z));
        _info.maxZ = std::max(_info.maxZ, static_cast<double>(z));
    }

    void addSurfaceTriangles()
    {
        for (int row = _rows.first; row < _rows.last; ++row)
            for (int column = _columns.first; column < _columns.last; ++column)
            {
                const unsigned int southWest = vertexAt(column, row);
                const unsigned int southEast = vertexAt(column + 1, row);
                const unsigned int northWest = vertexAt(column, row + 1);
                const unsigned int northEast = vertexAt(column + 1, row + 1);
                addTriangle(southWest, southEast, northWest);
                addTriangle(southEast, northEast, northWest);
            }
    }

    void addTriangle(unsigned int a, unsigned int b, unsigned int c)
    {
        _triangles->push_back(a);
        _triangles->push_back(b);
        _triangles->push_back(c);
    }

    /** Each border is walked with the tile on the left hand, so that its skirt faces outwards. */
    void addSkirts()
    {
        const int east = _info.demWidth - 1;
        const int north = _info.demHeight - 1;
        std::vector<unsigned int> border;
        for (int column = 0; column <= east; ++column)
            border.push_back(vertexAt(column, 0));
        hangSkirt(border);
        for (int row = 0; row <= north; ++row)
            border.push_back(vertexAt(east, row));
        hangSkirt(border);
        for (int column = east; column >= 0; --column)
            border.push_back(vertexAt(column, north));
        hangSkirt(border);
        for (int row = north; row >= 0; --row)
            border.push_back(vertexAt(0, row));
        hangSkirt(border);
    }

    /** Empties the border afterwards; posts without a vertex part it. */
    void hangSkirt(std::vector<unsigned int>& border)
    {
        unsigned int previous = kNone;
        unsigned int previousLow = kNone;
        for (const unsigned int vertex : border)
        {
            const unsigned int low = vertex == kNone ? kNone : addLowered(vertex);
            if (vertex != kNone && previous != kNone)
            {
                addTriangle(previous, previousLow, low);
                addTriangle(previous, low, vertex);
            }
            previous = vertex;
            previousLow = low;
        }
        border.clear();
    }

    unsigned int addLowered(unsigned int vertex)
    {
        osg::Vec3 position = (*_vertices)[vertex];
        constexpr double kLowest = std::numeric_limits<float>::lowest();
        position.z() = static_cast<float>(std::max(static_cast<double>(position.z()) - skirtDepth(), kLowest));
        _vertices->push_back(position);
        _texCoords->push_back(osg::Vec2((*_texCoords)[vertex]));
        if (hasNormals()) _normals->push_back(osg::Vec3((*_normals)[vertex]));
        return static_cast<unsigned int>(_vertices->size() - 1);
    }

    [[nodiscard]] double skirtDepth() const
    {
        const double width = _info.endX - _info.startX;
        const double height = _info.endY - _info.startY;
        const double relief = _info.maxZ - _info.minZ;
        return kSkirtPartOfDiagonal * std::sqrt(height * height + width * width + relief * relief);
    }

    const TileSurface& _surface;
    float _noData;
    TerrainTileInfo& _info;
    double _dx;
    double _dy;
    PostRange _columns;
    PostRange _rows;
    std::vector<unsigned int> _indexOfPost; // in the grid's order
    osg::ref_ptr<osg::Vec3Array> _vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec3Array> _normals = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> _texCoords = new osg::Vec2Array;
    osg::ref_ptr<osg::DrawElementsUInt> _triangles = new osg::DrawElementsUInt(GL_TRIANGLES);
};

} // namespace

osg::ref_ptr<osg::Image> makeTileImage(RgbPixels pixels, const TerrainTileInfo& info, const std::string& name)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->setImage(info.imageWidth, info.imageHeight, 1, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, pixels.release(),
                    osg::Image::USE_NEW_DELETE, 1); // the image deletes them
    image->setFileName(name);
    image->setWriteHint(osg::Image::STORE_INLINE);
    return image;
}

osg::ref_ptr<osg::Geometry> buildTileGeometry(const TileSurface& surface, float demNoData, TerrainTileInfo& info)
{
    return TileMesh(surface, demNoData, info).build();
}

void setTileTexture(osg::Geometry& geometry, osg::Image* image)
{
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    for (const osg::Texture::WrapParameter axis : {osg::Texture::WRAP_S, osg::Texture::WRAP_T, osg::Texture::WRAP_R})
        texture->setWrap(axis, osg::Texture::CLAMP_TO_EDGE);
    geometry.getOrCreateStateSet()->setTextureAttributeAndModes(0, texture, osg::StateAttribute::ON);
}

} // namespace mvgeo

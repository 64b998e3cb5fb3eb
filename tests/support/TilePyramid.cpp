#include "support/TilePyramid.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/MatrixTransform>
#include <osg/PagedLOD>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/WriteFile>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace
{

constexpr double kRootSize = 100.0;
constexpr float kUpperRange = 1e30F;

osg::ref_ptr<osg::DrawElements> makeIndices(int bits)
{
    if (bits == 8) return new osg::DrawElementsUByte(GL_TRIANGLES);
    if (bits == 16) return new osg::DrawElementsUShort(GL_TRIANGLES);
    return new osg::DrawElementsUInt(GL_TRIANGLES);
}

osg::ref_ptr<osg::MatrixTransform> lifted(const osg::ref_ptr<osg::Node>& node)
{
    osg::ref_ptr<osg::MatrixTransform> transform = new osg::MatrixTransform(osg::Matrixd::translate(0.0, 0.0, 100.0));
    transform->addChild(node);
    return transform;
}

std::string tileName(int rootTile)
{
    return "Tile_" + std::to_string(rootTile);
}

} // namespace

osg::ref_ptr<osg::Geometry> makeSquare(double x, double y, double z, double size, int indexBits)
{
    const auto corner = [&](double dx, double dy) { return osg::Vec3(osg::Vec3d(x + dx * size, y + dy * size, z)); };
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> texCoords = new osg::Vec2Array;
    for (const auto& [u, v] :
         {std::pair{0.0F, 0.0F}, std::pair{1.0F, 0.0F}, std::pair{1.0F, 1.0F}, std::pair{0.0F, 1.0F}})
    {
        vertices->push_back(corner(u, v));
        texCoords->push_back({u, v});
    }
    const osg::ref_ptr<osg::DrawElements> indices = makeIndices(indexBits);
    for (const unsigned int index : {0U, 1U, 2U, 0U, 2U, 3U})
        indices->addElement(index);

    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(vertices);
    geometry->setTexCoordArray(0, texCoords);
    geometry->addPrimitiveSet(indices);
    return geometry;
}

osg::ref_ptr<osg::Image> makeImage(const std::string& fileName, unsigned char red, unsigned char green,
                                   unsigned char blue)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(8, 4, 1, GL_RGB, GL_UNSIGNED_BYTE, 1);
    for (unsigned int i = 0; i < 32U; ++i)
    {
        image->data()[3U * i] = red;
        image->data()[3U * i + 1U] = green;
        image->data()[3U * i + 2U] = blue;
    }
    image->setFileName(fileName);
    return image;
}

std::vector<unsigned char> colourOf(int level, double x, double y)
{
    const auto byte = [](double value) { return static_cast<unsigned char>(std::lround(value) % 256); };
    return {byte(40.0 * level), byte(x), byte(y)};
}

void writeTile(const osg::Node& node, const std::string& path, bool isCompressed, bool imagesBeside)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setPluginStringData("WriteImageHint", imagesBeside ? "UseExternal" : "IncludeData");
    if (isCompressed) options->setPluginStringData("Compressor", "zlib");
    if (!osgDB::writeNodeFile(node, path, options)) throw std::runtime_error("cannot write " + path);
}

TilePyramid::TilePyramid(std::string folder, const TilePyramidOptions& options)
    : _folder(std::move(folder)), _options(options)
{
    for (int rootTile = 0; rootTile < _options.rootTiles; ++rootTile)
    {
        osgDB::makeDirectory(_folder + '/' + tileName(rootTile));
        writeRoot(rootTile);
    }
    for (int rootTile = 0; rootTile < _options.rootTiles && _options.levels > 1; ++rootTile)
        if (_options.rootKind == TilePyramidOptions::RootKind::pagedLod ||
            _options.rootKind == TilePyramidOptions::RootKind::group)
            writeChildren(rootTile, 1, "", kRootSize * rootTile, 0.0, kRootSize);
}

std::string TilePyramid::rootFile(int rootTile) const
{
    return _folder + '/' + tileName(rootTile) + '/' + tileName(rootTile) + ".osgb";
}

std::string TilePyramid::file(const std::string& suffix) const
{
    return _folder + "/Tile_0/Tile_0" + suffix + ".osgb";
}

void TilePyramid::writeRoot(int rootTile)
{
    using Kind = TilePyramidOptions::RootKind;
    const double x = kRootSize * rootTile;
    osg::ref_ptr<osg::Node> root = _options.rootKind == Kind::emptyNode ? osg::ref_ptr<osg::Node>(new osg::Node)
                                                                        : content(rootTile, "", 0, x, 0.0, kRootSize);
    const bool isPaged = _options.rootKind == Kind::pagedLod || _options.rootKind == Kind::group;
    if (isPaged && _options.levels > 1) root = paged(root, tileName(rootTile) + "_L1.osgb", x, 0.0, kRootSize, 0);
    if (_options.rootKind == Kind::group)
    {
        const osg::ref_ptr<osg::Group> group = new osg::Group;
        group->addChild(root);
        root = group;
    }
    if (_options.transformAbovePaging) root = lifted(root);
    write(*root, rootTile, "");
}

void TilePyramid::writeChildren(int rootTile, int level, const std::string& parentPath, double x, double y, double size)
{
    const std::string suffix = "_L" + std::to_string(level) + (parentPath.empty() ? "" : "_" + parentPath);
    const bool isChain = _options.childrenPerTile == 1;
    const double childSize = isChain ? size : 0.5 * size;
    const bool isLast = level + 1 >= _options.levels;

    const osg::ref_ptr<osg::Group> group = new osg::Group;
    for (int quadrant = 0; quadrant < _options.childrenPerTile; ++quadrant)
    {
        const double cx = x + (quadrant % 2) * childSize;
        const double cy = y + (quadrant / 2) * childSize;
        const std::string path = parentPath + std::to_string(quadrant);
        const std::string child = tileName(rootTile) + "_L" + std::to_string(level + 1) + '_' + path + ".osgb";
        osg::ref_ptr<osg::Node> node =
            content(rootTile, suffix + '_' + std::to_string(quadrant), level, cx, cy, childSize);
        if (!isLast) node = paged(node, child, cx, cy, childSize, level);
        group->addChild(node);
    }
    write(isChain ? *group->getChild(0) : *group, rootTile, suffix);
    if (isLast) return;
    for (int quadrant = 0; quadrant < _options.childrenPerTile; ++quadrant)
        writeChildren(rootTile, level + 1, parentPath + std::to_string(quadrant), x + (quadrant % 2) * childSize,
                      y + (quadrant / 2) * childSize, childSize);
}

osg::ref_ptr<osg::Node> TilePyramid::content(int rootTile, const std::string& suffix, int level, double x, double y,
                                             double size) const
{
    using Textures = TilePyramidOptions::Textures;
    const osg::ref_ptr<osg::Geometry> geometry = makeSquare(x, y, level, size, _options.indexBits);
    if (_options.textures != Textures::none)
    {
        const std::vector<unsigned char> colour = colourOf(level, x, y);
        const std::string name = _options.textures == Textures::unnamed ? "" : tileName(rootTile) + suffix + ".png";
        const osg::ref_ptr<osg::Image> image = makeImage(name, colour[0], colour[1], colour[2]);
        if (_options.textures == Textures::named)
            osgDB::writeImageFile(*image, _folder + '/' + tileName(rootTile) + '/' + name);
        const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
        geometry->getOrCreateStateSet()->setTextureAttributeAndModes(0, texture);
    }
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(geometry);
    if (_options.addsUntextured) geode->addDrawable(makeSquare(x, y, level + 0.5, size, _options.indexBits));
    if (_options.hasTransform) return lifted(geode);
    return geode;
}

osg::ref_ptr<osg::Node> TilePyramid::paged(const osg::ref_ptr<osg::Node>& inlineChild, const std::string& childFile,
                                           double x, double y, double size, int level) const
{
    const bool byDistance = _options.rangeMode == TilePyramidOptions::RangeMode::distance;
    osg::ref_ptr<osg::PagedLOD> lod = new osg::PagedLOD;
    lod->setRangeMode(byDistance ? osg::LOD::DISTANCE_FROM_EYE_POINT : osg::LOD::PIXEL_SIZE_ON_SCREEN);
    lod->setCenterMode(osg::LOD::USER_DEFINED_CENTER);
    lod->setCenter(osg::Vec3d(x + 0.5 * size, y + 0.5 * size, level));
    lod->setRadius(static_cast<float>(size * std::sqrt(0.5)));
    lod->addChild(inlineChild);
    lod->setFileName(1, childFile);
    lod->setRange(0, byDistance ? _options.threshold : 0.0F, byDistance ? kUpperRange : _options.threshold);
    lod->setRange(1, byDistance ? 0.0F : _options.threshold, byDistance ? _options.threshold : kUpperRange);
    return lod;
}

void TilePyramid::write(const osg::Node& node, int rootTile, const std::string& suffix)
{
    const std::string folder = _folder + '/' + tileName(rootTile) + '/';
    const std::string path = folder + tileName(rootTile) + suffix + ".osgb";
    const bool imagesBeside = _options.textures == TilePyramidOptions::Textures::named;
    writeTile(node, path, _options.isCompressed, imagesBeside);
    _files.push_back(path);
}

std::string TilePyramid::writeIndexFile(const std::string& name) const
{
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    for (int rootTile = 0; rootTile < _options.rootTiles; ++rootTile)
    {
        const osg::ref_ptr<osg::PagedLOD> lod = new osg::PagedLOD;
        lod->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
        lod->setCenterMode(osg::LOD::USER_DEFINED_CENTER);
        lod->setCenter(osg::Vec3d(kRootSize * (rootTile + 0.5), 0.5 * kRootSize, 0.0));
        lod->setRadius(static_cast<float>(kRootSize * std::sqrt(0.5)));
        lod->setFileName(0, tileName(rootTile) + '\\' + tileName(rootTile) + ".osgb");
        lod->setRange(0, 0.0F, kUpperRange);
        group->addChild(lod);
    }
    const std::string path = _folder + '/' + name;
    writeTile(*group, path);
    return path;
}

#include "sample/TileFile.h"

#include <osg/Geode>
#include <osg/PagedLOD>
#include <osg/Texture2D>
#include <osgDB/Registry>

#include <sstream>

namespace mvgeo::sample
{
namespace
{
osg::ref_ptr<osg::Geode> makeGeode(const TilePart& part)
{
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(part.mesh);
    return geode;
}

osg::ref_ptr<osg::Node> makePartNode(const TilePart& part)
{
    if (part.finerFile.empty()) return makeGeode(part);

    const osg::BoundingBox box = part.mesh->getBoundingBox();
    const auto threshold = static_cast<float>(part.switchPixels);
    osg::ref_ptr<osg::PagedLOD> paged = new osg::PagedLOD;
    paged->setCenterMode(osg::LOD::USER_DEFINED_CENTER);
    paged->setCenter(box.center());
    paged->setRadius(box.radius());
    paged->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    paged->addChild(makeGeode(part), 0.0F, threshold);
    paged->setFileName(0, "");
    paged->setFileName(1, part.finerFile);
    paged->setRange(1, threshold, 1.0e30F);
    return paged;
}
} // namespace

void applyTexture(osg::Geometry& mesh, osg::Image& image, const std::string& imageName)
{
    image.setFileName(imageName);
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(&image);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    mesh.getOrCreateStateSet()->setTextureAttributeAndModes(0, texture);
}

osg::ref_ptr<osg::Node> makeTileNode(const std::vector<TilePart>& parts)
{
    if (parts.size() == 1) return makePartNode(parts.front());

    osg::ref_ptr<osg::Group> group = new osg::Group;
    for (const TilePart& part : parts)
        group->addChild(makePartNode(part));
    return group;
}

host::WriteResult writeTileFile(const osg::Node& node, const std::string& path, TextureStorage textures)
{
    osgDB::ReaderWriter* writer = osgDB::Registry::instance()->getReaderWriterForExtension("osgb");
    if (!writer) return {"cannot write " + path + ": OpenSceneGraph's plug-in for osgb is not installed"};

    std::ostringstream stream(std::ios::binary);
    const osgDB::ReaderWriter::WriteResult written = writer->writeNode(node, stream, writeOptionsOf(textures));
    if (!written.success()) return {"cannot write " + path + ": " + written.message()};
    return host::writeWholeFile(stream.str(), path);
}
} // namespace mvgeo::sample

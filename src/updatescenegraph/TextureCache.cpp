#include "updatescenegraph/TextureCache.h"

#include "platform/Environment.h"
#include "support/ImageDigest.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osg/Image>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>

#include <atomic>
#include <cstdio>

namespace mvgeo
{

namespace
{

/** A name of its own for every writer, in the same directory and with the same extension, which chooses the writer. */
std::string temporaryName(const std::string& directory, const std::string& name)
{
    static std::atomic<unsigned int> counter{0};
    return directory + "/~" + std::to_string(platform::currentProcessId()) + '_' + std::to_string(counter++) + '_' +
           name;
}

void writeOnce(const osg::Image& image, const std::string& directory, const std::string& name)
{
    const std::string path = directory + '/' + name;
    if (!image.data() || osgDB::fileExists(path) || !osgDB::fileExists(directory)) return;

    const std::string temporary = temporaryName(directory, name);
    osgDB::Registry* registry = osgDB::Registry::instance();
    const bool written = registry->writeImage(image, temporary, registry->getOptions()).success();
    if (!written || std::rename(temporary.c_str(), path.c_str()) != 0) std::remove(temporary.c_str());
}

void cacheTexture(osg::Texture2D& texture, const std::string& directory)
{
    osg::Image* image = texture.getImage();
    if (!image) return;
    if (image->getFileName().empty())
        image->setFileName(imageDigest(image->data(), image->getTotalSizeInBytes()) + ".jpg");
    if (userValue<std::string>(texture, keys::imagePath)) return;

    const std::string name = osgDB::getSimpleFileName(image->getFileName());
    writeOnce(*image, directory, name);
    texture.setUserValue(keys::imagePath, directory + '/' + name);
}

} // namespace

void cacheTextures(osg::Node& tile, const std::string& directory)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        if (osg::Texture2D* texture = textureOf(*geometry)) cacheTexture(*texture, directory);
}

} // namespace mvgeo

#include "updatescenegraph/TextureCache.h"

#include "support/FileReplacement.h"
#include "support/ImageDigest.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osg/Image>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>

#include <sstream>

namespace mvgeo
{

namespace
{

/** The image in the format that the name's extension stands for; empty if there is no writer for it. In memory, because
 *  one of the toolkit's writers ends the process when the disk is full, and another does not notice. */
std::string encoded(const osg::Image& image, const std::string& name)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    osgDB::ReaderWriter* writer = registry->getReaderWriterForExtension(osgDB::getLowerCaseFileExtension(name));
    std::ostringstream bytes;
    if (!writer || !writer->writeImage(image, bytes, registry->getOptions()).success()) return {};
    return bytes.str();
}

void writeOnce(const osg::Image& image, const std::string& directory, const std::string& name)
{
    const std::string path = directory + '/' + name;
    if (!image.data() || osgDB::fileExists(path) || !osgDB::fileExists(directory)) return;
    const std::string bytes = encoded(image, name);
    if (bytes.empty()) return;

    replaceFile(directory, name, bytes.data(), bytes.size());
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

#include "updatescenegraph/TextureCache.h"

#include "readerwriterktx/KtxCopy.h"
#include "support/FileReplacement.h"
#include "support/ImageBytes.h"
#include "support/ImageDigest.h"
#include "support/UserValues.h"
#include "support/VisitorGeometry.h"

#include <osg/Image>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>

#include <algorithm>
#include <initializer_list>
#include <sstream>

namespace mvgeo
{

namespace
{

bool isKtx(const std::string& extension)
{
    return extension == "ktx" || extension == "ktx2";
}

bool isJpegName(const std::string& extension)
{
    return extension == "jpg" || extension == "jpeg";
}

bool isOneOf(GLenum format, std::initializer_list<GLenum> formats)
{
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

/** BC1 to BC3. */
bool isDxt(GLenum format)
{
    return isOneOf(format, {GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT,
                            GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT});
}

/** OSG's writer of DDS copies as many bytes as OSG counts, and knows no sRGB. */
bool isHeldByDds(const osg::Image& image)
{
    const GLenum format = image.getPixelFormat();
    return isDxt(format) && format == static_cast<GLenum>(image.getInternalTextureFormat()) &&
           image.getTotalSizeInBytesIncludingMipmaps() == imageBytes(image);
}

/** Whether a file with this ending gives the image back as it is, or as JPEG nearly so: not where blocks would be
 * decoded, or alpha left out. */
bool isHeldBy(const std::string& extension, const osg::Image& image)
{
    if (isKtx(extension)) return true;
    if (image.isCompressed()) return extension == "dds" && isHeldByDds(image);
    if (image.getDataType() != GL_UNSIGNED_BYTE) return false;
    const GLenum format = image.getPixelFormat();
    if (extension == "png") return isOneOf(format, {GL_RGB, GL_RGBA, GL_LUMINANCE, GL_LUMINANCE_ALPHA});
    if (isJpegName(extension)) return isOneOf(format, {GL_RGB, GL_LUMINANCE});
    return format == GL_RGB && osgDB::Registry::instance()->getReaderWriterForExtension(extension);
}

/** Whether OSG's writer takes the pixels for what they are: most take any for RGB or RGBA, and read behind smaller
 * ones.
 */
bool isUnderstoodBy(const std::string& extension, const osg::Image& image)
{
    if (extension == "png" || extension == "dds") return true;
    if (isJpegName(extension)) return isHeldBy(extension, image);
    constexpr unsigned int kBitsOfRgb = 24;
    return image.getPixelSizeInBits() >= kBitsOfRgb;
}

bool canBeDecoded(const osg::Image& image)
{
    const GLenum format = image.getPixelFormat();
    if (image.isCompressed()) return isDxt(format);
    return isOneOf(image.getDataType(), {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT}) &&
           isOneOf(format, {GL_RED, GL_ALPHA, GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA, GL_BGR, GL_BGRA});
}

/** The image as RGBA, or RGB where JPEG is to hold it; null if its pixels cannot be told. */
osg::ref_ptr<osg::Image> decoded(const osg::Image& image, const std::string& extension)
{
    if (!canBeDecoded(image)) return nullptr;
    const bool isJpeg = isJpegName(extension);
    osg::ref_ptr<osg::Image> pixels = new osg::Image;
    pixels->allocateImage(image.s(), image.t(), 1, isJpeg ? GL_RGB : GL_RGBA, GL_UNSIGNED_BYTE);
    for (unsigned int row = 0; row < static_cast<unsigned int>(image.t()); ++row)
        for (unsigned int column = 0; column < static_cast<unsigned int>(image.s()); ++column)
            pixels->setColor(image.getColor(column, row), column, row);
    return pixels;
}

/** The image in a form that the writers of this extension take as it is; null if there is none. */
osg::ref_ptr<const osg::Image> storable(const osg::Image& image, const std::string& extension)
{
    if (isKtx(extension)) return &image;
    // Some writers take blocks for pixels, and read behind their end.
    if (image.isCompressed() && extension != "dds") return decoded(image, extension);
    if (image.isCompressed() && !isHeldByDds(image)) return nullptr; // it would read behind the blocks
    if (!image.isCompressed() && !isUnderstoodBy(extension, image)) return decoded(image, extension);
    if (extension != "dds") return &image;
    // Its writer turns what does not start at the top, and its reader does not turn it back.
    const osg::ref_ptr<osg::Image> copy = new osg::Image(image);
    copy->setOrigin(osg::Image::TOP_LEFT);
    return copy;
}

/** Whatever the application has set for its own images: a cached one is to come back as it was, and at once. */
osg::ref_ptr<osgDB::Options> cachingOptions()
{
    const osgDB::Options* given = osgDB::Registry::instance()->getOptions();
    osg::ref_ptr<osgDB::Options> options = given ? given->cloneOptions() : new osgDB::Options;
    options->setPluginStringData("UseBASISU", "0"); // no options at all would mean: encode again, with loss
    return options;
}

/** The image in the format that the name's extension stands for; empty if there is no writer for it. In memory, because
 * one of OSG's writers ends the process when the disk is full, and another does not notice. */
std::string encoded(const osg::Image& image, const std::string& name)
{
    const std::string extension = osgDB::getLowerCaseFileExtension(name);
    osgDB::ReaderWriter* writer = osgDB::Registry::instance()->getReaderWriterForExtension(extension);
    if (!writer) return {};

    const osg::ref_ptr<const osg::Image> form = storable(image, extension);
    if (!form) return {};
    std::ostringstream bytes;
    if (!writer->writeImage(*form, bytes, cachingOptions()).success()) return {};
    return bytes.str();
}

template <typename Encode>
void writeOnce(const std::string& path, Encode encode)
{
    if (osgDB::fileExists(path)) return;
    const std::string bytes = encode();
    if (!bytes.empty()) replaceFile(path, bytes.data(), bytes.size());
}

void writeImage(const osg::Image& image, const std::string& directory, const std::string& name)
{
    const std::string path = directory + '/' + name;
    if (!image.data() || !osgDB::fileExists(directory) || osgDB::fileType(path) == osgDB::DIRECTORY) return;
    writeOnce(path, [&] { return encoded(image, name); });
    if (!isHeldBy(osgDB::getLowerCaseFileExtension(name), image))
        writeOnce(exactCopyPath(path), [&] { return ktxCopyOf(image); });
}

void cacheTexture(osg::Texture2D& texture, const std::string& directory)
{
    osg::Image* image = texture.getImage();
    if (!image) return;
    if (image->getFileName().empty())
    {
        const auto size = static_cast<unsigned int>(levelBytes(*image));
        image->setFileName(imageDigest(image->data(), size) + ".jpg");
    }
    if (userValue<std::string>(texture, keys::imagePath)) return;

    const std::string name = osgDB::getSimpleFileName(image->getFileName());
    writeImage(*image, directory, name);
    texture.setUserValue(keys::imagePath, directory + '/' + name);
}

} // namespace

std::string exactCopyPath(const std::string& path)
{
    return path + ".ktx";
}

void cacheTextures(osg::Node& tile, const std::string& directory)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        if (osg::Texture2D* texture = textureOf(*geometry)) cacheTexture(*texture, directory);
}

} // namespace mvgeo

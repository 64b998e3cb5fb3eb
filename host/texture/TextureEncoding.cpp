#include "texture/TextureEncoding.h"

#include "common/HostError.h"
#include "texture/OsgMessageCapture.h"
#include "texture/TextureHeader.h"

#include <osg/ImageSequence>
#include <osgDB/Registry>

#include <sstream>

namespace mvgeo::host
{
namespace
{
/** All of them: the writer takes one that is missing for 0. */
osg::ref_ptr<osgDB::Options> ktxOptions(const EncoderSettings& settings)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    const auto set = [&options](const char* name, int value)
    { options->setPluginStringData(name, std::to_string(value)); };
    set("UseBASISU", settings.basis != Basis::none ? 1 : 0);
    set("UseUASTC", settings.basis == Basis::uastc ? 1 : 0);
    set("ThreadCount", settings.threads);
    set("CompressLevel", settings.level);
    set("QualityLevel", settings.quality);
    options->setPluginStringData("SavingCubeMap", settings.isCubeMap ? "true" : "false");
    return options;
}

osg::ref_ptr<osg::Image> asOneImage(const std::vector<osg::ref_ptr<osg::Image>>& pictures)
{
    if (pictures.size() == 1) return pictures.front();
    const osg::ref_ptr<osg::ImageSequence> sequence = new osg::ImageSequence;
    for (const osg::ref_ptr<osg::Image>& picture : pictures)
        sequence->addImage(picture);
    return sequence;
}

std::string encode(const osg::Image& image, const std::string& extension, const osgDB::Options& options,
                   const OsgMessageCapture& messages, const std::string& file)
{
    osgDB::ReaderWriter* writer = osgDB::Registry::instance()->getReaderWriterForExtension(extension);
    if (!writer) throw HostError("The toolkit has no writer for '" + file + "'" + messages.reason() + ".");
    std::ostringstream bytes(std::ios::binary);
    const osgDB::ReaderWriter::WriteResult result = writer->writeImage(image, bytes, &options);
    if (!result.success() || bytes.str().empty())
        throw HostError("Cannot encode '" + file + "'" + messages.reason(result.message()) + ".");
    return bytes.str();
}
} // namespace

std::string encodeKtx(const std::vector<osg::ref_ptr<osg::Image>>& pictures, const EncoderSettings& settings,
                      const std::string& file)
{
    const OsgMessageCapture messages;
    std::string bytes = encode(*asOneImage(pictures), "ktx", *ktxOptions(settings), messages, file);
    // Where compressing fails the writer gives the texture without it, and where a picture does not fit it goes on.
    const TextureHeader header = parseTextureHeader(bytes, file);
    const bool isCompressed = header.compression.find("ETC1S") == 0 || header.compression.find("UASTC") == 0;
    if (isCompressed != (settings.basis != Basis::none) || !messages.warnings().empty())
        throw HostError("Cannot encode '" + file + "'" + messages.reason() + ".");
    return bytes;
}

std::string encodePicture(const osg::Image& picture, const std::string& extension, int jpegQuality,
                          const std::string& file)
{
    const OsgMessageCapture messages;
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options("JPEG_QUALITY " + std::to_string(jpegQuality));
    return encode(picture, extension, *options, messages, file);
}
} // namespace mvgeo::host

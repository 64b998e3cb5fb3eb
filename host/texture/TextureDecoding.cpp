#include "texture/TextureDecoding.h"

#include "common/HostError.h"
#include "common/ImageBytes.h"
#include "common/WholeFile.h"
#include "texture/OsgMessageCapture.h"

#include <osg/ImageSequence>
#include <osgDB/Registry>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <sstream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
// A small PNG file can declare a picture that fills the memory. KTX files have a limit in their reader.
constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 29;

const char* extensionOf(Container container)
{
    if (container == Container::png) return "png";
    return container == Container::jpeg ? "jpg" : "ktx";
}

osg::ref_ptr<osgDB::Options> readingOptions(Transcoding transcoding)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    const auto set = [&options](const char* name, bool on) { options->setPluginStringData(name, on ? "1" : "0"); };
    set("UseRGBA", transcoding == Transcoding::rgba);
    set("UseDXT", transcoding == Transcoding::dxt);
    set("UseETC", transcoding == Transcoding::etc);
    return options;
}

void checkBeforeDecoding(const TextureHeader& header, const std::string& path)
{
    if (header.defect) throw HostError("Cannot read '" + path + "': " + *header.defect + ".");
    if (!header.isKtx() && std::uint64_t{header.width} * header.height > kMostPixels)
        throw HostError("'" + path + "' declares " + std::to_string(header.width) + " x " +
                        std::to_string(header.height) + " pixels, more than can be read.");
}

std::vector<osg::ref_ptr<osg::Image>> picturesOf(osg::Image& image)
{
    const auto* sequence = dynamic_cast<osg::ImageSequence*>(&image);
    if (!sequence) return {&image};
    std::vector<osg::ref_ptr<osg::Image>> pictures;
    for (const osg::ImageSequence::ImageData& entry : sequence->getImageDataList())
        if (entry._image) pictures.push_back(entry._image);
    return pictures;
}
} // namespace

std::string readTextureFile(const std::string& path)
{
    std::error_code ignored;
    const fs::file_status status = fs::status(fs::u8path(path), ignored);
    if (!fs::exists(status)) throw HostError("There is no file '" + path + "'.");
    if (!fs::is_regular_file(status)) throw HostError("'" + path + "' is no file.");
    const std::optional<std::string> bytes = readWholeFile(path);
    if (!bytes)
        throw HostError("Cannot read '" + path + "'" + (errno != 0 ? std::string(": ") + std::strerror(errno) : "") +
                        ".");
    return *bytes;
}

LoadedTexture decodeTexture(const std::string& bytes, const std::string& path, Transcoding transcoding)
{
    LoadedTexture texture;
    texture.header = parseTextureHeader(bytes, path);
    texture.fileBytes = bytes.size();
    checkBeforeDecoding(texture.header, path);

    const OsgMessageCapture messages;
    osgDB::ReaderWriter* reader =
        osgDB::Registry::instance()->getReaderWriterForExtension(extensionOf(texture.header.container));
    if (!reader) throw HostError("The toolkit has no reader for '" + path + "'" + messages.reason() + ".");
    std::istringstream stream(bytes, std::ios::binary);
    osgDB::ReaderWriter::ReadResult result = reader->readImage(stream, readingOptions(transcoding));
    texture.image = result.takeImage();
    if (texture.image) texture.pictures = picturesOf(*texture.image);
    if (texture.pictures.empty() || !texture.pictures.front()->valid())
        throw HostError("Cannot read '" + path + "'" + messages.reason(result.message()) + ".");
    texture.warnings = messages.warnings();
    return texture;
}

std::uint64_t bytesInMemory(const LoadedTexture& texture)
{
    return std::accumulate(texture.pictures.begin(), texture.pictures.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const osg::ref_ptr<osg::Image>& picture)
                           { return sum + imageBytes(*picture); });
}
} // namespace mvgeo::host

#include "texture/TextureFile.h"

#include "HostError.h"
#include "texture/ToolkitMessages.h"

#include <osg/ImageSequence>
#include <osgDB/Registry>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
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
    if (container == Container::Png) return "png";
    return container == Container::Jpeg ? "jpg" : "ktx";
}

osg::ref_ptr<osgDB::Options> readingOptions(Transcoding transcoding)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    const auto set = [&options](const char* name, bool on) { options->setPluginStringData(name, on ? "1" : "0"); };
    set("UseRGBA", transcoding == Transcoding::Rgba);
    set("UseDXT", transcoding == Transcoding::Dxt);
    set("UseETC", transcoding == Transcoding::Etc);
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

std::string readWholeFile(const std::string& path)
{
    const fs::path file = fs::u8path(path);
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) throw HostError("There is no file '" + path + "'.");
    if (!fs::is_regular_file(status)) throw HostError("'" + path + "' is no file.");
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(stream ? static_cast<std::size_t>(fs::file_size(file, error)) : 0, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream)
        throw HostError("Cannot read '" + path + "'" + (errno != 0 ? std::string(": ") + std::strerror(errno) : "") +
                        ".");
    return bytes;
}

LoadedTexture decodeTexture(const std::string& bytes, const std::string& path, Transcoding transcoding)
{
    LoadedTexture texture;
    texture.header = parseTextureHeader(bytes, path);
    texture.fileBytes = bytes.size();
    checkBeforeDecoding(texture.header, path);

    const ToolkitMessages messages;
    osgDB::ReaderWriter* reader =
        osgDB::Registry::instance()->getReaderWriterForExtension(extensionOf(texture.header.container));
    if (!reader) throw HostError("The toolkit has no reader for '" + path + "'" + messages.reason() + ".");
    std::istringstream stream(bytes, std::ios::binary);
    osgDB::ReaderWriter::ReadResult result = reader->readImage(stream, readingOptions(transcoding));
    texture.image = result.takeImage();
    if (texture.image) texture.pictures = picturesOf(*texture.image);
    const std::string said =
        messages.reason().empty() && !result.message().empty() ? ": " + result.message() : messages.reason();
    if (texture.pictures.empty() || !texture.pictures.front()->valid())
        throw HostError("Cannot read '" + path + "'" + said + ".");
    texture.warnings = messages.warnings();
    return texture;
}

std::uint64_t bytesInMemory(const LoadedTexture& texture)
{
    return std::accumulate(texture.pictures.begin(), texture.pictures.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const osg::ref_ptr<osg::Image>& picture)
                           { return sum + picture->getTotalSizeInBytesIncludingMipmaps(); });
}
} // namespace mvgeo::host

#include "PictureFile.h"

#include "HostError.h"
#include "sample/TileFile.h"

#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
/** In memory: the toolkit's file writers either do not notice a full disk or end the process. Empty if the toolkit
 * cannot write what the file's name ends in. */
std::optional<std::string> encode(const osg::Image& picture, const std::string& file)
{
    osgDB::ReaderWriter* writer =
        osgDB::Registry::instance()->getReaderWriterForExtension(osgDB::getLowerCaseFileExtension(file));
    std::ostringstream bytes;
    if (!writer || !writer->writeImage(picture, bytes).success()) return std::nullopt;
    return bytes.str();
}
} // namespace

void checkPlaceOf(const std::string& what, const std::string& file)
{
    const fs::path path(file);
    if (!path.has_filename()) throw HostError("'" + file + "' is not the name of a " + what + ".");
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (fs::is_directory(status)) throw HostError("The " + what + " '" + file + "' would replace a folder.");
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw HostError("The " + what + " '" + file + "' would replace something that is no file.");
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, ignored))
        throw HostError("The folder of the " + what + " '" + file + "' does not exist.");
}

void checkPicturePath(const std::string& file)
{
    checkPlaceOf("picture", file);
    const osg::ref_ptr<osg::Image> tiny = new osg::Image;
    tiny->allocateImage(1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE);
    std::fill_n(tiny->data(), tiny->getTotalSizeInBytes(), static_cast<unsigned char>(0));
    if (!encode(*tiny, file)) // the toolkit reads more formats than it writes
        throw HostError("'" + file +
                        "' does not end in the extension of a picture format that can be written, such as .png.");
}

void writePicture(const osg::Image& picture, const std::string& file)
{
    const std::optional<std::string> bytes = encode(picture, file);
    if (!bytes) throw HostError("Cannot encode the picture '" + file + "'.");
    const WriteResult result = writeWholeFile(*bytes, file);
    if (!result.error.empty()) throw HostError("Cannot write the picture: " + result.error + ".");
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !fs::is_directory(folder, error)) throw HostError("Cannot make the folder '" + folder + "'.");
}
} // namespace mvgeo::host

#include "PictureFile.h"

#include "HostError.h"
#include "sample/TileFile.h"

#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
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
    const std::string extension = fs::path(file).extension().string();
    if (extension.size() < 2 || !osgDB::Registry::instance()->getReaderWriterForExtension(extension.substr(1)))
        throw HostError("'" + file + "' does not end in the extension of a known picture format, such as .png.");
}

void writePicture(const osg::Image& picture, const std::string& file)
{
    // Encoded in memory: the toolkit's file writers either do not notice a full disk or end the process.
    osgDB::ReaderWriter* writer =
        osgDB::Registry::instance()->getReaderWriterForExtension(osgDB::getLowerCaseFileExtension(file));
    std::ostringstream bytes;
    if (!writer || !writer->writeImage(picture, bytes).success())
        throw HostError("Cannot encode the picture '" + file + "'.");
    const WriteResult result = writeWholeFile(bytes.str(), file);
    if (!result.error.empty()) throw HostError("Cannot write the picture: " + result.error + ".");
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !fs::is_directory(folder, error)) throw HostError("Cannot make the folder '" + folder + "'.");
}
} // namespace mvgeo::host

#include "view/PictureFile.h"

#include "common/HostError.h"
#include "common/WholeFile.h"

#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <algorithm>
#include <optional>
#include <sstream>

namespace mvgeo::host
{
namespace
{
/** In memory: OSG's file writers either do not notice a full disk or end the process. Empty if OSG cannot write what
 * the file's name ends in. */
std::optional<std::string> encode(const osg::Image& picture, const std::string& file)
{
    osgDB::ReaderWriter* writer =
        osgDB::Registry::instance()->getReaderWriterForExtension(osgDB::getLowerCaseFileExtension(file));
    std::ostringstream bytes;
    if (!writer || !writer->writeImage(picture, bytes).success()) return std::nullopt;
    return bytes.str();
}
} // namespace

void checkPicturePath(const std::string& file)
{
    checkOutputPath(file, "picture");
    const osg::ref_ptr<osg::Image> tiny = new osg::Image;
    tiny->allocateImage(1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE);
    std::fill_n(tiny->data(), tiny->getTotalSizeInBytes(), static_cast<unsigned char>(0));
    if (!encode(*tiny, file)) // OSG reads more formats than it writes
        throw HostError("'" + file +
                        "' does not end in the extension of a picture format that can be written, such as .png.");
}

void writePicture(const osg::Image& picture, const std::string& file)
{
    const std::optional<std::string> bytes = encode(picture, file);
    if (!bytes) throw HostError("Cannot encode the picture '" + file + "'.");
    saveFile(*bytes, file, "picture");
}
} // namespace mvgeo::host

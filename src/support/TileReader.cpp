#include "support/TileReader.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>
#include <osgDB/fstream>

#include <algorithm>
#include <array>
#include <istream>
#include <stdexcept>
#include <streambuf>

using ReadResult = osgDB::ReaderWriter::ReadResult;

namespace mvgeo
{

namespace
{

constexpr const char* kEndsTooEarly = "the file ends too early";

constexpr std::streamsize kLongestNumber = 8; // bytes

/** Passes a file on and stops whoever reads behind its end. The first such read gets zeros, because a reader that
 *  has just taken memory for pixels must come as far as handing it over; the next one throws. A number that is cut
 *  off becomes zero as a whole, so that nothing is allocated for it. */
class OverrunGuard : public std::streambuf
{
public:
    explicit OverrunGuard(std::streambuf& file) : _file(file) {}

    [[nodiscard]] bool hasOverrun() const { return _hasOverrun; }

protected:
    std::streamsize xsgetn(char* target, std::streamsize size) override
    {
        const std::streamsize got = _file.sgetn(target, size);
        if (got >= size) return got;
        if (_hasOverrun) throw std::runtime_error(kEndsTooEarly);
        _hasOverrun = true;
        std::fill(size <= kLongestNumber ? target : target + got, target + size, '\0');
        return size;
    }
    int_type underflow() override { return _file.sgetc(); }
    int_type uflow() override { return _file.sbumpc(); }
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override
    {
        return _file.pubseekoff(offset, from, std::ios::in);
    }
    pos_type seekpos(pos_type position, std::ios::openmode) override
    {
        return _file.pubseekpos(position, std::ios::in);
    }

private:
    std::streambuf& _file;
    bool _hasOverrun = false;
};

/** True if the header names a compressor. It consists of five numbers of four bytes, then the name's length and the
 *  name, "0" for none. Leaves the stream at the file's begin. */
bool isCompressed(std::istream& file)
{
    std::array<char, 25> header{};
    const bool isComplete = static_cast<bool>(file.read(header.data(), header.size()));
    file.clear();
    file.seekg(0);
    const bool lengthIsOne = header[20] + header[23] == 1 && header[21] == 0 && header[22] == 0; // either byte order
    return isComplete && !(lengthIsOne && header[24] == '0');
}

ReadResult readBinary(osgDB::ReaderWriter& reader, const std::string& path, const osgDB::Options* options)
{
    osgDB::ifstream file(path.c_str(), std::ios::in | std::ios::binary);
    if (!file.is_open()) return ReadResult(std::string("the file cannot be opened"));
    // Expanding takes blocks and so reads behind the end of a whole file too; what it expands it checks by itself.
    const bool mayOverrun = isCompressed(file);
    const osg::ref_ptr<osgDB::Options> local = options ? options->cloneOptions() : new osgDB::Options;
    local->getDatabasePathList().push_front(osgDB::getFilePath(path));
    local->setPluginStringData("fileType", "Binary");

    OverrunGuard guard(*file.rdbuf());
    std::istream guarded(&guard);
    guarded.exceptions(std::ios::badbit); // lets the guard's exception through
    ReadResult result = reader.readNode(guarded, local);
    return guard.hasOverrun() && !mayOverrun ? ReadResult(std::string(kEndsTooEarly)) : result;
}

} // namespace

ReadResult readTileFile(const std::string& fileName, const osgDB::Options* options)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    const bool mayBeCached = options && (options->getObjectCacheHint() & osgDB::Options::CACHE_NODES) != 0;
    if (!mayBeCached && osgDB::getLowerCaseFileExtension(fileName) == "osgb")
    {
        const std::string path = osgDB::findDataFile(fileName, options);
        osgDB::ReaderWriter* reader = registry->getReaderWriterForExtension("osgb");
        const osgDB::FileType type = osgDB::fileType(path);
        if (type == osgDB::DIRECTORY) return ReadResult(ReadResult::FILE_NOT_HANDLED);
        if (reader && type == osgDB::REGULAR_FILE) return readBinary(*reader, path, options);
    }
    return registry->readNodeImplementation(fileName, options);
}

} // namespace mvgeo

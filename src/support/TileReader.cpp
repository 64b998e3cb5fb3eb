#include "support/TileReader.h"

#include "support/TileImages.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>
#include <osgDB/fstream>

#include <algorithm>
#include <cstring>
#include <istream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

using ReadResult = osgDB::ReaderWriter::ReadResult;

namespace mvgeo
{

namespace
{

constexpr const char* kEndsTooEarly = "the file ends too early";

constexpr std::streamsize kLongestNumber = 8; // bytes

/** A whole file in memory, which stops whoever reads behind its end. The first such read gets zeros, because a reader
 * that has just taken memory for pixels must come as far as handing it over; the next one throws. A number that is cut
 * off becomes zero as a whole, so that nothing is allocated for it. */
class GuardedBytes : public std::streambuf
{
public:
    explicit GuardedBytes(std::string& bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }

    [[nodiscard]] bool hasOverrun() const { return _hasOverrun; }

    /** How many bytes of the file lie at this place in memory, where there is room for `room` of them or for those
     * alone; 0 if none do. The place may have been let go since a read to it, and taken for something else: so it must
     * hold what was read. */
    [[nodiscard]] std::size_t bytesAt(const void* target, std::size_t room) const
    {
        const auto found = _pieces.find(target);
        if (found == _pieces.end()) return 0;
        const std::string_view piece = found->second;
        return std::memcmp(target, piece.data(), std::min(room, piece.size())) == 0 ? piece.size() : 0;
    }

protected:
    std::streamsize xsgetn(char* target, std::streamsize size) override
    {
        const std::streamsize got = std::min<std::streamsize>(size, egptr() - gptr());
        std::memcpy(target, gptr(), static_cast<std::size_t>(got));
        if (got > kLongestNumber) _pieces[target] = {gptr(), static_cast<std::size_t>(got)};
        setg(eback(), gptr() + got, egptr()); // gbump() counts in int
        if (got == size) return size;
        if (_hasOverrun) throw std::runtime_error(kEndsTooEarly);
        _hasOverrun = true;
        std::fill(size <= kLongestNumber ? target : target + got, target + size, '\0');
        return size;
    }
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override
    {
        const char* base = from == std::ios::cur ? gptr() : from == std::ios::end ? egptr() : eback();
        return seekpos(base - eback() + offset, which);
    }
    // As in a file, a place behind the end may be sought; the next read then overruns.
    pos_type seekpos(pos_type position, std::ios::openmode) override
    {
        if (position < 0) return static_cast<off_type>(-1);
        setg(eback(), eback() + std::min<off_type>(position, egptr() - eback()), egptr());
        return position;
    }

private:
    bool _hasOverrun = false;
    std::unordered_map<const void*, std::string_view> _pieces; // by where they were read to
};

/** True if the header names a compressor. It consists of five numbers of four bytes, then the name's length and the
 * name, "0" for none. */
bool isCompressed(const std::string& file)
{
    if (file.size() < 25) return false;
    const bool lengthIsOne = file[20] + file[23] == 1 && file[21] == 0 && file[22] == 0; // either byte order
    return !(lengthIsOne && file[24] == '0');
}

ReadResult readBinary(osgDB::ReaderWriter& reader, std::string& bytes, const std::string& path,
                      const osgDB::Options* options)
{
    // Expanding takes blocks and so reads behind the end of a whole file too; what it expands it checks by itself.
    const bool mayOverrun = isCompressed(bytes);
    const osg::ref_ptr<osgDB::Options> local = options ? options->cloneOptions() : new osgDB::Options;
    local->getDatabasePathList().push_front(osgDB::getFilePath(path));
    local->setPluginStringData("fileType", "Binary");

    GuardedBytes guard(bytes);
    std::istream guarded(&guard);
    guarded.exceptions(std::ios::badbit); // lets the guard's exception through
    ReadResult result = reader.readNode(guarded, local);
    if (guard.hasOverrun() && !mayOverrun) return ReadResult(std::string(kEndsTooEarly));
    if (!result.validNode()) return result;
    const std::string fault = completeImages(*result.getNode(), [&guard](const void* target, std::size_t room)
                                             { return guard.bytesAt(target, room); });
    return fault.empty() ? result : ReadResult(fault);
}

bool isHandled(const ReadResult& result)
{
    return result.status() != ReadResult::FILE_NOT_HANDLED && result.status() != ReadResult::NOT_IMPLEMENTED;
}

/** Asks the installed readers as the registry does, but OSG's own only for as many bytes as there are. */
ReadResult readWithAnyReader(std::string& bytes, const std::string& path, const osgDB::Options* options)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    osgDB::ReaderWriter* first = registry->getReaderWriterForExtension("osgb");
    if (!first) return registry->readNodeImplementation(path, options);
    ReadResult result = readBinary(*first, bytes, path, options);
    if (isHandled(result)) return result;

    // A host's reader may only know file names, or leave the file to others. OSG's own reader is the one that knows
    // the text format too; the registry would let it read on behind the end.
    osgDB::ReaderWriter* osgReader = registry->getReaderWriterForExtension("osgt");
    if (osgReader && osgReader != first)
    {
        result = first->readNode(path, options);
        if (!isHandled(result)) result = readBinary(*osgReader, bytes, path, options);
    }
    return isHandled(result) ? result : registry->readNodeImplementation(path, options);
}

std::string& spareBytes()
{
    thread_local std::string spare;
    return spare;
}

} // namespace

FileBytes::FileBytes() : bytes(std::exchange(spareBytes(), {})) {}

FileBytes::~FileBytes()
{
    constexpr std::size_t kMostKept = 4U << 20U;
    if (bytes.capacity() <= kMostKept) spareBytes() = std::move(bytes);
}

bool FileBytes::read(const std::string& path)
{
    osgDB::ifstream file(path.c_str(), std::ios::in | std::ios::binary | std::ios::ate);
    const std::streamoff size = file.is_open() ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (size < 0) return false;
    bytes.resize(static_cast<std::size_t>(size));
    file.seekg(0);
    file.read(bytes.data(), size);
    bytes.resize(static_cast<std::size_t>(file.gcount())); // somebody may be shortening it
    return true;
}

ReadResult readTileBytes(std::string& bytes, const std::string& path, const osgDB::Options* options)
{
    osgDB::ReaderWriter* reader = osgDB::Registry::instance()->getReaderWriterForExtension("osgb");
    return reader ? readBinary(*reader, bytes, path, options) : ReadResult(ReadResult::FILE_NOT_HANDLED);
}

ReadResult readTileFile(const std::string& fileName, const osgDB::Options* options)
{
    const bool mayBeCached = options && (options->getObjectCacheHint() & osgDB::Options::CACHE_NODES) != 0;
    if (!mayBeCached && osgDB::getLowerCaseFileExtension(fileName) == "osgb")
    {
        const std::string path = osgDB::findDataFile(fileName, options);
        const osgDB::FileType type = osgDB::fileType(path);
        if (type == osgDB::DIRECTORY) return ReadResult(ReadResult::FILE_NOT_HANDLED);
        if (type == osgDB::REGULAR_FILE)
        {
            FileBytes file;
            if (!file.read(path)) return ReadResult(std::string("the file cannot be opened"));
            return readWithAnyReader(file.bytes, path, options);
        }
    }
    return osgDB::Registry::instance()->readNodeImplementation(fileName, options);
}

} // namespace mvgeo

#include "readerwriterthreedimg/TileCacheFile.h"

#include "mvgdaldatasetmanager/MvGdalDataSetManager.h"
#include "readerwriterthreedimg/TileSeal.h"
#include "support/FileReplacement.h"
#include "support/TileCheck.h"
#include "support/TileReader.h"
#include "support/UserValues.h"

#include <OpenThreads/ScopedLock>

#include <osgDB/FileUtils>
#include <osgDB/Registry>

#include <algorithm>
#include <cstring>
#include <exception>
#include <ostream>
#include <streambuf>
#include <string_view>

namespace mvgeo
{

namespace
{

const std::string kStamp = "rasterStamp"; // string on a cached file's root

using FileLock = OpenThreads::ScopedPointerLock<OpenThreads::Mutex>;

FileLock lockFiles()
{
    MvGdalDataSetManager* manager = MvGdalDataSetManager::instance();
    return FileLock(manager ? &manager->fileLock : nullptr);
}

/** Collects what is written. Its memory is the thread's and stays for the next file: taking a megabyte from the system
 * for each would cost as much as the writing. */
class ByteCollector : public std::streambuf
{
public:
    /** Valid until the thread makes another collector. */
    [[nodiscard]] std::string_view bytes() const { return {_buffer.data(), _end}; }

    void seal()
    {
        const std::string seal = sealFor(bytes());
        _position = _end;
        xsputn(seal.data(), static_cast<std::streamsize>(seal.size()));
    }

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        const auto count = static_cast<std::size_t>(size);
        if (count > _buffer.size() - _position) _buffer.resize(2 * _buffer.size() + count);
        std::memcpy(_buffer.data() + _position, data, count);
        _position += count;
        _end = std::max(_end, _position);
        return size;
    }
    int_type overflow(int_type character) override
    {
        const char byte = traits_type::to_char_type(character);
        if (character != traits_type::eof()) xsputn(&byte, 1);
        return traits_type::not_eof(character);
    }
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override
    {
        const std::size_t base = from == std::ios::cur ? _position : from == std::ios::end ? _end : 0;
        return seekpos(static_cast<off_type>(base) + offset, which);
    }
    pos_type seekpos(pos_type position, std::ios::openmode) override
    {
        if (position < 0 || position > static_cast<off_type>(_end)) return static_cast<off_type>(-1);
        _position = static_cast<std::size_t>(static_cast<off_type>(position));
        return position;
    }

private:
    static std::string& bufferOfThisThread()
    {
        thread_local std::string buffer;
        return buffer;
    }

    std::string& _buffer = bufferOfThisThread(); // its size is its capacity; numbers come by the ten thousand
    std::size_t _end = 0;
    std::size_t _position = 0;
};

/** Writes the node in OSG's binary format. In memory, because OSG writes vertices and indices number by number, which
 * costs a file stream three times as much as all the rest of the work. */
bool encode(const osg::Node& node, ByteCollector& collector)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    osgDB::ReaderWriter* writer = registry->getReaderWriterForExtension("osgb");
    if (!writer) return false;
    const osg::ref_ptr<osgDB::Options> options =
        registry->getOptions() ? registry->getOptions()->cloneOptions() : new osgDB::Options;
    options->setPluginStringData("fileType", "Binary");
    std::ostream stream(&collector);
    return writer->writeNode(node, stream, options).success();
}

/** A file without a seal is none of ours; taken only if there is nothing to judge it by. */
osg::ref_ptr<osg::Node> readTile(const std::string& path, bool isSealWanted)
{
    try
    {
        FileBytes file;
        if (!file.read(path)) return nullptr;
        const Seal seal = sealOn(file.bytes);
        if (seal == Seal::broken || (seal == Seal::none && isSealWanted)) return nullptr;
        osgDB::ReaderWriter::ReadResult result =
            readTileBytes(file.bytes, path, osgDB::Registry::instance()->getOptions());
        osg::ref_ptr<osg::Node> node = result.getNode();
        if (node && faultIn(*node).empty()) return node;
    }
    catch (const std::exception&)
    {
        // Damaged; see the header.
    }
    return nullptr;
}

} // namespace

osg::ref_ptr<osg::Node> readCachedTile(const std::string& path, const std::string& stamp)
{
    if (osgDB::fileType(path) != osgDB::REGULAR_FILE) return nullptr;
    osg::ref_ptr<osg::Node> node;
    {
        const FileLock lock = lockFiles();
        node = readTile(path, !stamp.empty());
    }
    if (!node || stamp.empty()) return node;
    const std::string* cachedStamp = userValue<std::string>(*node, kStamp);
    return cachedStamp && *cachedStamp == stamp ? node : nullptr;
}

bool writeCachedTile(osg::Node& node, const std::string& directory, const std::string& name, const std::string& stamp)
{
    node.setUserValue(kStamp, stamp);
    ByteCollector collector;
    if (!encode(node, collector)) return false;
    collector.seal();
    const FileLock lock = lockFiles();
    return replaceFile(directory + '/' + name, collector.bytes().data(), collector.bytes().size());
}

} // namespace mvgeo

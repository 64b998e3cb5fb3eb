#include "readerwriterktx/ReaderWriterKTX.h"

#include "readerwriterktx/KtxLog.h"
#include "readerwriterktx/KtxReading.h"
#include "readerwriterktx/KtxSettings.h"
#include "readerwriterktx/KtxWriting.h"
#include "support/FileReplacement.h"

#include <osg/ImageSequence>
#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>
#include <osgDB/Registry>
#include <osgDB/fstream>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>

namespace
{

constexpr char kExtension[] = "ktx";
constexpr char kExtensionOfKtx2[] = "ktx2";

/** Bytes on the heap, not filled with zeros before they are read: that would cost small files more than reading them.
 */
class Bytes
{
public:
    [[nodiscard]] const unsigned char* data() const { return _data.get(); }
    [[nodiscard]] std::size_t size() const { return _size; }

    /** Reads up to `count` bytes to the end. */
    void append(std::istream& stream, std::size_t count)
    {
        std::unique_ptr<unsigned char[]> data(new unsigned char[_size + count]);
        if (_size > 0) std::memcpy(data.get(), _data.get(), _size);
        _data = std::move(data);
        stream.read(reinterpret_cast<char*>(_data.get() + _size), static_cast<std::streamsize>(count));
        _size += static_cast<std::size_t>(stream.gcount());
    }

private:
    std::unique_ptr<unsigned char[]> _data;
    std::size_t _size = 0;
};

/** What is left of a stream. What it says of its length is a guess for the first piece only, so that a folder, a pipe
 * or a file that grows does no harm; the pieces double, so that copying them takes no longer than reading. */
Bytes readToEnd(std::istream& stream)
{
    constexpr std::streamsize kLeast = std::streamsize{1} << 14;
    constexpr std::streamsize kMost = std::streamsize{1} << 26;
    Bytes bytes;
    if (!stream) return bytes;
    const std::streamsize guess = stream.rdbuf()->in_avail();
    bytes.append(stream, static_cast<std::size_t>(std::clamp(guess, kLeast, kMost)) + 1); // one more meets the end
    while (stream)
        bytes.append(stream, bytes.size());
    return bytes;
}

/** Runs a call; an exception is logged and leaves the answer that stands for failure. */
template <typename Answer, typename Call>
Answer guarded(const Answer& failure, Call call)
{
    try
    {
        return call();
    }
    catch (const std::exception& error)
    {
        mvgeo::KtxLog(osg::WARN) << "Gave up: " << error.what();
    }
    catch (...)
    {
        mvgeo::KtxLog(osg::WARN) << "Gave up: unknown error";
    }
    return failure;
}

using Result = osgDB::ReaderWriter::ReadResult;

Result readBytes(const Bytes& bytes, const osgDB::Options* options, const std::string& fileName)
{
    mvgeo::KtxFault fault;
    const osg::ref_ptr<osg::Image> image = mvgeo::readKtx(bytes.data(), bytes.size(), options, fault);
    if (image)
    {
        if (!fileName.empty()) image->setFileName(fileName);
        return image.get();
    }
    if (fault.code != 0)
    {
        mvgeo::KtxLog line(osg::WARN);
        if (fileName.empty())
            line << "Unable to read from stream: " << fault.code;
        else
            line << "Unable to read from: " << fileName;
        line << " (" << fault.reason << ')';
    }
    return fault.reason;
}

std::string bytesOf(const osg::Image& image, const osgDB::Options* options)
{
    std::vector<const osg::Image*> images;
    bool isCubeMap = false;
    if (const auto* sequence = dynamic_cast<const osg::ImageSequence*>(&image))
    {
        for (unsigned int i = 0; i < sequence->getNumImageData(); ++i)
            images.push_back(sequence->getImage(i));
        isCubeMap = options && options->getPluginStringData("SavingCubeMap") == "true";
    }
    else
        images.push_back(&image);
    return mvgeo::writeKtx(images, isCubeMap, mvgeo::ktxSettings(options));
}

void addAliases()
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    if (!registry) return;
    registry->addFileExtensionAlias(kExtensionOfKtx2, kExtension);
#if defined(MVGEO_HAVE_KTX)
    registry->addFileExtensionAlias(kExtension, "ktx_by_mvgeothirdparty"); // the name of no plug-in
#endif
}

} // namespace

ReaderWriterKTX::ReaderWriterKTX()
{
    supportsExtension(kExtension, "KTX texture file");
    supportsOption("SavingCubeMap", "Save KTX cubemap data: default=0");
    supportsOption("UseBASISU", "Save with BASISU encoder: default=0");
    supportsOption("UseUASTC", "Save with UASTC (1), or ETC1S (0): default=0");
    supportsOption("ThreadCount", "Number of threads used for compression: default=1");
    supportsOption("CompressLevel", "Encoding speed vs. quality tradeoff [0-5]: default=1");
    supportsOption("QualityLevel", "Compression quality [1,255]: default=128");

    static std::once_flag isDone; // the registry's table of names has no lock
    std::call_once(isDone, addAliases);
}

ReaderWriterKTX::~ReaderWriterKTX() = default;

// OSG's alias leads from a name to a library only, and then asks each reader for the name as it is.
bool ReaderWriterKTX::acceptsExtension(const std::string& extension) const
{
    return ReaderWriter::acceptsExtension(extension) || osgDB::equalCaseInsensitive(extension, kExtensionOfKtx2);
}

osgDB::ReaderWriter::ReadResult ReaderWriterKTX::readObject(const std::string& fileName,
                                                            const osgDB::Options* options) const
{
    return readImage(fileName, options);
}

osgDB::ReaderWriter::ReadResult ReaderWriterKTX::readObject(std::istream& stream, const osgDB::Options* options) const
{
    return readImage(stream, options);
}

// The file is read here and not by libktx under its name: what the header check saw is then what libktx gets, even if
// the file is written anew meanwhile, and OSG's names, of any code page, are opened by OSG.
osgDB::ReaderWriter::ReadResult ReaderWriterKTX::readImage(const std::string& fileName,
                                                           const osgDB::Options* options) const
{
    if (!acceptsExtension(osgDB::getFileExtension(fileName))) return ReadResult::FILE_NOT_HANDLED;
    return guarded<ReadResult>(ReadResult::ERROR_IN_READING_FILE,
                               [&]() -> ReadResult
                               {
                                   const std::string path = osgDB::findDataFile(fileName, options);
                                   osgDB::ifstream file(path.c_str(), std::ios::in | std::ios::binary);
                                   if (!path.empty() && file.is_open())
                                       return readBytes(readToEnd(file), options, fileName);
                                   mvgeo::KtxLog(osg::WARN) << "Unable to read from: " << fileName;
                                   return path.empty() ? ReadResult::FILE_NOT_FOUND : ReadResult::ERROR_IN_READING_FILE;
                               });
}

osgDB::ReaderWriter::ReadResult ReaderWriterKTX::readImage(std::istream& stream, const osgDB::Options* options) const
{
    return guarded<ReadResult>(ReadResult::ERROR_IN_READING_FILE,
                               [&] { return readBytes(readToEnd(stream), options, std::string()); });
}

osgDB::ReaderWriter::WriteResult ReaderWriterKTX::writeImage(const osg::Image& image, const std::string& fileName,
                                                             const osgDB::Options* options) const
{
    if (!acceptsExtension(osgDB::getFileExtension(fileName))) return WriteResult::FILE_NOT_HANDLED;
    return guarded<WriteResult>(WriteResult::ERROR_IN_WRITING_FILE,
                                [&]() -> WriteResult
                                {
                                    const std::string bytes = bytesOf(image, options);
                                    if (bytes.empty()) return WriteResult::ERROR_IN_WRITING_FILE;
                                    if (mvgeo::replaceFile(fileName, bytes.data(), bytes.size()))
                                        return WriteResult::FILE_SAVED;
                                    mvgeo::KtxLog(osg::WARN) << "Unable to write to: " << fileName;
                                    return WriteResult::ERROR_IN_WRITING_FILE;
                                });
}

osgDB::ReaderWriter::WriteResult ReaderWriterKTX::writeImage(const osg::Image& image, std::ostream& stream,
                                                             const osgDB::Options* options) const
{
    return guarded<WriteResult>(WriteResult::ERROR_IN_WRITING_FILE,
                                [&]() -> WriteResult
                                {
                                    const std::string bytes = bytesOf(image, options);
                                    if (bytes.empty()) return WriteResult::ERROR_IN_WRITING_FILE;
                                    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                                    stream.flush();
                                    return stream ? WriteResult::FILE_SAVED : WriteResult::ERROR_IN_WRITING_FILE;
                                });
}

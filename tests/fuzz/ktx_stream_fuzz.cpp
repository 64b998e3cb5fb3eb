#include "readerwriterktx/ReaderWriterKTX.h"
#include "readerwriterktx/guard/KtxBytes.h"
#include "readerwriterktx/guard/KtxExtent.h"
#include "readerwriterktx/guard/KtxHeaderCheck.h"

#include "fuzz/FuzzTarget.h"
#include "support/ImageBytes.h"

#include <osg/ImageSequence>
#include <osg/Notify>
#include <osg/ValueObject>
#include <osgDB/Options>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <vector>

// Reading a texture from a stream of arbitrary bytes. The last byte chooses what Basis data becomes, so a file of the
// real world is an input as it stands. What could be read is written again, and must then be read as the same.

namespace
{

using mvgeo::fuzz::require;
using Options = osg::ref_ptr<osgDB::Options>;

constexpr std::uint64_t kMostPixels = 1 << 20;
constexpr int kLongestRewritten = 64;

osgDB::ReaderWriter& readerWriter()
{
    static const osg::ref_ptr<ReaderWriterKTX> instance = []
    {
        osg::setNotifyLevel(osg::ALWAYS); // a refusal is no news here
        return new ReaderWriterKTX;
    }();
    return *instance;
}

Options optionsFor(unsigned int choice)
{
    const Options options(new osgDB::Options);
    static constexpr const char* kTargets[] = {"UseDXT", "UseETC", "UseRGBA"};
    if (choice % 4 < 3) options->setPluginStringData(kTargets[choice % 4], "1");
    return options;
}

osg::ref_ptr<osg::Image> read(const std::string& bytes, const Options& options)
{
    std::istringstream stream(bytes);
    osgDB::ReaderWriter::ReadResult result = readerWriter().readImage(stream, options.get());
    return result.takeImage();
}

/** A small file may well declare a large image, and filling it is all that would be learnt from it. */
bool isTooLarge(const std::string& bytes)
{
    const mvgeo::KtxBytes file(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    const bool isKtx2 = file.u8(5) == '2';
    const std::uint64_t at = isKtx2 ? 20 : 36;
    std::uint64_t pixels = 1;
    for (std::uint64_t word = 0; word < 5; ++word)
    {
        pixels *= std::max(file.u32(at + 4 * word), 1U);
        if (pixels > kMostPixels) return true;
    }
    return false;
}

/** Every byte that the image says it has; so a sanitizer sees them read. */
std::vector<unsigned char> bytesOf(const osg::Image& image)
{
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(&image);
    if (!sequence)
    {
        require(image.data() != nullptr, "an image has pixels");
        const std::size_t size = mvgeo::imageBytes(image);
        require(size <= mvgeo::kLargestImage, "no image is larger than the limit");
        return {image.data(), image.data() + size};
    }
    std::vector<unsigned char> bytes;
    for (unsigned int i = 0; i < sequence->getNumImageData(); ++i)
    {
        const std::vector<unsigned char> more = bytesOf(*sequence->getImage(i));
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

void checkRewriting(const osg::Image& image, const std::vector<unsigned char>& bytes)
{
    const Options options(new osgDB::Options);
    options->setPluginStringData("UseBASISU", "0");
    std::ostringstream stream;
    if (!readerWriter().writeImage(image, stream, options.get()).success() || stream.str().empty()) return;
    const osg::ref_ptr<osg::Image> again = read(stream.str(), options);
    require(again.valid(), "what was written can be read");
    // The faces of a cube map are written as plain layers here, and those are turned.
    bool isCubeMap = false;
    if (image.getUserValue("KTXcubemap", isCubeMap)) return;
    require(bytesOf(*again) == bytes, "what was written is read as the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(data, data + size);
    if (isTooLarge(bytes))
    {
        (void)mvgeo::ktxHeaderFault(data, size);
        return 0;
    }
    const osg::ref_ptr<osg::Image> image = read(bytes, optionsFor(size > 0 ? data[size - 1] : 0));
    if (!image) return 0;
    require(mvgeo::ktxHeaderFault(data, size).empty(), "no file with a fault is read");
    const std::vector<unsigned char> pixels = bytesOf(*image);
    if (std::max({image->s(), image->t(), image->r()}) <= kLongestRewritten) checkRewriting(*image, pixels);
    return 0;
}

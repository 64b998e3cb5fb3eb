#include "readerwriterktx/KtxTestFiles.h"
#include "readerwriterktx/ReaderWriterKTX.h"

#include "fuzz/FuzzTarget.h"

#include <osg/ImageSequence>
#include <osg/Texture>
#include <osgDB/Options>

#include <cstring>
#include <initializer_list>
#include <sstream>
#include <utility>

namespace
{

using Images = std::vector<osg::ref_ptr<osg::Image>>;

osg::ref_ptr<osg::Image> makeImage(int width, int height, int depth, GLenum format, GLenum dataType,
                                   unsigned int first = 0)
{
    const osg::ref_ptr<osg::Image> image(new osg::Image);
    const unsigned int size = osg::Image::computeImageSizeInBytes(width, height, depth, format, dataType, 1);
    auto* pixels = new unsigned char[size];
    for (unsigned int i = 0; i < size; ++i)
        pixels[i] = static_cast<unsigned char>(first + 13 * i);
    image->setImage(width, height, depth, static_cast<GLint>(format), format, dataType, pixels,
                    osg::Image::USE_NEW_DELETE, 1);
    return image;
}

osg::ref_ptr<osg::Image> makeSequence(unsigned int count, GLenum format)
{
    const osg::ref_ptr<osg::ImageSequence> sequence(new osg::ImageSequence);
    for (unsigned int i = 0; i < count; ++i)
        sequence->addImage(makeImage(8, 8, 1, format, GL_UNSIGNED_BYTE, 40 * i));
    return sequence;
}

std::string written(const osg::Image& image, std::initializer_list<std::pair<const char*, const char*>> strings)
{
    static const osg::ref_ptr<ReaderWriterKTX> writer(new ReaderWriterKTX);
    const osg::ref_ptr<osgDB::Options> options(new osgDB::Options);
    for (const auto& [name, value] : strings)
        options->setPluginStringData(name, value);
    std::ostringstream stream;
    writer->writeImage(image, stream, options.get());
    return stream.str();
}

void addPlain(std::vector<std::string>& seeds)
{
    for (const GLenum format : {GL_RGBA, GL_RGB, GL_LUMINANCE, GL_BGRA})
        seeds.push_back(written(*makeImage(9, 6, 1, format, GL_UNSIGNED_BYTE), {{"UseBASISU", "0"}}));
    for (const GLenum format : {GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT,
                                GL_COMPRESSED_RGBA8_ETC2_EAC, GL_COMPRESSED_RGBA_ASTC_6x6_KHR})
        seeds.push_back(written(*makeImage(12, 12, 1, format, GL_UNSIGNED_BYTE), {{"UseBASISU", "0"}}));
    seeds.push_back(written(*makeImage(8, 4, 3, GL_RGBA, GL_UNSIGNED_BYTE), {{"UseBASISU", "0"}}));
    seeds.push_back(written(*makeSequence(3, GL_RGB), {{"UseBASISU", "0"}}));
    seeds.push_back(written(*makeSequence(6, GL_RGBA), {{"UseBASISU", "0"}, {"SavingCubeMap", "true"}}));
}

void addBasis(std::vector<std::string>& seeds)
{
    for (const GLenum format : {GL_RGBA, GL_RGB})
        for (const char* isUastc : {"0", "1"})
        {
            const std::initializer_list<std::pair<const char*, const char*>> options = {
                {"UseBASISU", "1"}, {"UseUASTC", isUastc}, {"CompressLevel", "1"}, {"QualityLevel", "128"}};
            seeds.push_back(written(*makeImage(16, 16, 1, format, GL_UNSIGNED_BYTE), options));
            seeds.push_back(written(*makeImage(13, 5, 1, format, GL_UNSIGNED_BYTE), options));
            seeds.push_back(written(*makeSequence(2, format), options));
        }
    seeds.push_back(written(*makeSequence(6, GL_RGB), {{"UseBASISU", "1"}, {"SavingCubeMap", "true"}}));
    const osg::ref_ptr<osg::Image> even = makeImage(8, 8, 1, GL_RGB, GL_UNSIGNED_BYTE); // palettes of one entry
    std::memset(even->data(), 100, even->getTotalSizeInBytes());
    seeds.push_back(written(*even, {{"UseBASISU", "1"}}));
}

} // namespace

std::vector<std::string> mvgeo::fuzz::seeds()
{
    std::vector<std::string> seeds = {
        "",
        ktxfiles::ktx2Rgba(4, 4, 3),
        ktxfiles::ktx2Zstd(256, 256, 2),
        ktxfiles::ktx2Zlib(8, 4),
        ktxfiles::ktx1Rgba(8, 4, 4),
        ktxfiles::ktx1Rgba(8, 4, 4, true),
        ktxfiles::ktx1Rgb565(6, 6, 3, true),
        ktxfiles::ktx1Rgb565(4, 4, 3, false),
    };
    addPlain(seeds);
    addBasis(seeds);
    return seeds;
}

#include "readerwriterktx/KtxTestImages.h"

#include "Ktx2Validation.h"
#include "support/ImageBytes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

osg::ref_ptr<osg::Image> countingImage(int width, int height, int depth, GLint internalFormat, GLenum pixelFormat,
                                       GLenum dataType, unsigned int levels, unsigned int first)
{
    unsigned int size = 0;
    osg::Image::MipmapDataType offsets;
    for (unsigned int level = 0; level < levels; ++level)
    {
        if (level > 0) offsets.push_back(size);
        size += osg::Image::computeImageSizeInBytes(std::max(width >> level, 1), std::max(height >> level, 1),
                                                    std::max(depth >> level, 1), pixelFormat, dataType, 1);
    }
    auto* pixels = new unsigned char[size]; // the image deletes it
    for (unsigned int i = 0; i < size; ++i)
        pixels[i] = static_cast<unsigned char>(first + i);
    osg::ref_ptr<osg::Image> image(new osg::Image);
    image->setImage(width, height, depth, internalFormat, pixelFormat, dataType, pixels, osg::Image::USE_NEW_DELETE, 1);
    image->setMipmapLevels(offsets);
    return image;
}

osg::ref_ptr<osg::Image> rgbaImage(int width, int height, unsigned int levels, unsigned int first)
{
    return countingImage(width, height, 1, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, levels, first);
}

osg::ref_ptr<osg::Image> smoothImage(int width, int height, bool hasAlpha)
{
    const GLenum format = hasAlpha ? GL_RGBA : GL_RGB;
    osg::ref_ptr<osg::Image> image =
        countingImage(width, height, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
        {
            unsigned char* pixel = image->data(static_cast<unsigned int>(column), static_cast<unsigned int>(row));
            pixel[0] = static_cast<unsigned char>(255 * column / width);
            pixel[1] = static_cast<unsigned char>(255 * row / height);
            pixel[2] = static_cast<unsigned char>(200 - 200 * row / height);
            if (hasAlpha) pixel[3] = static_cast<unsigned char>(55 + 200 * column / width);
        }
    return image;
}

osg::ref_ptr<osg::ImageSequence> sequenceOf(const std::vector<osg::ref_ptr<osg::Image>>& images)
{
    osg::ref_ptr<osg::ImageSequence> sequence(new osg::ImageSequence);
    for (const osg::ref_ptr<osg::Image>& image : images)
        sequence->addImage(image);
    return sequence;
}

osg::ref_ptr<osgDB::Options> optionsWith(std::initializer_list<std::pair<const char*, const char*>> strings)
{
    osg::ref_ptr<osgDB::Options> options(new osgDB::Options);
    for (const auto& [name, value] : strings)
        options->setPluginStringData(name, value);
    return options;
}

std::string written(const osg::Image& image, const osgDB::Options* options)
{
    const osg::ref_ptr<ReaderWriterKTX> writer(new ReaderWriterKTX);
    std::ostringstream stream;
    return writer->writeImage(image, stream, options).success() ? stream.str() : std::string();
}

osg::ref_ptr<osg::Image> read(const std::string& bytes, const osgDB::Options* options)
{
    const osg::ref_ptr<ReaderWriterKTX> reader(new ReaderWriterKTX);
    std::istringstream stream(bytes);
    return reader->readImage(stream, options).getImage();
}

std::vector<unsigned char> bytesOf(const osg::Image& image)
{
    return {image.data(), image.data() + mvgeo::imageBytes(image)};
}

double psnr(const osg::Image& a, const osg::Image& b, unsigned int channels)
{
    if (a.s() != b.s() || a.t() != b.t()) return 0.0;
    const auto height = static_cast<unsigned int>(a.t());
    const auto rowOf = [height](const osg::Image& image, unsigned int row)
    { return image.getOrigin() == osg::Image::TOP_LEFT ? height - 1 - row : row; };
    double sum = 0.0;
    for (unsigned int row = 0; row < height; ++row)
        for (unsigned int column = 0; column < static_cast<unsigned int>(a.s()); ++column)
        {
            const osg::Vec4 difference = a.getColor(column, rowOf(a, row)) - b.getColor(column, rowOf(b, row));
            for (unsigned int i = 0; i < channels; ++i)
                sum += static_cast<double>(difference[i]) * difference[i];
        }
    if (sum == 0.0) return std::numeric_limits<double>::infinity();
    return -10.0 * std::log10(sum / (static_cast<double>(a.s()) * a.t() * channels));
}

std::uint32_t u32At(const std::string& bytes, std::size_t offset)
{
    std::uint32_t value = 0;
    if (offset + sizeof(value) <= bytes.size())
        std::memcpy(&value, bytes.data() + offset, sizeof(value));
    else
        ADD_FAILURE() << "there is no byte " << offset;
    return value;
}

std::string metadataOf(const std::string& ktx2, const std::string& key)
{
    const std::size_t begin = u32At(ktx2, 56);
    const std::size_t end = begin + u32At(ktx2, 60);
    for (std::size_t at = begin; at + 4 < end;)
    {
        const std::size_t size = u32At(ktx2, at);
        const std::string pair = ktx2.substr(at + 4, size);
        const std::size_t zero = pair.find('\0');
        if (pair.substr(0, zero) == key) return pair.substr(zero + 1, size - zero - 2);
        at += (4 + size + 3) / 4 * 4;
    }
    return {};
}

int countOfLine(const LogRecorder& log, osg::NotifySeverity severity, const std::string& text)
{
    const std::vector<LogRecorder::Line> lines = log.lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(),
                                          [&](const LogRecorder::Line& line)
                                          { return line.severity == severity && line.text == text; }));
}

std::string violationOf(const std::string& ktx2)
{
    return mvgeo::ktx2Violation(reinterpret_cast<const unsigned char*>(ktx2.data()), ktx2.size());
}

std::string ktx2::levelOf(const std::string& bytes, unsigned int level)
{
    const std::size_t entry = 80 + std::size_t{24} * level;
    return bytes.substr(u32At(bytes, entry), u32At(bytes, entry + 8));
}

#pragma once

#include "readerwriterktx/ReaderWriterKTX.h"
#include "support/LogRecorder.h"

#include <osg/Image>
#include <osg/ImageSequence>
#include <osg/ref_ptr>
#include <osgDB/Options>

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#if defined(MVGEO_HAVE_KTX)
#define SKIP_WITHOUT_KTX() (void)0
#else
#define SKIP_WITHOUT_KTX() GTEST_SKIP() << "built without libktx"
#endif

/** A test that reads or writes textures. */
class KtxTest : public testing::Test
{
protected:
    void SetUp() override { SKIP_WITHOUT_KTX(); }
};

/** An image whose bytes follow from their place: `first`, then one more each, over all levels; rows without padding.
 * @param levels  how many of them it has; more than one makes the whole chain down to that level. */
osg::ref_ptr<osg::Image> countingImage(int width, int height, int depth, GLint internalFormat, GLenum pixelFormat,
                                       GLenum dataType, unsigned int levels = 1, unsigned int first = 0);
osg::ref_ptr<osg::Image> rgbaImage(int width, int height, unsigned int levels = 1, unsigned int first = 0);

/** A smooth picture that compresses well: red rises to the right, green upwards, blue falls, alpha if there is one
 * rises to the right. */
osg::ref_ptr<osg::Image> smoothImage(int width, int height, bool hasAlpha = false);

osg::ref_ptr<osg::ImageSequence> sequenceOf(const std::vector<osg::ref_ptr<osg::Image>>& images);

/** The options with these plug-in strings, which may be none. */
osg::ref_ptr<osgDB::Options> optionsWith(std::initializer_list<std::pair<const char*, const char*>> strings);

/** What a new reader-writer writes to a stream; empty if it fails. */
std::string written(const osg::Image& image, const osgDB::Options* options);
/** What a new reader-writer makes of these bytes; null if it fails. */
osg::ref_ptr<osg::Image> read(const std::string& bytes, const osgDB::Options* options = nullptr);

/** All bytes of all levels. */
std::vector<unsigned char> bytesOf(const osg::Image& image);

/** Peak signal-to-noise ratio of the first `channels` channels of the first level, seen from the same corner, in
 * decibels; infinite for equal pictures. Formats that OSG can look up colours in. */
double psnr(const osg::Image& a, const osg::Image& b, unsigned int channels = 3);

/** A number of a file's header. */
std::uint32_t u32At(const std::string& bytes, std::size_t offset);
/** The value of a KTX 2 key, without the zero at its end; empty if there is none. */
std::string metadataOf(const std::string& ktx2, const std::string& key);

/** Number of lines of this severity that are the text and nothing else. */
int countOfLine(const LogRecorder& log, osg::NotifySeverity severity, const std::string& text);

/** What is wrong with the bytes as a KTX 2.0 file, to the letter; empty if nothing is. */
std::string violationOf(const std::string& ktx2);

/** Where a KTX 2 header has its numbers. */
namespace ktx2
{
constexpr std::size_t kVkFormat = 12;
constexpr std::size_t kWidth = 20;
constexpr std::size_t kHeight = 24;
constexpr std::size_t kDepth = 28;
constexpr std::size_t kLayers = 32;
constexpr std::size_t kFaces = 36;
constexpr std::size_t kLevels = 40;
constexpr std::size_t kScheme = 44;
/** The bytes of a level that is not compressed. */
std::string levelOf(const std::string& bytes, unsigned int level);
} // namespace ktx2

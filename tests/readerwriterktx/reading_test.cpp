#include "readerwriterktx/KtxReading.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/KtxTestFiles.h"
#include "readerwriterktx/KtxTestImages.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <osg/Texture>
#include <osg/ValueObject>

#include <algorithm>
#include <functional>
#include <thread>
#include <utility>

namespace
{

struct KtxReading : public KtxTest
{
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({}); // options, and so no encoder
};

void append(std::string& bytes, std::uint32_t value)
{
    bytes.append(reinterpret_cast<const char*>(&value), 4);
}

/** A KTX 1 file as its own makers describe it. */
struct Ktx1
{
    std::uint32_t glType, glTypeSize, glFormat, glInternalFormat, glBaseFormat;
    std::uint32_t width, height = 0, depth = 0, layers = 0, faces = 1, levelCount = 1;
    std::string key = {}, value = {};     // none if empty
    bool valueHasEnd = true;              // a zero behind it
    std::vector<std::string> levels = {}; // with their padding; of a cube map one face after the other
    std::string build() const
    {
        std::string pair;
        if (!key.empty())
        {
            const std::string both = key + '\0' + value + (valueHasEnd ? std::string(1, '\0') : std::string());
            append(pair, static_cast<std::uint32_t>(both.size()));
            pair += both;
            pair.resize((pair.size() + 3) / 4 * 4);
        }
        std::string file("\xABKTX 11\xBB\r\n\x1A\n");
        for (const std::uint32_t number :
             {0x04030201U, glType, glTypeSize, glFormat, glInternalFormat, glBaseFormat, width, height, depth, layers,
              faces, levelCount, static_cast<std::uint32_t>(pair.size())})
            append(file, number);
        file += pair;
        for (const std::string& level : levels)
        {
            append(file, static_cast<std::uint32_t>(level.size()) / (faces == 6 && layers == 0 ? 6 : 1));
            file += level;
        }
        return file;
    }
};

/** One column of RGBA pixels whose channels all say the number of their row, counted from the file's first. */
Ktx1 columnOfRows(std::uint32_t height)
{
    Ktx1 file{GL_UNSIGNED_BYTE, 1, GL_RGBA, GL_RGBA8, GL_RGBA, 1, height};
    std::string level;
    for (std::uint32_t row = 0; row < height; ++row)
        level.append(4, static_cast<char>(row));
    file.levels = {level};
    return file;
}

std::vector<int> rowNumbers(const osg::Image& image)
{
    std::vector<int> numbers;
    for (int row = 0; row < image.t(); ++row)
        numbers.push_back(*image.data(0, static_cast<unsigned int>(row)));
    return numbers;
}

/** The file with its orientation told otherwise; as many letters as before. */
std::string oriented(std::string file, const std::string& orientation)
{
    const std::string key = std::string("KTXorientation") + '\0';
    const std::size_t at = file.find(key);
    EXPECT_NE(at, std::string::npos);
    return file.replace(at + key.size(), orientation.size(), orientation);
}

const osg::ImageSequence* sequenceIn(const osg::ref_ptr<osg::Image>& image)
{
    return dynamic_cast<const osg::ImageSequence*>(image.get());
}

TEST_F(KtxReading, TurnsRowsUpThatComeFromAbove)
{
    Ktx1 file = columnOfRows(3);
    const std::vector<int> turned{2, 1, 0};
    const std::vector<int> asStored{0, 1, 2};
    const auto rows = [&file](const char* key, const char* value)
    {
        file.key = key;
        file.value = value;
        const osg::ref_ptr<osg::Image> image = read(file.build());
        if (!image) return std::vector<int>();
        EXPECT_EQ(image->getOrigin(), osg::Image::BOTTOM_LEFT);
        return rowNumbers(*image);
    };
    EXPECT_EQ(rows("", ""), turned); // as both versions of the format have it without a key
    EXPECT_EQ(rows("KTXorientation", "S=r,T=d"), turned);
    EXPECT_EQ(rows("KTXorientation", "S=r,T=u"), asStored);
    EXPECT_EQ(rows("KTXOrientation", "S=r,T=d"), turned); // some writers' capital letter
    EXPECT_EQ(rows("KTXOrientation", "S=r,T=u"), asStored);
    EXPECT_EQ(rows("KTXorientation", "nonsense"), turned);
    EXPECT_EQ(rows("KTXorientation", "S=r"), turned);
    EXPECT_EQ(rows("Other", "S=r,T=u"), turned);
}

TEST_F(KtxReading, TurnsEveryLevelAndSliceOfKtx2)
{
    const osg::ref_ptr<osg::Image> source = rgbaImage(1, 4, 3); // rows 0, 4, 8, 12; 16, 20; 24
    const std::string fromBelow = written(*source, plain);
    EXPECT_EQ(bytesOf(*read(fromBelow)), bytesOf(*source));
    const osg::ref_ptr<osg::Image> turned = read(oriented(fromBelow, "rd"));
    ASSERT_TRUE(turned);
    ASSERT_EQ(turned->getNumMipmapLevels(), 3U);
    EXPECT_EQ(rowNumbers(*turned), (std::vector<int>{12, 8, 4, 0}));
    EXPECT_EQ(turned->getMipmapData(1)[0], 20);
    EXPECT_EQ(turned->getMipmapData(1)[4], 16);
    EXPECT_EQ(turned->getMipmapData(2)[0], 24);

    const osg::ref_ptr<osg::Image> solid = countingImage(1, 2, 2, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE);
    const osg::ref_ptr<osg::Image> turnedSolid = read(oriented(written(*solid, plain), "rdi"));
    ASSERT_TRUE(turnedSolid);
    EXPECT_EQ(turnedSolid->r(), 2);
    std::vector<int> firsts;
    for (unsigned int slice = 0; slice < 2; ++slice)
        for (unsigned int row = 0; row < 2; ++row)
            firsts.push_back(*turnedSolid->data(0, row, slice));
    EXPECT_EQ(firsts, (std::vector<int>{4, 0, 12, 8})); // within its slice
}

// 1 row of 3 RGB pixels takes 9 bytes and 3 of filling.
TEST_F(KtxReading, LeavesOutTheFillingOfKtx1)
{
    Ktx1 file{GL_UNSIGNED_BYTE, 1, GL_RGB, GL_RGB8, GL_RGB, 3, 2};
    file.levelCount = 2;
    file.levels = {std::string("abcdefghi...jklmnopqr..."), std::string("xyz.")};
    const osg::ref_ptr<osg::Image> image = read(file.build());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->getPacking(), 1U);
    const std::vector<unsigned char> bytes = bytesOf(*image);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "jklmnopqrabcdefghixyz");
    EXPECT_EQ(image->getInternalTextureFormat(), GL_RGB8);
    EXPECT_EQ(image->getPixelFormat(), static_cast<GLenum>(GL_RGB));
}

TEST_F(KtxReading, SwapsBytesOfTheOtherKindOfMachine)
{
    Ktx1 file{GL_UNSIGNED_SHORT_5_6_5, 2, GL_RGB, 0x8D62, GL_RGB, 2, 1};
    file.levels = {std::string("\x12\x34\x56\x78")};
    std::string bytes = file.build();
    for (std::size_t at = 12; at < 64; at += 4)
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4);
    std::reverse(bytes.begin() + 64, bytes.begin() + 68);
    const osg::ref_ptr<osg::Image> image = read(bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(bytesOf(*image), (std::vector<unsigned char>{0x34, 0x12, 0x78, 0x56}));
}

// 5, 5, 5 and 1 bits: two pixels a row, and one with two bytes of filling.
TEST_F(KtxReading, Rgb5A1OfKtx1IsRead)
{
    for (const auto& [format, type] :
         {std::pair{GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1}, {GL_BGRA, GL_UNSIGNED_SHORT_1_5_5_5_REV}})
        for (const bool isBigEndian : {false, true})
        {
            SCOPED_TRACE(testing::Message() << type << (isBigEndian ? ", the other order" : ""));
            Ktx1 file{
                static_cast<std::uint32_t>(type), 2, static_cast<std::uint32_t>(format), GL_RGB5_A1, GL_RGBA, 2, 2};
            file.levelCount = 2;
            file.levels = {"abcdefgh", "ij.."};
            std::string bytes = file.build();
            if (isBigEndian)
            {
                const auto turn = [&bytes](std::size_t at, std::size_t count)
                {
                    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
                    std::reverse(begin, begin + static_cast<std::ptrdiff_t>(count));
                };
                for (std::size_t at = 12; at <= 64; at += 4) // the header and the first level's size
                    turn(at, 4);
                turn(76, 4); // the second one's
                for (const std::size_t at : {68, 70, 72, 74, 80, 82})
                    turn(at, 2);
            }
            const osg::ref_ptr<osg::Image> image = read(bytes);
            ASSERT_TRUE(image);
            EXPECT_EQ(image->getInternalTextureFormat(), GL_RGB5_A1);
            EXPECT_EQ(image->getPixelFormat(), static_cast<GLenum>(format));
            EXPECT_EQ(image->getDataType(), static_cast<GLenum>(type));
            const std::vector<unsigned char> pixels = bytesOf(*image);
            EXPECT_EQ(std::string(pixels.begin(), pixels.end()), "efghabcdij"); // turned upside down
            EXPECT_TRUE(log.lines().empty());
        }
}

// Some writers leave the zero out, and nobody reads on behind that text.
TEST_F(KtxReading, TheWritersNameNeedNoEnd)
{
    Ktx1 file = columnOfRows(2);
    file.key = "KTXwriter";
    for (const char* name : {"painter 7", "p", "paint"})
    {
        file.value = name;
        file.valueHasEnd = false;
        EXPECT_TRUE(read(file.build())) << name;
    }
    EXPECT_TRUE(log.lines().empty());
    file.key = "KTXorientation"; // this one is read as text
    file.value = "S=r,T=d";
    EXPECT_FALSE(read(file.build()));
}

TEST_F(KtxReading, TakesNoLevelsForOneAndNoHeightForALine)
{
    Ktx1 file = columnOfRows(2);
    file.levelCount = 0; // whoever draws is to make the others
    const osg::ref_ptr<osg::Image> one = read(file.build());
    ASSERT_TRUE(one);
    EXPECT_FALSE(one->isMipmap());
    Ktx1 line{GL_UNSIGNED_BYTE, 1, GL_RGBA, GL_RGBA8, GL_RGBA, 2};
    line.levels = {"abcdefgh"};
    const osg::ref_ptr<osg::Image> image = read(line.build());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->s(), 2);
    EXPECT_EQ(image->t(), 1);
    EXPECT_EQ(image->r(), 1);
}

TEST_F(KtxReading, MakesLayersASequence)
{
    const osg::ref_ptr<osg::Image> image =
        read(written(*sequenceOf({rgbaImage(4, 2, 2, 0), rgbaImage(4, 2, 2, 90)}), plain));
    const osg::ImageSequence* sequence = sequenceIn(image);
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 2U);
    EXPECT_EQ(bytesOf(*sequence->getImage(0)), bytesOf(*rgbaImage(4, 2, 2, 0)));
    EXPECT_EQ(bytesOf(*sequence->getImage(1)), bytesOf(*rgbaImage(4, 2, 2, 90)));
    EXPECT_EQ(image->s(), 4); // and shows the first one itself
    EXPECT_EQ(image->getNumMipmapLevels(), 2U);
    EXPECT_EQ(*image->data(), 0);
}

TEST_F(KtxReading, KeepsTheFacesOfACubeMapAsTheyAre)
{
    std::vector<osg::ref_ptr<osg::Image>> faces;
    for (unsigned int i = 0; i < 6; ++i)
        faces.push_back(rgbaImage(2, 2, 1, 20 * i));
    const osg::ref_ptr<osg::Image> image = read(written(*sequenceOf(faces), optionsWith({{"SavingCubeMap", "true"}})));
    const osg::ImageSequence* sequence = sequenceIn(image);
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 6U);
    for (unsigned int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(bytesOf(*sequence->getImage(i)), bytesOf(*faces[i])) << i;
        EXPECT_EQ(sequence->getImage(i)->getOrigin(), osg::Image::TOP_LEFT);
    }
    bool isCube = false;
    EXPECT_TRUE(image->getUserValue("KTXcubemap", isCube));
    EXPECT_TRUE(isCube);
}

TEST_F(KtxReading, TurnsBlocksOnlyWhereNothingIsLost)
{
    struct Case
    {
        GLenum format;
        int height;
        bool isTurned;
    };
    for (const Case& c :
         {Case{GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 8, true}, Case{GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 4, true},
          Case{GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 6, false}, Case{GL_COMPRESSED_RGB8_ETC2, 8, false},
          Case{GL_COMPRESSED_RGBA_ASTC_4x4_KHR, 8, false}})
    {
        SCOPED_TRACE(testing::Message() << c.format << " height " << c.height);
        const osg::ref_ptr<osg::Image> source =
            countingImage(4, c.height, 1, static_cast<GLint>(c.format), c.format, GL_UNSIGNED_BYTE);
        const std::string fromBelow = written(*source, plain);
        const osg::ref_ptr<osg::Image> asStored = read(fromBelow);
        ASSERT_TRUE(asStored);
        EXPECT_EQ(bytesOf(*asStored), bytesOf(*source));
        EXPECT_EQ(asStored->getOrigin(), osg::Image::BOTTOM_LEFT);
        const osg::ref_ptr<osg::Image> fromAbove = read(oriented(fromBelow, "rd"));
        ASSERT_TRUE(fromAbove);
        EXPECT_EQ(fromAbove->getOrigin(), c.isTurned ? osg::Image::BOTTOM_LEFT : osg::Image::TOP_LEFT);
        EXPECT_EQ(bytesOf(*fromAbove) == bytesOf(*source), !c.isTurned);
    }
}

// OSG can turn DXT1 itself and look up its colours: both must see what we turned.
TEST_F(KtxReading, TurnsBlocksAsOsgDoes)
{
    const osg::ref_ptr<osg::Image> source =
        countingImage(16, 16, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_UNSIGNED_BYTE);
    const osg::ref_ptr<osg::Image> turned = read(oriented(written(*source, plain), "rd"));
    source->flipVertical();
    EXPECT_EQ(bytesOf(*turned), bytesOf(*source));
}

TEST_F(KtxReading, KeepsASwizzleForWhoeverDraws)
{
    Ktx1 file = columnOfRows(1);
    file.key = "KTXswizzle";
    file.value = "rrrg";
    std::string swizzle;
    EXPECT_TRUE(read(file.build())->getUserValue("KTXswizzle", swizzle));
    EXPECT_EQ(swizzle, "rrrg");
    file.value = "rgba"; // as it is
    EXPECT_FALSE(read(file.build())->getUserValue("KTXswizzle", swizzle));
}

TEST_F(KtxReading, NamesAFormatThatNoImageCarries)
{
    std::string file = written(*countingImage(4, 4, 1, GL_R32F, GL_RED, GL_FLOAT), plain);
    file[ktx2::kVkFormat] = 122; // VK_FORMAT_B10G11R11_UFLOAT_PACK32, 4 bytes too
    EXPECT_FALSE(read(file));
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Failed to get KTX2 file format: VkFormat = 122"), 1);
}

// Two levels of 4 bytes, the second of them 2 with 2 of filling.
TEST_F(KtxReading, RefusesATextureOfAnotherSizeThanItsImage)
{
    Ktx1 file{GL_UNSIGNED_SHORT_5_6_5, 2, GL_RGB, 0x8D62, GL_RGB, 2, 1};
    file.levelCount = 2;
    file.levels = {"abcd", "ef.."};
    const std::string whole = file.build();
    EXPECT_TRUE(read(whole));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(read(whole + "gh"));
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Failed to copy image data, size mismatched: 8 != 10"), 1);
    file.levels = {"abcd", "ef"};
    EXPECT_FALSE(read(file.build()));
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Failed to copy image data, size mismatched: 8 != 6"), 1);
    EXPECT_EQ(log.lines().size(), 2U);
}

// OSG counts their bits by the pixel, which are no whole number, and says so.
TEST_F(KtxReading, OfAstcWithOneLevelGivesNoWarning)
{
    for (const GLenum format : {GL_COMPRESSED_RGBA_ASTC_4x4_KHR, GL_COMPRESSED_RGBA_ASTC_6x6_KHR,
                                GL_COMPRESSED_RGBA_ASTC_8x5_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR})
        for (const unsigned int levels : {1U, 3U})
        {
            SCOPED_TRACE(testing::Message() << std::hex << format << ", " << levels << " levels");
            const osg::ref_ptr<osg::Image> source =
                countingImage(13, 9, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE, levels);
            const osg::ref_ptr<osg::Image> image = read(written(*source, plain));
            ASSERT_TRUE(image);
            EXPECT_EQ(bytesOf(*image), bytesOf(*source));
        }
    EXPECT_TRUE(log.lines().empty());
}

// The mark stands in the flags of the format descriptor.
TEST_F(KtxReading, KeepsTheMarkOfPremultipliedAlpha)
{
    constexpr std::size_t kFlags = 15;
    const auto flagsOf = [](const std::string& file) { return file[u32At(file, 48) + kFlags]; };
    const auto isMarked = [](const osg::Image* image)
    {
        bool is = false;
        return image && image->getUserValue("KTXpremultipliedAlpha", is) && is;
    };
    const osg::ref_ptr<osg::Image> source = smoothImage(16, 16, true);
    const auto uastc = optionsWith({{"UseBASISU", "1"}, {"UseUASTC", "1"}, {"CompressLevel", "1"}});
    const auto etc1s = optionsWith({{"UseBASISU", "1"}, {"CompressLevel", "1"}, {"QualityLevel", "128"}});
    for (const auto& options : {plain, uastc, etc1s})
    {
        std::string file = written(*source, options);
        EXPECT_EQ(flagsOf(file), 0);
        EXPECT_FALSE(isMarked(read(file)));
        file[u32At(file, 48) + kFlags] = 1;
        const osg::ref_ptr<osg::Image> image = read(file);
        EXPECT_TRUE(isMarked(image));
        source->setUserValue("KTXpremultipliedAlpha", true);
        EXPECT_TRUE(written(*source, options) == file) << "and it is written again";
        source->setUserValue("KTXpremultipliedAlpha", false);
    }
    source->setUserValue("KTXpremultipliedAlpha", true);
    const osg::ref_ptr<osg::Image> image = read(written(*sequenceOf({source, source}), plain));
    const osg::ImageSequence* sequence = sequenceIn(image);
    ASSERT_TRUE(sequence);
    EXPECT_TRUE(isMarked(sequence));
    EXPECT_TRUE(isMarked(sequence->getImage(0)));
    EXPECT_TRUE(isMarked(sequence->getImage(1)));
}

TEST_F(KtxReading, NamesAKindOfBasisDataThatIsNewer)
{
    constexpr std::size_t kModelOfDescriptor = 12;
    std::string file = ktxfiles::ktx2Uastc(16, 16, 0x123456);
    file[u32At(file, 48) + kModelOfDescriptor] = static_cast<char>(167);
    EXPECT_FALSE(read(file));
    EXPECT_EQ(
        countOfLine(log, osg::WARN,
                    "[LoaderKTX] Unable to read from stream: 1 (UASTC HDR 4x4, a newer kind of Basis data, is not "
                    "supported)"),
        1);
}

TEST_F(KtxReading, TellsTheSourceFormatAtInformationLevel)
{
    const std::string file = written(*rgbaImage(8, 4), plain);
    EXPECT_TRUE(read(file));
    EXPECT_TRUE(log.lines().empty());
    osg::setNotifyLevel(osg::INFO);
    EXPECT_TRUE(read(file));
    EXPECT_EQ(countOfLine(log, osg::INFO,
                          "[LoaderKTX] Source format: internalFmt = 0x1908, pixelFmt = 0x1908, "
                          "type = 0x1401, res = 8 x 4"),
              1);
}

struct BasisCase
{
    const char* option;
    bool hasAlpha;
    GLenum pixelFormat;
    std::string number; // of the format
};

class KtxBasis : public KtxReading, public testing::WithParamInterface<const char*>
{
public:
    std::string encoded(int width, int height, bool hasAlpha)
    {
        return written(
            *smoothImage(width, height, hasAlpha),
            optionsWith(
                {{"UseBASISU", "1"}, {"UseUASTC", GetParam()}, {"CompressLevel", "1"}, {"QualityLevel", "128"}}));
    }
};

TEST_P(KtxBasis, BecomesWhatTheOptionsSay)
{
    osg::setNotifyLevel(osg::INFO);
    const std::string opaque = encoded(64, 64, false);
    const std::string translucent = encoded(64, 64, true);
    for (const BasisCase& c :
         {BasisCase{"UseDXT", false, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, "0x83f0"},
          BasisCase{"UseDXT", true, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, "0x83f3"},
          BasisCase{"UseETC", false, GL_COMPRESSED_RGB8_ETC2, "0x9274"},
          BasisCase{"UseETC", true, GL_COMPRESSED_RGBA8_ETC2_EAC, "0x9278"},
          BasisCase{"UseRGBA", false, GL_RGBA, "0x1908"}, BasisCase{"UseRGBA", true, GL_RGBA, "0x1908"}})
    {
        SCOPED_TRACE(testing::Message() << c.option << (c.hasAlpha ? " with" : " without") << " alpha");
        log.clear();
        const osg::ref_ptr<osg::Image> image = read(c.hasAlpha ? translucent : opaque, optionsWith({{c.option, "1"}}));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->getPixelFormat(), c.pixelFormat);
        EXPECT_EQ(countOfLine(log, osg::INFO,
                              "[LoaderKTX] Transcoded format: internalFmt = " + c.number + ", pixelFmt = " + c.number +
                                  ", type = 0x1401"),
                  1);
        EXPECT_EQ(log.count(osg::INFO, "Source format"), 0);
        EXPECT_EQ(image->s(), 64);
        EXPECT_EQ(image->t(), 64);
    }
}

TEST_P(KtxBasis, StaysUncompressedAtOtherSizes)
{
    const osg::ref_ptr<osg::Image> image = read(encoded(300, 200, false), optionsWith({{"UseDXT", "1"}}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->getPixelFormat(), static_cast<GLenum>(GL_RGBA));
    EXPECT_EQ(log.count(osg::NOTICE, "[LoaderKTX] Found NPOT image: 300 x 200, will not transcode to compressing "
                                     "texture format"),
              1);
}

// Measured: 35.4 dB at least (ETC1S in blocks of BC3); the same picture upside down has 7.4.
TEST_P(KtxBasis, LooksLikeItsSource)
{
    const osg::ref_ptr<osg::Image> source = smoothImage(128, 64, true);
    const std::string file = encoded(128, 64, true);
    for (const char* option : {"UseRGBA", "UseDXT"})
    {
        const osg::ref_ptr<osg::Image> image = read(file, optionsWith({{option, "1"}}));
        ASSERT_TRUE(image);
        EXPECT_GT(psnr(*image, *source, 3), 33.5) << option;
        const osg::ref_ptr<osg::Image> fromAbove = read(oriented(file, "rd"), optionsWith({{option, "1"}}));
        EXPECT_LT(psnr(*fromAbove, *source, 3), 12.0) << option;
        fromAbove->flipVertical();
        EXPECT_EQ(bytesOf(*fromAbove), bytesOf(*image)) << option;
    }
}

INSTANTIATE_TEST_SUITE_P(Etc1sAndUastc, KtxBasis, testing::Values("0", "1"));

// The first call sets up the coder's tables, reading or writing; run alone, this test makes it from many threads.
TEST_F(KtxReading, AndWritingMayBeginInManyThreadsAtOnce)
{
    const std::string file = ktxfiles::ktx2Uastc(64, 64, 0x123456);
    const osg::ref_ptr<osgDB::Options> rgba = optionsWith({{"UseRGBA", "1"}});
    const osg::ref_ptr<osgDB::Options> uastc = optionsWith({{"UseBASISU", "1"}, {"UseUASTC", "1"}});
    const osg::ref_ptr<osg::Image> source = smoothImage(16, 16);
    constexpr std::size_t kThreads = 8;
    std::vector<std::string> results(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&, i, &result = results[i]]
            {
                if (i % 2 == 1)
                    result = written(*source, uastc.get());
                else if (const osg::ref_ptr<osg::Image> image = read(file, rgba.get()))
                    result.assign(reinterpret_cast<const char*>(image->data()), image->getTotalSizeInBytes());
            });
    for (std::thread& thread : threads)
        thread.join();

    std::string pixels;
    for (int pixel = 0; pixel < 64 * 64; ++pixel)
        pixels += "\x12\x34\x56\xFF";
    const std::string encoded = written(*source, uastc.get());
    EXPECT_FALSE(encoded.empty());
    for (std::size_t i = 0; i < kThreads; ++i)
        EXPECT_TRUE(results[i] == (i % 2 == 1 ? encoded : pixels)) << i;
    EXPECT_TRUE(log.lines().empty());
}

/** Everything that reading can give comes back from writing it. */
TEST_F(KtxReading, BringsBackEveryFormatOfTheTable)
{
    std::vector<std::uint32_t> formats;
    for (std::uint32_t vkFormat = 1; vkFormat <= 184; ++vkFormat)
        formats.push_back(vkFormat);
    for (const std::uint32_t base : {1000054000U, 1000340000U})
        for (std::uint32_t i = 0; i < 8; ++i)
            formats.push_back(base + i);
    int count = 0;
    for (const std::uint32_t vkFormat : formats)
    {
        const std::optional<mvgeo::KtxImageFormat> format = mvgeo::imageFormatOfVk(vkFormat);
        if (!format) continue;
        SCOPED_TRACE(vkFormat);
        const osg::ref_ptr<osg::Image> source =
            countingImage(16, 16, 1, format->internalFormat, format->pixelFormat, format->dataType, 2, 3);
        const std::string file = written(*source, plain);
        ASSERT_FALSE(file.empty());
        EXPECT_EQ(violationOf(file), "");
        EXPECT_EQ(u32At(file, ktx2::kVkFormat), vkFormat);
        const osg::ref_ptr<osg::Image> image = read(file);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->getInternalTextureFormat(), format->internalFormat);
        EXPECT_EQ(image->getPixelFormat(), format->pixelFormat);
        EXPECT_EQ(image->getDataType(), format->dataType);
        ASSERT_EQ(image->getNumMipmapLevels(), 2U);
        // As many bytes as the file has: OSG takes PVRTC's blocks for twice their size.
        for (unsigned int level = 0; level < 2; ++level)
        {
            const std::string stored = ktx2::levelOf(file, level);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(image->getMipmapData(level)), stored.size()), stored);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(source->getMipmapData(level)), stored.size()), stored);
        }
        ++count;
    }
    EXPECT_GT(count, 130);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace

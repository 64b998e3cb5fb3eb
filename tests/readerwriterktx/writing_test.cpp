#include "readerwriterktx/KtxWriting.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/KtxTestImages.h"
#include "readerwriterktx/VkFormats.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <osg/Texture>

#include <algorithm>
#include <thread>
#include <tuple>
#include <utility>

namespace
{

constexpr std::uint32_t kBasisLz = 1;

struct KtxWriting : public KtxTest
{
    LogRecorder log;
    osg::ref_ptr<osgDB::Options> plain = optionsWith({}); // options, and so no encoder
};

std::vector<unsigned char> levelBytes(const std::string& file, unsigned int level)
{
    const std::string bytes = ktx2::levelOf(file, level);
    return {bytes.begin(), bytes.end()};
}

TEST_F(KtxWriting, TakesAllSettingsFromTheOptionsIfThereAreAny)
{
    const mvgeo::KtxSettings none = mvgeo::ktxSettings(nullptr);
    EXPECT_TRUE(none.useBasis);
    EXPECT_FALSE(none.useUastc);
    EXPECT_EQ(none.threadCount, 1);
    EXPECT_EQ(none.compressLevel, 2);
    EXPECT_EQ(none.qualityLevel, 128);

    const mvgeo::KtxSettings missing = mvgeo::ktxSettings(optionsWith({}));
    EXPECT_FALSE(missing.useBasis);
    EXPECT_FALSE(missing.useUastc);
    EXPECT_EQ(missing.threadCount, 0);
    EXPECT_EQ(missing.compressLevel, 0);
    EXPECT_EQ(missing.qualityLevel, 0);

    const mvgeo::KtxSettings given = mvgeo::ktxSettings(optionsWith({{"UseBASISU", "2"},
                                                                     {"UseUASTC", "1"},
                                                                     {"ThreadCount", "3"},
                                                                     {"CompressLevel", "-4"},
                                                                     {"QualityLevel", "77x"}}));
    EXPECT_TRUE(given.useBasis);
    EXPECT_TRUE(given.useUastc);
    EXPECT_EQ(given.threadCount, 3);
    EXPECT_EQ(given.compressLevel, -4);
    EXPECT_EQ(given.qualityLevel, 77);
    EXPECT_FALSE(mvgeo::ktxSettings(optionsWith({{"UseBASISU", "yes"}})).useBasis);
}

TEST_F(KtxWriting, StoresTheFormatOfTheInternalOne)
{
    struct Case
    {
        GLint internalFormat;
        GLenum pixelFormat;
        std::uint32_t vkFormat; // Vulkan's number, as the file has it
    };
    for (const Case& c : {Case{GL_RGBA, GL_RGBA, 37}, Case{GL_RGB, GL_RGB, 23}, Case{GL_ALPHA, GL_ALPHA, 9},
                          Case{GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 131},
                          Case{GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 137},
                          Case{GL_RGBA8, GL_BGRA, 44}, Case{GL_RGBA, GL_BGRA, 44}})
    {
        const osg::ref_ptr<osg::Image> image =
            countingImage(8, 8, 1, c.internalFormat, c.pixelFormat, GL_UNSIGNED_BYTE);
        const std::string file = written(*image, plain);
        ASSERT_FALSE(file.empty()) << c.vkFormat;
        EXPECT_EQ(u32At(file, ktx2::kVkFormat), c.vkFormat);
        EXPECT_EQ(levelBytes(file, 0), bytesOf(*image)) << c.vkFormat;
    }
}

TEST_F(KtxWriting, NamesAFormatThatItCannotStore)
{
    const osg::ref_ptr<osg::Image> image = rgbaImage(4, 4);
    image->setInternalTextureFormat(GL_COMPRESSED_RGBA_ARB); // 0x84EE
    EXPECT_TRUE(written(*image, plain).empty());
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] No VkFormat for GL internal format: 0x84ee"), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(KtxWriting, SaysHowManyDimensionsThereAre)
{
    const std::string line = written(*rgbaImage(8, 1), plain);
    EXPECT_EQ(u32At(line, ktx2::kWidth), 8U);
    EXPECT_EQ(u32At(line, ktx2::kHeight), 0U);
    EXPECT_EQ(metadataOf(line, "KTXorientation"), "r");
    const std::string plane = written(*rgbaImage(1, 8), plain);
    EXPECT_EQ(u32At(plane, ktx2::kHeight), 8U);
    EXPECT_EQ(u32At(plane, ktx2::kDepth), 0U);
    EXPECT_EQ(metadataOf(plane, "KTXorientation"), "ru");
    const osg::ref_ptr<osg::Image> solid = countingImage(4, 2, 3, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE);
    const std::string space = written(*solid, plain);
    EXPECT_EQ(u32At(space, ktx2::kDepth), 3U);
    EXPECT_EQ(metadataOf(space, "KTXorientation"), "rui");
    EXPECT_EQ(levelBytes(space, 0), bytesOf(*solid));
    for (const std::string& file : {line, plane, space})
    {
        EXPECT_EQ(u32At(file, ktx2::kLayers), 0U); // no array
        EXPECT_EQ(u32At(file, ktx2::kFaces), 1U);
        EXPECT_EQ(u32At(file, ktx2::kLevels), 1U);
    }
}

TEST_F(KtxWriting, KeepsTheRowsAndSaysWhichIsTheFirst)
{
    const osg::ref_ptr<osg::Image> image = rgbaImage(4, 4);
    const std::string fromBelow = written(*image, plain);
    EXPECT_EQ(metadataOf(fromBelow, "KTXorientation"), "ru");
    image->setOrigin(osg::Image::TOP_LEFT);
    const std::string fromAbove = written(*image, plain);
    EXPECT_EQ(metadataOf(fromAbove, "KTXorientation"), "rd");
    EXPECT_EQ(levelBytes(fromBelow, 0), bytesOf(*image));
    EXPECT_EQ(levelBytes(fromAbove, 0), bytesOf(*image));
    EXPECT_EQ(metadataOf(fromAbove, "KTXwriter").rfind("MvGeoThirdparty ", 0), 0U)
        << metadataOf(fromAbove, "KTXwriter");
}

TEST_F(KtxWriting, StoresAllLevelsThatThereAreAndNoMore)
{
    const osg::ref_ptr<osg::Image> image = rgbaImage(8, 4, 4); // 8x4, 4x2, 2x1, 1x1
    const std::string file = written(*image, plain);
    ASSERT_EQ(u32At(file, ktx2::kLevels), 4U);
    const std::vector<unsigned char> all = bytesOf(*image);
    std::size_t offset = 0;
    for (unsigned int level = 0; level < 4; ++level)
    {
        const std::vector<unsigned char> bytes = levelBytes(file, level);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), all.begin() + static_cast<std::ptrdiff_t>(offset))) << level;
        offset += bytes.size();
    }
    EXPECT_EQ(offset, all.size()); // 128 + 32 + 8 + 4
    EXPECT_EQ(u32At(written(*rgbaImage(8, 4, 2), plain), ktx2::kLevels), 2U);
    EXPECT_EQ(u32At(written(*rgbaImage(8, 4), plain), ktx2::kLevels), 1U);
}

// 3 pixels of 3 bytes are filled up to 12 bytes in memory.
TEST_F(KtxWriting, LeavesOutWhatIsBehindARow)
{
    unsigned char padded[24];
    for (unsigned char i = 0; i < 24; ++i)
        padded[i] = i;
    const osg::ref_ptr<osg::Image> image(new osg::Image);
    image->setImage(3, 2, 1, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, padded, osg::Image::NO_DELETE, 4);
    const std::vector<unsigned char> expected{0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    EXPECT_EQ(levelBytes(written(*image, plain), 0), expected);
    // The same rows, as a part of an image of 4 columns.
    image->setImage(3, 2, 1, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, padded, osg::Image::NO_DELETE, 1, 4);
    EXPECT_EQ(levelBytes(written(*image, plain), 0), expected);
}

// Levels of 5, 2 and 1 pixels each way, of 3 bytes: rows of 15, 6 and 3, filled up to 16, 8 and 4.
TEST_F(KtxWriting, LeavesOutWhatIsBehindTheRowsOfEachLevel)
{
    std::vector<unsigned char> padded(80 + 16 + 4);
    std::vector<std::vector<unsigned char>> expected(3);
    std::size_t at = 0;
    for (const auto& [level, width, height, row] : {std::tuple{0U, 5U, 5U, 16U}, {1U, 2U, 2U, 8U}, {2U, 1U, 1U, 4U}})
        for (unsigned int y = 0; y < height; ++y, at += row)
            for (unsigned int i = 0; i < row; ++i)
            {
                const bool isFilling = i >= 3 * width;
                padded[at + i] = isFilling ? 255 : static_cast<unsigned char>(at + i);
                if (!isFilling) expected[level].push_back(padded[at + i]);
            }
    const osg::ref_ptr<osg::Image> image(new osg::Image);
    image->setImage(5, 5, 1, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, padded.data(), osg::Image::NO_DELETE, 4);
    image->setMipmapLevels({80, 96});
    const std::string file = written(*image, plain);
    for (unsigned int level = 0; level < 3; ++level)
        EXPECT_EQ(levelBytes(file, level), expected[level]) << level;
}

TEST_F(KtxWriting, YieldsNothingForNothing)
{
    EXPECT_TRUE(written(*sequenceOf({}), plain).empty());
    EXPECT_TRUE(mvgeo::writeKtx({}, true, {}).empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(written(*osg::ref_ptr<osg::Image>(new osg::Image), plain).empty());
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] "), 1);
}

TEST_F(KtxWriting, MakesASequenceAnArray)
{
    const std::string file = written(*sequenceOf({rgbaImage(4, 4, 1, 0), rgbaImage(4, 4, 1, 70)}), plain);
    EXPECT_EQ(u32At(file, ktx2::kLayers), 2U);
    EXPECT_EQ(u32At(file, ktx2::kFaces), 1U);
    std::vector<unsigned char> expected = bytesOf(*rgbaImage(4, 4, 1, 0));
    const std::vector<unsigned char> second = bytesOf(*rgbaImage(4, 4, 1, 70));
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(levelBytes(file, 0), expected);
    // One image is none.
    EXPECT_EQ(u32At(written(*sequenceOf({rgbaImage(4, 4)}), plain), ktx2::kLayers), 0U);
}

TEST_F(KtxWriting, MakesSixImagesACubeMapIfTheOptionSaysTrue)
{
    std::vector<osg::ref_ptr<osg::Image>> faces;
    std::vector<unsigned char> expected;
    for (unsigned int i = 0; i < 6; ++i)
    {
        faces.push_back(rgbaImage(4, 4, 1, 40 * i));
        const std::vector<unsigned char> bytes = bytesOf(*faces.back());
        expected.insert(expected.end(), bytes.begin(), bytes.end());
    }
    const std::string cube = written(*sequenceOf(faces), optionsWith({{"SavingCubeMap", "true"}}));
    EXPECT_EQ(u32At(cube, ktx2::kFaces), 6U);
    EXPECT_EQ(u32At(cube, ktx2::kLayers), 1U);
    EXPECT_EQ(levelBytes(cube, 0), expected);
    EXPECT_EQ(metadataOf(cube, "KTXorientation"), "rd");

    for (const char* text : {"1", "TRUE", "yes", ""})
    {
        const std::string array = written(*sequenceOf(faces), optionsWith({{"SavingCubeMap", text}}));
        EXPECT_EQ(u32At(array, ktx2::kFaces), 1U) << text;
        EXPECT_EQ(u32At(array, ktx2::kLayers), 6U) << text;
    }
}

TEST_F(KtxWriting, TakesTheOptionForSequencesOnly)
{
    const std::string file = written(*rgbaImage(4, 4), optionsWith({{"SavingCubeMap", "true"}}));
    EXPECT_EQ(u32At(file, ktx2::kFaces), 1U);
    EXPECT_EQ(u32At(file, ktx2::kLayers), 0U);
    EXPECT_EQ(metadataOf(file, "KTXorientation"), "ru");
}

TEST_F(KtxWriting, YieldsNothingForACubeMapWithTooFewFaces)
{
    const std::vector<osg::ref_ptr<osg::Image>> five(5, rgbaImage(4, 4));
    EXPECT_TRUE(written(*sequenceOf(five), optionsWith({{"SavingCubeMap", "true"}})).empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(KtxWriting, LeavesOutWhatDiffersFromTheFirst)
{
    const osg::ref_ptr<osg::Image> sized = rgbaImage(4, 4, 1, 5);
    sized->setInternalTextureFormat(GL_RGBA8);
    const osg::ref_ptr<osg::Image> noPixels(new osg::Image);
    const std::string file =
        written(*sequenceOf({rgbaImage(4, 4, 1, 1), rgbaImage(4, 2), rgbaImage(2, 4), sized,
                             countingImage(4, 4, 1, GL_RGBA, GL_RGB, GL_UNSIGNED_BYTE), noPixels,
                             countingImage(4, 4, 2, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE), rgbaImage(4, 4, 1, 9)}),
                plain);
    EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] Mismatched image format while saving KTX texture"), 6);
    EXPECT_EQ(u32At(file, ktx2::kLayers), 8U);
    const std::vector<unsigned char> bytes = levelBytes(file, 0);
    ASSERT_EQ(bytes.size(), 8U * 64U);
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const std::size_t layer = i / 64;
        const std::size_t expected = layer == 0 ? i + 1 : layer == 7 ? i % 64 + 9 : 0;
        ASSERT_EQ(bytes[i], expected) << i;
    }
}

// Blocks that cannot be turned: there is one key for all layers.
TEST_F(KtxWriting, LeavesOutALayerWhoseBlocksWouldHaveToBeTurned)
{
    const auto layer = [](GLenum format, int height, osg::Image::Origin origin)
    {
        osg::ref_ptr<osg::Image> image =
            countingImage(4, height, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE, 1, 1);
        image->setOrigin(origin);
        return image;
    };
    for (const auto& [format, height, isTurnable] : {std::tuple{GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 8, true},
                                                     {GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 6, false},
                                                     {GL_COMPRESSED_RGB8_ETC2, 8, false}})
    {
        SCOPED_TRACE(testing::Message() << format << ", " << height);
        log.clear();
        const auto both = sequenceOf({layer(static_cast<GLenum>(format), height, osg::Image::TOP_LEFT),
                                      layer(static_cast<GLenum>(format), height, osg::Image::BOTTOM_LEFT)});
        const std::vector<unsigned char> bytes = levelBytes(written(*both, plain), 0);
        ASSERT_EQ(bytes.size(), 32U);
        EXPECT_EQ(bytes[0], 1);
        EXPECT_EQ(bytes[16], isTurnable ? 9 : 0); // the second row of blocks, or nothing
        EXPECT_EQ(log.count(osg::WARN, "Mismatched image format"), isTurnable ? 0 : 1);
    }
}

// Its other rows would show upside down: there is one key for all layers.
TEST_F(KtxWriting, TurnsALayerThatBeginsAtTheOtherEnd)
{
    const osg::ref_ptr<osg::Image> turned = rgbaImage(1, 2, 1, 100);
    turned->setOrigin(osg::Image::TOP_LEFT);
    const std::string file = written(*sequenceOf({rgbaImage(1, 2), turned}), plain);
    EXPECT_EQ(metadataOf(file, "KTXorientation"), "ru");
    EXPECT_EQ(levelBytes(file, 0), (std::vector<unsigned char>{0, 1, 2, 3, 4, 5, 6, 7, //
                                                               104, 105, 106, 107, 100, 101, 102, 103}));
}

TEST_F(KtxWriting, CopiesTheLevelsThatALayerHas)
{
    const std::string file = written(*sequenceOf({rgbaImage(2, 2, 2, 1), rgbaImage(2, 2, 1, 101)}), plain);
    EXPECT_EQ(levelBytes(file, 1), (std::vector<unsigned char>{17, 18, 19, 20, 0, 0, 0, 0}));
    const std::string more = written(*sequenceOf({rgbaImage(2, 2), rgbaImage(2, 2, 2, 101)}), plain);
    EXPECT_EQ(u32At(more, ktx2::kLevels), 1U);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(KtxWriting, EncodesWithoutAnyOptionsOnly)
{
    const osg::ref_ptr<osg::Image> image = smoothImage(32, 32);
    const std::string encoded = written(*image, nullptr);
    EXPECT_EQ(u32At(encoded, ktx2::kVkFormat), 0U);
    EXPECT_EQ(u32At(encoded, ktx2::kScheme), kBasisLz);
    const std::string stored = written(*image, plain);
    EXPECT_EQ(u32At(stored, ktx2::kVkFormat), mvgeo::vk::kR8G8B8Unorm);
    EXPECT_EQ(u32At(stored, ktx2::kScheme), 0U);
    EXPECT_TRUE(log.lines().empty());
}

// The encoder takes red first.
TEST_F(KtxWriting, BringsBlueGreenAndRedIntoOrderAndEncodesThem)
{
    struct Case
    {
        GLint internalFormat;
        GLenum turned, straight;
    };
    for (const Case& c :
         {Case{GL_RGB, GL_BGR, GL_RGB}, Case{GL_RGBA, GL_BGRA, GL_RGBA}, Case{GL_RGBA8, GL_BGRA, GL_RGBA},
          Case{GL_SRGB8, GL_BGR, GL_RGB}, Case{GL_SRGB8_ALPHA8, GL_BGRA, GL_RGBA}})
        for (const char* uastc : {"0", "1"})
        {
            SCOPED_TRACE(testing::Message() << c.internalFormat << ' ' << uastc);
            const unsigned int channels = c.straight == GL_RGB ? 3 : 4;
            const osg::ref_ptr<osg::Image> straight = smoothImage(13, 9, channels == 4);
            straight->setInternalTextureFormat(c.internalFormat);
            const osg::ref_ptr<osg::Image> turned = smoothImage(13, 9, channels == 4);
            turned->setInternalTextureFormat(c.internalFormat);
            turned->setPixelFormat(c.turned);
            for (std::size_t at = 0; at < std::size_t{13} * 9 * channels; at += channels)
                std::swap(turned->data()[at], turned->data()[at + 2]);
            const std::vector<unsigned char> before = bytesOf(*turned);
            const auto basis = optionsWith({{"UseBASISU", "1"}, {"UseUASTC", uastc}, {"CompressLevel", "1"}});
            const std::string file = written(*turned, basis);
            EXPECT_EQ(u32At(file, ktx2::kVkFormat), 0U);
            EXPECT_EQ(file, written(*straight, basis));
            EXPECT_EQ(violationOf(file), "");
            EXPECT_EQ(bytesOf(*turned), before) << "the image is the caller's";
        }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(KtxWriting, EncodesForTheOtherBasisKind)
{
    const std::string file = written(*smoothImage(32, 32), optionsWith({{"UseBASISU", "1"}, {"UseUASTC", "1"}}));
    EXPECT_EQ(u32At(file, ktx2::kVkFormat), 0U);
    EXPECT_EQ(u32At(file, ktx2::kScheme), 0U); // blocks of 16 bytes, not supercompressed
    EXPECT_EQ(ktx2::levelOf(file, 0).size(), 1024U);
}

// Crosswise to what the options' descriptions say.
TEST_F(KtxWriting, FallsBackToLevel128AndQuality1)
{
    const osg::ref_ptr<osg::Image> image = smoothImage(32, 32);
    const std::string fallBack = written(*image, optionsWith({{"UseBASISU", "1"}}));
    ASSERT_FALSE(fallBack.empty());
    EXPECT_EQ(u32At(fallBack, ktx2::kScheme), kBasisLz);
    const auto with = [&image](const char* level, const char* quality)
    {
        return written(
            *image,
            optionsWith(
                {{"UseBASISU", "1"}, {"ThreadCount", "1"}, {"CompressLevel", level}, {"QualityLevel", quality}}));
    };
    EXPECT_EQ(fallBack, with("128", "1"));
    EXPECT_EQ(fallBack, with("-7", "-7"));
    EXPECT_NE(fallBack, with("1", "128"));
    EXPECT_NE(fallBack, with("128", "128"));
    // The documented levels end at 6.
    EXPECT_EQ(fallBack, with("6", "1"));
    EXPECT_NE(fallBack, with("1", "1"));
}

TEST_F(KtxWriting, TakesAbsurdNumbersForTheMost)
{
    const osg::ref_ptr<osg::Image> image = smoothImage(32, 32);
    for (const char* uastc : {"0", "1"})
    {
        const auto with = [&](const char* threads, const char* level, const char* quality)
        {
            return written(*image, optionsWith({{"UseBASISU", "1"},
                                                {"UseUASTC", uastc},
                                                {"ThreadCount", threads},
                                                {"CompressLevel", level},
                                                {"QualityLevel", quality}}));
        };
        const std::string most = with("2", "6", "255");
        EXPECT_EQ(u32At(most, ktx2::kVkFormat), 0U) << uastc;
        EXPECT_EQ(with("2000000000", "2000000000", "2000000000"), most) << uastc;
    }
}

TEST_F(KtxWriting, WithoutOptionsMeansLevel2AndQuality128)
{
    const osg::ref_ptr<osg::Image> image = smoothImage(32, 32);
    EXPECT_EQ(written(*image, nullptr),
              written(*image, optionsWith({{"UseBASISU", "1"}, {"CompressLevel", "2"}, {"QualityLevel", "128"}})));
}

// Measured: 35.3 dB for each layer; one taken for the other has 7.4.
TEST_F(KtxWriting, EncodesEveryLayer)
{
    const osg::ref_ptr<osg::Image> first = smoothImage(64, 64);
    const osg::ref_ptr<osg::Image> second = smoothImage(64, 64);
    second->flipVertical();
    const osg::ref_ptr<osg::Image> result =
        read(written(*sequenceOf({first, second}), nullptr), optionsWith({{"UseRGBA", "1"}}));
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(result.get());
    ASSERT_TRUE(sequence);
    ASSERT_EQ(sequence->getNumImageData(), 2U);
    EXPECT_GT(psnr(*sequence->getImage(0), *first), 33.0);
    EXPECT_GT(psnr(*sequence->getImage(1), *second), 33.0);
    EXPECT_LT(psnr(*sequence->getImage(1), *first), 12.0);
}

// The first call sets up the encoder's tables; run alone, this test makes it from several threads at once.
TEST_F(KtxWriting, EncodesOnManyThreadsAtOnce)
{
    const osg::ref_ptr<osg::Image> image = smoothImage(32, 32, true);
    std::vector<std::string> files(4);
    std::vector<std::thread> threads;
    for (std::string& file : files)
        threads.emplace_back([&file, &image] { file = written(*image, nullptr); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(files[0].empty());
    for (const std::string& file : files)
        EXPECT_EQ(file, files[0]);
}

} // namespace

// Files of many writers: what becomes of each of them, and whether it looks as it should.

#include "readerwriterktx/KtxTestImages.h"
#include "support/LogRecorder.h"

#include <osg/ValueObject>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>

namespace fs = std::filesystem;

namespace
{

constexpr GLint kSrgb8 = 0x8C41;
constexpr GLint kSrgba8 = 0x8C43;
constexpr GLint kSrgbDxt1 = 0x8C4C;
constexpr GLint kSrgbaDxt5 = 0x8C4F;

struct Expected
{
    const char* name;
    int width, height, depth;
    unsigned int levels, images;
    GLint internalFormat;
    bool startsAbove = false; // where blocks cannot be turned, and cube maps
};

// Sizes, levels and layers as a look at the headers shows them; formats as the defaults of transcoding make them.
constexpr Expected kRead[] = {
    {"3dtex_7_reference_u.ktx2", 16, 16, 7, 1, 1, kSrgba8},
    {"FlightHelmet_baseColor_basis.ktx2", 2048, 2048, 1, 1, 1, kSrgbDxt1},
    {"alpha_simple_basis.ktx2", 8, 8, 1, 1, 1, kSrgbaDxt5},
    {"arraytex_7_mipmap_reference_u.ktx2", 16, 16, 1, 5, 7, kSrgba8},
    {"astc_ldr_6x6_arraytex_7_mipmap.ktx2", 16, 16, 1, 5, 7, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x6_KHR, true},
    {"color_grid_basis.ktx2", 1024, 1024, 1, 1, 1, kSrgbDxt1},
    {"color_grid_uastc_zstd.ktx2", 1024, 1024, 1, 1, 1, kSrgbDxt1},
    {"color_grid_zstd.ktx2", 1024, 1024, 1, 1, 1, kSrgba8},
    {"cubemap_yokohama_astc_8x8_unorm.ktx", 512, 512, 1, 10, 6, GL_COMPRESSED_RGBA_ASTC_8x8_KHR, true},
    {"cubemap_yokohama_basis_rd.ktx2", 2048, 2048, 1, 12, 6, kSrgbDxt1, true},
    {"cubemap_yokohama_etc2_unorm.ktx2", 512, 512, 1, 1, 6, GL_COMPRESSED_RGB8_ETC2, true},
    {"etc1.ktx", 128, 128, 1, 1, 1, GL_COMPRESSED_RGB8_ETC2, true},
    {"etc2-rgba8.ktx", 128, 128, 1, 1, 1, GL_COMPRESSED_RGBA8_ETC2_EAC, true},
    {"g03n2c08.ktx2", 32, 32, 1, 1, 1, kSrgb8},
    {"hi_mark.ktx", 180, 94, 1, 1, 1, GL_RGB8},
    {"ktx_document_uastc_rdo4_zstd5.ktx2", 1024, 1024, 1, 11, 1, kSrgbaDxt5},
    {"kueken7_rgb_dxt1_unorm.ktx", 256, 256, 1, 9, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT},
    {"kueken7_rgb_etc1_unorm.ktx", 256, 256, 1, 9, 1, GL_COMPRESSED_RGB8_ETC2, true},
    {"kueken7_rgba8_unorm.ktx", 256, 256, 1, 9, 1, GL_RGBA8},
    {"kueken7_rgba_astc8x5_srgb.ktx", 256, 256, 1, 9, 1, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x5_KHR, true},
    {"kueken7_rgba_dxt5_unorm.ktx", 256, 256, 1, 9, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {"kueken7_rgba_etc2_srgb.ktx", 256, 256, 1, 9, 1, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, true},
    {"luminance_alpha_reference_basis.ktx2", 32, 32, 1, 1, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {"luminance_alpha_reference_u.ktx2", 32, 32, 1, 1, 1, GL_RG},
    {"npot.ktx", 40, 30, 1, 6, 1, GL_RGBA8},
    {"orient-down-metadata-u.ktx2", 128, 128, 1, 1, 1, kSrgb8},
    {"orient-down-metadata.ktx", 128, 128, 1, 1, 1, kSrgb8},
    {"orient-up-metadata-u.ktx2", 128, 128, 1, 1, 1, kSrgb8},
    {"orient-up-metadata.ktx", 128, 128, 1, 1, 1, kSrgb8},
    {"r_reference_uastc.ktx2", 200, 100, 1, 1, 1, kSrgba8},
    {"rgb-amg-reference.ktx", 128, 128, 1, 1, 1, GL_RGB8},
    {"rgb-mipmap-reference-u.ktx2", 64, 64, 1, 7, 1, kSrgb8},
    {"rgb-mipmap-reference.ktx", 64, 64, 1, 7, 1, kSrgb8},
    {"rgba-mipmap-reference-basis.ktx2", 64, 64, 1, 7, 1, kSrgbDxt1},
    {"rgba-reference-u.ktx2", 128, 128, 1, 1, 1, kSrgba8},
    {"rgba_mipmap_etc2.ktx2", 64, 64, 1, 7, 1, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, true},
    {"straight-rgba.ktx2", 256, 256, 1, 1, 1, kSrgba8},
    {"test_etc1s.ktx2", 256, 256, 1, 9, 1, kSrgbDxt1},
    {"test_rgba8.ktx2", 40, 40, 1, 1, 1, kSrgba8},
    {"test_uastc.ktx2", 256, 256, 1, 9, 1, kSrgbDxt1},
    {"texturearray_bc3_unorm.ktx", 256, 256, 1, 1, 7, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {"texturearray_bc3_unorm.ktx2", 256, 256, 1, 1, 7, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
    {"texturearray_etc2_unorm.ktx2", 256, 256, 1, 1, 7, GL_COMPRESSED_RGB8_ETC2, true},
};

struct Refused
{
    const char* name;
    const char* reason;
};

constexpr Refused kRefused[] = {
    {"bad/invalid_face_count.ktx2", "faces"},
    {"bad/no_nul_on_kvd_val.ktx2", "KTXswizzle"},
    // Two bytes more than its levels take, the last of which is not filled up to 4.
    {"kueken7_r5g6b5_unorm.ktx", "Failed to copy image data, size mismatched: 174764 != 174766"},
    // The library takes no luminance.
    {"luminance_sized_reference.ktx", "Unable to read from"},
    {"odd/kueken7_bgra8_unorm.ktx", "faces"},
    {"odd/kueken7_rgb8_unorm.ktx", "level"},
};

struct RealKtxFiles : public KtxTest
{
    fs::path data;
    LogRecorder log;
    osg::ref_ptr<ReaderWriterKTX> reader{new ReaderWriterKTX};

    void SetUp() override
    {
        SKIP_WITHOUT_KTX();
        const char* root = std::getenv("MVGEO_REAL_DATA");
        if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
        data = fs::path(root) / "ktx";
        if (!fs::is_directory(data)) GTEST_SKIP() << data << " is not there";
    }

    osg::ref_ptr<osg::Image> image(const std::string& name, const char* option = "UseRGBA") const
    {
        const osg::ref_ptr<osgDB::Options> options = option ? optionsWith({{option, "1"}}) : optionsWith({});
        return reader->readImage((data / name).string(), options).getImage();
    }

    double psnrOf(const std::string& a, const std::string& b, const char* option = "UseRGBA") const
    {
        const osg::ref_ptr<osg::Image> first = image(a, option);
        const osg::ref_ptr<osg::Image> second = image(b, option);
        return first && second ? psnr(*first, *second) : -1.0;
    }
};

const osg::Image& pictureOf(const osg::Image& image, unsigned int index)
{
    const auto* sequence = dynamic_cast<const osg::ImageSequence*>(&image);
    return sequence ? *sequence->getImage(index) : image;
}

TEST_F(RealKtxFiles, AreReadAsTheTableSays)
{
    for (const Expected& file : kRead)
    {
        SCOPED_TRACE(file.name);
        const osg::ref_ptr<osg::Image> image = this->image(file.name, nullptr);
        if (!image)
        {
            ADD_FAILURE() << "no image";
            continue;
        }
        const auto* sequence = dynamic_cast<const osg::ImageSequence*>(image.get());
        EXPECT_EQ(sequence ? sequence->getNumImageData() : 1U, file.images);
        for (unsigned int i = 0; i < file.images; ++i)
        {
            const osg::Image& picture = pictureOf(*image, i);
            EXPECT_EQ(picture.s(), file.width);
            EXPECT_EQ(picture.t(), file.height);
            EXPECT_EQ(picture.r(), file.depth);
            EXPECT_EQ(picture.getNumMipmapLevels(), file.levels);
            EXPECT_EQ(picture.getInternalTextureFormat(), file.internalFormat);
            EXPECT_EQ(picture.getOrigin(), file.startsAbove ? osg::Image::TOP_LEFT : osg::Image::BOTTOM_LEFT);
            EXPECT_GT(bytesOf(picture).size(), 0U); // every byte that OSG counts can be read
        }
    }
    EXPECT_EQ(log.count(osg::WARN, ""), 0);
    EXPECT_EQ(log.count(osg::NOTICE, "Found NPOT image: 200 x 100"), 1); // r_reference_uastc
}

TEST_F(RealKtxFiles, AreRefusedAsTheTableSays)
{
    for (const Refused& file : kRefused)
    {
        SCOPED_TRACE(file.name);
        log.clear();
        EXPECT_FALSE(image(file.name, nullptr));
        EXPECT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] "), 1);
        EXPECT_EQ(log.count(osg::WARN, file.reason), 1);
    }
}

TEST_F(RealKtxFiles, AllStandInOneOfTheTables)
{
    std::set<std::string> known;
    for (const Expected& file : kRead)
        known.insert(file.name);
    for (const Refused& file : kRefused)
        known.insert(file.name);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(data))
    {
        if (!entry.is_regular_file() || entry.path().extension().string().rfind(".ktx", 0) != 0) continue;
        EXPECT_EQ(known.erase(fs::relative(entry.path(), data).generic_string()), 1U) << entry.path();
    }
    EXPECT_TRUE(known.empty()) << *known.begin() << " is not there";
}

TEST_F(RealKtxFiles, StandUprightWhateverTheirRowsBeginWith)
{
    const osg::ref_ptr<osg::Image> down = image("orient-down-metadata.ktx");
    ASSERT_TRUE(down);
    for (const char* name : {"orient-down-metadata-u.ktx2", "orient-up-metadata.ktx", "orient-up-metadata-u.ktx2"})
    {
        const osg::ref_ptr<osg::Image> other = image(name);
        ASSERT_TRUE(other) << name;
        EXPECT_EQ(bytesOf(*other), bytesOf(*down)) << name;
    }
    const osg::ref_ptr<osg::Image> turned(new osg::Image(*down, osg::CopyOp::DEEP_COPY_ALL));
    turned->flipVertical();
    EXPECT_NE(bytesOf(*turned), bytesOf(*down)); // so the comparison means something
}

TEST_F(RealKtxFiles, AreTheSameInBothVersions)
{
    EXPECT_EQ(bytesOf(*image("rgb-mipmap-reference.ktx")), bytesOf(*image("rgb-mipmap-reference-u.ktx2")));
    const osg::ref_ptr<osg::Image> first = image("texturearray_bc3_unorm.ktx");
    const osg::ref_ptr<osg::Image> second = image("texturearray_bc3_unorm.ktx2");
    for (unsigned int layer = 0; layer < 7; ++layer)
        EXPECT_EQ(bytesOf(pictureOf(*first, layer)), bytesOf(pictureOf(*second, layer))) << layer;
    EXPECT_NE(bytesOf(pictureOf(*first, 0)), bytesOf(pictureOf(*first, 1)));
}

// Measured 46.9, 32.8 and 46.7 dB, in blocks of BC1 31.5 and 34.9; the thresholds leave 2.
TEST_F(RealKtxFiles, LookLikeTheirOriginalsWhenTranscoded)
{
    EXPECT_GT(psnrOf("rgba-mipmap-reference-basis.ktx2", "rgb-mipmap-reference-u.ktx2"), 44.9);
    EXPECT_GT(psnrOf("color_grid_basis.ktx2", "color_grid_zstd.ktx2"), 30.8);
    EXPECT_GT(psnrOf("color_grid_uastc_zstd.ktx2", "color_grid_zstd.ktx2"), 44.7);
    EXPECT_GT(psnrOf("color_grid_basis.ktx2", "color_grid_zstd.ktx2", "UseDXT"), 29.5);
    EXPECT_GT(psnrOf("color_grid_uastc_zstd.ktx2", "color_grid_zstd.ktx2", "UseDXT"), 32.9);
    EXPECT_GT(psnrOf("test_etc1s.ktx2", "test_uastc.ktx2"), 24.0); // one picture, encoded twice: 25.9
    const osg::ref_ptr<osg::Image> grid = image("color_grid_basis.ktx2");
    grid->flipVertical();
    EXPECT_LT(psnr(*grid, *image("color_grid_zstd.ktx2")), 20.0);
}

// Measured 32.5 dB for both.
TEST_F(RealKtxFiles, LookLikeTheirOriginalsInBlocks)
{
    EXPECT_GT(psnrOf("kueken7_rgba_dxt5_unorm.ktx", "kueken7_rgba8_unorm.ktx"), 30.5);
    EXPECT_GT(psnrOf("kueken7_rgb_dxt1_unorm.ktx", "kueken7_rgba8_unorm.ktx"), 30.5);
    const osg::ref_ptr<osg::Image> turned = image("kueken7_rgba8_unorm.ktx");
    turned->flipVertical();
    EXPECT_LT(psnr(*image("kueken7_rgb_dxt1_unorm.ktx"), *turned), 20.0);
}

// Measured 38.3 dB. Red, green and blue of the transcoded one hold what the original has in its first channel, alpha
// its second.
TEST_F(RealKtxFiles, KeepLuminanceAndAlpha)
{
    const osg::ref_ptr<osg::Image> original = image("luminance_alpha_reference_u.ktx2");
    const osg::ref_ptr<osg::Image> transcoded = image("luminance_alpha_reference_basis.ktx2");
    double sum = 0.0;
    for (unsigned int row = 0; row < 32; ++row)
        for (unsigned int column = 0; column < 32; ++column)
        {
            const unsigned char* a = original->data(column, row);
            const unsigned char* b = transcoded->data(column, row);
            sum += std::pow(a[0] - b[0], 2) + std::pow(a[0] - b[2], 2) + std::pow(a[1] - b[3], 2);
        }
    const double decibels = 10.0 * std::log10(255.0 * 255.0 * 3 * 32 * 32 / std::max(sum, 1e-9));
    EXPECT_GT(decibels, 36.0);
    std::string swizzle;
    EXPECT_TRUE(original->getUserValue("KTXswizzle", swizzle));
    EXPECT_EQ(swizzle, "rrrg");
}

// Four threads over all of them: every result as one thread gets it.
TEST_F(RealKtxFiles, AreReadByManyThreadsAtOnce)
{
    constexpr int kThreads = 4;
    std::vector<std::vector<std::vector<unsigned char>>> results(kThreads);
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back(
            [this, &result]
            {
                for (const Expected& file : kRead)
                {
                    const osg::ref_ptr<osg::Image> image = this->image(file.name, nullptr);
                    result.push_back(image ? bytesOf(pictureOf(*image, file.images - 1))
                                           : std::vector<unsigned char>());
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < std::size(kRead); ++i)
        for (const auto& result : results)
        {
            EXPECT_FALSE(result[i].empty()) << kRead[i].name;
            EXPECT_EQ(result[i], results[0][i]) << kRead[i].name;
        }
}

} // namespace

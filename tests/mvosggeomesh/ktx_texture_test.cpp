#include "mvosggeomesh/KdDbGeoMeshImage.h"
#include "mvosggeomesh/TiledModelFixture.h"
#include "support/ImageBytes.h"
#include "support/VisitorGeometry.h"

#include <osg/Geode>
#include <osgDB/ReadFile>
#include <osgDB/Registry>
#include <osgDB/WriteFile>

#include <filesystem>
#include <initializer_list>
#include <numeric>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace
{

using Bytes = std::vector<unsigned char>;
using Settings = std::initializer_list<std::pair<const char*, const char*>>;

constexpr Settings kRaw = {{"UseBASISU", "0"}};
constexpr Settings kEtc1s = {{"UseBASISU", "1"}, {"CompressLevel", "1"}, {"QualityLevel", "128"}};
constexpr Settings kUastc = {{"UseBASISU", "1"}, {"UseUASTC", "1"}, {"CompressLevel", "1"}, {"QualityLevel", "128"}};

osg::ref_ptr<osg::Image> makeBytes(int width, int height, GLenum format, const Bytes& bytes)
{
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    auto* data = new unsigned char[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), data);
    image->setImage(width, height, 1, static_cast<GLint>(format), format, GL_UNSIGNED_BYTE, data,
                    osg::Image::USE_NEW_DELETE);
    image->setFileName("photo.ktx2");
    return image;
}

Bytes counting(std::size_t count)
{
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

/** Red below, blue above. */
osg::ref_ptr<osg::Image> redBelowBlue(int width, int height)
{
    Bytes bytes;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            for (const int value : {row < height / 2 ? 255 : 0, 0, row < height / 2 ? 0 : 255})
                bytes.push_back(static_cast<unsigned char>(value));
    return makeBytes(width, height, GL_RGB, bytes);
}

osg::ref_ptr<osgDB::Options> optionsOf(Settings settings)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    for (const auto& [name, value] : settings)
        options->setPluginStringData(name, value);
    return options;
}

/** One tile with one square, its texture a KTX2 file inside. */
struct KtxTextures : public TiledModelFixture
{
    void SetUp() override
    {
#if !defined(MVGEO_HAVE_KTX)
        GTEST_SKIP() << "this build is without libktx";
#endif
    }

    /** The file that goes into the tile; empty without libktx. */
    static std::string fileOf(const osg::Image& image, Settings settings)
    {
        osgDB::ReaderWriter* ktx = osgDB::Registry::instance()->getReaderWriterForExtension("ktx2");
        std::ostringstream bytes;
        return ktx && ktx->writeImage(image, bytes, optionsOf(settings)).success() ? bytes.str() : std::string();
    }

    std::string write(const osg::ref_ptr<osg::Image>& image, Settings settings, const char* hint = "IncludeFile",
                      const std::string& name = "Tile.osgb")
    {
        const osg::ref_ptr<osg::Geometry> square = makeSquare(0, 0, 0, 100);
        square->getOrCreateStateSet()->setTextureAttribute(0, new osg::Texture2D(image));
        const osg::ref_ptr<osg::Geode> geode = new osg::Geode;
        geode->addDrawable(square);
        const osg::ref_ptr<osgDB::Options> options = optionsOf(settings);
        options->setPluginStringData("WriteImageHint", hint);
        const std::string path = folder / name;
        EXPECT_TRUE(osgDB::writeNodeFile(*geode, path, options));
        return path;
    }

    /** What the host gets of the only texture. */
    RecordedPixels shown()
    {
        driver.view = fromAbove();
        EXPECT_TRUE(driver.converge());
        const auto meshes = receiver().meshes();
        EXPECT_EQ(meshes.size(), 1U);
        return meshes.empty() ? RecordedPixels{} : meshes.front()->pixels();
    }

    /** The same once more, this time out of the texture cache. */
    RecordedPixels shownFromCache()
    {
        receiver().forget();
        driver.update();
        return shown();
    }

    std::string key()
    {
        return receiver().meshes().front()->textureKey();
    }
    fs::path cached()
    {
        return fs::directory_iterator(folder / "temp/mesh")->path() / "photo.ktx2";
    }

    void expectSame(const RecordedPixels& pixels, const osg::Image& image)
    {
        EXPECT_EQ(pixels.width, static_cast<unsigned int>(image.s()));
        EXPECT_EQ(pixels.height, static_cast<unsigned int>(image.t()));
        EXPECT_EQ(pixels.internalFormat, static_cast<unsigned int>(image.getInternalTextureFormat()));
        EXPECT_EQ(pixels.pixelFormat, image.getPixelFormat());
        EXPECT_EQ(pixels.dataType, image.getDataType());
        EXPECT_EQ(pixels.bytes, Bytes(image.data(), image.data() + mvgeo::levelBytes(image)));
    }

    /** Before and after the cache bit by bit what went into the tile. */
    void expectUnchanged(const osg::ref_ptr<osg::Image>& image)
    {
        driver.add(write(image, kRaw));
        expectSame(shown(), *image);
        EXPECT_EQ(key(), id("photo.ktx2"));
        EXPECT_TRUE(fs::exists(cached()));
        expectSame(shownFromCache(), *image);
        EXPECT_EQ(key(), id("photo.ktx2"));
        expectCleanContract();
    }

    /** Red at the first row and blue at the last one, as OSG reads the image. */
    static void expectUpright(const RecordedPixels& pixels)
    {
        const osg::ref_ptr<osg::Image> image = makeBytes(
            static_cast<int>(pixels.width), static_cast<int>(pixels.height), pixels.pixelFormat, pixels.bytes);
        const osg::Vec4 first = image->getColor(0U, 0U);
        const osg::Vec4 last = image->getColor(0U, pixels.height - 1);
        EXPECT_GT(first.r(), 0.9F);
        EXPECT_LT(first.b(), 0.1F);
        EXPECT_LT(last.r(), 0.1F);
        EXPECT_GT(last.b(), 0.9F);
    }
};

/** A format whose blocks have these pixels and bytes. */
struct BlockFormat
{
    const char* name;
    GLenum pixelFormat;
    GLint internalFormat; // 0: the same
    int width, height, bytes;
};

constexpr BlockFormat kBlockFormats[] = {
    {"BC1", GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 0, 4, 4, 8},
    {"BC3", GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 0, 4, 4, 16},
    {"BC3 in sRGB", GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 0x8C4F, 4, 4, 16},
    {"BC4", GL_COMPRESSED_RED_RGTC1_EXT, 0, 4, 4, 8},
    {"BC5", GL_COMPRESSED_RED_GREEN_RGTC2_EXT, 0, 4, 4, 16},
    {"BC7", GL_COMPRESSED_RGBA8_ETC2_EAC, 0x8E8C, 4, 4, 16},
    {"ETC2", GL_COMPRESSED_RGB8_ETC2, 0, 4, 4, 8},
    {"EAC", GL_COMPRESSED_RG11_EAC, 0, 4, 4, 16},
    {"ASTC 4x4", GL_COMPRESSED_RGBA_ASTC_4x4_KHR, 0, 4, 4, 16},
    {"ASTC 6x6", GL_COMPRESSED_RGBA_ASTC_6x6_KHR, 0, 6, 6, 16},
    {"ASTC 10x5", GL_COMPRESSED_SRGB8_ALPHA8_ASTC_10x5_KHR, 0, 10, 5, 16},
    {"ASTC 12x12", GL_COMPRESSED_RGBA_ASTC_12x12_KHR, 0, 12, 12, 16},
};

osg::ref_ptr<osg::Image> makeBlocks(const BlockFormat& format, int width, int height)
{
    const int columns = (width + format.width - 1) / format.width;
    const int rows = (height + format.height - 1) / format.height;
    osg::ref_ptr<osg::Image> image =
        makeBytes(width, height, format.pixelFormat, counting(static_cast<std::size_t>(columns * rows * format.bytes)));
    if (format.internalFormat != 0) image->setInternalTextureFormat(format.internalFormat);
    return image;
}

constexpr auto kBc1 = static_cast<GLenum>(GL_COMPRESSED_RGB_S3TC_DXT1_EXT);

} // namespace

TEST_F(KtxTextures, OfPlainPixelsReachTheHostUnchanged)
{
    expectUnchanged(makeBytes(8, 4, GL_RGB, counting(96)));
}

TEST_F(KtxTextures, WhoseSizeIsNoPowerOfTwoReachTheHostUnchanged)
{
    expectUnchanged(makeBytes(5, 3, GL_RGBA, counting(60)));
}

TEST_F(KtxTextures, OfBc1BlocksReachTheHostUnchanged)
{
    expectUnchanged(makeBytes(16, 8, kBc1, counting(64)));
}

TEST_F(KtxTextures, OfBc3BlocksReachTheHostUnchanged)
{
    expectUnchanged(makeBytes(8, 16, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, counting(128)));
}

TEST_F(KtxTextures, OfEtc2BlocksReachTheHostUnchanged)
{
    expectUnchanged(makeBytes(8, 8, GL_COMPRESSED_RGB8_ETC2, counting(32)));
}

// These blocks cannot be turned upside down, so the texture coordinates are, and the cache has what fits them.
TEST_F(KtxTextures, OfEtc2BlocksFromAboveHaveTheirCoordinatesTurnedOnce)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(8, 8, GL_COMPRESSED_RGB8_ETC2, counting(32));
    image->setOrigin(osg::Image::TOP_LEFT);
    const std::string path = write(image, kRaw);
    const std::string inside = fileOf(*image, kRaw);
    ASSERT_NE(inside.find(std::string("KTXorientation\0rd", 17)), std::string::npos);
    ASSERT_NE(readFile(path).find(inside), std::string::npos);

    driver.add(path);
    const std::vector<float> turned{0, 1, 1, 1, 1, 0, 0, 0}; // the square's are 0 0, 1 0, 1 1, 0 1
    for (const char* when : {"before the cache", "after it"})
    {
        SCOPED_TRACE(when);
        expectSame(shown(), *image);
        EXPECT_EQ(receiver().meshes().front()->texCoords, turned);
        const osg::ref_ptr<osg::Image> fromCache = osgDB::readRefImageFile(cached());
        ASSERT_TRUE(fromCache);
        EXPECT_EQ(fromCache->getOrigin(), osg::Image::BOTTOM_LEFT);
        receiver().forget();
        driver.update();
    }

    // The tile read once more, into a cache that has the texture already.
    driver.model().reload();
    expectSame(shown(), *image);
    EXPECT_EQ(receiver().meshes().front()->texCoords, turned);
    expectCleanContract();
}

TEST_F(KtxTextures, OfEtc1sBecomeBc1AndStayUpright)
{
    driver.add(write(redBelowBlue(16, 16), kEtc1s));
    const RecordedPixels first = shown();
    EXPECT_EQ(first.pixelFormat, kBc1);
    ASSERT_EQ(first.bytes.size(), 128U); // 16 blocks of 8
    expectUpright(first);
    const RecordedPixels again = shownFromCache();
    EXPECT_EQ(again.internalFormat, first.internalFormat);
    EXPECT_EQ(again.bytes, first.bytes);
}

TEST_F(KtxTextures, OfUastcBecomeBc1AndStayUpright)
{
    driver.add(write(redBelowBlue(16, 16), kUastc));
    const RecordedPixels first = shown();
    EXPECT_EQ(first.pixelFormat, kBc1);
    ASSERT_EQ(first.bytes.size(), 128U);
    expectUpright(first);
    EXPECT_EQ(shownFromCache().bytes, first.bytes);
}

TEST_F(KtxTextures, OfBasisWhoseSizeIsNoPowerOfTwoBecomePixels)
{
    driver.add(write(redBelowBlue(20, 12), kEtc1s));
    const RecordedPixels first = shown();
    EXPECT_EQ(first.pixelFormat, static_cast<GLenum>(GL_RGBA));
    ASSERT_EQ(first.bytes.size(), 960U); // 20 x 12 x 4
    expectUpright(first);
    EXPECT_EQ(shownFromCache().bytes, first.bytes);
}

// The base level alone is handed over: the host's texture object has no place for the others.
TEST_F(KtxTextures, WithMipLevelsHandTheirFirstOneOver)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(8, 8, kBc1, counting(32 + 8 + 8 + 8));
    image->setMipmapLevels({32, 40, 48});
    driver.add(write(image, kRaw));
    const Bytes base = counting(32);
    EXPECT_EQ(shown().bytes, base);
    EXPECT_EQ(shownFromCache().bytes, base);
}

TEST_F(KtxTextures, AreNotEncodedAgainWhateverTheApplicationSets)
{
    const osg::ref_ptr<osgDB::Options> before = osgDB::Registry::instance()->getOptions();
    osgDB::Registry::instance()->setOptions(optionsOf(kEtc1s));
    expectUnchanged(makeBytes(16, 8, GL_RGBA, counting(512)));
    osgDB::Registry::instance()->setOptions(before);
}

TEST_F(KtxTextures, BesideTheTileAreFound)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(16, 8, kBc1, counting(64));
    ASSERT_TRUE(osgDB::writeImageFile(*image, folder / "photo.ktx2", optionsOf(kRaw)));
    driver.add(write(image, kRaw, "UseExternal"));
    expectSame(shown(), *image);
    expectSame(shownFromCache(), *image);
}

TEST_F(KtxTextures, ThatAreDamagedLeaveTheTileWithoutTextureAndSaySoOnce)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(16, 16, GL_RGBA, counting(1024));
    const std::string whole = readFile(write(image, kRaw));
    const std::size_t start = whole.find(fileOf(*image, kRaw));
    ASSERT_NE(start, std::string::npos);
    // Magic, width, supercompression, place of the first level, its length.
    for (const std::size_t place : {0, 20, 44, 80, 88})
    {
        SCOPED_TRACE(testing::Message() << "byte " << place << " of the texture");
        std::string bytes = whole;
        bytes[start + place + 3] = '\x7F';
        const std::string damaged = folder / ("damaged" + std::to_string(place) + ".osgb");
        writeFile(damaged, bytes);
        ModelDriver other;
        other.view = fromAbove();
        log.clear();
        ASSERT_EQ(other.add(damaged), 0);
        ASSERT_TRUE(other.converge());
        EXPECT_EQ(log.count(osg::WARN, "[LoaderKTX] "), 1);
        const auto meshes = other.receiver.meshes();
        ASSERT_EQ(meshes.size(), 1U);
        EXPECT_EQ(meshes.front()->indices.size(), 6U);
        EXPECT_TRUE(meshes.front()->pixels().bytes.empty());
        EXPECT_EQ(other.statistics().tilesFailed, 0U);
    }
}

TEST_F(KtxTextures, WithAnyByteChangedLeaveTheTileThere)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(8, 8, kBc1, counting(32));
    const std::string path = write(image, kRaw);
    const std::string whole = readFile(path);
    const std::string texture = fileOf(*image, kRaw);
    const std::size_t start = whole.find(texture);
    ASSERT_NE(start, std::string::npos);
    for (std::size_t place = start; place < start + texture.size(); ++place)
    {
        SCOPED_TRACE(testing::Message() << "byte " << place - start << " of the texture");
        std::string bytes = whole;
        bytes[place] = static_cast<char>(bytes[place] ^ 0x81);
        writeFile(path, bytes);
        ModelDriver other;
        other.view = fromAbove();
        ASSERT_EQ(other.add(path), 0);
        ASSERT_TRUE(other.converge());
        ASSERT_EQ(other.receiver.meshes().size(), 1U);
    }
}

// OSG counts pixels where there are blocks: 63 bytes of 96 for 13 x 9 in BC1, none at all for ASTC 6x6.
TEST_F(KtxTextures, OfAnyBlocksAndSidesReachTheHostTwiceWithoutAWord)
{
    for (const BlockFormat& format : kBlockFormats)
        for (const auto& [width, height] : {std::pair{13, 9}, {16, 8}, {1, 1}, {2, 7}})
        {
            SCOPED_TRACE(testing::Message() << format.name << ", " << width << " x " << height);
            const osg::ref_ptr<osg::Image> image = makeBlocks(format, width, height);
            const std::string name =
                std::string(format.name) + std::to_string(width) + 'x' + std::to_string(height) + ".osgb";
            const std::string path = write(image, kRaw, "IncludeFile", name);
            log.clear();
            ModelDriver one;
            one.view = fromAbove();
            ASSERT_EQ(one.add(path), 0);
            for (const char* when : {"before the cache", "after it"})
            {
                SCOPED_TRACE(when);
                ASSERT_TRUE(one.converge());
                ASSERT_EQ(one.receiver.meshes().size(), 1U);
                expectSame(one.receiver.meshes().front()->pixels(), *image);
                one.receiver.forget();
            }
            EXPECT_EQ(log.count(osg::WARN, ""), 0) << log.lines().front().text;
        }
}

// What the name's own format cannot hold lies beside it.
TEST_F(KtxTextures, WithAnyNameComeBackWithTheirBlocksAndTheirAlpha)
{
    std::vector<std::pair<std::string, osg::ref_ptr<osg::Image>>> images;
    for (const BlockFormat& format : kBlockFormats)
        if (std::string(format.name).find("ASTC") == std::string::npos) // OSG stores no pixels of these in a tile
            images.emplace_back(format.name, makeBlocks(format, 16, 8));
    images.emplace_back("RGBA", makeBytes(7, 5, GL_RGBA, counting(140)));
    images.emplace_back("BGRA", makeBytes(7, 5, GL_BGRA, counting(140)));
    images.emplace_back("luminance with alpha", makeBytes(7, 5, GL_LUMINANCE_ALPHA, counting(70)));
    images.emplace_back("alpha", makeBytes(7, 5, GL_ALPHA, counting(35)));
    int tile = 0;
    for (const auto& [kind, image] : images)
        for (const char* file : {"photo.jpg", "photo.JPG", "photo.png", "photo.tga", "photo.bmp", "photo.dds", "photo",
                                 "photo.unknown", "a/b.c/photo.jpeg"})
        {
            SCOPED_TRACE(kind + " in " + file);
            image->setFileName(file);
            const std::string path = write(image, kRaw, "IncludeData", "Tile" + std::to_string(++tile) + ".osgb");
            log.clear();
            ModelDriver one;
            one.view = fromAbove();
            ASSERT_EQ(one.add(path), 0);
            ASSERT_TRUE(one.converge());
            ASSERT_EQ(one.receiver.meshes().size(), 1U);
            const RecordedPixels first = one.receiver.meshes().front()->pixels();
            expectSame(first, *image);
            one.receiver.forget();
            one.update();
            ASSERT_EQ(one.receiver.meshes().size(), 1U);
            const RecordedPixels again = one.receiver.meshes().front()->pixels();
            EXPECT_EQ(again.width, first.width);
            EXPECT_EQ(again.height, first.height);
            EXPECT_EQ(again.pixelFormat, first.pixelFormat);
            EXPECT_EQ(again.dataType, first.dataType);
            EXPECT_EQ(again.bytes, first.bytes);
            EXPECT_TRUE(again.internalFormat == first.internalFormat || !image->isCompressed());
            EXPECT_EQ(log.count(osg::WARN, ""), 0) << log.lines().front().text;
        }
}

// By pixels without end and sides that are no multiple of the block: the digest is over all bytes.
TEST_F(KtxTextures, WithoutANameThatDifferInTheirLastBlockHaveDifferentKeys)
{
    std::set<std::string> keys;
    for (const unsigned char last : {1, 2})
        for (const BlockFormat& format : kBlockFormats)
        {
            const osg::ref_ptr<osg::Image> image = makeBlocks(format, 13, 9);
            image->data()[0] = static_cast<unsigned char>(&format - kBlockFormats); // some have equally many bytes
            image->data()[mvgeo::levelBytes(*image) - 1] = last;
            image->setFileName("");
            KdDbGeoMeshImage handedOver(7);
            handedOver.setImage(image);
            EXPECT_TRUE(keys.insert(handedOver.key()).second) << format.name << ": " << handedOver.key();
        }
}

// OSG writes 63 of 96 bytes for 13 x 9 in BC1, and the host takes 96.
TEST_F(KtxTextures, OfWhichTheTileHoldsTooFewBytesEndWithZeros)
{
    Bytes expected = counting(63);
    const osg::ref_ptr<osg::Image> image = makeBytes(13, 9, kBc1, counting(96));
    image->setFileName("photo.png");
    driver.add(write(image, kRaw, "IncludeData"));
    expected.resize(96);
    EXPECT_EQ(shown().bytes, expected);
    EXPECT_EQ(shownFromCache().bytes, expected);
}

TEST_F(KtxTextures, ThatClaimMoreThanTheTileHoldsRefuseTheTile)
{
    const osg::ref_ptr<osg::Image> image = makeBytes(16, 8, GL_RGB, counting(384));
    image->setFileName("photo.png");
    const std::string path = write(image, kRaw, "IncludeData");
    const std::string sides("\x10\0\0\0\x08\0\0\0\x01\0\0\0", 12);
    std::string tile = readFile(path);
    const std::size_t at = tile.find(sides);
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(tile.find(sides, at + 1), std::string::npos);
    for (const auto& [place, byte, side] : {std::tuple{0, '\x11', "17 x 8"},
                                            {4, '\x09', "16 x 9"},
                                            {3, '\x40', "1073741840 x 8"},
                                            {3, '\x80', "-2147483632 x 8"}})
    {
        SCOPED_TRACE(side);
        std::string damaged = tile;
        damaged[at + static_cast<std::size_t>(place)] = byte;
        writeFile(path, damaged);
        EXPECT_EQ(driver.add(path), -1);
    }
    writeFile(path, tile);
    driver.add(path);
    EXPECT_EQ(shown().bytes, counting(384));
}

#include "ProgramRunner.h"
#include "TexturePictures.h"
#include "common/JsonReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using mvgeo::host::Json;
using testing::HasSubstr;

/** Without libktx only PNG and JPEG can be converted. */
class TextureCommand : public testing::Test
{
protected:
    void convert(const std::string& arguments) const
    {
        const Outcome outcome = run("texture convert " + arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.err, "") << arguments;
    }
    /** Converts a picture through a KTX file to PNG. */
    osg::ref_ptr<osg::Image> throughKtx(const std::string& picture, const std::string& options,
                                        const std::string& backOptions = {}) const
    {
        const std::string ktx = folder.path("through.ktx2");
        const std::string back = folder.path("back.png");
        convert(quoted(picture) + " " + quoted(ktx) + " " + options);
        convert(quoted(ktx) + " " + quoted(back) + " " + backOptions);
        return readPictureFile(back);
    }
    static Json info(const std::string& path, const std::string& options = {})
    {
        const Outcome outcome = run("texture info --json " + options + " " + quoted(path));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Json report = Json::parse(outcome.out, nullptr, /*allow_exceptions*/ false);
        return report.contains("files") && report["files"].size() == 1 ? report["files"][0] : Json();
    }
    std::string png(const std::string& name, int width, int height, GLenum pixelFormat = GL_RGB) const
    {
        return writePictureFile(folder, name, *placePicture(width, height, pixelFormat));
    }

    TempFolder folder;
};

class KtxCommand : public TextureCommand
{
protected:
    void SetUp() override
    {
#if !defined(MVGEO_HAVE_KTX)
        GTEST_SKIP() << "this build has no libktx";
#endif
    }
};

TEST_F(TextureCommand, TellsOfPngAndJpeg)
{
    const Json picture = info(png("a.png", 40, 20, GL_RGBA));
    EXPECT_EQ(picture["container"], "PNG");
    EXPECT_EQ(picture["width"], 40);
    EXPECT_EQ(picture["height"], 20);
    EXPECT_EQ(picture["format"], "8-bit RGBA");
    EXPECT_EQ(picture["readAs"]["internalFormatName"], "GL_RGBA");
    EXPECT_EQ(picture["readAs"]["bytes"], 40 * 20 * 4);

    const Json photo = info(png("b.jpg", 40, 20));
    EXPECT_EQ(photo["container"], "JPEG");
    EXPECT_EQ(photo["width"], 40);
    EXPECT_EQ(photo["height"], 20);
    EXPECT_EQ(photo["format"], "8-bit YCbCr");
    EXPECT_EQ(photo["compression"], "baseline");
}

TEST_F(TextureCommand, LooksAtTheBytesAndNotAtTheName)
{
    const std::string file = png("a.png", 40, 20);
    std::filesystem::rename(file, folder.path("a.jpg"));
    EXPECT_EQ(info(folder.path("a.jpg"))["container"], "PNG");
}

TEST_F(TextureCommand, TellsOfTheFilesThatItCanRead)
{
    const std::string good = png("good.png", 40, 20);
    const std::string bad = folder.write("bad.ktx2", "this is no texture");
    const Outcome outcome = run("texture info " + quoted(bad) + " " + quoted(good) + " " + quoted(folder.path("none")));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("size:        40 x 20\n"));
    EXPECT_THAT(outcome.err, HasSubstr("mvgeo: '" + bad + "' is a text file, no KTX, KTX 2, PNG or JPEG.\n"));
    EXPECT_THAT(outcome.err, HasSubstr("There is no file"));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2);
}

TEST_F(TextureCommand, GivesTheReasonInTheJsonReportToo)
{
    const Outcome outcome = run("texture info --json " + quoted(folder.write("bad.png", "\x89PNG\r\n\x1A\n....")));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(Json::parse(outcome.out)["files"][0]["problem"].get<std::string>(), HasSubstr("is cut off"));
}

TEST_F(TextureCommand, ConvertsPngToJpegAndBack)
{
    const std::string source = png("a.png", 64, 32);
    convert(quoted(source) + " " + quoted(folder.path("a.jpg")) + " --quality 95");
    convert(quoted(folder.path("a.jpg")) + " " + quoted(folder.path("b.png")));
    EXPECT_GT(psnrBetween(*readPictureFile(folder.path("b.png")), *readPictureFile(source)), 28.0);
}

TEST_F(TextureCommand, LeavesAlphaOutOfAJpeg)
{
    convert(quoted(png("a.png", 64, 32, GL_RGBA)) + " " + quoted(folder.path("a.jpeg")));
    EXPECT_EQ(info(folder.path("a.jpeg"))["format"], "8-bit YCbCr");
    convert(quoted(png("g.png", 64, 32, GL_LUMINANCE_ALPHA)) + " " + quoted(folder.path("g.jpg")));
    EXPECT_EQ(info(folder.path("g.jpg"))["format"], "8-bit grey");
}

TEST_F(TextureCommand, PrintsWhatItWrote)
{
    const std::string out = folder.path("b.png");
    const Outcome outcome = run("texture convert " + quoted(png("a.png", 40, 20)) + " " + quoted(out));
    EXPECT_THAT(outcome.out, HasSubstr("Wrote " + out + ": PNG, 40 x 20, 8-bit RGB, zlib; "));
}

TEST_F(TextureCommand, RefusesWhatCannotBeRead)
{
    const std::string to = " " + quoted(folder.path("out.png"));
    expectOneSentence("texture convert " + quoted(folder.path("none.png")) + to, "There is no file");
    expectOneSentence("texture convert " + quoted(folder.path()) + to, "is no file");
    expectOneSentence("texture convert " + quoted(folder.write("t.png", "text")) + to, "a text file");
    expectOneSentence("texture convert " + quoted(folder.write("e.png", "")) + to, "an empty file");
    const std::string whole = readFile(png("a.png", 64, 64));
    expectOneSentence("texture convert " + quoted(folder.write("cut.png", whole.substr(0, whole.size() / 2))) + to,
                      "Cannot read");
    const std::string photo = readFile(png("a.jpg", 64, 64));
    expectOneSentence("texture convert " + quoted(folder.write("cut.jpg", photo.substr(0, photo.size() / 2))) + to,
                      "it is cut off");
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.png")));
}

TEST_F(TextureCommand, RefusesWhereItCannotWrite)
{
    const std::string in = "texture convert " + quoted(png("a.png", 64, 64)) + " ";
    expectOneSentence(in + quoted(folder.path("b.bmp")), "does not end in .ktx, .ktx2, .png or .jpg");
    expectOneSentence(in + quoted(folder.path("missing/b.png")), "does not exist");
    std::filesystem::create_directories(folder.path("folder.png"));
    expectOneSentence(in + quoted(folder.path("folder.png")), "replace a folder");
    expectOneSentence(in + quoted(folder.path("./a.png")), "the same file");
    expectOneSentence(in + quoted(folder.path(std::string(300, 'c') + ".png")), "Cannot write the texture"); // too long
    expectOneSentence("texture convert " + quoted(folder.path("a.png")), "Two files are required");
}

TEST_F(TextureCommand, RefusesOptionsThatDoNotApply)
{
    const std::string in = "texture convert " + quoted(png("a.png", 64, 64)) + " ";
    const std::string ktx = in + quoted(folder.path("b.ktx2"));
    const std::string picture = in + quoted(folder.path("b.png"));
    expectOneSentence(ktx + " --basis uastc --quality 3", "--quality and --level are settings of etc1s");
    expectOneSentence(ktx + " --basis none --threads 3", "--threads is for etc1s and uastc");
    expectOneSentence(ktx + " --transcode dxt", "--basis none");
    expectOneSentence(ktx + " --basis astc", "--basis");
    expectOneSentence(ktx + " --quality 0", "--quality");
    expectOneSentence(ktx + " --quality 256", "--quality");
    expectOneSentence(ktx + " --level 6", "--level");
    expectOneSentence(picture + " --cube", "are for KTX files");
    expectOneSentence(picture + " --transcode etc", "which no PNG or JPEG holds");
    expectOneSentence(picture + " --quality 7", "PNG file has no quality");
    expectOneSentence(in + quoted(folder.path("b.jpg")) + " --quality 101", "1 to 100");
    expectOneSentence(picture + " --layer 1", "has 1 picture");
    expectOneSentence(in + quoted(png("c.png", 64, 64)) + " " + quoted(folder.path("b.png")), "one picture only");
}

TEST_F(TextureCommand, ReplacesAFileOnlyWithAWholeOne)
{
    const std::string out = folder.write("b.png", "was here");
    const std::string cut = folder.write("cut.png", readFile(png("a.png", 64, 64)).substr(0, 100));
    EXPECT_NE(run("texture convert " + quoted(cut) + " " + quoted(out)).status, 0);
    EXPECT_EQ(readFile(out), "was here");
    convert(quoted(folder.path("a.png")) + " " + quoted(out));
    EXPECT_TRUE(areEqual(*readPictureFile(out), *readPictureFile(folder.path("a.png"))));
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        EXPECT_NE(entry.path().extension(), ".part") << entry.path();
}

TEST_F(KtxCommand, KeepsEveryPixelWithoutCompression)
{
    for (const GLenum format : {GL_RGB, GL_RGBA})
    {
        const std::string source = png("a.png", 61, 35, format);
        EXPECT_TRUE(areEqual(*throughKtx(source, "--basis none"), *readPictureFile(source))) << format;
    }
}

TEST_F(KtxCommand, NamesTheFormatThatItWrote)
{
    convert(quoted(png("a.png", 61, 35)) + " " + quoted(folder.path("a.ktx")) + " --basis none");
    const Json told = info(folder.path("a.ktx"));
    EXPECT_EQ(told["container"], "KTX 2");
    EXPECT_EQ(told["vkFormat"], 23);
    EXPECT_EQ(told["format"], "VK_FORMAT_R8G8B8_UNORM");
    EXPECT_EQ(told["compression"], "none");
    EXPECT_EQ(told["width"], 61);
    EXPECT_EQ(told["height"], 35);
    EXPECT_EQ(told["faces"], 1);
    EXPECT_FALSE(told["writer"].is_null());
    EXPECT_EQ(told["readAs"]["width"], 61);
}

// As a texture of one channel it would be red.
TEST_F(KtxCommand, MakesColoursOfGrey)
{
    const std::string source = png("grey.png", 64, 32, GL_LUMINANCE);
    const osg::ref_ptr<osg::Image> back = throughKtx(source, "--basis none");
    EXPECT_EQ(back->getPixelFormat(), static_cast<GLenum>(GL_RGB));
    EXPECT_GT(psnrBetween(*back, *readPictureFile(source)), 1000.0);
}

TEST_F(KtxCommand, KeepsSixteenBitsWithoutCompression)
{
    const osg::ref_ptr<osg::Image> deep = new osg::Image;
    deep->allocateImage(32, 32, 1, GL_RGB, GL_UNSIGNED_SHORT);
    for (unsigned i = 0; i < 32 * 32 * 3; ++i)
        reinterpret_cast<unsigned short*>(deep->data())[i] = static_cast<unsigned short>(i * 21);
    const std::string source = writePictureFile(folder, "deep.png", *deep);
    convert(quoted(source) + " " + quoted(folder.path("deep.ktx2")) + " --basis none");
    EXPECT_EQ(info(folder.path("deep.ktx2"))["format"], "VK_FORMAT_R16G16B16_UNORM");
    EXPECT_GT(psnrBetween(*throughKtx(source, "--basis none"), *deep), 50.0); // 8 bits a channel
}

TEST_F(KtxCommand, CompressesWithBothEncoders)
{
    const std::string source = png("a.png", 128, 64, GL_RGBA);
    const osg::ref_ptr<osg::Image> picture = readPictureFile(source);
    EXPECT_GT(psnrBetween(*throughKtx(source, "--basis uastc"), *picture), 36.0);
    EXPECT_EQ(info(folder.path("through.ktx2"))["compression"], "UASTC");
    EXPECT_GT(psnrBetween(*throughKtx(source, ""), *picture), 26.0);
    EXPECT_EQ(info(folder.path("through.ktx2"))["compression"], "ETC1S, BasisLZ");
}

TEST_F(KtxCommand, QualityIsHeeded)
{
    const std::string source = png("a.png", 128, 128);
    const osg::ref_ptr<osg::Image> picture = readPictureFile(source);
    const double low = psnrBetween(*throughKtx(source, "--quality 1 --level 1"), *picture);
    const auto small = std::filesystem::file_size(folder.path("through.ktx2"));
    const double high = psnrBetween(*throughKtx(source, "--quality 255 --level 5"), *picture);
    EXPECT_GT(high, low + 1.0);
    EXPECT_GT(std::filesystem::file_size(folder.path("through.ktx2")), small);
}

TEST_F(KtxCommand, PicturesStayUpright)
{
    const std::string source = png("a.png", 64, 64);
    for (const char* options : {"--basis none", "--basis etc1s", "--basis uastc"})
    {
        SCOPED_TRACE(options);
        const osg::ref_ptr<osg::Image> back = throughKtx(source, options);
        const osg::Vec4 upperLeft = back->getColor(4U, 59U);
        const osg::Vec4 lowerLeft = back->getColor(4U, 4U);
        EXPECT_GT(upperLeft.b(), 0.8F); // the blue mark
        EXPECT_LT(lowerLeft.b(), 0.4F);
        EXPECT_GT(back->getColor(59U, 4U).r(), 0.7F);
    }
}

TEST_F(KtxCommand, TellsWhatABasisTextureIsReadAs)
{
    convert(quoted(png("a.png", 64, 64)) + " " + quoted(folder.path("a.ktx2")));
    const std::string file = folder.path("a.ktx2");
    EXPECT_EQ(info(file)["readAs"]["internalFormatName"], "GL_COMPRESSED_RGB_S3TC_DXT1_EXT");
    EXPECT_EQ(info(file, "--transcode rgba")["readAs"]["internalFormatName"], "GL_RGBA");
    EXPECT_EQ(info(file, "--transcode rgba")["readAs"]["bytes"], 64 * 64 * 4);
    EXPECT_EQ(info(file)["readAs"]["bytes"], 64 * 64 / 2);
}

TEST_F(KtxCommand, WritesTheBlocksOfATranscodedTexture)
{
    const std::string source = png("a.png", 64, 64);
    const std::string basis = folder.path("a.ktx2");
    const std::string blocks = folder.path("blocks.ktx2");
    convert(quoted(source) + " " + quoted(basis) + " --basis uastc");
    convert(quoted(basis) + " " + quoted(blocks) + " --basis none --transcode dxt");
    EXPECT_EQ(info(blocks)["vkFormat"], 131);
    convert(quoted(blocks) + " " + quoted(folder.path("back.png")));
    EXPECT_GT(psnrBetween(*readPictureFile(folder.path("back.png")), *readPictureFile(source)), 26.0);
    expectOneSentence("texture convert " + quoted(blocks) + " " + quoted(folder.path("again.ktx2")),
                      "compressed already, as GL_COMPRESSED_RGB_S3TC_DXT1_EXT");
}

TEST_F(KtxCommand, SeveralPicturesBecomeAnArray)
{
    std::string files;
    for (const int i : {0, 1, 2})
    {
        osg::ref_ptr<osg::Image> picture = placePicture(32, 32);
        picture->data(5)[2] = static_cast<unsigned char>(100 + i);
        files += quoted(writePictureFile(folder, std::to_string(i) + ".png", *picture)) + " ";
    }
    const std::string array = folder.path("array.ktx2");
    convert(files + quoted(array) + " --basis none");
    const Json told = info(array);
    EXPECT_EQ(told["layers"], 3);
    EXPECT_EQ(told["readAs"]["pictures"], 3);
    for (const int i : {0, 1, 2})
    {
        convert(quoted(array) + " " + quoted(folder.path("one.png")) + " --layer " + std::to_string(i));
        EXPECT_TRUE(areEqual(*readPictureFile(folder.path("one.png")),
                             *readPictureFile(folder.path(std::to_string(i) + ".png"))))
            << i;
    }
    expectOneSentence("texture convert " + quoted(array) + " " + quoted(folder.path("x.png")), "holds 3 pictures and");
    expectOneSentence("texture convert " + quoted(array) + " " + quoted(folder.path("x.png")) + " --layer 3",
                      "has 3 pictures");
    convert(quoted(array) + " " + quoted(folder.path("copy.ktx2")) + " --basis none");
    EXPECT_EQ(info(folder.path("copy.ktx2"))["layers"], 3);
}

TEST_F(KtxCommand, SixSquaresBecomeACubeMap)
{
    std::string files;
    for (int i = 0; i < 6; ++i)
    {
        osg::ref_ptr<osg::Image> picture = placePicture(32, 32);
        picture->data(5)[2] = static_cast<unsigned char>(100 + i);
        files += quoted(writePictureFile(folder, std::to_string(i) + ".png", *picture)) + " ";
    }
    const std::string cube = folder.path("cube.ktx2");
    convert(files + quoted(cube) + " --basis none --cube");
    EXPECT_EQ(info(cube)["faces"], 6);
    EXPECT_EQ(info(cube)["layers"], 1); // the writer makes an array of one cube map
    convert(quoted(cube) + " " + quoted(folder.path("copy.ktx2")) + " --basis none");
    EXPECT_EQ(info(folder.path("copy.ktx2"))["faces"], 6);
    for (const int i : {0, 5})
        for (const char* file : {"cube.ktx2", "copy.ktx2"})
        {
            convert(quoted(folder.path(file)) + " " + quoted(folder.path("one.png")) + " --layer " + std::to_string(i));
            EXPECT_TRUE(areEqual(*readPictureFile(folder.path("one.png")),
                                 *readPictureFile(folder.path(std::to_string(i) + ".png"))))
                << i << ' ' << file;
        }
}

TEST_F(KtxCommand, RefusesPicturesThatDoNotGoTogether)
{
    const std::string a = quoted(png("a.png", 32, 32));
    const std::string b = quoted(png("b.png", 32, 16));
    const std::string out = " " + quoted(folder.path("out.ktx2"));
    expectOneSentence("texture convert " + a + " " + b + out, "32 x 16 pixels");
    expectOneSentence("texture convert " + a + " " + a + out + " --cube", "six pictures, not 2");
    const std::string six = b + " " + b + " " + b + " " + b + " " + b + " " + b;
    expectOneSentence("texture convert " + six + out + " --cube", "squares");
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.ktx2")));
}

// One with alpha gives it to all of them.
TEST_F(KtxCommand, PicturesWithAndWithoutAlphaGoTogether)
{
    const std::string a = quoted(png("a.png", 32, 32));
    const std::string b = quoted(png("b.png", 32, 32, GL_RGBA));
    convert(a + " " + b + " " + quoted(folder.path("out.ktx2")) + " --basis none");
    EXPECT_EQ(info(folder.path("out.ktx2"))["format"], "VK_FORMAT_R8G8B8A8_UNORM");
}

TEST_F(KtxCommand, RefusesAKtxFileThatIsCutOff)
{
    convert(quoted(png("a.png", 64, 64)) + " " + quoted(folder.path("a.ktx2")) + " --basis none");
    const std::string whole = readFile(folder.path("a.ktx2"));
    for (const std::size_t length : {std::size_t{30}, std::size_t{100}, whole.size() / 2})
    {
        const std::string cut = quoted(folder.write("cut.ktx2", whole.substr(0, length)));
        SCOPED_TRACE(length);
        const Outcome outcome = run("texture info " + cut);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        expectOneSentence("texture convert " + cut + " " + quoted(folder.path("x.png")), "cut.ktx2'");
    }
}

/** The real textures; needs MVGEO_REAL_DATA. */
class RealTextures : public KtxCommand
{
protected:
    void SetUp() override
    {
        KtxCommand::SetUp();
        const char* root = std::getenv("MVGEO_REAL_DATA");
        if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
        _folder = std::string(root) + "/ktx/";
    }
    osg::ref_ptr<osg::Image> picture(const std::string& name, const std::string& options = {}) const
    {
        convert(quoted(_folder + name) + " " + quoted(folder.path("real.png")) + " " + options);
        return readPictureFile(folder.path("real.png"));
    }
    std::string _folder;
};

TEST_F(RealTextures, AreDescribed)
{
    const Json uastc = info(_folder + "ktx_document_uastc_rdo4_zstd5.ktx2");
    EXPECT_EQ(uastc["compression"], "UASTC, zstd");
    EXPECT_EQ(uastc["levels"], 11);
    EXPECT_EQ(uastc["transfer"], "sRGB");
    EXPECT_EQ(uastc["orientation"], "rd");
    EXPECT_EQ(uastc["writer"], "toktx v4.0.__default__ / libktx v4.0.__default__");
    const Json old = info(_folder + "kueken7_rgba8_unorm.ktx");
    EXPECT_EQ(old["container"], "KTX");
    EXPECT_EQ(old["pixels"], "GL_RGBA of GL_UNSIGNED_BYTE");
    EXPECT_EQ(old["levels"], 9);
    const Json cube = info(_folder + "cubemap_yokohama_basis_rd.ktx2");
    EXPECT_EQ(cube["faces"], 6);
    EXPECT_EQ(cube["readAs"]["pictures"], 6);
}

TEST_F(RealTextures, TheSamePictureInSeveralFormatsLooksTheSame)
{
    const osg::ref_ptr<osg::Image> plain = picture("kueken7_rgba8_unorm.ktx");
    EXPECT_GT(psnrBetween(*picture("kueken7_rgba_dxt5_unorm.ktx"), *plain), 25.0);
    EXPECT_GT(psnrBetween(*picture("kueken7_rgb_dxt1_unorm.ktx"), *plain), 25.0);
}

TEST_F(RealTextures, BothOrientationsComeOutUpright)
{
    EXPECT_GT(psnrBetween(*picture("orient-up-metadata.ktx"), *picture("orient-down-metadata.ktx")), 1000.0);
    EXPECT_GT(psnrBetween(*picture("orient-up-metadata-u.ktx2"), *picture("orient-down-metadata-u.ktx2")), 1000.0);
}

TEST_F(RealTextures, AreRefusedWhereNoPictureCanBeMadeOfThem)
{
    expectOneSentence("texture convert " + quoted(_folder + "kueken7_rgba_etc2_srgb.ktx") + " " +
                          quoted(folder.path("x.png")),
                      "of which no PNG or JPEG can be made");
}

} // namespace

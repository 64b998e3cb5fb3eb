#include "mvgeothirdparty/FileQueries.h"

#include "support/LogRecorder.h"
#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"
#include "support/TilePyramid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <gdal_priv.h>
#include <osg/Group>
#include <osg/observer_ptr>
#include <osgDB/Registry>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <stdexcept>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kChinese = "\xE7\x93\xA6\xE7\x89\x87 1"; // two characters, a blank, a digit

bool isTile(const std::string& path)
{
    return IsOsgbFileValid_Imp(KdString(path.c_str()));
}
bool isDem(const std::string& path)
{
    return IsDemFileValid_Imp(KdString(path.c_str()));
}

/** What GetGeoImageInfo() leaves behind, over values that no raster has. */
struct GeoImage
{
    bool isRaster = false;
    std::array<double, 6> transform{-1, -2, -3, -4, -5, -6};
    int width = -7;
    int height = -8;

    explicit GeoImage(const std::string& path)
    {
        isRaster = GetGeoImageInfo(KdString(path.c_str()), transform.data(), width, height);
    }
    [[nodiscard]] bool isUntouched() const
    {
        return transform == std::array<double, 6>{-1, -2, -3, -4, -5, -6} && width == -7 && height == -8;
    }
};

/** The registry as a host may have furnished it; everything is as before at the end. */
class RegistryScope
{
public:
    RegistryScope() : _options(registry().getOptions()), _callback(registry().getReadFileCallback()) {}
    ~RegistryScope()
    {
        registry().setOptions(_options);
        registry().setReadFileCallback(_callback);
        registry().clearObjectCache();
    }
    RegistryScope(const RegistryScope&) = delete;
    RegistryScope& operator=(const RegistryScope&) = delete;

    static osgDB::Registry& registry() { return *osgDB::Registry::instance(); }

private:
    osg::ref_ptr<osgDB::Options> _options;
    osg::ref_ptr<osgDB::ReadFileCallback> _callback;
};

/** Answers by itself and remembers what it was asked. */
class RecordingCallback : public osgDB::ReadFileCallback
{
public:
    using Answer = std::function<osgDB::ReaderWriter::ReadResult()>;
    explicit RecordingCallback(Answer answer) : _answer(std::move(answer)) {}

    osgDB::ReaderWriter::ReadResult readNode(const std::string& fileName, const osgDB::Options* options) override
    {
        asked.emplace_back(fileName, options);
        return _answer();
    }
    std::vector<std::pair<std::string, const osgDB::Options*>> asked;

protected:
    ~RecordingCallback() override = default;

private:
    Answer _answer;
};

osgDB::ReaderWriter::ReadResult notHandled()
{
    return osgDB::ReaderWriter::ReadResult::FILE_NOT_HANDLED;
}

std::vector<std::string> openFiles()
{
    std::vector<std::string> targets;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", ignored))
        targets.push_back(fs::read_symlink(entry.path(), ignored).string());
    return targets;
}

int openDatasets()
{
    GDALDataset** datasets = nullptr;
    int count = 0;
    GDALGetOpenDatasets(reinterpret_cast<GDALDatasetH**>(&datasets), &count);
    return count;
}

struct FileQueries : public testing::Test
{
    TemporaryDirectory folder;

    [[nodiscard]] std::string file(const std::string& name, const std::string& bytes) const
    {
        writeFile(folder / name, bytes);
        return folder / name;
    }
    [[nodiscard]] std::string tile(const TilePyramidOptions& options = {}) const
    {
        return TilePyramid(folder / "tiles", options).rootFile();
    }
    [[nodiscard]] std::string raster(const std::string& name, int bands, GDALDataType type = GDT_Byte) const
    {
        TestRaster plan;
        plan.bands = bands;
        plan.type = type;
        writeRaster(folder / name, plan, 1.0);
        return folder / name;
    }
    /** What is neither a tile nor a raster, under names that promise one. */
    [[nodiscard]] std::vector<std::string> badFiles() const
    {
        const std::string whole = readFile(tile());
        return {folder / "missing.osgb",
                folder / "missing/missing.tif",
                folder.makeFolder("folder"),
                folder.makeFolder("folder.osgb"),
                folder.makeFolder("folder.tif"),
                file("empty.osgb", ""),
                file("empty.tif", ""),
                file("text.osgb", "this is no tile"),
                file("text.tif", "this is no raster"),
                file("half.osgb", whole.substr(0, whole.size() / 2)),
                file("start.tif", "II*"),
                file("noise.osgb", whole.substr(0, 100) + std::string(3000, '\x5A')),
                std::string(5000, 'x'),
                ""};
    }
};

struct TileQuery : public FileQueries
{
    RegistryScope scope;
};

using DemQuery = FileQueries;
using GeoImageQuery = FileQueries;

} // namespace

TEST_F(TileQuery, IsTrueForEveryTileOfAPyramid)
{
    const TilePyramid pyramid(folder / "data", {3});
    ASSERT_EQ(pyramid.files().size(), 6U); // the root, its first level, four of the second
    for (const std::string& path : pyramid.files())
        EXPECT_TRUE(isTile(path)) << path;
}

TEST_F(TileQuery, IsTrueForCompressedTilesAndRootsThatAreNotPaged)
{
    TilePyramidOptions options;
    options.isCompressed = true;
    EXPECT_TRUE(isTile(TilePyramid(folder / "a", options).rootFile()));
    options = {};
    options.rootKind = TilePyramidOptions::RootKind::EmptyNode;
    EXPECT_TRUE(isTile(TilePyramid(folder / "b", options).rootFile()));
}

TEST_F(TileQuery, IsFalseForWhatIsNoTile)
{
    for (const std::string& path : badFiles())
        EXPECT_FALSE(isTile(path)) << path;
    EXPECT_FALSE(isTile(raster("dem.tif", 1)));
}

// At most of these places the reader itself throws.
TEST_F(TileQuery, IsFalseForATileCutOffAnywhere)
{
    TilePyramidOptions options;
    options.textures = TilePyramidOptions::Textures::None;
    for (const bool isCompressed : {false, true})
    {
        options.isCompressed = isCompressed;
        const std::string whole = readFile(TilePyramid(folder / "cut", options).rootFile());
        const std::size_t checkSum = isCompressed ? 4 : 0; // bytes behind the scene, at which the toolkit does not look
        for (std::size_t size = 0; size < whole.size() - checkSum; ++size)
            ASSERT_FALSE(isTile(file("cut.osgb", whole.substr(0, size))))
                << size << " of " << whole.size() << " bytes, compressed " << isCompressed;
        EXPECT_TRUE(isTile(file("cut.osgb", whole)));
    }
}

TEST_F(TileQuery, ReadsPathsThatAreNotAscii)
{
    folder.makeFolder(kChinese);
    EXPECT_TRUE(isTile(file(kChinese + "/" + kChinese + ".osgb", readFile(tile()))));
    EXPECT_FALSE(isTile(file(kChinese + "/text.osgb", "no tile")));
    EXPECT_TRUE(isTile(file("Tile\xFF.osgb", readFile(tile()))));
}

TEST_F(TileQuery, AsksTheRegistrysReadFileCallbackWithItsOptions)
{
    const osg::ref_ptr<RecordingCallback> callback = new RecordingCallback([] { return new osg::Group; });
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    osgDB::Registry::instance()->setReadFileCallback(callback);
    osgDB::Registry::instance()->setOptions(options);
    const std::string text = file("text.osgb", "no tile");
    EXPECT_TRUE(isTile(text)); // what the callback makes a node of is a tile
    EXPECT_THAT(callback->asked, ElementsAre(std::make_pair(text, options.get())));
}

TEST_F(TileQuery, AsksTheCallbackOfTheRegistrysOptions)
{
    const osg::ref_ptr<RecordingCallback> callback = new RecordingCallback(notHandled);
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setReadFileCallback(callback);
    osgDB::Registry::instance()->setOptions(options);
    EXPECT_FALSE(isTile(tile()));
    EXPECT_EQ(callback->asked.size(), 1U);
}

TEST_F(TileQuery, AsksNobodyAboutAFileThatIsNotThere)
{
    const osg::ref_ptr<RecordingCallback> callback = new RecordingCallback([] { return new osg::Group; });
    osgDB::Registry::instance()->setReadFileCallback(callback);
    EXPECT_FALSE(isTile(folder / "missing.osgb"));
    EXPECT_THAT(callback->asked, IsEmpty());
}

TEST_F(TileQuery, IsFalseWhenAReaderThrows)
{
    const std::string path = tile();
    osgDB::Registry::instance()->setReadFileCallback(
        new RecordingCallback([]() -> osgDB::ReaderWriter::ReadResult { throw std::runtime_error("damaged"); }));
    EXPECT_NO_THROW(EXPECT_FALSE(isTile(path)));
    osgDB::Registry::instance()->setReadFileCallback(
        new RecordingCallback([]() -> osgDB::ReaderWriter::ReadResult { throw 1; }));
    EXPECT_NO_THROW(EXPECT_FALSE(isTile(path)));
}

TEST_F(TileQuery, ReleasesTheNode)
{
    osg::observer_ptr<osg::Node> node;
    osgDB::Registry::instance()->setReadFileCallback(new RecordingCallback(
        [&node]
        {
            const osg::ref_ptr<osg::Node> made = new osg::Group;
            node = made;
            return osgDB::ReaderWriter::ReadResult(made.get());
        }));
    EXPECT_TRUE(isTile(tile()));
    EXPECT_FALSE(node.valid());
}

TEST_F(TileQuery, NeitherFillsNorAsksTheToolkitsCache)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setObjectCacheHint(osgDB::Options::CACHE_ALL);
    osgDB::Registry& registry = RegistryScope::registry();
    registry.setOptions(options);
    const std::string path = tile();
    EXPECT_TRUE(isTile(path));
    EXPECT_EQ(registry.getFromObjectCache(path, options), nullptr);
    EXPECT_EQ(registry.getOptions(), options);
    EXPECT_EQ(options->getObjectCacheHint(), osgDB::Options::CACHE_ALL);

    registry.addEntryToObjectCache(path, new osg::Group, 0.0, options);
    writeFile(path, "no tile any more");
    EXPECT_FALSE(isTile(path));
}

TEST_F(DemQuery, IsTrueForOneBandOnly)
{
    EXPECT_TRUE(isDem(raster("1.tif", 1)));
    EXPECT_FALSE(isDem(raster("2.tif", 2)));
    EXPECT_FALSE(isDem(raster("3.tif", 3)));
    EXPECT_FALSE(isDem(raster("4.tif", 4)));
}

TEST_F(DemQuery, AsksNotForTypeOrPlace)
{
    for (const GDALDataType type : {GDT_Byte, GDT_Int16, GDT_Float32, GDT_Float64})
        EXPECT_TRUE(isDem(raster("typed.tif", 1, type))) << GDALGetDataTypeName(type);
    TestRaster plan;
    plan.isGeoreferenced = false;
    writeRaster(folder / "nowhere.tif", plan, 1.0);
    EXPECT_TRUE(isDem(folder / "nowhere.tif"));
}

TEST_F(DemQuery, IsFalseForWhatIsNoRaster)
{
    for (const std::string& path : badFiles())
        EXPECT_FALSE(isDem(path)) << path;
    EXPECT_FALSE(isDem(tile()));
}

// The file is looked for on the disk before GDAL is asked.
TEST_F(DemQuery, IsFalseForARasterThatOnlyGdalFinds)
{
    const std::string inMemory = "/vsimem/file_queries_test.tif";
    writeRaster(inMemory, TestRaster(), 1.0);
    EXPECT_FALSE(isDem(inMemory));
    EXPECT_TRUE(GeoImage(inMemory).isRaster);
    VSIUnlink(inMemory.c_str());
}

TEST_F(DemQuery, ReadsPathsThatAreNotAscii)
{
    folder.makeFolder(kChinese);
    EXPECT_TRUE(isDem(raster(kChinese + "/" + kChinese + ".tif", 1)));
    EXPECT_FALSE(isDem(raster(kChinese + "/three.tif", 3)));
}

TEST_F(GeoImageQuery, TellsPlaceAndSize)
{
    TestRaster plan;
    plan.width = 7;
    plan.height = 5;
    plan.bands = 3;
    plan.originX = 500000.0;
    plan.originY = 4100000.0;
    plan.pixelWidth = 0.5;
    plan.pixelHeight = -0.25;
    plan.rowRotation = 0.125;
    plan.columnRotation = -0.0625;
    writeRaster(folder / "dom.tif", plan, 1.0);
    const GeoImage image(folder / "dom.tif");
    EXPECT_TRUE(image.isRaster);
    EXPECT_THAT(image.transform, ElementsAre(500000.0, 0.5, 0.125, 4100000.0, -0.0625, -0.25));
    EXPECT_EQ(image.width, 7);
    EXPECT_EQ(image.height, 5);
}

TEST_F(GeoImageQuery, OfARasterWithoutPlaceGivesWhatGdalWrites)
{
    TestRaster plan;
    plan.width = 3;
    plan.isGeoreferenced = false;
    writeRaster(folder / "nowhere.tif", plan, 1.0);
    const GeoImage image(folder / "nowhere.tif");
    EXPECT_TRUE(image.isRaster);
    EXPECT_THAT(image.transform, ElementsAre(0.0, 1.0, 0.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 4);
}

TEST_F(GeoImageQuery, LeavesEverythingAloneForWhatIsNoRaster)
{
    std::vector<std::string> paths = badFiles();
    paths.push_back(tile());
    for (const std::string& path : paths)
    {
        const GeoImage image(path);
        EXPECT_FALSE(image.isRaster) << path;
        EXPECT_TRUE(image.isUntouched()) << path;
    }
}

TEST_F(GeoImageQuery, RefusesACallWithoutAnArray)
{
    int width = 1;
    int height = 2;
    EXPECT_FALSE(GetGeoImageInfo(KdString(raster("a.tif", 1).c_str()), nullptr, width, height));
    EXPECT_EQ(width, 1);
    EXPECT_EQ(height, 2);
}

TEST_F(GeoImageQuery, ReadsPathsThatAreNotAscii)
{
    folder.makeFolder(kChinese);
    const GeoImage image(raster(kChinese + "/" + kChinese + ".tif", 4));
    EXPECT_TRUE(image.isRaster);
    EXPECT_EQ(image.width, 4);
}

TEST_F(FileQueries, LeaveNothingOpen)
{
    std::vector<std::string> paths = badFiles();
    paths.push_back(tile());
    paths.push_back(raster("1.tif", 1));
    paths.push_back(raster("3.tif", 3));
    std::vector<KdString> roots;
    const auto askAll = [&]
    {
        for (const std::string& path : paths)
        {
            isTile(path);
            isDem(path);
            const GeoImage image(path);
            GetRootTiles_Imp(KdString(path.c_str()), roots);
        }
    };
    askAll(); // what libraries open once, such as a data base of coordinate systems, stays
    const std::vector<std::string> before = openFiles();
    const int datasetsBefore = openDatasets();
    askAll();
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(openDatasets(), datasetsBefore);
    for (const std::string& target : openFiles())
        EXPECT_EQ(target.find(folder.path().string()), std::string::npos) << target;
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(FileQueries, SayNothingAnywhere)
{
    std::vector<std::string> paths = badFiles();
    TilePyramidOptions options;
    std::string strange = readFile(tile(options));
    strange.replace(strange.find("osg::PagedLOD"), 13, "osg::NoSuchOD"); // the toolkit complains about the class
    paths.push_back(file("strange.osgb", strange));
    const auto askAll = [&paths]
    {
        std::vector<KdString> roots;
        for (const std::string& path : paths)
        {
            isTile(path);
            isDem(path);
            const GeoImage image(path);
            GetRootTiles_Imp(KdString(path.c_str()), roots);
        }
    };
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    askAll(); // with the toolkit's own handler, which writes to both
    {
        const LogRecorder log;
        askAll();
        EXPECT_EQ(log.lines().size(), 0U) << log.lines().front().text;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(FileQueries, MayComeFromManyThreads)
{
    const std::string goodTile = tile();
    const std::string whole = readFile(goodTile);
    const std::string badTile = file("half.osgb", whole.substr(0, whole.size() / 2));
    const std::string dem = raster("1.tif", 1);
    const std::string dom = raster("3.tif", 3);
    const auto ask = [&]
    {
        int right = 0;
        for (int turn = 0; turn < 50; ++turn)
        {
            std::vector<KdString> roots;
            KdString text;
            getFileName_Imp(KdString(dem.c_str()), text);
            right += isTile(goodTile) && !isTile(badTile) && isDem(dem) && !isDem(dom) && GeoImage(dom).width == 4 &&
                     GetRootTiles_Imp(KdString((folder / "tiles").c_str()), roots) && text == KdString("1.tif");
        }
        return right;
    };
    std::vector<std::future<int>> answers;
    for (int i = 0; i < 4; ++i)
        answers.push_back(std::async(std::launch::async, ask));
    for (std::future<int>& answer : answers)
        EXPECT_EQ(answer.get(), 50);
    EXPECT_EQ(openDatasets(), 0);
}

TEST_F(FileQueries, KnowTheRealFiles)
{
    const char* root = std::getenv("MVGEO_REAL_DATA");
    if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
    int tiles = 0;
    int rasters = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root))
    {
        const std::string path = entry.path().string();
        const std::string extension = entry.path().extension().string();
        if (!entry.is_regular_file()) continue;
        SCOPED_TRACE(path);
        EXPECT_EQ(isTile(path), extension == ".osgb");
        EXPECT_EQ(GeoImage(path).isRaster, extension == ".tif");
        EXPECT_FALSE(isDem(path) && extension != ".tif");
        tiles += extension == ".osgb";
        rasters += extension == ".tif";
    }
    EXPECT_GT(tiles, 0);
    EXPECT_GT(rasters, 0);
}

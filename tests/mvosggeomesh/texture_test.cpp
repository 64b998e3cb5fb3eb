#include "mvosggeomesh/TextureReading.h"
#include "mvosggeomesh/TiledModelFixture.h"
#include "support/VisitorGeometry.h"

#include <osgDB/Registry>
#include <osgDB/WriteFile>

#include <csignal>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include <omp.h>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace
{

/** What a tile's square shows: the colour that its level and corner give it. */
void expectOwnColour(const RecordingMesh& mesh)
{
    ASSERT_EQ(mesh.vertices.size(), 12U);
    const auto level = static_cast<int>(mesh.vertices[2]);
    const std::vector<unsigned char> colour = colourOf(level, mesh.vertices[0], mesh.vertices[1]);
    const RecordedPixels pixels = mesh.pixels();
    EXPECT_EQ(pixels.width, 8U);
    EXPECT_EQ(pixels.height, 4U);
    ASSERT_EQ(pixels.bytes.size(), 96U) << mesh.textureKey();
    for (std::size_t i = 0; i < 96U; ++i)
        ASSERT_EQ(pixels.bytes[i], colour[i % 3U]) << mesh.textureKey() << " byte " << i;
}

int imagesInScene(osg::Node& root)
{
    VisitorGeometry collector;
    root.accept(collector);
    int count = 0;
    for (const auto& geometry : collector.geometries())
        if (const osg::Texture2D* texture = mvgeo::textureOf(*geometry)) count += texture->getImage() ? 1 : 0;
    return count;
}

struct Textures : public TiledModelFixture
{
    void converge(const TilePyramidOptions& options)
    {
        driver.add(pyramid(options).rootFile());
        driver.view = fromAbove();
        ASSERT_TRUE(driver.converge());
        ASSERT_FALSE(receiver().meshes().empty());
    }
    /** The meshes that the host holds; fails the test if they are not as many. */
    std::vector<const RecordingMesh*> meshes(std::size_t count)
    {
        std::vector<const RecordingMesh*> held = receiver().meshes();
        EXPECT_EQ(held.size(), count);
        return held;
    }
    void expectOwnColours(std::size_t count)
    {
        for (const RecordingMesh* mesh : meshes(count))
            expectOwnColour(*mesh);
    }
    fs::path cache() { return fs::directory_iterator(folder / "temp/mesh")->path(); }
};

} // namespace

TEST_F(Textures, ReachTheHostWithTheirPixels)
{
    converge({});
    expectOwnColours(21); // 1 + 4 + 16 squares
}

TEST_F(Textures, AreDroppedFromTheSceneOnceTheyWereHandedOver)
{
    converge({});
    EXPECT_EQ(imagesInScene(model().root()), 0);
}

TEST_F(Textures, AreReadFromTheCacheWhenTheHostAsksForEverythingAgain)
{
    converge({});
    for (int round = 0; round < 3; ++round)
    {
        receiver().forget();
        driver.update();
        expectOwnColours(21);
        EXPECT_EQ(imagesInScene(model().root()), 0);
    }
    expectCleanContract();
}

TEST_F(Textures, HaveTheSameKeyBeforeAndAfterTheCache)
{
    converge({});
    std::set<std::string> before;
    for (const RecordingMesh* mesh : meshes(21))
        before.insert(mesh->textureKey());
    ASSERT_EQ(before.size(), 21U);
    EXPECT_TRUE(before.count(id("Tile_0_L1_3.png"))) << *before.begin();
    receiver().forget();
    driver.update();
    std::set<std::string> after;
    for (const RecordingMesh* mesh : meshes(21))
        after.insert(mesh->textureKey());
    EXPECT_EQ(after, before);
}

TEST_F(Textures, WithoutExtractionAreNotHandedOverButCanBeHadLater)
{
    driver.extract = MvGeoMesh::kExtractGeometry;
    converge({});
    for (const RecordingMesh* mesh : meshes(21))
    {
        EXPECT_FALSE(mesh->image);
        EXPECT_THAT(mesh->texCoords, testing::IsEmpty());
    }
    driver.extract = MvGeoMesh::kExtractTextures;
    receiver().forget();
    driver.update();
    expectOwnColours(21);
}

TEST_F(Textures, BesideTheTileAreFound)
{
    TilePyramidOptions options;
    options.textures = TilePyramidOptions::Textures::named;
    converge(options);
    expectOwnColours(21);
}

// They are cached as JPEG, so the pixels that come back are only nearly the same.
TEST_F(Textures, WithoutNameAreNamedByTheirPixels)
{
    TilePyramidOptions options{2};
    options.textures = TilePyramidOptions::Textures::unnamed;
    converge(options);
    for (const RecordingMesh* mesh : meshes(5)) // 1 + 4
    {
        expectOwnColour(*mesh);
        EXPECT_THAT(mesh->textureKey(), testing::MatchesRegex("[0-9]+_[0-9]+\\.jpg"));
    }
    receiver().forget();
    driver.update();
    for (const RecordingMesh* mesh : meshes(5))
    {
        const std::vector<unsigned char> colour =
            colourOf(static_cast<int>(mesh->vertices[2]), mesh->vertices[0], mesh->vertices[1]);
        ASSERT_EQ(mesh->pixels().bytes.size(), 96U);
        for (std::size_t i = 0; i < 96U; ++i)
            ASSERT_NEAR(mesh->pixels().bytes[i], colour[i % 3U], 3);
    }
}

TEST_F(Textures, StandBesideUntexturedGeometry)
{
    TilePyramidOptions options{2};
    options.addsUntextured = true;
    converge(options);
    int textured = 0;
    for (const RecordingMesh* mesh : meshes(10))
        textured += mesh->image ? 1 : 0;
    EXPECT_EQ(textured, 5);
}

TEST_F(Textures, WhoseCachedFileVanishedStayEmptyWithoutAWord)
{
    converge({2});
    fs::remove(cache() / "Tile_0.png");
    log.clear();
    receiver().forget();
    driver.update();
    const RecordingMesh* mesh = receiver().onlyMesh(id("Tile_0.osgb_0"));
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->textureKey(), id("Tile_0.png"));
    EXPECT_TRUE(mesh->pixels().bytes.empty());
    EXPECT_EQ(log.count("src/"), 0);
}

TEST_F(Textures, WhoseCachedFileIsDamagedStayEmpty)
{
    converge({2});
    writeFile((cache() / "Tile_0.png").string(), "not a picture");
    receiver().forget();
    driver.update();
    const RecordingMesh* mesh = receiver().onlyMesh(id("Tile_0.osgb_0"));
    ASSERT_NE(mesh, nullptr);
    EXPECT_TRUE(mesh->pixels().bytes.empty());
}

TEST_F(Textures, SurviveACacheThatCannotBeWritten)
{
    const TilePyramid data = pyramid({2});
    // A file stands where the cache directory should be: nobody can write into it, not even the super-user.
    std::string directory;
    model().makeCacheDirectory(data.rootFile(), directory);
    fs::remove(directory);
    writeFile(directory, "in the way");
    ASSERT_EQ(driver.add(data.rootFile()), 0);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    expectOwnColours(5);
    receiver().forget();
    EXPECT_TRUE(driver.update());
    EXPECT_EQ(receiver().meshes().size(), 5U);
    EXPECT_EQ(readFile(directory), "in the way");
}

// A full disk as far as this process is concerned: no file may grow beyond 20 bytes. OSG's JPEG writer would
// end the process here, and its PNG writer would leave a cut file.
class SmallFilesOnly
{
public:
    SmallFilesOnly()
    {
        _before = std::signal(SIGXFSZ, SIG_IGN); // so that the write fails instead
        getrlimit(RLIMIT_FSIZE, &_limit);
        rlimit small = _limit;
        small.rlim_cur = 20;
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFilesOnly()
    {
        setrlimit(RLIMIT_FSIZE, &_limit);
        std::signal(SIGXFSZ, _before);
    }
    SmallFilesOnly(const SmallFilesOnly&) = delete;
    SmallFilesOnly& operator=(const SmallFilesOnly&) = delete;

private:
    rlimit _limit{};
    void (*_before)(int) = nullptr;
};

TEST_F(Textures, SurviveADiskThatIsFullAndLeaveNoCutFile)
{
    for (const TilePyramidOptions::Textures kind :
         {TilePyramidOptions::Textures::embedded, TilePyramidOptions::Textures::unnamed})
    {
        TilePyramidOptions options{2};
        options.textures = kind;
        const TilePyramid data = pyramid(options, "full" + std::to_string(static_cast<int>(kind)));
        ModelDriver one;
        std::string directory;
        one.model().makeCacheDirectory(data.rootFile(), directory);
        {
            const SmallFilesOnly disk;
            ASSERT_EQ(one.add(data.rootFile()), 0);
            one.view = fromAbove();
            ASSERT_TRUE(one.converge());
        }
        EXPECT_TRUE(fs::is_empty(directory));
        EXPECT_EQ(one.receiver.meshes().size(), 5U);
    }
}

TEST_F(Textures, SurviveACacheFolderThatIsADevice)
{
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    const TilePyramid data = pyramid({2});
    std::string directory;
    model().makeCacheDirectory(data.rootFile(), directory);
    fs::remove(directory);
    std::error_code error;
    fs::create_symlink("/dev/full", directory, error);
    if (error) GTEST_SKIP() << "cannot make a link: " << error.message();
    ASSERT_EQ(driver.add(data.rootFile()), 0);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    expectOwnColours(5);
}

TEST_F(Textures, NamedButNotFoundGiveAMeshAllTheSame)
{
    TilePyramidOptions options{2};
    options.textures = TilePyramidOptions::Textures::named;
    const TilePyramid data = pyramid(options);
    for (const auto& entry : fs::directory_iterator(folder / "data/Tile_0"))
        if (entry.path().extension() == ".png") fs::remove(entry.path());
    ASSERT_EQ(driver.add(data.rootFile()), 0);
    driver.view = fromAbove();
    ASSERT_TRUE(driver.converge());
    for (const RecordingMesh* mesh : meshes(5))
        EXPECT_TRUE(mesh->pixels().bytes.empty());
}

TEST(TextureReading, FillsEveryTargetFromItsOwnFile)
{
    const TemporaryDirectory folder;
    std::vector<mvgeo::TextureWorkItem> items(50);
    for (unsigned int i = 0; i < items.size(); ++i)
    {
        items[i].path = folder / (std::to_string(i) + ".png");
        items[i].target = new osg::Image;
        const auto shade = static_cast<unsigned char>(5U * i);
        if (i != 7) osgDB::writeImageFile(*makeImage("", shade, shade, shade), items[i].path);
    }
    mvgeo::readTextures(items);
    for (unsigned int i = 0; i < items.size(); ++i)
    {
        const osg::Image& target = *items[i].target;
        if (i == 7)
        {
            EXPECT_EQ(target.data(), nullptr);
            continue;
        }
        ASSERT_NE(target.data(), nullptr) << i;
        EXPECT_EQ(target.data()[0], 5U * i);
        EXPECT_EQ(target.getTotalSizeInBytes(), 96U);
        EXPECT_EQ(target.getAllocationMode(), osg::Image::USE_NEW_DELETE);
        EXPECT_EQ(target.getPacking(), 1U);
        EXPECT_EQ(target.getRowLength(), 0);
    }
}

/** Counts the threads that read images while it lives. No image can be read meanwhile. */
class ReadingThreads
{
public:
    ReadingThreads() { osgDB::Registry::instance()->setReadFileCallback(_callback); }
    ~ReadingThreads() { osgDB::Registry::instance()->setReadFileCallback(nullptr); }
    ReadingThreads(const ReadingThreads&) = delete;
    ReadingThreads& operator=(const ReadingThreads&) = delete;

    [[nodiscard]] std::size_t count() const { return _callback->threads.size(); }

private:
    struct Callback : public osgDB::ReadFileCallback
    {
        osgDB::ReaderWriter::ReadResult readImage(const std::string&, const osgDB::Options*) override
        {
            const std::lock_guard<std::mutex> guard(lock);
            threads.insert(std::this_thread::get_id());
            return osgDB::ReaderWriter::ReadResult::FILE_NOT_FOUND;
        }

        std::mutex lock;
        std::set<std::thread::id> threads;
    };

    const osg::ref_ptr<Callback> _callback = new Callback;
};

/** The number of threads for OpenMP's loops, as a host may have set it. */
class HostsThreadCount
{
public:
    explicit HostsThreadCount(int count) : _before(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~HostsThreadCount() { omp_set_num_threads(_before); }
    HostsThreadCount(const HostsThreadCount&) = delete;
    HostsThreadCount& operator=(const HostsThreadCount&) = delete;

private:
    int _before;
};

// On a machine with fewer cores, too: reading waits for the disk.
TEST(TextureReading, UsesEightThreadsOrMore)
{
    const HostsThreadCount two(2);
    const ReadingThreads readers;
    mvgeo::readTextures(std::vector<mvgeo::TextureWorkItem>(64));
    EXPECT_GE(readers.count(), 8U);
}

TEST(TextureReading, LeavesTheHostsOwnNumberOfThreadsAsItWas)
{
    const HostsThreadCount three(3);
    std::vector<mvgeo::TextureWorkItem> items(64);
    for (mvgeo::TextureWorkItem& item : items)
        item.target = new osg::Image;
    mvgeo::readTextures(items);
    EXPECT_EQ(omp_get_max_threads(), 3);
}

TEST(TextureReading, OfNothingReturns)
{
    mvgeo::readTextures({});
}

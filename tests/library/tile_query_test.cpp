#include "library/QueriedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <osg/Group>
#include <osg/observer_ptr>
#include <osgDB/FileNameUtils>
#include <osgDB/Registry>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

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
        if (_reader) registry().removeReaderWriter(_reader);
    }
    /** Until the end, before all others or behind them. */
    void addReader(osgDB::ReaderWriter* reader, bool isFirst)
    {
        _reader = reader;
        registry().addReaderWriter(reader);
        osgDB::Registry::ReaderWriterList& readers = registry().getReaderWriterList();
        if (isFirst) std::rotate(readers.begin(), readers.end() - 1, readers.end());
    }
    RegistryScope(const RegistryScope&) = delete;
    RegistryScope& operator=(const RegistryScope&) = delete;

    static osgDB::Registry& registry() { return *osgDB::Registry::instance(); }

private:
    osg::ref_ptr<osgDB::Options> _options;
    osg::ref_ptr<osgDB::ReadFileCallback> _callback;
    osg::ref_ptr<osgDB::ReaderWriter> _reader;
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

/** A host's own reader of tiles, which only knows file names. */
class ReaderOfNames : public osgDB::ReaderWriter
{
public:
    using Answer = std::function<ReadResult()>;
    explicit ReaderOfNames(Answer answer) : _answer(std::move(answer)) { supportsExtension("osgb", "tiles"); }

    using osgDB::ReaderWriter::readNode;
    ReadResult readNode(const std::string& fileName, const osgDB::Options*) const override
    {
        if (!acceptsExtension(osgDB::getLowerCaseFileExtension(fileName))) return ReadResult::FILE_NOT_HANDLED;
        asked.push_back(fileName);
        return _answer();
    }
    mutable std::vector<std::string> asked;

protected:
    ~ReaderOfNames() override = default;

private:
    Answer _answer;
};

osgDB::ReaderWriter::ReadResult notHandled()
{
    return osgDB::ReaderWriter::ReadResult::FILE_NOT_HANDLED;
}

struct TileQuery : public FileQueries
{
    RegistryScope scope;
};

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
    options.rootKind = TilePyramidOptions::RootKind::emptyNode;
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
    options.textures = TilePyramidOptions::Textures::none;
    for (const bool isCompressed : {false, true})
    {
        options.isCompressed = isCompressed;
        const std::string whole = readFile(TilePyramid(folder / "cut", options).rootFile());
        const std::size_t checkSum = isCompressed ? 4 : 0; // bytes behind the scene, at which OSG does not look
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

TEST_F(TileQuery, AsksAReaderThatOnlyKnowsFileNamesWhereverItStands)
{
    const std::string text = file("text.osgb", "this is no tile");
    for (const bool isFirst : {true, false})
    {
        RegistryScope installed;
        installed.addReader(new ReaderOfNames([] { return new osg::Group; }), isFirst);
        EXPECT_TRUE(isTile(text)) << "first " << isFirst; // what a reader makes a node of is a tile
    }
    EXPECT_FALSE(isTile(text));
}

TEST_F(TileQuery, AsksAReaderThatStandsFirstAlsoForWhatOsgCannotRead)
{
    const osg::ref_ptr<ReaderOfNames> reader = new ReaderOfNames([] { return new osg::Group; });
    const std::string whole = readFile(tile());
    const std::string half = file("half.osgb", whole.substr(0, whole.size() / 2));
    scope.addReader(reader, true);
    EXPECT_TRUE(isTile(half));
    EXPECT_THAT(reader->asked, ElementsAre(half));
}

TEST_F(TileQuery, IsFalseForACutOffTileThatAnotherReaderLeavesToOsg)
{
    TilePyramidOptions options;
    options.textures = TilePyramidOptions::Textures::none;
    const std::string path = tile(options);
    const std::string whole = readFile(path);
    scope.addReader(new ReaderOfNames(notHandled), true);
    for (std::size_t size = 0; size < whole.size(); ++size)
        ASSERT_FALSE(isTile(file("cut.osgb", whole.substr(0, size)))) << size << " of " << whole.size() << " bytes";
    EXPECT_TRUE(isTile(path));
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

TEST_F(TileQuery, NeitherFillsNorAsksOsgsCache)
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

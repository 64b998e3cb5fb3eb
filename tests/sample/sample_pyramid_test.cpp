#include "sample/SamplePyramid.h"

#include "support/TemporaryDirectory.h"

#include <osg/Geode>
#include <osg/Geometry>
#include <osg/PagedLOD>
#include <osg/Texture2D>
#include <osgDB/ReadFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using mvgeo::sample::SamplePyramidOptions;
using mvgeo::sample::SamplePyramidResult;
using mvgeo::sample::writeSamplePyramid;

std::vector<fs::path> filesBelow(const fs::path& folder)
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
    {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/** Gathers what one tile file holds. */
class TileReader : public osg::NodeVisitor
{
public:
    explicit TileReader(const fs::path& path) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN)
    {
        node = osgDB::readRefNodeFile(path.string());
        if (node) node->accept(*this);
    }

    void apply(osg::PagedLOD& paged) override
    {
        pagedNodes.push_back(&paged);
        traverse(paged);
    }
    void apply(osg::Geometry& geometry) override { geometries.push_back(&geometry); }

    osg::ref_ptr<osg::Node> node;
    std::vector<osg::PagedLOD*> pagedNodes;
    std::vector<osg::Geometry*> geometries;
};

const osg::Vec3Array& verticesOf(const osg::Geometry& geometry)
{
    return dynamic_cast<const osg::Vec3Array&>(*geometry.getVertexArray());
}

const osg::Image& imageOf(const osg::Geometry& geometry)
{
    const auto* attribute = geometry.getStateSet()->getTextureAttribute(0, osg::StateAttribute::TEXTURE);
    return *dynamic_cast<const osg::Texture2D&>(*attribute).getImage();
}

/** Two root tiles beside each other, written once: every test only reads them. */
class SamplePyramid : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        _folder = new TemporaryDirectory;
        SamplePyramidOptions options = {};
        options.rootTilesX = 2;
        options.rootTilesY = 1;
        options.tileSizeMetres = 100.0;
        options.progress = [](double fraction) { _fractions.push_back(fraction); };
        _result = writeSamplePyramid(_folder->path().string(), options);
    }
    static void TearDownTestSuite()
    {
        delete _folder;
        _folder = nullptr;
    }

    void SetUp() override { ASSERT_TRUE(_result.ok) << _result.message; }

    static fs::path root(const std::string& name) { return fs::path(_result.dataFolder) / name / (name + ".osgb"); }

    static void forEachTile(const std::function<void(const fs::path&, const TileReader&)>& check)
    {
        for (const fs::path& path : filesBelow(_result.dataFolder))
        {
            SCOPED_TRACE(path.filename().string());
            const TileReader tile(path);
            ASSERT_NE(tile.node, nullptr);
            check(path, tile);
        }
    }

    static TemporaryDirectory* _folder;
    static SamplePyramidResult _result;
    static std::vector<double> _fractions;
};

TemporaryDirectory* SamplePyramid::_folder = nullptr;
SamplePyramidResult SamplePyramid::_result;
std::vector<double> SamplePyramid::_fractions;

TEST_F(SamplePyramid, HasTheLayoutOfPublishedPyramids)
{
    EXPECT_EQ(_result.dataFolder, _folder->path().string() + "/Data");
    EXPECT_TRUE(fs::exists(*_folder / "metadata.xml"));
    for (const char* name : {"Tile_+000_+000", "Tile_+001_+000"})
    {
        const fs::path folder = fs::path(_result.dataFolder) / name;
        for (const char* suffix : {"", "_L15_0", "_L16_00", "_L16_03", "_L17_012", "_L18_0333"})
            EXPECT_TRUE(fs::exists(folder / (std::string(name) + suffix + ".osgb"))) << name << suffix;
    }
}

TEST_F(SamplePyramid, CountsItsFilesAndBytes)
{
    // A root tile has 1 + 1 + 4 + 16 + 64 files on five levels; metadata.xml is one more for all.
    EXPECT_EQ(_result.files, 2U * 86U + 1U);
    const std::vector<fs::path> files = filesBelow(_folder->path().string());
    EXPECT_EQ(files.size(), _result.files);
    unsigned long long bytes = 0;
    for (const fs::path& file : files)
        bytes += fs::file_size(file);
    EXPECT_EQ(_result.bytes, bytes);
}

TEST_F(SamplePyramid, DeclaresReferenceSystemAndOrigin)
{
    const std::string metadata = readFile(*_folder / "metadata.xml");
    EXPECT_THAT(metadata, testing::HasSubstr("<ModelMetadata version=\"1\">"));
    EXPECT_THAT(metadata, testing::HasSubstr("<SRS>EPSG:32650</SRS>"));
    EXPECT_THAT(metadata, testing::ContainsRegex("<SRSOrigin>[0-9]+,[0-9]+,[0-9]+</SRSOrigin>"));
}

TEST_F(SamplePyramid, EveryReferenceLeadsToAFileAndEveryFileIsReferredTo)
{
    std::set<fs::path> referred = {root("Tile_+000_+000"), root("Tile_+001_+000")};
    forEachTile(
        [&referred](const fs::path& path, const TileReader& tile)
        {
            for (const osg::PagedLOD* paged : tile.pagedNodes)
            {
                const fs::path finer = path.parent_path() / paged->getFileName(1);
                EXPECT_TRUE(fs::exists(finer)) << finer;
                referred.insert(finer);
            }
        });
    const std::vector<fs::path> files = filesBelow(_result.dataFolder);
    EXPECT_EQ(referred, std::set<fs::path>(files.begin(), files.end()));
}

TEST_F(SamplePyramid, HasFiveFilesOneBelowTheOther)
{
    fs::path path = root("Tile_+000_+000");
    int files = 0;
    for (bool goesOn = true; goesOn; ++files)
    {
        const TileReader tile(path);
        goesOn = !tile.pagedNodes.empty();
        if (goesOn) path = path.parent_path() / tile.pagedNodes.front()->getFileName(1);
    }
    EXPECT_EQ(files, 5);
    EXPECT_EQ(path.filename(), "Tile_+000_+000_L18_0000.osgb");
}

TEST_F(SamplePyramid, SwitchesToTheFinerTileByPixelsOnTheScreen)
{
    forEachTile(
        [](const fs::path&, const TileReader& tile)
        {
            for (const osg::PagedLOD* paged : tile.pagedNodes)
            {
                EXPECT_EQ(paged->getRangeMode(), osg::LOD::PIXEL_SIZE_ON_SCREEN);
                EXPECT_EQ(paged->getCenterMode(), osg::LOD::USER_DEFINED_CENTER);
                EXPECT_EQ(paged->getFileName(0), "");
                ASSERT_EQ(paged->getNumChildren(), 1U);
                ASSERT_EQ(paged->getNumRanges(), 2U);
                EXPECT_EQ(paged->getMinRange(0), 0.0F);
                EXPECT_GT(paged->getMaxRange(0), 200.0F);
                EXPECT_LT(paged->getMaxRange(0), 1500.0F);
                EXPECT_EQ(paged->getMinRange(1), paged->getMaxRange(0));
                EXPECT_EQ(paged->getMaxRange(1), 1.0e30F);
            }
        });
}

TEST_F(SamplePyramid, SphereOfEachPagedNodeHoldsItsTriangles)
{
    forEachTile(
        [](const fs::path&, const TileReader& tile)
        {
            for (const osg::PagedLOD* paged : tile.pagedNodes)
            {
                const auto& geometry = dynamic_cast<const osg::Geometry&>(*paged->getChild(0)->asGroup()->getChild(0));
                for (const osg::Vec3& vertex : verticesOf(geometry))
                    ASSERT_LE((vertex - paged->getCenter()).length(), paged->getRadius() + 0.001);
            }
        });
}

TEST_F(SamplePyramid, MeshesAreTexturedIndexedTrianglesWithoutNormalsAndColours)
{
    forEachTile(
        [](const fs::path&, const TileReader& tile)
        {
            ASSERT_FALSE(tile.geometries.empty());
            for (const osg::Geometry* geometry : tile.geometries)
            {
                EXPECT_EQ(geometry->getNormalArray(), nullptr);
                EXPECT_EQ(geometry->getColorArray(), nullptr);
                ASSERT_EQ(geometry->getNumPrimitiveSets(), 1U);
                const auto* indices = dynamic_cast<const osg::DrawElementsUInt*>(geometry->getPrimitiveSet(0));
                ASSERT_NE(indices, nullptr);
                EXPECT_EQ(indices->getMode(), static_cast<GLenum>(GL_TRIANGLES));
                EXPECT_EQ(indices->size() % 3U, 0U);
                EXPECT_LT(*std::max_element(indices->begin(), indices->end()), verticesOf(*geometry).size());
                const auto* coordinates = dynamic_cast<const osg::Vec2Array*>(geometry->getTexCoordArray(0));
                ASSERT_NE(coordinates, nullptr);
                EXPECT_EQ(coordinates->size(), verticesOf(*geometry).size());
                for (const osg::Vec2& coordinate : *coordinates)
                    ASSERT_TRUE(coordinate.x() >= 0 && coordinate.x() <= 1 && coordinate.y() >= 0 &&
                                coordinate.y() <= 1);
            }
        });
}

TEST_F(SamplePyramid, TexturesAreJpegFilesInsideTheTile)
{
    forEachTile(
        [](const fs::path& path, const TileReader& tile)
        {
            const std::string bytes = readFile(path.string());
            std::size_t jpegs = 0;
            const std::string magic = "\xFF\xD8\xFF\xE0";
            for (auto at = bytes.find(magic); at != std::string::npos; at = bytes.find(magic, at + 1))
                ++jpegs;
            EXPECT_EQ(jpegs, tile.geometries.size());
            for (const osg::Geometry* geometry : tile.geometries)
            {
                const osg::Image& image = imageOf(*geometry);
                EXPECT_EQ(fs::path(image.getFileName()).extension(), ".jpg");
                EXPECT_EQ(image.getFileName().rfind(path.stem().string() + "_", 0), 0U) << image.getFileName();
                EXPECT_EQ(image.getPixelFormat(), static_cast<GLenum>(GL_RGB));
                EXPECT_EQ(image.s() & (image.s() - 1), 0);
                EXPECT_EQ(image.t() & (image.t() - 1), 0);
            }
        });
}

TEST_F(SamplePyramid, TilesCoverTheirSquareInMetres)
{
    osg::BoundingBox box;
    for (const osg::Geometry* geometry : TileReader(root("Tile_+001_+000")).geometries)
        box.expandBy(geometry->getBoundingBox());
    // The terrain reaches from 100 m to 200 m east and from 0 m to 100 m north; what stands at the rim may lean over.
    EXPECT_LE(box.xMin(), 100.0F);
    EXPECT_GT(box.xMin(), 70.0F);
    EXPECT_GE(box.xMax(), 200.0F);
    EXPECT_LT(box.xMax(), 230.0F);
    EXPECT_LE(box.yMin(), 0.0F);
    EXPECT_GE(box.yMax(), 100.0F);
    EXPECT_GT(box.zMin(), -10.0F);
    EXPECT_LT(box.zMax(), 120.0F);
}

/** The terrain's vertices on the line x = 100 m, by their place along it; the skirt's hem lies lower and is left out.
 */
std::map<float, float> rimHeights(const osg::Geometry& geometry)
{
    std::map<float, float> heights;
    for (const osg::Vec3& vertex : verticesOf(geometry))
    {
        if (vertex.x() != 100.0F) continue;
        const auto [place, isNew] = heights.try_emplace(vertex.y(), vertex.z());
        if (!isNew) place->second = std::max(place->second, vertex.z());
    }
    return heights;
}

TEST_F(SamplePyramid, NeighboursHaveTheSameVerticesOnTheirCommonBorder)
{
    const TileReader west(root("Tile_+000_+000"));
    const TileReader east(root("Tile_+001_+000"));
    const std::map<float, float> rim = rimHeights(*west.geometries.front());
    EXPECT_EQ(rim.size(), 25U); // 24 cells
    EXPECT_EQ(rim, rimHeights(*east.geometries.front()));
}

TEST_F(SamplePyramid, FinerLevelsHaveMoreTriangles)
{
    std::map<std::string, std::size_t> indices; // by level, "" is the root file's
    forEachTile(
        [&indices](const fs::path& path, const TileReader& tile)
        {
            const std::string stem = path.stem().string();
            const auto at = stem.find("_L");
            for (const osg::Geometry* geometry : tile.geometries)
                indices[at == std::string::npos ? "" : stem.substr(at + 2, 2)] +=
                    geometry->getPrimitiveSet(0)->getNumIndices();
        });
    ASSERT_EQ(indices.size(), 5U);
    EXPECT_LT(indices[""], indices["15"]);
    EXPECT_LT(indices["15"], indices["16"]);
    EXPECT_LT(indices["16"], indices["17"]);
    EXPECT_LT(indices["17"], indices["18"]);
}

TEST_F(SamplePyramid, ProgressRisesToOne)
{
    ASSERT_FALSE(_fractions.empty());
    EXPECT_TRUE(std::is_sorted(_fractions.begin(), _fractions.end()));
    EXPECT_GE(_fractions.front(), 0.0);
    EXPECT_EQ(_fractions.back(), 1.0);
}

TEST_F(SamplePyramid, SameOptionsGiveTheSameBytes)
{
    const TemporaryDirectory second;
    SamplePyramidOptions options = {};
    options.rootTilesX = 2;
    options.rootTilesY = 1;
    options.tileSizeMetres = 100.0;
    ASSERT_TRUE(writeSamplePyramid(second.path().string(), options).ok);

    for (const fs::path& path : filesBelow(_folder->path().string()))
    {
        const std::string twin = second / fs::relative(path, _folder->path()).string();
        EXPECT_TRUE(readFile(path.string()) == readFile(twin)) << twin;
    }
}

TEST_F(SamplePyramid, LeavesAnExistingPyramidAlone)
{
    const std::string before = readFile(root("Tile_+000_+000").string());
    const SamplePyramidResult again = writeSamplePyramid(_folder->path().string(), {});
    EXPECT_FALSE(again.ok);
    EXPECT_EQ(again.message,
              _folder->path().string() + "/metadata.xml already exists; choose another folder or remove it first");
    EXPECT_EQ(readFile(root("Tile_+000_+000").string()), before);
}

TEST(SamplePyramidFailure, NamesThePathThatCannotBeMade)
{
    const TemporaryDirectory folder;
    writeFile(folder / "file", "not a folder");
    const std::string inside = folder.path().string() + "/file";
    const SamplePyramidResult result = writeSamplePyramid(inside, {});
    EXPECT_FALSE(result.ok);
    EXPECT_THAT(result.message, testing::StartsWith("cannot make the folder " + inside + "/Data: "));
    EXPECT_EQ(result.files, 0U);
}

TEST(SamplePyramidFailure, NamesTheFileThatCannotBeWrittenAndKeepsNothing)
{
    // A folder comes where the metadata are to be: the last write fails, whoever runs the test.
    const TemporaryDirectory folder;
    SamplePyramidOptions options = {};
    options.rootTilesX = options.rootTilesY = 1;
    options.tileSizeMetres = 100.0;
    options.progress = [&folder](double /*fraction*/) { folder.makeFolder("metadata.xml/inside"); };
    const SamplePyramidResult result = writeSamplePyramid(folder.path().string(), options);
    EXPECT_FALSE(result.ok);
    EXPECT_THAT(result.message, testing::StartsWith("cannot write " + folder.path().string() + "/metadata.xml: "));
    EXPECT_TRUE(filesBelow(folder.path().string()).empty());
    EXPECT_FALSE(fs::exists(folder / "Data"));
}

TEST(SamplePyramidFailure, CancellationKeepsNothing)
{
    const TemporaryDirectory folder;
    bool someWritten = false;
    SamplePyramidOptions options = {};
    options.rootTilesX = options.rootTilesY = 1;
    options.tileSizeMetres = 100.0;
    options.progress = [&someWritten](double fraction) { someWritten = someWritten || fraction > 0.0; };
    options.cancelled = [&someWritten] { return someWritten; };
    const SamplePyramidResult result = writeSamplePyramid(folder.path().string(), options);
    EXPECT_FALSE(result.ok);
    EXPECT_THAT(result.message, testing::HasSubstr("cancelled"));
    EXPECT_TRUE(filesBelow(folder.path().string()).empty());
}

TEST(SamplePyramidFailure, RefusesOptionsOutsideTheirLimits)
{
    const TemporaryDirectory folder;
    SamplePyramidOptions shallow = {};
    shallow.levels = 4;
    EXPECT_EQ(writeSamplePyramid(folder.path().string(), shallow).message, "the number of levels must be from 5 to 8");
    SamplePyramidOptions none = {};
    none.rootTilesX = 0;
    EXPECT_EQ(writeSamplePyramid(folder.path().string(), none).message,
              "the number of root tiles must be from 1 to 50 each way");
    SamplePyramidOptions tiny = {};
    tiny.tileSizeMetres = 1.0;
    EXPECT_EQ(writeSamplePyramid(folder.path().string(), tiny).message,
              "a root tile's size must be from 100 to 1000 metres");
    EXPECT_TRUE(fs::is_empty(folder.path().string()));
}

} // namespace

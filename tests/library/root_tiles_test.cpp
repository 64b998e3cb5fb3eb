#include "mvgeothirdparty/FileQueries.h"

#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

struct RootTiles : public testing::Test
{
    TemporaryDirectory folder;
    std::vector<KdString> found;

    void makeTile(const std::string& name) const
    {
        folder.makeFolder(name);
        writeFile(folder / (name + '/' + name + ".osgb"), "");
    }
    bool find() { return GetRootTiles_Imp(KdString(folder.path().c_str()), found); }
    [[nodiscard]] std::vector<std::string> paths() const
    {
        std::vector<std::string> result;
        for (const KdString& path : found)
            result.emplace_back(path.ansiPtr());
        return result;
    }
    [[nodiscard]] std::string tilePath(const std::string& name) const
    {
        return folder.path().string() + '/' + name + '/' + name + ".osgb";
    }
};

} // namespace

TEST_F(RootTiles, AreTheFilesNamedLikeTheirFolders)
{
    makeTile("Tile_+000_+000");
    makeTile("Tile_+000_+001");
    EXPECT_TRUE(find());
    EXPECT_THAT(paths(), UnorderedElementsAre(tilePath("Tile_+000_+000"), tilePath("Tile_+000_+001")));
}

TEST_F(RootTiles, ComeInTheOrderOfTheFolderListing)
{
    for (const char* name : {"q", "a", "z", "m", "b"})
        makeTile(name);
    std::vector<std::string> listed;
    for (const auto& entry : fs::directory_iterator(folder.path()))
        listed.push_back(tilePath(entry.path().filename().string()));
    EXPECT_TRUE(find());
    EXPECT_EQ(paths(), listed);
}

TEST_F(RootTiles, AreNotTheFinerTiles)
{
    folder.makeFolder("Tile_+000_+000");
    writeFile(folder / "Tile_+000_+000/Tile_+000_+000_L15_0.osgb", "");
    EXPECT_FALSE(find());
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(RootTiles, AreNotLooseFiles)
{
    writeFile(folder / "Tile.osgb", "");
    writeFile(folder / "Tile", "");
    EXPECT_FALSE(find());
}

TEST_F(RootTiles, AreNotInHiddenFolders)
{
    makeTile(".hidden");
    EXPECT_FALSE(find());
}

TEST_F(RootTiles, AreNotInFoldersWithAPointInTheirName)
{
    makeTile("Tile.1");
    makeTile("v1.2_Tile");
    EXPECT_FALSE(find());
}

// A point with nothing behind it makes no extension.
TEST_F(RootTiles, AreInFoldersWhoseNameEndsInAPoint)
{
    makeTile("Tile.");
    EXPECT_TRUE(find());
    EXPECT_THAT(paths(), ElementsAre(tilePath("Tile.")));
}

TEST_F(RootTiles, AreAppendedToWhatIsThere)
{
    makeTile("Tile");
    found.emplace_back("before");
    EXPECT_TRUE(find());
    EXPECT_THAT(paths(), ElementsAre("before", tilePath("Tile")));
}

TEST_F(RootTiles, AnswerIsTrueForAListThatWasNotEmpty)
{
    found.emplace_back("before");
    EXPECT_TRUE(find());
    EXPECT_THAT(paths(), ElementsAre("before"));
}

TEST_F(RootTiles, AreNoneInAMissingOrUnusableFolder)
{
    writeFile(folder / "file", "");
    EXPECT_FALSE(find());
    EXPECT_FALSE(GetRootTiles_Imp(KdString((folder / "missing").c_str()), found));
    EXPECT_FALSE(GetRootTiles_Imp(KdString((folder / "file").c_str()), found));
    EXPECT_FALSE(GetRootTiles_Imp(KdString(), found));
    found.emplace_back("before");
    EXPECT_TRUE(GetRootTiles_Imp(KdString((folder / "missing").c_str()), found));
}

TEST_F(RootTiles, KeepASeparatorThatTheCallerLeftAtTheEnd)
{
    makeTile("Tile");
    EXPECT_TRUE(GetRootTiles_Imp(KdString((folder.path().string() + "/").c_str()), found));
    EXPECT_THAT(paths(), ElementsAre(folder.path().string() + "//Tile/Tile.osgb"));
}

TEST_F(RootTiles, AreFoundUnderChineseNamesAndBlanks)
{
    const std::string name = "\xe7\x93\xa6\xe7\x89\x87 1";
    makeTile(name);
    EXPECT_TRUE(find());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].ansiPtr(), tilePath(name));
    EXPECT_EQ(found[0].utf8Ptr(), tilePath(name));
}

TEST_F(RootTiles, AreFoundUnderNamesThatAreNoText)
{
    const std::string name = "Tile\xff";
    makeTile(name);
    EXPECT_TRUE(find());
    EXPECT_THAT(paths(), ElementsAre(tilePath(name)));
}

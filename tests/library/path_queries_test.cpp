#include "mvgeothirdparty/FileQueries.h"

#include "support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

using testing::IsEmpty;

#if defined(_WIN32)
constexpr char kSeparator = '\\';
#else
constexpr char kSeparator = '/';
#endif

/** The text with the platform's own separator for each '|'. */
std::string native(std::string text)
{
    std::replace(text.begin(), text.end(), '|', kSeparator);
    return text;
}

std::string fileNameOf(const char* path)
{
    KdString name("before");
    getFileName_Imp(KdString::fromUtf8(path), name);
    return name.utf8Ptr();
}

std::string relative(const char* baseFile, const char* target)
{
    KdString result("before");
    getRelativePath_Imp(KdString::fromUtf8(baseFile), KdString::fromUtf8(target), result);
    return result.utf8Ptr();
}

} // namespace

TEST(FileName, IsWhatFollowsTheLastSeparator)
{
    EXPECT_EQ(fileNameOf("/proj/models/Tile_+000_+000.osgb"), "Tile_+000_+000.osgb");
    EXPECT_EQ(fileNameOf("D:\\proj\\models\\Tile.osgb"), "Tile.osgb");
    EXPECT_EQ(fileNameOf("D:\\proj/models\\a/Tile.osgb"), "Tile.osgb");
    EXPECT_EQ(fileNameOf("a/b\\Tile.osgb"), "Tile.osgb");
}

TEST(FileName, KeepsAllExtensions)
{
    EXPECT_EQ(fileNameOf("/a.b/x.tar.gz"), "x.tar.gz");
    EXPECT_EQ(fileNameOf("/a.b/.hidden"), ".hidden");
    EXPECT_EQ(fileNameOf("/a.b/plain"), "plain");
    EXPECT_EQ(fileNameOf("/a/x."), "x.");
}

TEST(FileName, OfANameAloneIsThatName)
{
    EXPECT_EQ(fileNameOf("Tile.osgb"), "Tile.osgb");
    EXPECT_EQ(fileNameOf(" "), " ");
    EXPECT_EQ(fileNameOf("D:Tile.osgb"), "D:Tile.osgb"); // a colon separates nothing
}

TEST(FileName, IsEmptyBehindALastSeparatorAndForNothing)
{
    EXPECT_EQ(fileNameOf("/proj/models/"), "");
    EXPECT_EQ(fileNameOf("D:\\proj\\"), "");
    EXPECT_EQ(fileNameOf("/"), "");
    EXPECT_EQ(fileNameOf(""), "");
}

TEST(FileName, MayBeChinese)
{
    EXPECT_EQ(fileNameOf("/\xE9\xA1\xB9\xE7\x9B\xAE/\xE7\x93\xA6\xE7\x89\x87.osgb"), "\xE7\x93\xA6\xE7\x89\x87.osgb");
    EXPECT_EQ(fileNameOf("D:\\\xE9\xA1\xB9\\\xF0\x9F\x98\x80 1.tif"), "\xF0\x9F\x98\x80 1.tif");
}

TEST(FileName, MayTakeThePlaceOfThePath)
{
    KdString path("/a/b.osgb");
    getFileName_Imp(path, path);
    EXPECT_STREQ(path.ansiPtr(), "b.osgb");
}

#if !defined(_WIN32)
TEST(FileName, KeepsBytesThatAreNoText)
{
    KdString name;
    getFileName_Imp(KdString("/a\xFF/b\xE5\x80.osgb"), name);
    EXPECT_STREQ(name.ansiPtr(), "b\xE5\x80.osgb");
}
#endif

TEST(RelativePath, LeadsFromTheFolderOfTheBaseFile)
{
    EXPECT_EQ(relative("D:\\proj\\scene.dwg", "D:\\proj\\models\\Data"), native(".\\models|Data"));
    EXPECT_EQ(relative("D:/proj/scene.dwg", "D:/proj/models/Data"), native(".\\models|Data"));
    EXPECT_EQ(relative("proj/scene.dwg", "proj/a/b.osgb"), native(".\\a|b.osgb"));
}

TEST(RelativePath, OfAFileBesideTheBaseIsItsNameBehindThePrefix)
{
    EXPECT_EQ(relative("proj/scene.dwg", "proj/b.osgb"), ".\\b.osgb");
    EXPECT_EQ(relative("D:\\proj\\scene.dwg", "D:\\proj\\scene.dwg"), ".\\scene.dwg");
    EXPECT_EQ(relative("scene.dwg", "b.osgb"), ".\\b.osgb");
}

TEST(RelativePath, ClimbsWhereTheTargetLiesElsewhere)
{
    EXPECT_EQ(relative("proj/cad/scene.dwg", "proj/models/Data"), native(".\\..|models|Data"));
    EXPECT_EQ(relative("D:\\a\\b\\c\\scene.dwg", "D:\\a\\x"), native(".\\..|..|x"));
    EXPECT_EQ(relative("a/b/scene.dwg", "a"), ".\\..");
}

// The root itself counts as a part of the way, so its separator stands in front.
TEST(RelativePath, BeginsWithASeparatorBetweenTwoPathsThatDo)
{
    EXPECT_EQ(relative("/proj/scene.dwg", "/proj/models/Data"), native(".\\|models|Data"));
    EXPECT_EQ(relative("/proj/cad/scene.dwg", "/proj/b"), native(".\\|..|b"));
}

TEST(RelativePath, MixesBothSeparators)
{
    EXPECT_EQ(relative("D:\\proj/scene.dwg", "D:/proj\\models/Data"), native(".\\models|Data"));
}

TEST(RelativePath, OfTheBasesOwnFolderIsEmptyAndGetsNoPrefix)
{
    EXPECT_EQ(relative("/proj/scene.dwg", "/proj"), "");
    EXPECT_EQ(relative("/proj/scene.dwg", "/proj/"), "");
    EXPECT_EQ(relative("D:\\proj\\scene.dwg", "D:\\proj"), "");
}

TEST(RelativePath, BetweenTwoRootsIsTheTargetsNameBehindThePrefix)
{
    EXPECT_EQ(relative("D:\\proj\\scene.dwg", "E:\\models\\b.osgb"), ".\\b.osgb");
    EXPECT_EQ(relative("/proj/scene.dwg", "models/b.osgb"), ".\\b.osgb");
    EXPECT_EQ(relative("proj/scene.dwg", "/models/b.osgb"), ".\\b.osgb");
}

TEST(RelativePath, OfNothing)
{
    EXPECT_EQ(relative("", ""), "");
    EXPECT_EQ(relative("", "a/b.osgb"), native(".\\a|b.osgb"));
    EXPECT_EQ(relative("scene.dwg", ""), "");
    EXPECT_EQ(relative("/proj/scene.dwg", ""), "");
}

TEST(RelativePath, MayBeChinese)
{
    EXPECT_EQ(relative("D:\\\xE9\xA1\xB9\\\xE5\x9B\xBE.dwg", "D:\\\xE9\xA1\xB9\\\xE6\xA8\xA1 1\\Data"),
              native(".\\\xE6\xA8\xA1 1|Data"));
}

TEST(RelativePath, MayTakeThePlaceOfEitherInput)
{
    KdString base("proj/scene.dwg");
    getRelativePath_Imp(base, KdString("proj/a"), base);
    EXPECT_STREQ(base.ansiPtr(), ".\\a");
    KdString target("proj/b");
    getRelativePath_Imp(KdString("proj/scene.dwg"), target, target);
    EXPECT_STREQ(target.ansiPtr(), ".\\b");
}

TEST(RelativePath, TakesVeryLongPaths)
{
    std::string deep = "a";
    for (int i = 0; i < 20000; ++i)
        deep += "/x";
    EXPECT_EQ(relative("a/scene.dwg", deep.c_str()).size(), 2U + 2U * 20000U - 1U); // ".\\x/x/.../x"
}

// OSG says something of paths with different roots at its finer levels.
TEST(PathQueries, LeaveTheLogAlone)
{
    LogRecorder log;
    osg::setNotifyLevel(osg::DEBUG_FP);
    relative("D:\\proj\\scene.dwg", "E:\\models\\b.osgb");
    fileNameOf("/a/b");
    EXPECT_THAT(log.lines(), IsEmpty());
}

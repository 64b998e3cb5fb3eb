// Names with letters that the code page has and that it has not, through the system's own calls. Compiled twice: as if
// OSG took names in the code page, and as if it took UTF-8.
#include "mvosggeoterrain/TerrainSource.h"
#include "platform/Environment.h"
#include "support/FileReplacement.h"
#include "support/OsgPaths.h"

#include <gtest/gtest.h>

#include <osg/Config>

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace
{

#if defined(OSG_USE_UTF8_FILENAME)
constexpr UINT kOsgCodePage = CP_UTF8;
#else
constexpr UINT kOsgCodePage = CP_ACP;
#endif

const std::wstring kAccent = L"Gel\u00E4nde";       // in western code pages
const std::wstring kChinese = L"\u503E\u659C";      // in eastern ones
const std::wstring kUnpaired = L"a\xDC80\xD800z.b"; // a name that the system takes and no encoding has

std::wstring toWide(const std::string& text, UINT codePage)
{
    std::wstring wide(text.size() + 1, L'\0');
    const int length = MultiByteToWideChar(codePage, 0, text.c_str(), static_cast<int>(text.size()), wide.data(),
                                           static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

/** Nothing if the code page lacks a character. */
std::optional<std::string> inOsgsCodePage(const std::wstring& wide)
{
    const KdString text(wide.c_str());
    const std::string narrow = kOsgCodePage == CP_UTF8 ? text.utf8Ptr() : text.ansiPtr();
    if (toWide(narrow, kOsgCodePage) != wide) return std::nullopt;
    return narrow;
}

/** Sets a variable, or removes it with null, and puts the old state back. */
class Variable
{
public:
    Variable(const wchar_t* name, const wchar_t* value) : _name(name)
    {
        std::wstring text(32767, L'\0');
        const DWORD length = GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size()));
        if (length > 0) _before = text.substr(0, length);
        SetEnvironmentVariableW(name, value);
    }
    ~Variable() { SetEnvironmentVariableW(_name, _before ? _before->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const wchar_t* _name;
    std::optional<std::wstring> _before;
};

/** A folder of this test, made and removed by the system's own functions. */
class WindowsPaths : public testing::Test
{
protected:
    WindowsPaths()
    {
        wchar_t temporary[MAX_PATH + 1] = {};
        GetTempPathW(MAX_PATH + 1, temporary);
        folder = std::wstring(temporary) + L"mvgeo_paths_" + std::to_wstring(GetCurrentProcessId());
        CreateDirectoryW(folder.c_str(), nullptr);
    }
    ~WindowsPaths() override
    {
        WIN32_FIND_DATAW found{};
        const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
        do
            DeleteFileW((folder + L'\\' + found.cFileName).c_str());
        while (FindNextFileW(search, &found));
        FindClose(search);
        RemoveDirectoryW(folder.c_str());
    }

    [[nodiscard]] static bool exists(const std::wstring& path)
    {
        return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    std::wstring folder;
};

TEST_F(WindowsPaths, ReplacedFilesAreFoundByTheirNames)
{
    int tried = 0;
    for (const std::wstring& name : {std::wstring(L"plain"), kAccent, kChinese})
    {
        const std::wstring path = folder + L'\\' + name + L".osgb";
        const std::optional<std::string> narrow = inOsgsCodePage(path);
        if (!narrow) continue;
        ++tried;
        EXPECT_EQ(mvgeo::osgPath(KdString(path.c_str())), *narrow);
        EXPECT_TRUE(mvgeo::replaceFile(*narrow, "first", 5));
        EXPECT_TRUE(mvgeo::replaceFile(*narrow, "second", 6));
        EXPECT_TRUE(exists(path));
        // As OSG opens it: see its osgDB::fopen.
        std::FILE* file = kOsgCodePage == CP_UTF8 ? _wfopen(toWide(*narrow, CP_UTF8).c_str(), L"rb")
                                                  : std::fopen(narrow->c_str(), "rb");
        ASSERT_NE(file, nullptr);
        char bytes[10] = {};
        EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, file), 6U);
        EXPECT_STREQ(bytes, "second");
        std::fclose(file);
        mvgeo::removeFile(*narrow);
        EXPECT_FALSE(exists(path));
    }
    EXPECT_GE(tried, kOsgCodePage == CP_UTF8 ? 3 : 2) << "code page " << GetACP();
}

TEST_F(WindowsPaths, TakeEveryNameThatTheSystemTakes)
{
    EXPECT_EQ(mvgeo::filePath(mvgeo::osgPath(KdString(kAccent.c_str()))).wstring(), kAccent);
    if (kOsgCodePage == CP_UTF8)
    {
        // A byte that is no UTF-8 is an unpaired surrogate in the host's text; the standard library would throw.
        const std::wstring escaped = mvgeo::filePath("a\x80z").wstring();
        EXPECT_EQ(escaped, L"a\xDC80z");
        // Windows stores such a name, Wine on another system's disk may not.
        const std::wstring path = folder + L"\\a\xDC80z";
        bool isWritten = false;
        EXPECT_NO_THROW(isWritten = mvgeo::replaceFile(mvgeo::osgPath(KdString(path.c_str())), "content", 7));
        EXPECT_EQ(exists(path), isWritten);
    }
    EXPECT_NO_THROW((void)mvgeo::filePath(mvgeo::osgPath(KdString(kUnpaired.c_str()))));
}

TEST_F(WindowsPaths, AbandonedFilesGo)
{
    const std::wstring left = folder + L"\\~12_3.tmp";
    const std::wstring kept = folder + L'\\' + kChinese + L"~12_3.tmp";
    for (const std::wstring& path : {left, kept})
    {
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        FILETIME time{};
        GetSystemTimeAsFileTime(&time);
        constexpr std::uint64_t kTwoDays = 2ULL * 24 * 3600 * 10000000;
        const std::uint64_t then = ((std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime) - kTwoDays;
        time = {static_cast<DWORD>(then), static_cast<DWORD>(then >> 32)};
        SetFileTime(file, nullptr, nullptr, &time);
        CloseHandle(file);
    }
    mvgeo::removeAbandonedFiles(mvgeo::osgPath(KdString(folder.c_str())));
    EXPECT_FALSE(exists(left));
    EXPECT_TRUE(exists(kept));
}

TEST_F(WindowsPaths, TemporaryFolderKeepsItsLetters)
{
    for (const std::wstring& name : {std::wstring(L"plain"), kAccent, kChinese})
    {
        const Variable temp(L"TEMP", (folder + L'\\' + name).c_str());
        EXPECT_EQ(toWide(mvgeo::platform::temporaryDirectory(), CP_UTF8), folder + L'\\' + name);
        if (!inOsgsCodePage(name)) continue;
        const std::wstring cache = toWide(mvgeo::cacheDirectory("mesh", "a"), kOsgCodePage);
        EXPECT_EQ(cache, folder + L'\\' + name + L"/mesh/" + std::to_wstring(0xaf63dc4c8601ec8cULL));
    }
}

TEST_F(WindowsPaths, TemporaryFolderIsTheSystemsOwnWithoutTemp)
{
    const Variable system(L"TMP", (folder + L"\\").c_str());
    for (const wchar_t* none : {static_cast<const wchar_t*>(nullptr), L""})
    {
        const Variable temp(L"TEMP", none);
        EXPECT_EQ(toWide(mvgeo::platform::temporaryDirectory(), CP_UTF8), folder);
    }
}

TEST_F(WindowsPaths, VariablesKeepTheirLettersAndTheirLength)
{
    const std::wstring value = kAccent + kChinese + std::wstring(2000, L'x') + kChinese;
    const Variable variable(L"MVGEO_TEST_\u00C4", value.c_str());
    const std::optional<std::string> read = mvgeo::platform::environmentVariable("MVGEO_TEST_\xC3\x84");
    ASSERT_TRUE(read);
    EXPECT_EQ(toWide(*read, CP_UTF8), value);
    EXPECT_EQ(mvgeo::platform::environmentVariable("MVGEO_TEST_MISSING"), std::nullopt);
}

// In a code page that lacks them, these letters are "?" too, and the source would be parted among them.
TEST(WindowsTerrainSource, IsPartedAtItsOwnMark)
{
    const std::wstring dom = L"D:\\\u503E\u659C\\\u0416\u00E9\\dom.tif";
    const std::wstring dem = L"D:\\\u503E\u659C\\dem?.tif";
    const mvgeo::TerrainSource source = mvgeo::splitTerrainSource(KdString((dom + L'?' + dem).c_str()));
    EXPECT_EQ(source.dom, KdString(dom.c_str()));
    EXPECT_EQ(source.dem, KdString(dem.c_str()));
}

} // namespace

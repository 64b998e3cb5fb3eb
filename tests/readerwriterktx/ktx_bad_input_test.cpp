#include "readerwriterktx/KtxTestFiles.h"
#include "readerwriterktx/KtxTestImages.h"
#include "readerwriterktx/guard/KtxExtent.h"
#include "readerwriterktx/guard/KtxHeaderCheck.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <osg/Notify>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#ifdef __linux__
#include <sys/wait.h>
#include <unistd.h>
#endif

// Bytes that are no texture, or no longer one, through the whole reader from a stream.

using namespace ktxfiles;

namespace
{

constexpr unsigned int kRandomSeed = 20240817;

class KtxBadInput : public testing::Test
{
protected:
    void SetUp() override
    {
#ifndef MVGEO_HAVE_KTX
        GTEST_SKIP() << "built without libktx";
#endif
        _level = osg::getNotifyLevel();
        osg::setNotifyLevel(osg::ALWAYS); // thousands of refusals
    }
    void TearDown() override
    {
        osg::setNotifyLevel(_level);
    }

private:
    osg::NotifySeverity _level = osg::NOTICE;
};

std::string etc1s(int side, bool hasAlpha)
{
    const auto options = optionsWith({{"UseBASISU", "1"}, {"CompressLevel", "1"}, {"QualityLevel", "128"}});
    return written(*smoothImage(side, side, hasAlpha), options.get());
}

std::string uastc(int side)
{
    const auto options = optionsWith({{"UseBASISU", "1"}, {"UseUASTC", "1"}, {"CompressLevel", "1"}});
    return written(*smoothImage(side, side, true), options.get());
}

std::string cubeMap()
{
    const auto options = optionsWith({{"UseBASISU", "0"}, {"SavingCubeMap", "true"}});
    std::vector<osg::ref_ptr<osg::Image>> faces;
    for (unsigned int face = 0; face < 6; ++face)
        faces.push_back(rgbaImage(8, 8, 4, 10 * face));
    return written(*sequenceOf(faces), options.get());
}

/** One of each kind, every one of them sound. */
std::vector<std::pair<const char*, std::string>> soundFiles()
{
    return {{"plain KTX 2 with levels", ktx2Rgba(8, 8, 4)},
            {"Zstandard", ktx2Zstd(256, 256, 2)},
            {"zlib", ktx2Zlib(8, 8)},
            {"KTX 1", ktx1Rgba(8, 8, 4)},
            {"KTX 1, the other order", ktx1Rgba(8, 8, 4, true)},
            {"ETC1S", etc1s(32, false)},
            {"ETC1S with alpha", etc1s(32, true)},
            {"UASTC", uastc(32)},
            {"cube map", cubeMap()}};
}

/** What a file's header says of its width, in the order of bytes that it says. */
std::uint32_t widthIn(const std::string& file)
{
    const bool isKtx2 = file[5] == '2';
    const std::size_t at = isKtx2 ? ktx2::kWidth : 36;
    if (isKtx2 || file[12] == '\1') return u32At(file, at);
    std::string turned = file.substr(at, 4);
    std::reverse(turned.begin(), turned.end());
    return u32At(turned, 0);
}

/** How often damaged bytes were refused, and how often they were read all the same. */
struct Outcomes
{
    int refused = 0;
    int read = 0;

    /** False unless the bytes are refused with one line that says why, or read in silence as an image that is as wide
     * as they say and whose bytes are all there. */
    bool isHandled(const std::string& bytes)
    {
        const LogRecorder log;
        const osg::ref_ptr<osg::Image> image = ::read(bytes);
        const int warnings = log.count(osg::WARN, "[LoaderKTX] ");
        ++(image ? read : refused);
        if (!image) return warnings == 1;
        const std::vector<unsigned char> pixels = bytesOf(*image); // the sanitizer looks at this
        return warnings == 0 && static_cast<std::uint32_t>(image->s()) == widthIn(bytes) && !pixels.empty() &&
               pixels.size() <= mvgeo::kLargestImage;
    }
};

/** Whether cut bytes are refused in the one line that says with which code of libktx. */
bool isRefused(const std::string& cut)
{
    const LogRecorder log;
    if (read(cut)) return false;
    const char* code = cut.size() < 12 ? "7 (" : "1 ("; // KTX_FILE_UNEXPECTED_EOF, KTX_FILE_DATA_ERROR
    const std::string line = std::string("[LoaderKTX] Unable to read from stream: ") + code;
    return log.count(osg::WARN, line) == 1 && log.lines().size() == 1;
}

/** Where the global data of a Basis LZ file begins. */
std::size_t globalDataOf(const std::string& ktx2)
{
    return u32At(ktx2, 64); // the upper half is 0
}

std::string faultOf(const std::string& file)
{
    return mvgeo::ktxHeaderFault(reinterpret_cast<const unsigned char*>(file.data()), file.size());
}

} // namespace

TEST_F(KtxBadInput, SoundFilesAreRead)
{
    for (const auto& [name, file] : soundFiles())
        EXPECT_TRUE(read(file).valid()) << name;
}

TEST_F(KtxBadInput, AFileCutAtAnyLengthUpTo4KilobytesIsRefused)
{
    for (const auto& [name, file] : soundFiles())
        for (std::size_t length = 0; length < std::min<std::size_t>(file.size(), 4097); ++length)
            ASSERT_TRUE(isRefused(file.substr(0, length))) << name << " cut to " << length;
}

// The place of the only image's alpha, 0 for none.
TEST_F(KtxBadInput, AnImageWithoutTheAlphaThatTheFormatPromisesIsRefused)
{
    const std::string sound = etc1s(32, true);
    const std::string damaged = patched(sound, globalDataOf(sound) + 20 + 12, 0, 4);
    EXPECT_EQ(faultOf(damaged), "image 0 has no alpha");
    EXPECT_FALSE(read(damaged).valid());
}

// One colour everywhere is a palette of one pattern, which needs no code of differences. libktx reads one that is there
// all the same, and goes on with a palette that is not set if it cannot.
TEST_F(KtxBadInput, ASinglePatternWithACodeThatCannotBeReadIsRefused)
{
    const osg::ref_ptr<osg::Image> plain = smoothImage(8, 8);
    std::fill_n(plain->data(), plain->getTotalSizeInBytes(), static_cast<unsigned char>(100));
    const std::string sound = written(*plain, optionsWith({{"UseBASISU", "1"}}).get());
    ASSERT_TRUE(read(sound).valid());
    const std::size_t global = globalDataOf(sound);
    ASSERT_EQ(u32At(sound, global) >> 16, 1U);
    const std::size_t patterns = global + 20 + 20 + u32At(sound, global + 4);
    // Three marks, the last of which says that there is no code, and then the number of the code's symbols.
    EXPECT_EQ(u32At(sound, patterns) & 0x7U, 4U);
    EXPECT_TRUE(read(patched(sound, patterns, 0, 3)).valid());
    const std::string damaged = patched(sound, patterns, 0x1FFF8U, 3);
    EXPECT_EQ(faultOf(damaged), "the palette of selectors cannot be read");
    EXPECT_FALSE(read(damaged).valid());
}

TEST_F(KtxBadInput, ALargeFileCutAnywhereIsRefused)
{
    std::mt19937 random(kRandomSeed);
    for (const std::string& file : {ktx2Rgba(128, 128, 8), ktx1Rgba(128, 128, 8), uastc(128)})
        for (int i = 0; i < 200; ++i)
        {
            const std::size_t length = std::uniform_int_distribution<std::size_t>(4096, file.size() - 1)(random);
            ASSERT_TRUE(isRefused(file.substr(0, length))) << "cut to " << length << ", seed " << kRandomSeed;
        }
}

TEST_F(KtxBadInput, NoByteOfAHeaderCanDoHarm)
{
    for (const auto& [name, file] : soundFiles())
    {
        Outcomes outcomes;
        for (std::size_t offset = 0; offset < std::min<std::size_t>(file.size(), 600); ++offset)
            for (const int flip : {0x01, 0x80, 0xFF})
            {
                std::string damaged = file;
                damaged[offset] = static_cast<char>(damaged[offset] ^ flip);
                ASSERT_TRUE(outcomes.isHandled(damaged)) << name << ", byte " << offset << " ^ " << flip;
            }
        // The magic, the sizes and the places; and what is only a value or a pixel.
        EXPECT_GT(outcomes.refused, 100) << name;
        EXPECT_GT(outcomes.read, 20) << name;
    }
}

TEST_F(KtxBadInput, NoNumberOfAHeaderCanDoHarm)
{
    for (const auto& [name, file] : soundFiles())
    {
        Outcomes outcomes;
        for (std::size_t offset = 12; offset < std::min<std::size_t>(file.size(), 200); offset += 4)
            for (const std::uint64_t number : {0ULL, 1ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL})
                ASSERT_TRUE(outcomes.isHandled(patched(file, offset, number, 4)))
                    << name << ", " << number << " at " << offset;
        EXPECT_GT(outcomes.refused, 40) << name;
        EXPECT_GT(outcomes.read, 5) << name;
    }
}

// The palettes and code tables, which libktx does not look at before it decodes by them.
TEST_F(KtxBadInput, NoBytesOfBasisDataCanDoHarm)
{
    std::mt19937 random(kRandomSeed);
    for (const std::string& file : {etc1s(64, true), uastc(64)})
    {
        Outcomes outcomes;
        for (int i = 0; i < 1500; ++i)
        {
            std::string damaged = file;
            for (unsigned int count = 1 + random() % 4; count > 0; --count)
                damaged[80 + random() % (file.size() - 80)] = static_cast<char>(random());
            ASSERT_TRUE(outcomes.isHandled(damaged)) << "round " << i << ", seed " << kRandomSeed;
        }
        EXPECT_GT(outcomes.refused, 50);
        EXPECT_GT(outcomes.read, 50);
    }
}

// The level says 262144 bytes and the frame inside it holds 64 MiB.
TEST_F(KtxBadInput, DataThatInflatesToMoreThanDeclaredIsRefused)
{
    EXPECT_TRUE(read(ktx2Zstd(256, 256, 2)).valid());
    EXPECT_FALSE(read(ktx2Zstd(256, 256, 512)).valid());
    EXPECT_FALSE(read(ktx2Zstd(256, 256, 1)).valid());
}

#ifdef __linux__

namespace
{

/** The most address space that this process has had, in bytes. */
std::size_t peakOfProcess()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "VmPeak:")
        {
            std::size_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    return 0;
}

/** What reading the files one after the other adds to the address space of a process of its own, in MiB, rounded up;
 * 255 for that or more. */
int megabytesToRead(const std::vector<std::string>& files)
{
    const pid_t child = fork();
    if (child == 0)
    {
        (void)read(ktx2Rgba(4, 4, 3)); // what the first use of anything takes
        const std::size_t before = peakOfProcess();
        for (const std::string& file : files)
            (void)read(file);
        _exit(static_cast<int>(std::min<std::size_t>((peakOfProcess() - before + (1 << 20) - 1) >> 20, 255)));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST_F(KtxBadInput, WhatAHeaderClaimsIsNotAllocated)
{
#if defined(MVGEO_HAS_ADDRESS_SANITIZER) || defined(MVGEO_HAS_THREAD_SANITIZER)
    GTEST_SKIP() << "a sanitizer's own memory would be measured";
#endif
    std::vector<std::string> files;
    for (const auto& [name, file] : soundFiles())
        for (std::size_t offset = 12; offset < 200; offset += 4)
            for (const std::uint64_t number : {0x00010000ULL, 0x10000000ULL, 0x7FFFFFF0ULL, 0xFFFFFFFFULL})
                files.push_back(patched(file, offset, number, 4));
    // All files have less than 1 MB; what the Basis transcoder takes at its first use is within this too.
    const int megabytes = megabytesToRead(files);
    EXPECT_GE(megabytes, 0);
    EXPECT_LE(megabytes, 10);
}

// 64 MiB of pixels in 2 KB: once as libktx has it, once as the image.
TEST_F(KtxBadInput, ReadingTakesTwiceTheDeclaredImage)
{
#if defined(MVGEO_HAS_ADDRESS_SANITIZER) || defined(MVGEO_HAS_THREAD_SANITIZER)
    GTEST_SKIP() << "a sanitizer's own memory would be measured";
#endif
    const std::string file = ktx2Zstd(4096, 4096, 512);
    ASSERT_LT(file.size(), 4096U);
    const int megabytes = megabytesToRead({file});
    EXPECT_GE(megabytes, 64);
    EXPECT_LE(megabytes, 130);
}

#endif

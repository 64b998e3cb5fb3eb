#include "readerwriterktx/KtxTranscoding.h"

#include "readerwriterktx/KtxTestImages.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <thread>

using mvgeo::TranscodeTarget;
using mvgeo::transcodeTarget;

namespace
{

constexpr char kNpotLine[] =
    "[LoaderKTX] Found NPOT image: 300 x 200, will not transcode to compressing texture format";

class KtxTranscoding : public testing::Test
{
public:
    ~KtxTranscoding() override { mvgeo::setTranscodingDefault(0); }
};

TEST_F(KtxTranscoding, BeginsWithBlocksThatDesktopsKnow)
{
    EXPECT_EQ(mvgeo::transcodingDefault(), 0);
    EXPECT_EQ(transcodeTarget(256, 256, nullptr), TranscodeTarget::bc1Or3);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({})), TranscodeTarget::bc1Or3);
}

TEST_F(KtxTranscoding, DefaultAboveZeroAsksForRgba)
{
    mvgeo::setTranscodingDefault(1);
    EXPECT_EQ(transcodeTarget(256, 256, nullptr), TranscodeTarget::rgba32);
    // "UseDXT" does not help against RGBA; RGBA must be taken back.
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", "1"}})), TranscodeTarget::rgba32);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", "1"}, {"UseRGBA", "0"}})), TranscodeTarget::bc1Or3);
}

TEST_F(KtxTranscoding, DefaultBelowZeroAllowsNothingByItself)
{
    mvgeo::setTranscodingDefault(-1);
    EXPECT_EQ(transcodeTarget(256, 256, nullptr), TranscodeTarget::rgba32);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", "1"}})), TranscodeTarget::bc1Or3);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "1"}})), TranscodeTarget::etc);
}

TEST_F(KtxTranscoding, FollowsTheOptionsInTheirOrder)
{
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "1"}})), TranscodeTarget::etc);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseRGBA", "1"}})), TranscodeTarget::rgba32);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "1"}, {"UseDXT", "1"}})), TranscodeTarget::etc);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "1"}, {"UseRGBA", "1"}})), TranscodeTarget::rgba32);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", "0"}})), TranscodeTarget::rgba32);
}

TEST_F(KtxTranscoding, TakesOnlyNumbersAboveZeroForOn)
{
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "-1"}})), TranscodeTarget::bc1Or3);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "true"}})), TranscodeTarget::bc1Or3);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseETC", "2x"}})), TranscodeTarget::etc);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", ""}})), TranscodeTarget::bc1Or3);
    EXPECT_EQ(transcodeTarget(256, 256, optionsWith({{"UseDXT", "no"}})), TranscodeTarget::rgba32);
}

TEST_F(KtxTranscoding, LeavesSizesThatAreNoPowersOfTwoUncompressedAndSaysSo)
{
    const LogRecorder log;
    EXPECT_EQ(transcodeTarget(300, 200, optionsWith({{"UseDXT", "1"}})), TranscodeTarget::rgba32);
    EXPECT_EQ(log.count(osg::NOTICE, kNpotLine), 1);
    EXPECT_EQ(transcodeTarget(300, 200, optionsWith({{"UseETC", "1"}})), TranscodeTarget::rgba32);
    EXPECT_EQ(log.count(osg::NOTICE, kNpotLine), 2);
    EXPECT_EQ(transcodeTarget(256, 200, nullptr), TranscodeTarget::rgba32);
    EXPECT_EQ(log.count(osg::NOTICE, "Found NPOT image: 256 x 200"), 1);
    EXPECT_EQ(transcodeTarget(200, 256, nullptr), TranscodeTarget::rgba32);
    EXPECT_EQ(log.count(osg::NOTICE, "Found NPOT image: 200 x 256"), 1);
}

TEST_F(KtxTranscoding, SaysNothingOfTheSizeWhereRgbaIsWanted)
{
    const LogRecorder log;
    EXPECT_EQ(transcodeTarget(300, 200, optionsWith({{"UseRGBA", "1"}})), TranscodeTarget::rgba32);
    mvgeo::setTranscodingDefault(5);
    EXPECT_EQ(transcodeTarget(300, 200, nullptr), TranscodeTarget::rgba32);
    EXPECT_EQ(log.count("NPOT"), 0);
}

TEST_F(KtxTranscoding, TakesEverySizeFromOneToThousandsThatIsAPowerOfTwo)
{
    const LogRecorder log;
    for (unsigned int size = 1; size <= 16384; size *= 2)
        EXPECT_EQ(transcodeTarget(size, 16384 / size, nullptr), TranscodeTarget::bc1Or3) << size;
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(KtxTranscoding, DefaultMayChangeWhileOthersRead)
{
    std::thread writer(
        []
        {
            for (int i = 0; i < 1000; ++i)
                mvgeo::setTranscodingDefault(i % 2);
        });
    for (int i = 0; i < 1000; ++i)
    {
        const TranscodeTarget target = transcodeTarget(64, 64, nullptr);
        EXPECT_TRUE(target == TranscodeTarget::bc1Or3 || target == TranscodeTarget::rgba32);
    }
    writer.join();
    EXPECT_EQ(mvgeo::transcodingDefault(), 1); // 999 is odd
}

} // namespace

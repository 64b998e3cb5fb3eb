#include "support/QuietOsg.h"

#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <future>

namespace
{

using mvgeo::QuietableHandler;
using mvgeo::QuietOsg;

class ForeignHandler : public osg::NotifyHandler
{
public:
    void notify(osg::NotifySeverity, const char* message) override { text += message; }
    std::string text;

protected:
    ~ForeignHandler() override = default;
};

/** Installs a handler of somebody else, and puts back the one before. */
struct QuietOsgTest : public testing::Test
{
    osg::ref_ptr<osg::NotifyHandler> before = osg::getNotifyHandler();
    osg::ref_ptr<ForeignHandler> foreign = new ForeignHandler;

    void SetUp() override { osg::setNotifyHandler(foreign); }
    void TearDown() override { osg::setNotifyHandler(before); }
};

void say(const char* text)
{
    osg::notify(osg::WARN) << text << std::flush;
}

} // namespace

TEST_F(QuietOsgTest, KeepsThisThreadOutOfAForeignHandler)
{
    say("a");
    {
        const QuietOsg quiet;
        say("b");
    }
    say("c");
    EXPECT_EQ(foreign->text, "ac");
}

TEST_F(QuietOsgTest, MayBeNested)
{
    {
        const QuietOsg outer;
        {
            const QuietOsg inner;
        }
        say("a");
    }
    say("b");
    EXPECT_EQ(foreign->text, "b");
}

TEST_F(QuietOsgTest, LeavesOtherThreadsTheirVoice)
{
    const QuietOsg quiet;
    std::async(std::launch::async, [] { say("other"); }).get();
    EXPECT_EQ(foreign->text, "other");
}

TEST_F(QuietOsgTest, StandsBeforeAForeignHandlerOnlyOnce)
{
    {
        const QuietOsg quiet;
    }
    const osg::NotifyHandler* installed = osg::getNotifyHandler();
    EXPECT_NE(dynamic_cast<const QuietableHandler*>(installed), nullptr);
    const QuietOsg quiet;
    EXPECT_EQ(osg::getNotifyHandler(), installed);
}

TEST_F(QuietOsgTest, LeavesOurOwnHandlerInItsPlace)
{
    const LogRecorder log;
    const osg::NotifyHandler* installed = osg::getNotifyHandler();
    {
        const QuietOsg quiet;
        EXPECT_EQ(osg::getNotifyHandler(), installed);
        say("a");
    }
    say("b");
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(QuietOsgTest, NeedsNoHandler)
{
    osg::setNotifyHandler(nullptr);
    const QuietOsg quiet;
    EXPECT_EQ(osg::getNotifyHandler(), nullptr);
}

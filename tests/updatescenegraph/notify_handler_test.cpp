#include "updatescenegraph/NotifyHandler.h"

#include "platform/Environment.h"
#include "support/TemporaryDirectory.h"

#include <osg/ref_ptr>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace
{

std::vector<std::string> linesOf(const std::string& path)
{
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

/** "[2024-05-17 09:41:03] " is 22 characters long. */
constexpr std::size_t kStampLength = 22;

std::string withoutStamp(const std::string& line)
{
    return line.size() < kStampLength ? line : line.substr(kStampLength);
}

std::string now()
{
    const std::tm time = mvgeo::platform::localTime(std::time(nullptr));
    char text[80]; // room for any numbers, as the compiler demands
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.tm_year + 1900, time.tm_mon + 1,
                  time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    return text;
}

TEST(NotifyHandler, LineIsTimeTagAndText)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    const std::string before = now();
    handler->notify(osg::WARN, "tile is broken");
    const std::string after = now();

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    ASSERT_EQ(lines.size(), 1U);
    ASSERT_EQ(lines[0].size(), kStampLength + 7 + 14);
    EXPECT_EQ(lines[0][0], '[');
    EXPECT_LE(before, lines[0].substr(1, 19));
    EXPECT_GE(after, lines[0].substr(1, 19));
    EXPECT_EQ(lines[0].substr(20), "] [WARN] tile is broken");
}

TEST(NotifyHandler, EverySeverityHasItsTag)
{
    const std::vector<std::pair<osg::NotifySeverity, std::string>> cases = {
        {osg::ALWAYS, "[ALWAYS] x"},    {osg::FATAL, "[FATAL] x"}, {osg::WARN, "[WARN] x"},
        {osg::NOTICE, "[NOTICE] x"},    {osg::INFO, "[INFO] x"},   {osg::DEBUG_INFO, "[DEBUG_INFO] x"},
        {osg::DEBUG_FP, "[DEBUG_FP] x"}};
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    for (const auto& [severity, line] : cases)
        handler->notify(severity, "x");

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    ASSERT_EQ(lines.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(withoutStamp(lines[i]), cases[i].second);
}

TEST(NotifyHandler, SeverityOfSevenIsDropped)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    handler->notify(static_cast<osg::NotifySeverity>(7), "x"); // the largest value that the type can hold
    EXPECT_EQ(readFile(folder / "3d.log"), "");
}

TEST(NotifyHandler, EmptyMessageWritesNothing)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    handler->notify(osg::WARN, "");
    handler->notify(osg::WARN, nullptr);
    EXPECT_EQ(readFile(folder / "3d.log"), "");
}

TEST(NotifyHandler, MessageWithLineBreakIsFollowedByAnEmptyLine)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    handler->notify(osg::NOTICE, "first\n");
    handler->notify(osg::NOTICE, "second\n");

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(withoutStamp(lines[0]), "[NOTICE] first");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(withoutStamp(lines[2]), "[NOTICE] second");
    EXPECT_EQ(lines[3], "");
}

TEST(NotifyHandler, LineIsInTheFileAtOnce)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    handler->notify(osg::WARN, "one");
    EXPECT_EQ(linesOf(folder / "3d.log").size(), 1U);
    handler->notify(osg::WARN, "two");
    EXPECT_EQ(linesOf(folder / "3d.log").size(), 2U);
}

TEST(NotifyHandler, AppendsToAnEarlierLog)
{
    const TemporaryDirectory folder;
    writeFile(folder / "3d.log", "of yesterday\n");
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    EXPECT_EQ(readFile(folder / "3d.log"), "of yesterday\n");
    handler->notify(osg::WARN, "of today");

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "of yesterday");
    EXPECT_EQ(withoutStamp(lines[1]), "[WARN] of today");
}

TEST(NotifyHandler, SecondHandlerOnTheSameFileAppendsToo)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> one = new NotifyHandler(folder / "3d.log");
    const osg::ref_ptr<NotifyHandler> two = new NotifyHandler(folder / "3d.log");
    one->notify(osg::WARN, "a");
    two->notify(osg::WARN, "b");
    one->notify(osg::WARN, "c");
    EXPECT_EQ(linesOf(folder / "3d.log").size(), 3U);
}

TEST(NotifyHandler, MissingFolderIsNotMadeAndEverythingIsDropped)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "GeoCache/3d.log");
    handler->notify(osg::FATAL, "nobody reads this");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(NotifyHandler, FolderInPlaceOfTheFileDropsEverything)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder.path().string());
    handler->notify(osg::FATAL, "nobody reads this");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(NotifyHandler, ReceivesOsgsOwnStream)
{
    const TemporaryDirectory folder;
    const osg::ref_ptr<osg::NotifyHandler> former = osg::getNotifyHandler();
    osg::setNotifyHandler(new NotifyHandler(folder / "3d.log"));
    OSG_WARN << "from OSG" << std::endl;
    osg::setNotifyHandler(former);

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(withoutStamp(lines[0]), "[WARN] from OSG");
    EXPECT_EQ(lines[1], "");
}

TEST(NotifyHandler, LinesOfManyThreadsStayWhole)
{
    constexpr int kThreads = 8;
    constexpr int kLines = 2000;
    const TemporaryDirectory folder;
    const osg::ref_ptr<NotifyHandler> handler = new NotifyHandler(folder / "3d.log");
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&, i]
            {
                const std::string text(60, static_cast<char>('a' + i));
                ++ready;
                while (ready < kThreads) // else the first has ended before the last begins
                    std::this_thread::yield();
                for (int line = 0; line < kLines; ++line)
                    handler->notify(osg::INFO, text.c_str());
            });
    for (std::thread& thread : threads)
        thread.join();

    const std::vector<std::string> lines = linesOf(folder / "3d.log");
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    std::vector<int> seen(kThreads, 0);
    for (const std::string& line : lines)
        for (int i = 0; i < kThreads; ++i)
            if (withoutStamp(line) == "[INFO] " + std::string(60, static_cast<char>('a' + i)))
                ++seen[static_cast<std::size_t>(i)];
    EXPECT_EQ(seen, std::vector<int>(kThreads, kLines));
}

#if !defined(_WIN32)
/** A log on a pipe that takes nothing while nobody reads it, and a thread that is stuck in writing to it. */
class SlowLog : public testing::Test
{
protected:
    static constexpr std::size_t kLongLine = 1U << 20U; // more than a pipe holds

    void SetUp() override
    {
        const std::string path = folder / "3d.log";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        _pipe = open(path.c_str(), O_RDONLY | O_NONBLOCK); // first, or whoever opens it for writing waits
        ASSERT_GE(_pipe, 0);
        handler = new NotifyHandler(path);
        _stuck =
            std::async(std::launch::async, [this] { handler->notify(osg::WARN, std::string(kLongLine, 'a').c_str()); });
        int waiting = 0;
        while (waiting == 0)
            ASSERT_EQ(ioctl(_pipe, FIONREAD, &waiting), 0);
    }
    void TearDown() override { close(_pipe); }

    /** Reads what comes until the log holds this many bytes. */
    std::string readBytes(std::size_t count) const
    {
        std::string text;
        std::vector<char> block(1U << 16U);
        while (text.size() < count)
        {
            const ssize_t got = read(_pipe, block.data(), block.size());
            if (got > 0) text.append(block.data(), static_cast<std::size_t>(got));
        }
        return text;
    }
    /** Lets the log go on until this line has come behind the long one; what comes behind it too. */
    std::string readUntilBehind(const std::string& line)
    {
        const std::size_t overhead = kStampLength + std::string("[WARN] ").size() + 1;
        const std::string text = readBytes(kLongLine + line.size() + 2 * overhead);
        _stuck.wait();
        return text.substr(kLongLine + overhead);
    }

    TemporaryDirectory folder;
    osg::ref_ptr<NotifyHandler> handler;

private:
    int _pipe = -1;
    std::future<void> _stuck;
};

// Whoever comes out of OSG's stream must get back there at once; the message may be another one a moment later.
TEST_F(SlowLog, KeepsNobodyInOsgsStreamAndTakesTheMessageAsItIsNow)
{
    std::string message = "from OSG's stream";
    std::future<void> other = std::async(std::launch::async,
                                         [&]
                                         {
                                             handler->notify(osg::WARN, message.c_str());
                                             message.assign(message.size(), '#');
                                         });
    EXPECT_EQ(other.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(withoutStamp(readUntilBehind("from OSG's stream")), "[WARN] from OSG's stream\n");
    other.wait();
}

TEST_F(SlowLog, IsWaitedForByOurOwnLines)
{
    std::future<void> said = std::async(std::launch::async, [this] { handler->notify(osg::WARN, "of ours"); });
    ASSERT_EQ(said.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    std::future<void> flushed = std::async(std::launch::async, [this] { handler->flush(); });
    EXPECT_EQ(flushed.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(withoutStamp(readUntilBehind("of ours")), "[WARN] of ours\n");
    flushed.wait();
}
#endif

} // namespace

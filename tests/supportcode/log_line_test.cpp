#define MVGEO_MODULE_PATH "tests/supportcode"
#include "support/LogLine.h"

#include <osg/ref_ptr>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

class Recorder : public osg::NotifyHandler
{
public:
    void notify(osg::NotifySeverity severity, const char* message) override
    {
        if (!*message) return; // OSG's stream flushes nothing when the severity changes
        const std::lock_guard<std::mutex> lock(_lock);
        lines.emplace_back(severity, message);
    }

    std::vector<std::pair<osg::NotifySeverity, std::string>> lines;

protected:
    ~Recorder() override = default;

private:
    std::mutex _lock;
};

/** Installs a recorder at the level that the library sets, and puts the former handler and level back. */
class LogLine : public testing::Test
{
protected:
    LogLine() : _formerHandler(osg::getNotifyHandler()), _formerLevel(osg::getNotifyLevel())
    {
        osg::setNotifyLevel(osg::NOTICE);
        osg::setNotifyHandler(recorder);
    }
    ~LogLine() override
    {
        osg::setNotifyHandler(_formerHandler);
        osg::setNotifyLevel(_formerLevel);
    }

    osg::ref_ptr<Recorder> recorder = new Recorder;

private:
    osg::ref_ptr<osg::NotifyHandler> _formerHandler;
    osg::NotifySeverity _formerLevel;
};

TEST_F(LogLine, IsPathBlankNumberAndAtOnceTheText)
{
    MVGEO_LOG_AT(WARN, 139) << "callback is null";
    ASSERT_EQ(recorder->lines.size(), 1U);
    EXPECT_EQ(recorder->lines[0].first, osg::WARN);
    EXPECT_EQ(recorder->lines[0].second, "tests/supportcode 139callback is null\n");
}

TEST_F(LogLine, CarriesTheNumberOfItsOwnLine)
{
    const int line = __LINE__ + 1;
    MVGEO_LOG(NOTICE) << "tiles: " << 3;
    ASSERT_EQ(recorder->lines.size(), 1U);
    EXPECT_EQ(recorder->lines[0].first, osg::NOTICE);
    EXPECT_EQ(recorder->lines[0].second, "tests/supportcode " + std::to_string(line) + "tiles: 3\n");
}

TEST_F(LogLine, ThatIsFilteredOutIsNotEvenComputed)
{
    bool computed = false;
    const auto text = [&computed]
    {
        computed = true;
        return "text";
    };
    MVGEO_LOG(INFO) << text();
    EXPECT_TRUE(recorder->lines.empty());
    EXPECT_FALSE(computed);

    MVGEO_LOG(WARN) << text();
    EXPECT_EQ(recorder->lines.size(), 1U);
    EXPECT_TRUE(computed);
}

TEST_F(LogLine, StandsAloneInABranch)
{
    const bool broken = recorder->lines.empty();
    if (!broken)
        MVGEO_LOG(WARN) << "first";
    else
        MVGEO_LOG(WARN) << "second";
    ASSERT_EQ(recorder->lines.size(), 1U);
    EXPECT_NE(recorder->lines[0].second.find("second"), std::string::npos);
}

// OSG's own lines go through its stream, which has one buffer; here one thread writes them, as OSG demands.
TEST_F(LogLine, LinesOfManyThreadsArriveWholeBesideOsgsOwn)
{
    constexpr int kThreads = 5; // the last is OSG's
    constexpr int kLines = 2000;
    const auto textOf = [](int thread) { return std::string(40, static_cast<char>('a' + thread)); };
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&, i]
            {
                ++ready;
                while (ready < kThreads) // else the first has ended before the last begins
                    std::this_thread::yield();
                for (int line = 0; line < kLines; ++line)
                    if (i + 1 < kThreads)
                        MVGEO_LOG_AT(WARN, 7) << textOf(i);
                    else
                        osg::notify(osg::WARN) << textOf(i) << std::endl;
            });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(recorder->lines.size(), static_cast<std::size_t>(kThreads * kLines));
    for (int i = 0; i < kThreads; ++i)
    {
        const std::string whole = (i + 1 < kThreads ? "tests/supportcode 7" : "") + textOf(i) + '\n';
        const auto count = std::count(recorder->lines.begin(), recorder->lines.end(), std::make_pair(osg::WARN, whole));
        EXPECT_EQ(count, kLines);
    }
}

/** Lets another thread speak, to the end, while it holds the first message. */
class InterruptedRecorder : public osg::NotifyHandler
{
public:
    explicit InterruptedRecorder(std::function<void()> interruption) : _interruption(std::move(interruption)) {}
    void notify(osg::NotifySeverity, const char* message) override
    {
        if (!*message) return;
        if (!_isInterrupted.exchange(true)) std::thread(_interruption).join();
        lines.emplace_back(message);
    }

    std::vector<std::string> lines;

protected:
    ~InterruptedRecorder() override = default;

private:
    std::function<void()> _interruption;
    std::atomic<bool> _isInterrupted{false};
};

// What OSG says is long enough to make its buffer move.
TEST_F(LogLine, StaysWhatItIsWhenOsgSpeaksBeforeItIsWritten)
{
    const std::string text(100000, 'x');
    const osg::ref_ptr<InterruptedRecorder> slow =
        new InterruptedRecorder([&] { osg::notify(osg::WARN) << text << std::endl; });
    osg::setNotifyHandler(slow);
    MVGEO_LOG_AT(WARN, 7) << "ours";
    ASSERT_EQ(slow->lines.size(), 2U);
    EXPECT_TRUE(slow->lines[0] == text + '\n');
    EXPECT_EQ(slow->lines[1], "tests/supportcode 7ours\n");
}

TEST_F(LogLine, LeavesOsgsLineWhatItIsWhenItComesBeforeThatIsWritten)
{
    const osg::ref_ptr<InterruptedRecorder> slow = new InterruptedRecorder([] { MVGEO_LOG_AT(WARN, 7) << "ours"; });
    osg::setNotifyHandler(slow);
    osg::notify(osg::WARN) << "OSG" << std::endl;
    EXPECT_EQ(slow->lines, (std::vector<std::string>{"tests/supportcode 7ours\n", "OSG\n"}));
}

TEST_F(LogLine, IsDroppedWhereNobodyListens)
{
    osg::setNotifyHandler(nullptr);
    MVGEO_LOG(WARN) << "to nobody";
    EXPECT_TRUE(recorder->lines.empty());
}

} // namespace

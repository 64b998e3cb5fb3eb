#include "support/ModelDriver.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"
#include "support/TilePyramid.h"
#include "updatescenegraph/NotifyHandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace
{

constexpr int kModels = 64;
constexpr unsigned int kFailingTiles = 3;
constexpr std::size_t kStampLength = 22; // "[2024-05-17 09:41:03] "

/** MVGEO_MANY_MODELS_SECONDS; a few seconds without. */
std::chrono::seconds duration()
{
    const char* given = std::getenv("MVGEO_MANY_MODELS_SECONDS");
    const int seconds = given ? std::atoi(given) : 0;
    return std::chrono::seconds(seconds > 0 ? seconds : 3);
}

/** Our handler on a file of its own, for all of OSG. */
class LogFileScope
{
public:
    explicit LogFileScope(const std::string& path) : _before(osg::getNotifyHandler())
    {
        osg::setNotifyHandler(new NotifyHandler(path));
    }
    ~LogFileScope() { osg::setNotifyHandler(_before); }
    LogFileScope(const LogFileScope&) = delete;
    LogFileScope& operator=(const LogFileScope&) = delete;

private:
    osg::ref_ptr<osg::NotifyHandler> _before;
};

/** Level 2 of the pyramid, tile by tile: not there, cut off, no tile at all, good. */
void damage(const TilePyramid& pyramid)
{
    std::filesystem::remove(pyramid.file("_L2_0"));
    const std::string whole = readFile(pyramid.file("_L2_1"));
    writeFile(pyramid.file("_L2_1"), whole.substr(0, whole.size() / 2));
    writeFile(pyramid.file("_L2_2"), "this is not a tile at all, but it is longer than a header");
}

using Drivers = std::vector<std::unique_ptr<ModelDriver>>;

/** Updates all models until each has met its failing tiles, and has OSG say something after each update. @return how
 * many sentences that were; nothing if it takes longer than a minute */
std::optional<int> meetFailures(const Drivers& drivers, int sentences)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    bool isMet = false;
    while (!isMet)
    {
        if (std::chrono::steady_clock::now() > deadline) return std::nullopt;
        isMet = true;
        for (const std::unique_ptr<ModelDriver>& driver : drivers)
        {
            if (driver->statistics().tilesFailed == kFailingTiles) continue;
            isMet = false;
            driver->update();
            osg::notify(osg::WARN) << "OSG says " << ++sentences << std::endl;
        }
    }
    return sentences;
}

/** How often each line stands in the log, without time and severity; numbers of source lines are taken out. */
std::map<std::string, int> linesIn(const std::string& path)
{
    std::map<std::string, int> counts;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        if (line.empty()) continue; // behind each line, which brings a break of its own
        const bool isStamped = line.size() > kStampLength && line[0] == '[' && line[20] == ']';
        ++counts[isStamped ? line.substr(kStampLength) : line];
    }
    return counts;
}

} // namespace

// Every model has a thread of its own that meets tiles which cannot be read, while the host's thread uses OSG's stream,
// and every model is reloaded again and again, so that each of its failures is news.
TEST(ManyModels, WithFailingTilesLeaveEveryLineOfTheLogWhole)
{
    const TemporaryDirectory folder;
    const ScopedEnvironment temp("TEMP", folder / "temp");
    const TilePyramid pyramid(folder / "data");
    damage(pyramid);
    int rounds = 0;
    int sentences = 0;
    {
        const LogFileScope log(folder / "3d.log");
        Drivers drivers;
        for (int i = 0; i < kModels; ++i)
        {
            drivers.push_back(std::make_unique<ModelDriver>());
            drivers.back()->view = perspectiveView({50, 50, 100}, {50, 50, 0});
            ASSERT_EQ(drivers.back()->add(pyramid.rootFile()), 0);
        }
        const auto end = std::chrono::steady_clock::now() + duration();
        do
        {
            const std::optional<int> said = meetFailures(drivers, sentences);
            ASSERT_TRUE(said);
            sentences = *said;
            ++rounds;
            for (const std::unique_ptr<ModelDriver>& driver : drivers)
            {
                driver->model().reload();
                driver->receiver.forget();
            }
        } while (std::chrono::steady_clock::now() < end);
    }

    std::map<std::string, int> lines = linesIn(folder / "3d.log");
    int lost = 0;
    for (int i = 1; i <= sentences; ++i)
        if (lines.extract("[WARN] OSG says " + std::to_string(i)).empty()) ++lost;
    EXPECT_EQ(lost, 0) << "of OSG's lines";
    ASSERT_EQ(lines.size(), kFailingTiles) << "other lines; the first is '" << lines.begin()->first << "'";
    for (const auto& [line, count] : lines)
    {
        EXPECT_THAT(line,
                    testing::MatchesRegex("\\[WARN\\] src/updatescenegraph [0-9]+cannot read .*Tile_0_L2_[012].osgb: "
                                          "(file not found|file not handled|read error \\(.*\\))"));
        EXPECT_EQ(count, kModels * rounds) << line;
    }
    std::cout << rounds << " rounds of " << kModels << " models, " << sentences << " lines of OSG\n";
}

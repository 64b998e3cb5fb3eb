#include "mvgeothirdparty/MvRegConfig.h"

#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <iostream>
#include <random>
#include <vector>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

// Several processes at one settings file, and processes that are killed at it.

namespace
{

using namespace MvRegConfig;

/** So many by default, to be quick; an environment variable asks for more. */
int countOf(const char* variable, int byDefault)
{
    const char* chosen = std::getenv(variable);
    return chosen ? std::atoi(chosen) : byDefault;
}

KdString numbered(const char* name, int number)
{
    return KdString((name + std::to_string(number)).c_str());
}

int exitStatusOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/** Busy for so many microseconds: to be somewhere in the other process's work, not to wait for it. */
void spin(unsigned long microseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(microseconds);
    while (std::chrono::steady_clock::now() < end)
    {
    }
}

constexpr int kSlots = 8;

/** A value that a reader can tell to be whole: the number of its writing all over, in a length that changes. */
OrloVariant markedBlob(int number)
{
    const std::vector<int> words(static_cast<std::size_t>(1 + number * 37 % 4000), number);
    OrloVariant blob;
    blob.setBlob(words.data(), static_cast<std::uint32_t>(words.size() * sizeof(int)));
    return blob;
}

/** The number that the blob was marked with; -1 if it is not whole. The writer stores four bytes more than were given.
 */
int markOf(const OrloVariant& blob)
{
    std::uint32_t size = 0;
    std::memcpy(&size, blob.payload(), sizeof(size));
    const std::size_t wordCount = size / sizeof(int) - 2; // but for the size field, and for those four bytes
    std::vector<int> words(wordCount);
    std::memcpy(words.data(), blob.payload() + 4, wordCount * sizeof(int));
    const int number = words.front();
    for (const int word : words)
        if (word != number) return -1;
    return wordCount == static_cast<std::size_t>(1 + number * 37 % 4000) ? number : -1;
}

/** Writes into one slot after the other and reports each number that is stored, until it is killed. */
[[noreturn]] void writeUntilKilled(const OwnSettings& settings, int number, int reports)
{
    for (;; ++number)
    {
        const KdString key = settings.keyBelow(numbered("slot", number % kSlots));
        if (!WriteValToReg(key, "value", markedBlob(number))) _exit(1);
        if (write(reports, &number, sizeof(number)) != sizeof(number)) _exit(2);
    }
}

/** The numbers that were reported until the process was killed; empty if it ended by itself. */
std::vector<int> runAndKill(const OwnSettings& settings, int firstNumber, std::mt19937& random)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return {};
    const pid_t child = fork();
    if (child == 0) writeUntilKilled(settings, firstNumber, pipeEnds[1]);
    close(pipeEnds[1]);

    std::vector<int> reported;
    int number = 0;
    const std::size_t enough = 1 + random() % 3;
    while (reported.size() < enough && read(pipeEnds[0], &number, sizeof(number)) == sizeof(number))
        reported.push_back(number);
    // Anywhere in the next write or two.
    spin(random() % 30000);
    kill(child, SIGKILL);
    const bool wasKilled = exitStatusOf(child) == -1;
    while (read(pipeEnds[0], &number, sizeof(number)) == sizeof(number))
        reported.push_back(number);
    close(pipeEnds[0]);
    return wasKilled ? reported : std::vector<int>();
}

/** What the slots hold must be whole, and no older than what was reported; newer only by the one that was under way. */
void expectNothingLost(const OwnSettings& settings, const std::array<int, kSlots>& reported, int last)
{
    for (int slot = 0; slot < kSlots; ++slot)
    {
        const int expected = reported[static_cast<std::size_t>(slot)];
        OrloVariant stored;
        const bool isThere = ReadValFromReg(settings.keyBelow(numbered("slot", slot)), "value", stored);
        const int mark = isThere ? markOf(stored) : 0;
        const bool wasUnderWay = mark == last + 1 && (last + 1) % kSlots == slot;
        EXPECT_TRUE(mark == expected || wasUnderWay)
            << "slot " << slot << " holds " << mark << " and should hold " << expected << "; last was " << last;
    }
}

TEST(SettingsAndKills, NothingIsLostOrTorn)
{
    const int kills = countOf("MVGEO_SETTINGS_KILLS", 20);
    const OwnSettings settings;
    std::mt19937 random(5);
    std::array<int, kSlots> reported{};
    int last = 0;
    int underWay = 0;
    for (int round = 0; round < kills && !HasFailure(); ++round)
    {
        const std::vector<int> numbers = runAndKill(settings, last + 1, random);
        ASSERT_FALSE(numbers.empty()) << "round " << round << ": a write failed";
        for (const int number : numbers)
            reported[static_cast<std::size_t>(number % kSlots)] = number;
        last = numbers.back();
        expectNothingLost(settings, reported, last);

        // The one that was under way counts from now on if it is there.
        OrloVariant next;
        const int slot = (last + 1) % kSlots;
        if (ReadValFromReg(settings.keyBelow(numbered("slot", slot)), "value", next) && markOf(next) == last + 1)
        {
            reported[static_cast<std::size_t>(slot)] = ++last;
            ++underWay;
        }
    }
    RecordProperty("writes", last);
    std::cout << kills << " kills, " << last << " writes, " << underWay << " of them stored but not yet reported\n";
}

// The file, its tables or the first keys are half made when the process is killed, and then somebody else comes.
TEST(SettingsAndKills, AFileThatWasBegunIsFinishedByTheNext)
{
    const RunningHost host;
    std::mt19937 random(6);
    for (int round = 0; round < 20; ++round)
    {
        const OwnSettings settings;
        const pid_t child = fork();
        if (child == 0)
        {
            static_cast<void>(setRegDWordVal(settings.keyBelow("a\\b"), "name", 1));
            _exit(0);
        }
        spin(random() % 20000);
        kill(child, SIGKILL);
        exitStatusOf(child);
        int number = 1;
        const bool wasWritten = getRegDWordVal(settings.keyBelow("a\\b"), "name", number);
        EXPECT_EQ(number, 1) << wasWritten;
        EXPECT_TRUE(setRegDWordVal(settings.keyBelow("a\\b"), "name", 2)) << "round " << round;
        EXPECT_TRUE(getRegDWordVal(settings.keyBelow("a\\b"), "name", number));
        EXPECT_EQ(number, 2);
    }
}

/** Another process that has locked the settings file, so that nobody can read or write, until it is let go. */
class LockingProcess
{
public:
    explicit LockingProcess(const std::string& file)
    {
        int locked[2];
        int release[2];
        if (pipe(locked) != 0 || pipe(release) != 0) return;
        _child = fork();
        if (_child == 0) lockUntilReleased(file, locked[1], release);
        close(locked[1]);
        close(release[0]);
        _release = release[1];
        char none = 0;
        _isLocked = read(locked[0], &none, 1) == 1;
        close(locked[0]);
    }
    ~LockingProcess()
    {
        unlock();
        exitStatusOf(_child);
    }
    LockingProcess(const LockingProcess&) = delete;
    LockingProcess& operator=(const LockingProcess&) = delete;

    [[nodiscard]] bool isLocked() const { return _isLocked; }
    void unlock()
    {
        if (_release >= 0) close(_release);
        _release = -1;
    }

private:
    [[noreturn]] static void lockUntilReleased(const std::string& file, int locked, const int (&release)[2])
    {
        close(release[1]);
        sqlite3* database = nullptr;
        const bool isLocked = sqlite3_open(file.c_str(), &database) == SQLITE_OK &&
                              sqlite3_exec(database, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK;
        char none = 0;
        if (isLocked && write(locked, &none, 1) == 1) static_cast<void>(!read(release[0], &none, 1));
        _exit(isLocked ? 0 : 1);
    }

    pid_t _child = -1;
    int _release = -1;
    bool _isLocked = false;
};

TEST(SettingsThatAreLocked, AreWaitedFor)
{
    const OwnSettings settings;
    const RunningHost host;
    ASSERT_TRUE(setRegDWordVal(settings.key(), "name", 1));
    LockingProcess other(settings.file());
    ASSERT_TRUE(other.isLocked());
    int number = 0;
    std::future<bool> reader =
        std::async(std::launch::async, [&] { return getRegDWordVal(settings.key(), "name", number); });
    std::future<bool> writer =
        std::async(std::launch::async, [&] { return setRegDWordVal(settings.key(), "other", 2); });
    spin(100000);
    other.unlock();
    EXPECT_TRUE(reader.get());
    EXPECT_TRUE(writer.get());
    EXPECT_EQ(number, 1);
}

// Takes the ten seconds that the store promises.
TEST(SettingsThatAreLocked, AreGivenUpAfterAWhile)
{
    const OwnSettings settings;
    const RunningHost host;
    ASSERT_TRUE(setRegDWordVal(settings.key(), "name", 1));
    int number = 7;
    {
        const LockingProcess other(settings.file());
        ASSERT_TRUE(other.isLocked());
        std::future<bool> reader =
            std::async(std::launch::async, [&] { return getRegDWordVal(settings.key(), "name", number); });
        std::future<bool> writer =
            std::async(std::launch::async, [&] { return setRegDWordVal(settings.key(), "name", 2); });
        EXPECT_FALSE(reader.get());
        EXPECT_FALSE(writer.get());
        EXPECT_EQ(number, 7);
    }
    EXPECT_TRUE(getRegDWordVal(settings.key(), "name", number));
    EXPECT_EQ(number, 1);
}

// All wait for the pipe to be closed, and then make the same new file, tables and keys.
TEST(SettingsOfManyProcesses, MayMakeTheFileAtOnce)
{
    const RunningHost host;
    for (int round = 0; round < 10; ++round)
    {
        const OwnSettings settings;
        int pipeEnds[2];
        ASSERT_EQ(pipe(pipeEnds), 0);
        std::array<pid_t, 6> writers{};
        for (pid_t& writer : writers)
        {
            writer = fork();
            if (writer != 0) continue;
            close(pipeEnds[1]);
            char none = 0;
            static_cast<void>(!read(pipeEnds[0], &none, 1));
            _exit(setRegDWordVal(settings.keyBelow("a\\b\\c"), "name", 1) ? 0 : 1);
        }
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        for (const pid_t writer : writers)
            EXPECT_EQ(exitStatusOf(writer), 0) << "round " << round;
    }
}

TEST(SettingsOfTwoProcesses, AllValuesAreThere)
{
    const int writes = countOf("MVGEO_SETTINGS_WRITES", 100);
    const OwnSettings settings;
    const RunningHost host;
    std::array<pid_t, 2> writers{};
    for (std::size_t i = 0; i < writers.size(); ++i)
    {
        writers[i] = fork();
        if (writers[i] != 0) continue;
        bool isWritten = true; // both make the file, the tables and the key at once
        for (int number = 0; number < writes; ++number)
            isWritten &= setRegDWordVal(settings.keyBelow("shared"), numbered(i == 0 ? "a" : "b", number), number);
        _exit(isWritten ? 0 : 1);
    }
    for (const pid_t writer : writers)
        EXPECT_EQ(exitStatusOf(writer), 0);

    int found = 0;
    for (const char* name : {"a", "b"})
        for (int number = 0; number < writes; ++number)
        {
            int stored = -1;
            found += getRegDWordVal(settings.keyBelow("shared"), numbered(name, number), stored) && stored == number;
        }
    EXPECT_EQ(found, 2 * writes);
}

TEST(SettingsOfTwoProcesses, OneSeesWhatTheOtherWrote)
{
    const OwnSettings settings;
    const RunningHost host;
    ASSERT_TRUE(setRegStringVal(settings.key(), "question", "what"));
    const pid_t child = fork();
    if (child == 0)
    {
        KdString text;
        const bool isRead = getRegStringVal(settings.key(), "question", text) && text == KdString("what");
        _exit(isRead && setRegStringVal(settings.key(), "answer", "this") ? 0 : 1);
    }
    ASSERT_EQ(exitStatusOf(child), 0);
    KdString text;
    EXPECT_TRUE(getRegStringVal(settings.key(), "answer", text));
    EXPECT_EQ(text, KdString("this"));
}

} // namespace

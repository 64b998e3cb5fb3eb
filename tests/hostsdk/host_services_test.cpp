#include "HostSdk.h"

#include "HostText.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

struct Lookup
{
    bool isSet;
    KdString value;
};

Lookup lookUp(const KdChar* name)
{
    KdChar* value = nullptr;
    const bool isSet = kdedGetVar(name, &value);
    const Lookup result{isSet, KdString(value)};
    kdutDelBuffer(value);
    return result;
}

TEST(HostVariables, AMissingOneGivesNull)
{
    KdChar untouched = 0;
    KdChar* value = &untouched;
    EXPECT_FALSE(kdedGetVar(HOST_TEXT("NEVER_SET"), &value));
    EXPECT_EQ(value, nullptr);
}

TEST(HostVariables, ASetOneIsCopiedOut)
{
    kdedSetVar(HOST_TEXT("LOGFILEPATH"), HOST_TEXT("C:\\Temp\\\u503E"));
    KdChar* first = nullptr;
    KdChar* second = nullptr;
    ASSERT_TRUE(kdedGetVar(HOST_TEXT("LOGFILEPATH"), &first));
    ASSERT_TRUE(kdedGetVar(HOST_TEXT("LOGFILEPATH"), &second));
    EXPECT_NE(first, second);
    EXPECT_EQ(KdString(first), KdString(HOST_TEXT("C:\\Temp\\\u503E")));
    kdutDelBuffer(first);
    kdutDelBuffer(second);
    kdedSetVar(HOST_TEXT("LOGFILEPATH"), nullptr);
}

TEST(HostVariables, SettingAgainReplacesAndNullRemoves)
{
    kdedSetVar(HOST_TEXT("A"), HOST_TEXT("1"));
    kdedSetVar(HOST_TEXT("A"), HOST_TEXT("2"));
    EXPECT_EQ(lookUp(HOST_TEXT("A")).value, KdString("2"));
    kdedSetVar(HOST_TEXT("A"), nullptr);
    EXPECT_FALSE(lookUp(HOST_TEXT("A")).isSet);
    kdedSetVar(HOST_TEXT("A"), nullptr); // removing twice is no matter
}

TEST(HostVariables, AnEmptyValueIsAValue)
{
    kdedSetVar(HOST_TEXT("EMPTY"), HOST_TEXT(""));
    const Lookup result = lookUp(HOST_TEXT("EMPTY"));
    EXPECT_TRUE(result.isSet);
    EXPECT_TRUE(result.value.isEmpty());
    kdedSetVar(HOST_TEXT("EMPTY"), nullptr);
}

TEST(HostVariables, NullArgumentsFindNothing)
{
    kdedSetVar(nullptr, HOST_TEXT("x"));
    EXPECT_FALSE(lookUp(nullptr).isSet);
    EXPECT_FALSE(kdedGetVar(HOST_TEXT("NEVER_SET"), nullptr));
    kdutDelBuffer(nullptr);
}

TEST(HostVariables, ThreadsSeeWholeValues)
{
    const std::basic_string<KdChar> longA(200, KdChar('a'));
    const std::basic_string<KdChar> longB(300, KdChar('b'));
    kdedSetVar(HOST_TEXT("SHARED"), longA.c_str());

    std::vector<std::thread> threads;
    std::vector<int> torn(4, 0);
    for (std::size_t i = 0; i < torn.size(); ++i)
        threads.emplace_back(
            [&, i]
            {
                for (int turn = 0; turn < 500; ++turn)
                {
                    kdedSetVar(HOST_TEXT("SHARED"), turn % 2 == 0 ? longA.c_str() : longB.c_str());
                    const KdString seen = lookUp(HOST_TEXT("SHARED")).value;
                    if (seen != KdString(longA.c_str()) && seen != KdString(longB.c_str())) ++torn[i];
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, std::vector<int>(4, 0));
    kdedSetVar(HOST_TEXT("SHARED"), nullptr);
}

class TestServices : public KdDbHostApplicationServices
{
public:
    const KdChar* getRegistryProductRootKey() const override { return HOST_TEXT("Software\\Host\\1"); }
};

TEST(HostApplicationServices, AreNullUntilTheHostSetsThem)
{
    EXPECT_EQ(kddbHostApplicationServices(), nullptr);
    TestServices services;
    kddbSetHostApplicationServices(&services);
    EXPECT_EQ(kddbHostApplicationServices(), &services);
    EXPECT_EQ(KdString(kddbHostApplicationServices()->getRegistryProductRootKey()), KdString("Software\\Host\\1"));
    kddbSetHostApplicationServices(nullptr);
    EXPECT_EQ(kddbHostApplicationServices(), nullptr);
}

class TestRecorder : public OrloCrashRecorder
{
public:
    void record(const MvErrorStatus& error) override { recorded = error.status(); }

    int recorded = 0;
};

TEST(CrashRecorder, IsNullUntilTheHostSetsIt)
{
    EXPECT_EQ(orloGetCrashRecorder(), nullptr);
    TestRecorder recorder;
    orloSetCrashRecorder(&recorder);
    ASSERT_EQ(orloGetCrashRecorder(), &recorder);
    orloGetCrashRecorder()->record(MvErrorStatus(MvErrorStatus::kOutOfMemory));
    EXPECT_EQ(recorder.recorded, 6);
    orloSetCrashRecorder(nullptr);
    EXPECT_EQ(orloGetCrashRecorder(), nullptr);
}

TEST(MvErrorStatus, CarriesItsStatus)
{
    EXPECT_EQ(MvErrorStatus(MvErrorStatus::kInvalidInput).status(), 3);
    EXPECT_EQ(MvErrorStatus(MvErrorStatus::kOutOfMemory).status(), 6);
}

TEST(MvErrorStatus, SaysWhatHappened)
{
    EXPECT_STREQ(MvErrorStatus(MvErrorStatus::kInvalidInput).what(), "host error 3: invalid input");
    EXPECT_STREQ(MvErrorStatus(MvErrorStatus::kOutOfMemory).what(), "host error 6: out of memory");
    EXPECT_STREQ(MvErrorStatus(static_cast<MvErrorStatus::Status>(1)).what(), "host error of unknown status");
}

TEST(MvErrorStatus, IsCaughtAcrossTheLibraryAsAStandardException)
{
    OrloVariant variant;
    EXPECT_THROW(variant.setBlob(nullptr, 1), std::exception);
}

TEST(ProcessorCoreCount, IsAtLeastOne)
{
    EXPECT_GE(orloGetProcessorCoreCount(true), 1);
    EXPECT_GE(orloGetProcessorCoreCount(false), 1);
}

TEST(ProcessorCoreCount, LogicalCountsHardwareThreads)
{
    if (std::thread::hardware_concurrency() == 0) GTEST_SKIP() << "the system does not tell its hardware threads";
    EXPECT_EQ(orloGetProcessorCoreCount(true), static_cast<int>(std::thread::hardware_concurrency()));
    EXPECT_LE(orloGetProcessorCoreCount(false), orloGetProcessorCoreCount(true));
}

} // namespace

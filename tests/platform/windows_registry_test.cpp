#include "mvgeothirdparty/MvRegConfig.h"
#include "mvregconfig/FakeHost.h"
#include "mvregconfig/OwnSettings.h"
#include "platform/SettingsStore.h"

#include <gtest/gtest.h>

// What only the registry itself can tell: handles, what outlives a session, and the machine's hive beside the user's.

#if !defined(_WIN32)
TEST(WindowsRegistry, IsTestedOnWindowsOnly)
{
    GTEST_SKIP() << "there is no registry here";
}
#else

namespace
{

using namespace MvRegConfig;
using mvgeo::platform::SettingsKey;

/** The handles of this process that are valid. Handles are multiples of 4, the lowest free one is given first. */
int openHandles()
{
    constexpr std::uintptr_t kBeyond = 0x4000;
    int count = 0;
    for (std::uintptr_t handle = 4; handle < kBeyond; handle += 4)
    {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != 0;
    }
    return count;
}

void useEveryHelper(const OwnSettings& settings)
{
    int number = 0;
    KdString text;
    OrloVariant value;
    std::vector<KdString> names;
    EXPECT_TRUE(setRegDWordVal(settings.key(), "number", 1));
    EXPECT_TRUE(getRegDWordVal(settings.key(), "number", number));
    EXPECT_TRUE(setRegStringVal(settings.keyBelow("a\\b"), "text", "one"));
    EXPECT_TRUE(getRegStringVal(settings.keyBelow("a\\b"), "text", text));
    EXPECT_TRUE(ReadValFromReg(settings.key(), "number", value));
    EXPECT_TRUE(WriteValToReg(settings.key(), "copy", value));
    EXPECT_TRUE(listRegKey(settings.key(), names, names));
    EXPECT_FALSE(getRegDWordVal(settings.key(), "missing", number));
    EXPECT_FALSE(getRegStringVal(settings.key(), "number", text));
    EXPECT_FALSE(ReadValFromReg(settings.key(), "missing", value));
    EXPECT_FALSE(listRegKey(settings.keyBelow("missing"), names, names));
    RegDeleteTreeW(HKEY_CURRENT_USER, settings.key().kwszPtr()); // so that keys are made in every round
}

TEST(WindowsRegistry, EveryKeyIsClosed)
{
    const OwnSettings settings;
    const RunningHost host;
    useEveryHelper(settings); // Windows keeps some handles of its own from the first use on
    const int before = openHandles();
    ASSERT_GT(before, 0);
    for (int round = 0; round < 100; ++round)
        useEveryHelper(settings);
    EXPECT_EQ(openHandles(), before);
}

// A key that lasts cannot stand below one that goes with the session: ERROR_CHILD_MUST_BE_VOLATILE, 1021.
TEST(WindowsRegistry, KeysOutliveTheSession)
{
    const OwnSettings settings;
    const SettingsKey key = SettingsKey::openForWriting(settings.key().kwszPtr());
    ASSERT_TRUE(key.isOpen());
    HKEY child = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, settings.keyBelow("child").kwszPtr(), 0, nullptr,
                              REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &child, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(child);
}

/** A number below HKEY_LOCAL_MACHINE; not stored if the user may not write there. */
class MachineValue
{
public:
    MachineValue(const KdString& key, const KdString& name) : _key(key)
    {
        HKEY open = nullptr;
        const DWORD number = 5;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, _key.kwszPtr(), 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE, nullptr,
                            &open, nullptr) != ERROR_SUCCESS)
            return;
        isStored = RegSetValueExW(open, name.kwszPtr(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                                  sizeof(number)) == ERROR_SUCCESS;
        RegCloseKey(open);
    }
    ~MachineValue() { RegDeleteTreeW(HKEY_LOCAL_MACHINE, _key.kwszPtr()); }
    MachineValue(const MachineValue&) = delete;
    MachineValue& operator=(const MachineValue&) = delete;

    bool isStored = false;

private:
    KdString _key;
};

TEST(WindowsRegistry, WhatIsTheMachinesIsNotFound)
{
    const OwnSettings settings;
    const RunningHost host;
    const MachineValue machine(settings.key(), "number");
    if (!machine.isStored) GTEST_SKIP() << "the user may not write below HKEY_LOCAL_MACHINE";
    int number = 7;
    OrloVariant value;
    std::vector<KdString> names;
    EXPECT_FALSE(getRegDWordVal(settings.key(), "number", number));
    EXPECT_FALSE(ReadValFromReg(settings.key(), "number", value));
    EXPECT_FALSE(listRegKey(settings.key(), names, names));
    EXPECT_EQ(number, 7);
}

TEST(WindowsRegistry, NothingIsWrittenForTheMachine)
{
    const OwnSettings settings;
    const RunningHost host;
    ASSERT_TRUE(setRegDWordVal(settings.key(), "number", 1));
    HKEY open = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, settings.key().kwszPtr(), 0, KEY_READ, &open), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, settings.key().kwszPtr(), 0, KEY_READ, &open), ERROR_SUCCESS);
    RegCloseKey(open);
}

} // namespace
#endif

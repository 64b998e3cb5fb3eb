#pragma once

#include "platform/SettingsStore.h"

#include <cstdint>
#include <optional>
#include <string>

/** Linked in place of the real store: one key with one value, which may lie about itself. What is written is kept here.
 */
struct FakeSettingsStore
{
    bool hasKey = true;
    bool canCreate = true;
    bool canWrite = true;

    std::optional<mvgeo::platform::SettingHeader> first; // what the first query tells; nothing: no such value
    std::uint32_t secondType = 0;                        // what the second query finds
    std::string secondBytes;
    bool secondFails = false;
    /** The second query finds as many bytes as there is room for. */
    bool secondFillsTheRoom = false;

    std::uint32_t capacitySeen = 0;
    bool hasWritten = false;
    std::uint32_t writtenType = 0;
    std::string writtenBytes;
    int opened = 0;
    int closed = 0;

    void setValue(std::uint32_t type, const std::string& bytes)
    {
        first = mvgeo::platform::SettingHeader{type, static_cast<std::uint32_t>(bytes.size())};
        secondType = type;
        secondBytes = bytes;
    }
};

FakeSettingsStore& fakeSettings();

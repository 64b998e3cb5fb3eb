#include "mvregconfig/VariantReader.h"

#include <MvErrorStatus.h>
#include <OrloCrashRecorder.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace mvgeo
{
namespace
{

using platform::SettingHeader;
using platform::SettingsKey;

constexpr std::uint32_t kSizeFieldBytes = sizeof(std::uint32_t);
using Bytes = std::unique_ptr<unsigned char[]>;

// The key stays open: whoever looks at the recorder's report finds the process as it was.
[[noreturn]] void raise(SettingsKey& key, MvErrorStatus::Status status)
{
    key.leaveOpen();
    const MvErrorStatus error(status);
    if (OrloCrashRecorder* recorder = orloGetCrashRecorder()) recorder->record(error);
    throw error;
}

Bytes newBuffer(SettingsKey& key, std::size_t byteCount)
{
    Bytes buffer(new (std::nothrow) unsigned char[byteCount]());
    if (!buffer) raise(key, MvErrorStatus::kOutOfMemory);
    return buffer;
}

/** A payload block for so many bytes of value. */
unsigned char* newPayload(SettingsKey& key, std::size_t valueBytes)
{
    unsigned char* payload = OrloVariant::allocatePayload(static_cast<std::uint32_t>(valueBytes) + kSizeFieldBytes);
    if (!payload) raise(key, MvErrorStatus::kOutOfMemory);
    return payload;
}

void replaceValue(SettingsKey& key, OrloVariant& value, OrloVariant::Tag tag, const void* bytes, std::size_t byteCount)
{
    unsigned char* const payload = newPayload(key, byteCount);
    std::memcpy(payload + kSizeFieldBytes, bytes, byteCount);
    value.adopt(tag, payload);
}

bool hasBlockFor(const OrloVariant& value, OrloVariant::Tag tag, std::size_t valueBytes)
{
    if (value.tag() != tag || !value.payload()) return false;
    std::uint32_t size = 0;
    std::memcpy(&size, value.payload(), sizeof(size));
    return size >= kSizeFieldBytes + valueBytes; // a block that is too small would be overrun
}

template <typename Number>
bool readNumber(SettingsKey& key, const KdString& name, OrloVariant::Tag tag, OrloVariant& value)
{
    Number number = 0;
    if (!key.read(name.kwszPtr(), &number, sizeof(number))) return false;
    if (hasBlockFor(value, tag, sizeof(number)))
        std::memcpy(value.payload() + kSizeFieldBytes, &number, sizeof(number));
    else
        replaceValue(key, value, tag, &number, sizeof(number));
    return true;
}

bool readBlob(SettingsKey& key, const KdString& name, std::uint32_t storedBytes, OrloVariant& value)
{
    if (storedBytes > std::numeric_limits<std::uint32_t>::max() - kSizeFieldBytes)
        raise(key, MvErrorStatus::kInvalidInput); // the block's size field could not tell its size
    const Bytes buffer = newBuffer(key, storedBytes);
    const std::optional<SettingHeader> fetched = key.read(name.kwszPtr(), buffer.get(), storedBytes);
    if (!fetched) return false;
    if (fetched->byteCount == 0)
        value.adopt(OrloVariant::kBlob, nullptr);
    else
        replaceValue(key, value, OrloVariant::kBlob, buffer.get(), fetched->byteCount);
    return true;
}

// What is stored may lack its terminating zero, hold others, or end in half a character: the buffer is all zeros behind
// it, and the text ends at the first zero.
bool readString(SettingsKey& key, const KdString& name, std::uint32_t storedBytes, OrloVariant& value)
{
    const std::int64_t capacity = (static_cast<std::int64_t>(storedBytes) + 1) * 2;
    // Sizes of text are 32-bit numbers with a sign: this one would be below 0.
    if (capacity > std::numeric_limits<std::int32_t>::max()) raise(key, MvErrorStatus::kInvalidInput);
    const Bytes buffer = newBuffer(key, static_cast<std::size_t>(capacity));
    const std::optional<SettingHeader> fetched =
        key.read(name.kwszPtr(), buffer.get(), static_cast<std::uint32_t>(capacity));
    if (!fetched) return false;
    if (fetched->type != platform::setting_type::kString) return true; // was replaced since it was asked for its type

    std::size_t textBytes = 0;
    const std::size_t limit = static_cast<std::size_t>(capacity) - sizeof(KdChar);
    while (textBytes < limit && (buffer[textBytes] != 0 || buffer[textBytes + 1] != 0))
        textBytes += sizeof(KdChar);
    buffer[textBytes] = buffer[textBytes + 1] = 0; // where it grew meanwhile and fills the buffer
    replaceValue(key, value, OrloVariant::kString, buffer.get(), textBytes + sizeof(KdChar));
    return true;
}

} // namespace

bool readVariant(SettingsKey& key, const KdString& valueName, OrloVariant& value)
{
    const std::optional<SettingHeader> stored = key.query(valueName.kwszPtr());
    if (!stored) return false;
    switch (stored->type)
    {
    case platform::setting_type::kString:
        return readString(key, valueName, stored->byteCount, value);
    case platform::setting_type::kBinary:
        return readBlob(key, valueName, stored->byteCount, value);
    case platform::setting_type::kDword:
        return readNumber<std::int32_t>(key, valueName, OrloVariant::kInt32, value);
    case platform::setting_type::kQword:
        return readNumber<std::int64_t>(key, valueName, OrloVariant::kInt64, value);
    default:
        return true; // no tag for it
    }
}

} // namespace mvgeo

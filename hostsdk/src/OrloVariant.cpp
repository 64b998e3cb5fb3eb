#include "OrloVariant.h"

#include "MvErrorStatus.h"
#include "OrloCrashRecorder.h"
#include "OrloPayloadAllocator.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

namespace
{

constexpr std::uint32_t kSizeFieldBytes = sizeof(std::uint32_t);

[[noreturn]] void raise(MvErrorStatus::Status status)
{
    const MvErrorStatus error(status);
    if (OrloCrashRecorder* recorder = orloGetCrashRecorder()) recorder->record(error);
    throw error;
}

// The block is packed, so nothing in it is read or written through a typed pointer.
std::uint32_t sizeField(const unsigned char* payload)
{
    std::uint32_t size = 0;
    std::memcpy(&size, payload, sizeof(size));
    return size;
}

unsigned char* newPayload(std::size_t valueBytes)
{
    if (valueBytes > std::numeric_limits<std::uint32_t>::max() - kSizeFieldBytes) raise(MvErrorStatus::kInvalidInput);
    unsigned char* payload = OrloVariant::allocatePayload(static_cast<std::uint32_t>(valueBytes) + kSizeFieldBytes);
    if (!payload) raise(MvErrorStatus::kOutOfMemory);
    return payload;
}

unsigned char* newPayload(const void* value, std::size_t valueBytes)
{
    unsigned char* payload = newPayload(valueBytes);
    if (valueBytes > 0) std::memcpy(payload + kSizeFieldBytes, value, valueBytes);
    return payload;
}

unsigned char* copyOf(const unsigned char* payload)
{
    if (!payload) return nullptr;
    const std::uint32_t size = std::max(sizeField(payload), kSizeFieldBytes);
    unsigned char* copy = newPayload(size - kSizeFieldBytes);
    // All of it, also a size field below its own four bytes, and the spare bytes.
    std::memcpy(copy, payload, std::size_t(size) + OrloVariant::kSpareBytes);
    return copy;
}

// Zero if there is no block, or the block is too short for a Value.
template <typename Value>
Value valueIn(const unsigned char* payload)
{
    Value value{};
    if (payload && sizeField(payload) >= kSizeFieldBytes + sizeof(Value))
        std::memcpy(&value, payload + kSizeFieldBytes, sizeof(Value));
    return value;
}

std::atomic<OrloPayloadAllocator*> payloadAllocator{nullptr};

} // namespace

OrloPayloadAllocator::~OrloPayloadAllocator() = default;

void orloSetPayloadAllocator(OrloPayloadAllocator* allocator)
{
    payloadAllocator.store(allocator);
}

static_assert(std::is_standard_layout_v<OrloVariant>, "the layout is part of the interface");

OrloVariant::OrloVariant(const OrloVariant& other) : _tag(other._tag), _payload(copyOf(other._payload)) {}

OrloVariant::OrloVariant(OrloVariant&& other) noexcept : _tag(other._tag), _payload(other._payload)
{
    other._tag = kEmpty;
    other._payload = nullptr;
}

OrloVariant& OrloVariant::operator=(OrloVariant other) noexcept
{
    // By hand: std::swap takes references, and a reference to a packed field would be misaligned.
    const std::int32_t tag = other._tag;
    unsigned char* const payload = other._payload;
    other._tag = _tag;
    other._payload = _payload;
    _tag = tag;
    _payload = payload;
    return *this;
}

OrloVariant::~OrloVariant()
{
    static_assert(offsetof(OrloVariant, _tag) == 0, "the tag comes first");
    static_assert(offsetof(OrloVariant, _payload) == sizeof(std::int32_t), "the pointer follows at once");
    freePayload(_payload);
}

void OrloVariant::setInt32(std::int32_t value)
{
    adopt(kInt32, newPayload(&value, sizeof(value)));
}

void OrloVariant::setInt64(std::int64_t value)
{
    adopt(kInt64, newPayload(&value, sizeof(value)));
}

void OrloVariant::setDouble(double value)
{
    adopt(kDouble, newPayload(&value, sizeof(value)));
}

void OrloVariant::setBlob(const void* bytes, std::uint32_t byteCount)
{
    if (!bytes && byteCount > 0) raise(MvErrorStatus::kInvalidInput);
    adopt(kBlob, newPayload(bytes, byteCount));
}

void OrloVariant::setString(const KdString& text)
{
    adopt(kString, newPayload(text.kwszPtr(), (text.length() + 1) * sizeof(KdChar)));
}

void OrloVariant::clear()
{
    adopt(kEmpty, nullptr);
}

std::int32_t OrloVariant::int32() const
{
    return _tag == kInt32 ? valueIn<std::int32_t>(_payload) : 0;
}

std::int64_t OrloVariant::int64() const
{
    return _tag == kInt64 ? valueIn<std::int64_t>(_payload) : 0;
}

double OrloVariant::real() const
{
    return _tag == kDouble ? valueIn<double>(_payload) : 0.0;
}

KdString OrloVariant::string() const
{
    if (_tag != kString || !_payload || sizeField(_payload) <= kSizeFieldBytes) return {};
    std::basic_string<KdChar> text((sizeField(_payload) - kSizeFieldBytes) / sizeof(KdChar), KdChar(0));
    std::memcpy(text.data(), _payload + kSizeFieldBytes, text.size() * sizeof(KdChar));
    return KdString(text.c_str());
}

void OrloVariant::adopt(Tag tag, unsigned char* payload)
{
    if (payload != _payload) freePayload(_payload);
    _tag = tag;
    _payload = payload;
}

unsigned char* OrloVariant::allocatePayload(std::uint32_t byteCount)
{
    const std::uint32_t size = std::max(byteCount, kSizeFieldBytes);
    const std::size_t blockBytes = std::size_t(size) + kSpareBytes;
    OrloPayloadAllocator* allocator = payloadAllocator.load();
    auto* payload = allocator ? allocator->allocate(blockBytes) : new (std::nothrow) unsigned char[blockBytes];
    if (!payload) return nullptr;
    std::memcpy(payload, &size, sizeof(size));
    std::memset(payload + size, 0, kSpareBytes);
    return payload;
}

void OrloVariant::freePayload(unsigned char* payload)
{
    OrloPayloadAllocator* allocator = payloadAllocator.load();
    if (payload && allocator)
        allocator->release(payload);
    else
        delete[] payload;
}

#pragma once

#include "HostSdkExport.h"
#include "KdString.h"

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
/** A tagged value. The layout is part of the interface: a 32-bit tag, then at once the pointer to a payload block that
 * begins with its own size in bytes (32 bits, the size field included), followed by the value.
 *
 * Ownership: the variant owns its payload; copies copy it. Every payload comes from allocatePayload(). A null payload
 * stands for zero, or for empty text.
 *
 * Behind every block lie kSpareBytes more, zero at first and copied along: there are callers that take the size field
 * of a blob for the byte count of its value, both when they fill a block and when they read one.
 */
class HOSTSDK_API OrloVariant
{
public:
    enum Tag : std::int32_t
    {
        kEmpty = 0,
        kInt32 = 1,
        kInt64 = 2,
        kDouble = 3,
        kBlob = 4,
        kString = 5
    };

    static constexpr std::uint32_t kSpareBytes = 4;

    OrloVariant() = default;
    OrloVariant(const OrloVariant& other);
    OrloVariant(OrloVariant&& other) noexcept;
    OrloVariant& operator=(OrloVariant other) noexcept;
    ~OrloVariant();

    void setInt32(std::int32_t value);
    void setInt64(std::int64_t value);
    void setDouble(double value);
    void setBlob(const void* bytes, std::uint32_t byteCount);
    void setString(const KdString& text);
    void clear();

    /** The value if the tag fits, else the default value. */
    [[nodiscard]] std::int32_t int32() const;
    [[nodiscard]] std::int64_t int64() const;
    [[nodiscard]] double real() const;
    [[nodiscard]] KdString string() const;

    [[nodiscard]] Tag tag() const { return static_cast<Tag>(_tag); }
    /** The block, size field first; null if there is none. */
    [[nodiscard]] unsigned char* payload() const { return _payload; }

    /** Takes the block over (null is allowed) and frees the one before. `payload` must come from allocatePayload(). */
    void adopt(Tag tag, unsigned char* payload);

    /** A block of `byteCount` bytes (at least 4), its size field filled in, and the spare bytes; null when memory runs
     * out. */
    [[nodiscard]] static unsigned char* allocatePayload(std::uint32_t byteCount);
    static void freePayload(unsigned char* payload);

private:
    std::int32_t _tag = kEmpty;
    unsigned char* _payload = nullptr;
};
#pragma pack(pop)

static_assert(sizeof(OrloVariant) == sizeof(std::int32_t) + sizeof(void*), "tag and pointer stand side by side");

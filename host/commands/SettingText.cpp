#include "commands/SettingText.h"

#include "common/TextParsing.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

namespace mvgeo::host
{
namespace
{
constexpr std::size_t kSizeFieldBytes = 4;

std::string bytesOf(const OrloVariant& blob)
{
    if (!blob.payload()) return {};
    std::uint32_t size = 0;
    std::memcpy(&size, blob.payload(), sizeof(size));
    return {reinterpret_cast<const char*>(blob.payload()) + kSizeFieldBytes, size - kSizeFieldBytes};
}

std::string hexadecimal(const std::string& bytes)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes)
    {
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[static_cast<unsigned char>(byte) & 0xF];
    }
    return text;
}

std::optional<std::string> bytesFromHexadecimal(const std::string& text)
{
    if (text.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (const char* at = text.data(); at != text.data() + text.size(); at += 2)
    {
        unsigned char byte = 0;
        const auto [end, error] = std::from_chars(at, at + 2, byte, 16);
        if (error != std::errc() || end != at + 2) return std::nullopt;
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/** Decimal, or hexadecimal after "0x"; the latter may use all bits. */
template <typename Signed, typename Unsigned>
std::optional<Signed> wholeNumber(std::string_view text)
{
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (isHexadecimal) text.remove_prefix(2);
    Signed number = 0;
    Unsigned bits = 0;
    const auto [end, error] = isHexadecimal ? std::from_chars(text.data(), text.data() + text.size(), bits, 16)
                                            : std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return isHexadecimal ? static_cast<Signed>(bits) : number;
}

/** Its size field is the number of its bytes alone: that many the library stores. */
OrloVariant blobToStore(const std::string& bytes)
{
    const auto size = static_cast<std::uint32_t>(bytes.size());
    OrloVariant blob;
    blob.setBlob(bytes.data(), size);
    std::memcpy(blob.payload(), &size, sizeof(size));
    return blob;
}

/** The value of a stored double: it comes back as a blob. */
std::string blobText(const std::string& bytes)
{
    std::string text = hexadecimal(bytes);
    double number = 0.0;
    if (bytes.size() != sizeof(number)) return text;
    std::memcpy(&number, bytes.data(), sizeof(number));
    return text + " (as a double " + jsonText(number) + ")";
}
} // namespace

std::optional<OrloVariant> settingFromText(const std::string& type, const std::string& text)
{
    OrloVariant value;
    if (type == "dword")
    {
        const auto number = wholeNumber<std::int32_t, std::uint32_t>(text);
        if (!number) return std::nullopt;
        value.setInt32(*number);
    }
    else if (type == "qword")
    {
        const auto number = wholeNumber<std::int64_t, std::uint64_t>(text);
        if (!number) return std::nullopt;
        value.setInt64(*number);
    }
    else if (type == "double")
    {
        const std::optional<double> number = parseNumber(text);
        if (!number) return std::nullopt;
        value.setDouble(*number);
    }
    else if (type == "blob")
    {
        const std::optional<std::string> bytes = bytesFromHexadecimal(text);
        if (!bytes) return std::nullopt;
        value = blobToStore(*bytes);
    }
    else
        value.setString(KdString(text.c_str()));
    return value;
}

std::string settingType(const OrloVariant& value)
{
    switch (value.tag())
    {
    case OrloVariant::kInt32:
        return "dword";
    case OrloVariant::kInt64:
        return "qword";
    case OrloVariant::kBlob:
        return "blob";
    case OrloVariant::kString:
        return "string";
    default:
        return "other";
    }
}

std::string settingText(const OrloVariant& value)
{
    if (value.tag() == OrloVariant::kBlob) return blobText(bytesOf(value));
    const Json json = settingJson(value);
    if (json.is_null()) return "(of a type that is not read)";
    return json.is_string() ? json.get<std::string>() : jsonText(json);
}

Json settingJson(const OrloVariant& value)
{
    switch (value.tag())
    {
    case OrloVariant::kInt32:
        return value.int32();
    case OrloVariant::kInt64:
        return value.int64();
    case OrloVariant::kBlob:
        return hexadecimal(bytesOf(value));
    case OrloVariant::kString:
        return value.string().utf8Ptr();
    default:
        return nullptr;
    }
}
} // namespace mvgeo::host

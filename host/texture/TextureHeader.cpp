#include "texture/TextureHeader.h"

#include "common/HostError.h"
#include "common/TextParsing.h"
#include "input/FileFacts.h"
#include "texture/ByteReader.h"
#include "texture/FormatNames.h"

namespace mvgeo::host
{
namespace
{
constexpr std::string_view kKtx1Magic("\xABKTX 11\xBB\r\n\x1A\n", 12);
constexpr std::string_view kKtx2Magic("\xABKTX 20\xBB\r\n\x1A\n", 12);
constexpr std::string_view kPngMagic("\x89PNG\r\n\x1A\n", 8);
constexpr std::string_view kJpegMagic("\xFF\xD8\xFF", 3);

/** The known ones of a KTX file's keys with their values; what runs over the end is left out. Some writers spell the
 * orientation with a capital. */
void readKeyValues(TextureHeader& header, const ByteReader& bytes, std::size_t at, std::size_t size)
{
    const std::size_t end = at + size;
    while (at + 4 <= end)
    {
        const std::uint32_t length = bytes.u32(at);
        if (length > end - at - 4) return;
        const std::string_view pair = bytes.part(at + 4, length);
        const std::size_t zero = pair.find('\0');
        if (zero == std::string_view::npos) return;
        const std::string_view key = pair.substr(0, zero);
        std::string_view value = pair.substr(zero + 1);
        value = value.substr(0, value.find('\0'));
        if (key == "KTXorientation" || key == "KTXOrientation") header.orientation = quotable(value);
        if (key == "KTXswizzle") header.swizzle = quotable(value);
        if (key == "KTXwriter") header.writer = quotable(value);
        at += 4 + (std::size_t{length} + 3) / 4 * 4;
    }
}

void readKtx1(TextureHeader& header, std::string_view file)
{
    constexpr std::uint32_t kForeignByteOrder = 0x01020304; // of what a reader of little-endian numbers finds
    const ByteReader bytes(file, ByteReader(file).u32(12) == kForeignByteOrder);
    const std::uint32_t type = bytes.u32(16);
    const std::uint32_t format = bytes.u32(24);
    header.glInternalFormat = bytes.u32(28);
    header.format = glName(*header.glInternalFormat);
    if (type != 0) header.pixels = glName(format) + " of " + glName(type);
    header.compression = "none";
    header.width = bytes.u32(36);
    header.height = bytes.u32(40);
    header.depth = bytes.u32(44);
    header.layers = bytes.u32(48);
    header.faces = bytes.u32(52);
    header.levels = bytes.u32(56);
    readKeyValues(header, bytes, 64, bytes.u32(60));
}

constexpr std::uint8_t kModelEtc1s = 163;
constexpr std::uint8_t kModelUastc = 166;
constexpr std::uint8_t kModelUastcHdr4x4 = 167;
constexpr std::uint8_t kModelUastcHdr6x6 = 168;

/** Of a texture that is no format of any graphics card. */
const char* basisKind(std::uint8_t colourModel)
{
    switch (colourModel)
    {
    case kModelEtc1s:
        return "ETC1S";
    case kModelUastc:
        return "UASTC";
    case kModelUastcHdr4x4:
        return "UASTC HDR 4x4";
    case kModelUastcHdr6x6:
        return "UASTC HDR 6x6";
    default:
        return "";
    }
}

std::string compressionOf(std::uint8_t colourModel, std::uint32_t scheme)
{
    constexpr const char* kSchemes[] = {"none", "BasisLZ", "zstd", "zlib"};
    const std::string outer = scheme < 4 ? kSchemes[scheme] : "unknown scheme " + std::to_string(scheme);
    const std::string inner = basisKind(colourModel);
    if (inner.empty()) return outer;
    return scheme == 0 ? inner : inner + ", " + outer;
}

void readKtx2(TextureHeader& header, std::string_view file)
{
    constexpr std::uint8_t kTransferLinear = 1;
    constexpr std::uint8_t kTransferSrgb = 2;
    const ByteReader bytes(file);
    header.vkFormat = bytes.u32(12);
    header.format = vkFormatName(*header.vkFormat);
    header.width = bytes.u32(20);
    header.height = bytes.u32(24);
    header.depth = bytes.u32(28);
    header.layers = bytes.u32(32);
    header.faces = bytes.u32(36);
    header.levels = bytes.u32(40);
    const std::size_t descriptor = bytes.u32(48);
    const std::uint8_t model = bytes.u8(descriptor + 12); // behind the total size and the block's first two words
    const std::uint8_t transfer = bytes.u8(descriptor + 14);
    header.compression = compressionOf(model, bytes.u32(44));
    if (transfer == kTransferLinear) header.transfer = "linear";
    if (transfer == kTransferSrgb) header.transfer = "sRGB";
    readKeyValues(header, bytes, bytes.u32(56), bytes.u32(60));
}

const char* pngColour(std::uint8_t type)
{
    switch (type)
    {
    case 0:
        return "grey";
    case 2:
        return "RGB";
    case 3:
        return "palette";
    case 4:
        return "grey with alpha";
    case 6:
        return "RGBA";
    default:
        return "unknown colours";
    }
}

/** True if a chunk of this kind stands before the pixels. */
bool hasChunkBeforePixels(const ByteReader& bytes, std::string_view kind)
{
    for (std::size_t at = kPngMagic.size(); bytes.size() - at >= 12;)
    {
        const std::size_t length = bytes.u32(at);
        const std::string_view name = bytes.part(at + 4, 4);
        if (name == kind) return true;
        if (name == "IDAT" || length > bytes.size() - at - 12) return false;
        at += length + 12;
    }
    return false;
}

void readPng(TextureHeader& header, std::string_view file)
{
    const ByteReader bytes(file, /*isBigEndian*/ true);
    header.width = bytes.u32(16);
    header.height = bytes.u32(20);
    const std::uint8_t type = bytes.u8(25);
    header.format = std::to_string(bytes.u8(24)) + "-bit " + pngColour(type);
    header.compression = "zlib";
    // OSG would take the alpha that this means for further pixels.
    if (type == 0 && hasChunkBeforePixels(bytes, "tRNS")) header.defect = "its grey levels name one as transparent";
}

/** A JPEG's frame header; false for any other marker. */
bool isFrame(std::uint8_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

void readJpegFrame(TextureHeader& header, const ByteReader& bytes, std::size_t at, std::uint8_t marker)
{
    header.height = bytes.u16(at + 3);
    header.width = bytes.u16(at + 5);
    const std::uint8_t channels = bytes.u8(at + 7);
    const std::string colour = channels == 1   ? "grey"
                               : channels == 3 ? "YCbCr"
                                               : std::to_string(channels) + " channels";
    header.format = std::to_string(bytes.u8(at + 2)) + "-bit " + colour;
    header.compression = (marker & 3U) == 2 ? "progressive" : "baseline";
}

void readJpeg(TextureHeader& header, std::string_view file)
{
    constexpr std::uint8_t kScan = 0xDA;
    const ByteReader bytes(file, /*isBigEndian*/ true);
    std::size_t at = 2;
    for (std::uint8_t marker = 0; marker != kScan;)
    {
        while (bytes.u8(at) != 0xFF || bytes.u8(at + 1) == 0xFF) // padding
            ++at;
        marker = bytes.u8(at + 1);
        at += 2;
        if (isFrame(marker)) readJpegFrame(header, bytes, at, marker);
        at += bytes.u16(at);
    }
    // Behind the scan's header such bytes can only be the end of the picture. Without it OSG fills up with
    // grey.
    if (file.find("\xFF\xD9", at) == std::string_view::npos) header.defect = "it is cut off";
}
} // namespace

const char* nameOf(Container container)
{
    switch (container)
    {
    case Container::ktx1:
        return "KTX";
    case Container::ktx2:
        return "KTX 2";
    case Container::png:
        return "PNG";
    case Container::jpeg:
        break;
    }
    return "JPEG";
}

std::optional<Container> containerOf(std::string_view bytes)
{
    if (startsWith(bytes, kKtx1Magic)) return Container::ktx1;
    if (startsWith(bytes, kKtx2Magic)) return Container::ktx2;
    if (startsWith(bytes, kPngMagic)) return Container::png;
    if (startsWith(bytes, kJpegMagic)) return Container::jpeg;
    return std::nullopt;
}

TextureHeader parseTextureHeader(std::string_view bytes, const std::string& path)
{
    const std::optional<Container> container = containerOf(bytes);
    if (!container)
        throw HostError("'" + path + "' is " + describeContent(std::string(bytes)) + ", no KTX, KTX 2, PNG or JPEG.");
    TextureHeader header;
    header.container = *container;
    try
    {
        if (*container == Container::ktx1) readKtx1(header, bytes);
        if (*container == Container::ktx2) readKtx2(header, bytes);
        if (*container == Container::png) readPng(header, bytes);
        if (*container == Container::jpeg) readJpeg(header, bytes);
    }
    catch (const ByteReader::CutOff&)
    {
        throw HostError("The header of the " + std::string(nameOf(*container)) + " file '" + path + "' is cut off.");
    }
    return header;
}
} // namespace mvgeo::host

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mvgeo::host
{
enum class Container
{
    ktx1,
    ktx2,
    png,
    jpeg
};

/** "KTX", "KTX 2", "PNG", "JPEG". */
const char* nameOf(Container container);

/** What a texture's file says of itself before anybody decodes it. */
struct TextureHeader
{
    Container container = Container::png;
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< 0 for a line of pixels
    std::uint32_t depth = 0;  ///< 0 unless it is a volume
    std::uint32_t layers = 0; ///< 0 unless it is an array
    std::uint32_t faces = 1;  ///< 6 for a cube map
    std::uint32_t levels = 1; ///< 0 asks the reader to make them
    std::string format;       ///< "VK_FORMAT_R8G8B8_UNORM", "GL_RGB8", "8-bit RGB"
    std::string pixels;       ///< how a KTX file stores them: "GL_RGB of GL_UNSIGNED_BYTE"; empty for blocks
    std::optional<std::uint32_t> vkFormat;
    std::optional<std::uint32_t> glInternalFormat;
    std::string compression; ///< beyond the format's own: "ETC1S, BasisLZ", "zstd", "none"
    std::string transfer;    ///< "sRGB" or "linear"; empty if the container does not tell
    std::string orientation; ///< as the file has it, such as "rd"; empty without one
    std::string swizzle;     ///< likewise
    std::string writer;      ///< likewise
    /** Why OSG's reader must not see the rest, as the end of a sentence. */
    std::optional<std::string> defect;

    [[nodiscard]] bool isKtx() const { return container == Container::ktx1 || container == Container::ktx2; }
    [[nodiscard]] bool isCubeMap() const { return faces == 6; }
};

/** What the bytes are by their first ones, whatever the file's name; empty for anything else. */
std::optional<Container> containerOf(std::string_view bytes);

/** Reads the header of a whole file. Throws HostError if it is no texture or the header is cut off.
 * @param path  for the sentence */
TextureHeader parseTextureHeader(std::string_view bytes, const std::string& path);
} // namespace mvgeo::host

#include "texture/TextureReport.h"

#include "common/ReadableText.h"
#include "texture/FormatNames.h"

#include <algorithm>
#include <iostream>

namespace mvgeo::host
{
namespace
{
void printLine(const char* label, const std::string& value)
{
    if (!value.empty()) std::cout << label << value << '\n';
}

/** "12 layers"; nothing for none. */
std::string counted(std::uint32_t count, const char* one)
{
    if (count == 0) return {};
    return ", " + std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

std::string dimensions(std::uint32_t width, std::uint32_t height, std::uint32_t depth)
{
    std::string text = std::to_string(width) + " x " + std::to_string(std::max(height, 1U));
    if (depth > 0) text += " x " + std::to_string(depth);
    return text;
}

std::string glText(GLenum value)
{
    return glName(value) + " (" + hexadecimal(value) + ")";
}

Json orNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}
} // namespace

std::string sizeText(const TextureHeader& header)
{
    std::string text = dimensions(header.width, header.height, header.depth) + counted(header.layers, "layer");
    if (header.faces != 1) text += ", " + std::to_string(header.faces) + " faces";
    if (header.isKtx()) text += header.levels == 0 ? ", mipmaps to be made" : counted(header.levels, "mipmap level");
    return text;
}

std::string formatText(const TextureHeader& header)
{
    std::string text = header.format;
    if (header.vkFormat) text += " (" + std::to_string(*header.vkFormat) + ")";
    if (header.glInternalFormat) text += " (" + hexadecimal(*header.glInternalFormat) + ")";
    return header.pixels.empty() ? text : text + ", pixels " + header.pixels;
}

void printHeader(const TextureHeader& header, std::uint64_t fileBytes, const std::string& path)
{
    printLine("file:        ", path + ", " + readableBytes(fileBytes));
    printLine("container:   ", nameOf(header.container));
    printLine("size:        ", sizeText(header));
    printLine("format:      ", formatText(header));
    printLine("compression: ", header.compression);
    printLine("transfer:    ", header.transfer);
    printLine("orientation: ", header.orientation);
    printLine("swizzle:     ", header.swizzle);
    printLine("writer:      ", header.writer);
}

void printPictures(const LoadedTexture& texture)
{
    const osg::Image& image = *texture.pictures.front();
    const auto depth = static_cast<std::uint32_t>(image.r());
    std::string text = dimensions(static_cast<std::uint32_t>(image.s()), static_cast<std::uint32_t>(image.t()),
                                  depth > 1 ? depth : 0) +
                       counted(image.getNumMipmapLevels(), "mipmap level");
    if (texture.pictures.size() > 1) text = std::to_string(texture.pictures.size()) + " pictures of " + text;
    text += ", " + glText(static_cast<GLenum>(image.getInternalTextureFormat()));
    if (!image.isCompressed()) text += ", " + glName(image.getPixelFormat()) + " of " + glName(image.getDataType());
    printLine("read as:     ", text + ", " + readableBytes(bytesInMemory(texture)));
}

Json headerToJson(const TextureHeader& header, std::uint64_t fileBytes, const std::string& path)
{
    Json json{{"path", path},
              {"bytes", fileBytes},
              {"container", nameOf(header.container)},
              {"width", header.width},
              {"height", header.height},
              {"depth", header.depth},
              {"layers", header.layers},
              {"faces", header.faces},
              {"levels", header.levels},
              {"format", header.format}};
    if (header.vkFormat) json["vkFormat"] = *header.vkFormat;
    if (header.glInternalFormat) json["glInternalFormat"] = *header.glInternalFormat;
    if (!header.pixels.empty()) json["pixels"] = header.pixels;
    json["compression"] = header.compression;
    json["transfer"] = orNull(header.transfer);
    json["orientation"] = orNull(header.orientation);
    json["swizzle"] = orNull(header.swizzle);
    json["writer"] = orNull(header.writer);
    return json;
}

Json picturesToJson(const LoadedTexture& texture)
{
    const osg::Image& image = *texture.pictures.front();
    return {{"pictures", texture.pictures.size()},
            {"width", image.s()},
            {"height", image.t()},
            {"depth", image.r()},
            {"levels", image.getNumMipmapLevels()},
            {"internalFormat", image.getInternalTextureFormat()},
            {"internalFormatName", glName(static_cast<GLenum>(image.getInternalTextureFormat()))},
            {"pixelFormat", image.getPixelFormat()},
            {"dataType", image.getDataType()},
            {"bytes", bytesInMemory(texture)}};
}
} // namespace mvgeo::host

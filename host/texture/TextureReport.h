#pragma once

#include "common/JsonReport.h"
#include "texture/TextureDecoding.h"

#include <string>

namespace mvgeo::host
{
/** "64 x 32, 6 faces, 7 mipmap levels". */
std::string sizeText(const TextureHeader& header);

/** "VK_FORMAT_R8G8B8_UNORM (23)". */
std::string formatText(const TextureHeader& header);

/** What `texture info` prints of a file's header. */
void printHeader(const TextureHeader& header, std::uint64_t fileBytes, const std::string& path);

/** The line about what OSG made of it. */
void printPictures(const LoadedTexture& texture);

Json headerToJson(const TextureHeader& header, std::uint64_t fileBytes, const std::string& path);
Json picturesToJson(const LoadedTexture& texture);
} // namespace mvgeo::host

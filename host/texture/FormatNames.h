#pragma once

#include <cstdint>
#include <string>

namespace mvgeo::host
{
/** "VK_FORMAT_R8G8B8A8_UNORM"; "unknown" for a number without a name here. */
std::string vkFormatName(std::uint32_t format);

/** Of an internal format, a pixel format or a data type of OpenGL: "GL_RGBA8"; "unknown" likewise. */
std::string glName(std::uint32_t value);

/** "0x8058", as OpenGL's numbers are written. */
std::string hexadecimal(std::uint32_t value);
} // namespace mvgeo::host

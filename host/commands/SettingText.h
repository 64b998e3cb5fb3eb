#pragma once

#include "common/JsonReport.h"

#include <OrloVariant.h>

#include <optional>
#include <string>

namespace mvgeo::host
{
/** A setting as the command line writes it. Types are "dword", "qword", "double", "string" and "blob"; a blob is
 * written in hexadecimal digits, two a byte. */
constexpr const char* kSettingTypes[] = {"dword", "qword", "double", "string", "blob"};

/** Nothing if the text is no value of that type. */
std::optional<OrloVariant> settingFromText(const std::string& type, const std::string& text);

/** The name of the type by the tag; "other" for a value that has no tag. */
std::string settingType(const OrloVariant& value);
std::string settingText(const OrloVariant& value);
/** A number, a text, hexadecimal digits, or null. */
Json settingJson(const OrloVariant& value);
} // namespace mvgeo::host

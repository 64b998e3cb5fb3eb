#pragma once

#include <string>
#include <string_view>

namespace mvgeo
{

enum class Seal
{
    none,
    intact,
    broken
};

/** What stands behind the content of a cached tile's file: a mark and a checksum. Readers of OSG's format do not look
 * there. A single changed byte of the content always breaks the seal.
 *
 * Why: a damaged count can keep OSG's reader busy for minutes and cost gigabytes, so that a file is judged before it is
 * read. */
[[nodiscard]] std::string sealFor(std::string_view content);

/** `file` is the whole file with its seal, if it has one. */
[[nodiscard]] Seal sealOn(std::string_view file);

} // namespace mvgeo

#pragma once

#include <KdString.h>

#include <filesystem>
#include <string>

namespace mvgeo
{

/** A host's path as OSG takes it and gives it back: in the code page, or in UTF-8 if OSG was built for UTF-8 file
 * names. Every path in a std::string has this form, unless its name ends in "Ansi": that one is in the code page.
 *
 * KdString alone converts text. It also has what others take: utf8Ptr() for GDAL, kwszPtr() for the registry. */
[[nodiscard]] std::string osgPath(const KdString& path);

[[nodiscard]] KdString hostPath(const std::string& path);

/** For the standard library, which would take OSG's UTF-8 for text of the code page. Takes every text that is a path.
 */
[[nodiscard]] std::filesystem::path filePath(const std::string& path);

/** The folder in which files made from a source are cached: the temporary folder, `kind` and a number made from the
 * source, with slashes between them. It need not be there. */
[[nodiscard]] std::string cacheDirectory(const std::string& kind, const std::string& sourceAnsi);

} // namespace mvgeo

#pragma once

#include <KdString.h>

#include <string>

namespace mvgeo
{

/** A path as the toolkit wants it: in the code page, or in UTF-8 if the toolkit was built for UTF-8 file names. */
[[nodiscard]] std::string osgPath(const KdString& path);

/** A path that came back from the toolkit, as host text. */
[[nodiscard]] KdString hostPath(const std::string& path);

} // namespace mvgeo

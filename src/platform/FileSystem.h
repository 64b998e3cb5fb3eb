#pragma once

#include <string>

namespace mvgeo::platform
{

/** Gives a file another name in the same folder, in one step: whoever opens `to` finds the old file or the new one,
 *  never a part. An existing file is replaced. False, with both left as they were, if that cannot be done.
 *  Paths are ANSI text. Thread: any. */
[[nodiscard]] bool renameOver(const std::string& from, const std::string& to);

} // namespace mvgeo::platform

#pragma once

#include "platform/SettingsStore.h"

#include <cstddef>
#include <vector>

namespace mvgeo::platform
{

constexpr std::size_t kMaxKeyNameUnits = 255;
constexpr std::size_t kMaxKeyDepth = 512;
constexpr std::size_t kMaxValueNameUnits = 16383;

/** The keys that a path names, from the top down. Empty if the path is, begins with '\', or exceeds the registry's
 * limits. Several '\' in a row count as one, and one at the end as none. */
[[nodiscard]] std::vector<WideString> splitKeyPath(const WideString& path);

/** The form in which names are compared: each 16-bit unit in upper case by itself, if its lower case is that unit again
 * ('ı' and 'ß' stay). Characters above U+FFFF stay as they are. Does not depend on the process's locale; on a system
 * without the locale "C.UTF-8" only the letters a to z have an upper case. */
[[nodiscard]] WideString foldCase(const WideString& name);

} // namespace mvgeo::platform

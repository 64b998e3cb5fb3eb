#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace mvgeo::platform
{

// Texts are UTF-8 on Windows, whatever its code page; elsewhere the bytes as they stand.

/** An environment variable's value; nothing if it is not set. */
[[nodiscard]] std::optional<std::string> environmentVariable(const std::string& name);

/** The folder for temporary files, without a separator at its end: the environment variable "TEMP" as it stands if it
 * is set and not empty, else the system's own. */
[[nodiscard]] std::string temporaryDirectory();

/** The local calendar time of `seconds` since the epoch. Thread: any, unlike std::localtime. */
[[nodiscard]] std::tm localTime(std::time_t seconds);

/** The platform's number for the thread that calls, unique among running threads. */
[[nodiscard]] unsigned long long currentThreadId();

/** The number of this process. */
[[nodiscard]] unsigned long currentProcessId();

} // namespace mvgeo::platform

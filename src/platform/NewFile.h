#pragma once

#include <cstddef>
#include <filesystem>

namespace mvgeo::platform
{

enum class NewFile
{
    written,
    taken, ///< something of this name is there, perhaps a link, and was left as it is
    failed ///< no such folder, no permission, no room; nothing of the file is left
};

/** Makes a file that was not there and writes it. Thread: any; of several that ask for one name, in all processes, one
 * gets it. */
[[nodiscard]] NewFile writeNewFile(const std::filesystem::path& path, const char* bytes, std::size_t size);

} // namespace mvgeo::platform

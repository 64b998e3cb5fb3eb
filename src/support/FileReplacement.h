#pragma once

#include <cstddef>
#include <string>

namespace mvgeo
{

/** Writes a whole file under a temporary name in the same folder and then gives it its name, so that no other thread or
 * process ever reads a part of it; an existing file is replaced. False if it cannot be written (no such folder, no
 * permission, no room); the temporary file is then gone and an existing file left as it was. Thread: any. */
bool replaceFile(const std::string& path, const char* bytes, std::size_t size);

/** Nothing happens if it is not there, or cannot be removed. Thread: any. */
void removeFile(const std::string& path);

} // namespace mvgeo

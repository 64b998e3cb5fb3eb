#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace mvgeo
{

/** Writes a whole file under a temporary name in the same folder and then gives it its name, so that no other thread or
 * process ever reads a part of it; an existing file is replaced. False if it cannot be written (no such folder, no
 * permission, no room); the temporary file is then gone and an existing file left as it was. The temporary name is
 * short whatever the file's is, and nothing that bears it already is touched. Thread: any. */
bool replaceFile(const std::string& path, const char* bytes, std::size_t size);

/** From this age on a temporary file of replaceFile() belongs to nobody: its process was killed. */
constexpr std::chrono::hours kAbandonedAfter(24);

/** Removes such files from a folder; says nothing if it cannot. Thread: any. */
void removeAbandonedFiles(const std::string& folder);

/** Nothing happens if it is not there, or cannot be removed. Thread: any. */
void removeFile(const std::string& path);

} // namespace mvgeo

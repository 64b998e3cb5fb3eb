#include "support/FileReplacement.h"

#include "platform/Environment.h"
#include "support/OsgPaths.h"

#include <atomic>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace mvgeo
{

namespace
{

/** A name of its own for every writer, in the same directory. */
fs::path temporaryName(const fs::path& file)
{
    static std::atomic<unsigned int> counter{0};
    fs::path name = '~' + std::to_string(platform::currentProcessId()) + '_' + std::to_string(counter++) + '_';
    name += file.filename();
    return file.parent_path() / name;
}

} // namespace

bool replaceFile(const std::string& path, const char* bytes, std::size_t size)
{
    const fs::path target = filePath(path);
    const fs::path temporary = temporaryName(target);
    std::ofstream file(temporary, std::ios::out | std::ios::binary);
    if (!file.is_open()) return false;
    file.write(bytes, static_cast<std::streamsize>(size));
    file.close();
    std::error_code failure;
    if (file) fs::rename(temporary, target, failure); // in one step: whoever opens the file finds the old or the new
    if (file && !failure) return true;
    fs::remove(temporary, failure);
    return false;
}

void removeFile(const std::string& path)
{
    std::error_code ignored;
    fs::remove(filePath(path), ignored);
}

} // namespace mvgeo

#include "support/FileReplacement.h"

#include "platform/Environment.h"
#include "platform/NewFile.h"
#include "support/OsgPaths.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>

namespace fs = std::filesystem;

namespace mvgeo
{

namespace
{

const char* const kTemporaryExtension = ".tmp";

/** A name of its own for every writer. */
fs::path temporaryName()
{
    static std::atomic<unsigned int> counter{0};
    return '~' + std::to_string(platform::currentProcessId()) + '_' + std::to_string(counter++) + kTemporaryExtension;
}

bool isTemporaryName(const fs::path& name)
{
    const fs::path stem = name.stem();
    const fs::path::string_type& text = stem.native();
    const auto isOfNumbers = [](auto unit) { return (unit >= '0' && unit <= '9') || unit == '_'; };
    return name.extension() == kTemporaryExtension && text.size() > 1 && text[0] == '~' &&
           std::all_of(text.begin() + 1, text.end(), isOfNumbers);
}

/** The file's path; nothing if it cannot be written. */
std::optional<fs::path> writeTemporaryFile(const fs::path& folder, const char* bytes, std::size_t size)
{
    // A killed process with our number left its files, or one on another machine writes to the same disk.
    constexpr int kMostAttempts = 1000;
    for (int attempt = 0; attempt < kMostAttempts; ++attempt)
    {
        const fs::path path = folder / temporaryName();
        const platform::NewFile result = platform::writeNewFile(path, bytes, size);
        if (result == platform::NewFile::written) return path;
        if (result == platform::NewFile::failed) break;
    }
    return std::nullopt;
}

bool isAbandoned(const fs::path& file)
{
    std::error_code failure;
    const fs::file_time_type written = fs::last_write_time(file, failure);
    return !failure && fs::file_time_type::clock::now() - written >= kAbandonedAfter;
}

} // namespace

bool replaceFile(const std::string& path, const char* bytes, std::size_t size)
{
    const fs::path target = filePath(path);
    const std::optional<fs::path> temporary = writeTemporaryFile(target.parent_path(), bytes, size);
    if (!temporary) return false;
    std::error_code failure;
    fs::rename(*temporary, target, failure); // in one step: whoever opens the file finds the old or the new
    if (!failure) return true;
    fs::remove(*temporary, failure);
    return false;
}

void removeAbandonedFiles(const std::string& folder)
{
    std::error_code failure;
    std::error_code ignored;
    for (fs::directory_iterator entry(filePath(folder), failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure))
        if (isTemporaryName(entry->path().filename()) && isAbandoned(entry->path())) fs::remove(entry->path(), ignored);
}

void removeFile(const std::string& path)
{
    std::error_code ignored;
    fs::remove(filePath(path), ignored);
}

} // namespace mvgeo

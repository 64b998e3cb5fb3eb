#include "common/WholeFile.h"

#include "common/HostError.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
struct TemporaryFile
{
    fs::path path;
    std::FILE* file = nullptr; // null if it cannot be made
};

/** A new file in the folder. Its name is short, and no other program's: a random number tells ours from theirs, a
 * counter one thread's from another's, and "x" refuses what is there. */
TemporaryFile openTemporaryFile(const fs::path& folder)
{
    static const unsigned int program = std::random_device{}();
    static std::atomic<unsigned int> counter{0};
    constexpr int kMostAttempts = 100;
    TemporaryFile result;
    for (int attempt = 0; attempt < kMostAttempts && !result.file; ++attempt)
    {
        result.path = folder / ('~' + std::to_string(program) + '_' + std::to_string(counter++) + ".part");
        errno = 0;
        result.file = std::fopen(result.path.string().c_str(), "wbx");
        if (!result.file && errno != EEXIST) break;
    }
    return result;
}

bool writeAndClose(std::FILE* file, std::string_view content)
{
    const bool isWritten = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const int writeError = errno;
    const bool isClosed = std::fclose(file) == 0; // says of what was still in its buffer
    if (!isWritten) errno = writeError;
    return isWritten && isClosed;
}
} // namespace

std::optional<std::string> readWholeFile(const std::string& path, std::uintmax_t most)
{
    errno = 0;
    std::ifstream file(fs::u8path(path), std::ios::binary);
    if (!file) return std::nullopt;
    std::string content;
    char block[65536];
    while (content.size() < most && (file.read(block, sizeof block), file.gcount() > 0))
        content.append(block, static_cast<std::size_t>(file.gcount()));
    if (file.bad()) return std::nullopt;
    if (content.size() > most) content.resize(static_cast<std::size_t>(most));
    return content;
}

WriteResult writeWholeFile(std::string_view content, const std::string& path)
{
    const fs::path final = fs::u8path(path);
    errno = 0;
    const TemporaryFile temporary = openTemporaryFile(final.parent_path());
    std::string reason;
    std::error_code problem;
    if (!temporary.file || !writeAndClose(temporary.file, content))
        reason = errno != 0 ? std::strerror(errno) : "the file cannot be written";
    else if (fs::rename(temporary.path, final, problem); problem)
        reason = problem.message();
    else
        return {{}, content.size()};
    if (temporary.file) fs::remove(temporary.path, problem);
    return {"cannot write " + path + ": " + reason};
}

void saveFile(std::string_view content, const std::string& path, const std::string& what)
{
    const WriteResult result = writeWholeFile(content, path);
    if (!result.ok()) throw HostError("Cannot write the " + what + ": " + result.error + ".");
}

void checkOutputPath(const std::string& path, const std::string& what)
{
    const fs::path file = fs::u8path(path);
    if (!file.has_filename()) throw HostError("'" + path + "' is not the name of a " + what + ".");
    std::error_code ignored;
    const fs::file_status status = fs::status(file, ignored);
    if (fs::is_directory(status)) throw HostError("The " + what + " '" + path + "' would replace a folder.");
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw HostError("The " + what + " '" + path + "' would replace something that is no file.");
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, ignored))
        throw HostError("The folder of the " + what + " '" + path + "' does not exist.");
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !fs::is_directory(folder, error)) throw HostError("Cannot make the folder '" + folder + "'.");
}
} // namespace mvgeo::host

#include "common/WholeFile.h"

#include "common/HostError.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
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
    const fs::path temporary = fs::u8path(path + ".part");
    errno = 0;
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    std::string reason;
    std::error_code problem;
    if (!file)
        reason = errno != 0 ? std::strerror(errno) : "the file cannot be written";
    else if (fs::rename(temporary, final, problem); problem)
        reason = problem.message();
    else
        return {{}, content.size()};
    fs::remove(temporary, problem);
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

#pragma once

#include <filesystem>
#include <string>

/** A folder of its own below the system's temporary folder. Deletes itself with everything in it, also where a test
 * took permissions away. */
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return _path; }
    /** The path with "/<name>" behind it. */
    [[nodiscard]] std::string operator/(const std::string& name) const { return (_path / name).string(); }
    /** Makes a folder inside, with its parents. */
    std::string makeFolder(const std::string& name) const;

private:
    std::filesystem::path _path;
};

/** Writes these bytes and nothing else. */
void writeFile(const std::string& path, const std::string& bytes);
[[nodiscard]] std::string readFile(const std::string& path);

#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

/** A folder that deletes itself, with all that was put into it. */
class TempFolder
{
public:
    TempFolder()
    {
        std::random_device random;
        _path = std::filesystem::temp_directory_path() / ("mvgeo-host-test-" + std::to_string(random()));
        std::filesystem::create_directories(_path);
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = {}) const
    {
        return name.empty() ? _path.string() : (_path / name).string();
    }

    /** Writes a file and the folders above it; its path. */
    std::string write(const std::string& name, const std::string& content) const
    {
        std::filesystem::create_directories((_path / name).parent_path());
        std::ofstream(_path / name, std::ios::binary) << content;
        return path(name);
    }

private:
    std::filesystem::path _path;
};

#include "support/TemporaryDirectory.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory()
{
    // Several test programs run at once: the random part keeps them apart, the counter the folders of one of them.
    static const unsigned int run = std::random_device{}();
    static std::atomic<unsigned int> counter{0};
    _path = fs::temp_directory_path() / ("mvgeo_test_" + std::to_string(run) + '_' + std::to_string(counter++));
    fs::create_directories(_path);
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    for (auto entry = fs::recursive_directory_iterator(_path, fs::directory_options::skip_permission_denied, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored))
        if (entry->is_directory(ignored))
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(_path, ignored);
}

std::string TemporaryDirectory::makeFolder(const std::string& name) const
{
    const fs::path folder = _path / name;
    fs::create_directories(folder);
    return folder.string();
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

#include "support/FileReplacement.h"

#include "platform/Environment.h"
#include "platform/FileSystem.h"

#include <osgDB/fstream>

#include <atomic>
#include <cstdio>

namespace mvgeo
{

namespace
{

/** A name of its own for every writer, in the same directory. */
std::string temporaryName(const std::string& directory, const std::string& name)
{
    static std::atomic<unsigned int> counter{0};
    return directory + "/~" + std::to_string(platform::currentProcessId()) + '_' + std::to_string(counter++) + '_' +
           name;
}

} // namespace

bool replaceFile(const std::string& directory, const std::string& name, const char* bytes, std::size_t size)
{
    const std::string temporary = temporaryName(directory, name);
    osgDB::ofstream file(temporary.c_str(), std::ios::out | std::ios::binary);
    if (!file.is_open()) return false;
    file.write(bytes, static_cast<std::streamsize>(size));
    file.close();
    if (file && platform::renameOver(temporary, directory + '/' + name)) return true;
    std::remove(temporary.c_str());
    return false;
}

} // namespace mvgeo

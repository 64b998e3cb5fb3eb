#include "platform/FileSystem.h"

#include <cstdio>

namespace mvgeo::platform
{

bool renameOver(const std::string& from, const std::string& to)
{
    return std::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace mvgeo::platform

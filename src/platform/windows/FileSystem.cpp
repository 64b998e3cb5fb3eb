#include "platform/FileSystem.h"

#include "platform/windows/WindowsApi.h"

namespace mvgeo::platform
{

bool renameOver(const std::string& from, const std::string& to)
{
    return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

} // namespace mvgeo::platform

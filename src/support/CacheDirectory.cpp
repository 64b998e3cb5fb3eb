#include "support/CacheDirectory.h"

#include "support/FileReplacement.h"
#include "support/OsgPaths.h"

#include <osgDB/FileUtils>

namespace mvgeo
{

bool makeCacheDirectory(const std::string& kind, const std::string& sourceAnsi, std::string& dir)
{
    dir = cacheDirectory(kind, sourceAnsi);
    if (!osgDB::makeDirectory(dir)) return false;
    removeAbandonedFiles(dir);
    return true;
}

} // namespace mvgeo

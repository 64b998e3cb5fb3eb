#include "mvgeothirdparty/FileQueries.h"

#include "support/ToolkitText.h"

#include <osgDB/FileNameUtils>
#include <osgDB/FileUtils>

#include <string>

bool GetRootTiles_Imp(const KdString& dataFolder, std::vector<KdString>& rootTiles)
{
    const std::string folder = mvgeo::toolkitPath(dataFolder);
    for (const std::string& name : osgDB::getDirectoryContents(folder))
    {
        // A name with a point is passed over as a file, also where it is a folder's.
        if (name.empty() || name.front() == '.' || !osgDB::getFileExtension(name).empty()) continue;
        const std::string candidate = folder + '/' + name + '/' + name + ".osgb";
        if (osgDB::fileExists(candidate)) rootTiles.push_back(mvgeo::hostPath(candidate));
    }
    return !rootTiles.empty();
}

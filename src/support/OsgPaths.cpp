#include "support/OsgPaths.h"

#include "platform/Environment.h"
#include "support/PathHash.h"

#include <osg/Config>

namespace mvgeo
{

namespace
{

#if defined(OSG_USE_UTF8_FILENAME)
constexpr bool kOsgTakesUtf8 = true;
#else
constexpr bool kOsgTakesUtf8 = false;
#endif

} // namespace

std::string osgPath(const KdString& path)
{
    return kOsgTakesUtf8 ? path.utf8Ptr() : path.ansiPtr();
}

KdString hostPath(const std::string& path)
{
    return kOsgTakesUtf8 ? KdString::fromUtf8(path.c_str()) : KdString(path.c_str());
}

std::filesystem::path filePath(const std::string& path)
{
    return std::filesystem::u8path(hostPath(path).utf8Ptr());
}

std::string cacheDirectory(const std::string& kind, const std::string& sourceAnsi)
{
    const std::string temporaryAnsi = platform::temporaryDirectory();
    return osgPath(KdString(temporaryAnsi.c_str())) + '/' + kind + '/' + pathHashText(sourceAnsi);
}

} // namespace mvgeo

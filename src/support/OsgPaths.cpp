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

using NativeChar = std::filesystem::path::value_type;

// What the system's own file names are made of: bytes here, 16-bit units on Windows, none of which needs converting.
[[maybe_unused]] const char* nativeText(const KdString& path, char)
{
    return path.utf8Ptr();
}

[[maybe_unused]] const KdChar* nativeText(const KdString& path, KdChar)
{
    return path.kwszPtr();
}

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
    return nativeText(hostPath(path), NativeChar());
}

std::string cacheDirectory(const std::string& kind, const std::string& sourceAnsi)
{
    const KdString temporary = KdString::fromUtf8(platform::temporaryDirectory().c_str());
    return osgPath(temporary) + '/' + kind + '/' + pathHashText(sourceAnsi);
}

} // namespace mvgeo

#include "support/OsgPaths.h"

#include "platform/CodePage.h"

#include <osg/Config>

namespace mvgeo
{

std::string osgPath(const KdString& path)
{
#if defined(OSG_USE_UTF8_FILENAME)
    return path.utf8Ptr();
#else
    return path.ansiPtr();
#endif
}

KdString hostPath(const std::string& path)
{
    // The toolkit's own UTF-16 conversion does nothing outside Windows.
#if defined(OSG_USE_UTF8_FILENAME)
    const std::string& utf8 = path;
#else
    const std::string utf8 = platform::ansiToUtf8(path);
#endif
    return KdString(platform::utf8ToUtf16(utf8).c_str());
}

} // namespace mvgeo

#include "readerwriterktx/KtxTranscoding.h"

#include "readerwriterktx/KtxLog.h"
#include "support/Mutex.h"

#include <osg/Image>

#include <cstdlib>

namespace mvgeo
{

namespace
{

Mutex defaultLock;
int defaultValue MVGEO_GUARDED_BY(defaultLock) = 0;

bool isPowerOfTwo(unsigned int size)
{
    return osg::Image::computeNearestPowerOfTwo(static_cast<int>(size), 0.5F) == static_cast<int>(size);
}

bool isOn(const osgDB::Options* options, const char* name, bool otherwise)
{
    const std::string text = options ? options->getPluginStringData(name) : std::string();
    return text.empty() ? otherwise : std::atoi(text.c_str()) > 0;
}

} // namespace

void setTranscodingDefault(int value)
{
    const Lock lock(defaultLock);
    defaultValue = value;
}

int transcodingDefault()
{
    const Lock lock(defaultLock);
    return defaultValue;
}

TranscodeTarget transcodeTarget(unsigned int width, unsigned int height, const osgDB::Options* options)
{
    const int byDefault = transcodingDefault();
    const bool isRgbaWanted = isOn(options, "UseRGBA", byDefault > 0);
    if (!isPowerOfTwo(width) || !isPowerOfTwo(height))
    {
        if (!isRgbaWanted)
            KtxLog(osg::NOTICE) << "Found NPOT image: " << width << " x " << height
                                << ", will not transcode to compressing texture format";
        return TranscodeTarget::rgba32;
    }
    if (isRgbaWanted) return TranscodeTarget::rgba32;
    if (isOn(options, "UseETC", false)) return TranscodeTarget::etc;
    return isOn(options, "UseDXT", byDefault == 0) ? TranscodeTarget::bc1Or3 : TranscodeTarget::rgba32;
}

} // namespace mvgeo

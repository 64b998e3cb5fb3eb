#pragma once

#include <osgDB/Options>

namespace mvgeo
{

/** How to encode; numbers that are not above 0 stand for others (see KtxBasisParameters.cpp). */
struct KtxSettings
{
    bool useBasis = true;
    bool useUastc = false;
    int threadCount = 1;
    int compressLevel = 2;
    int qualityLevel = 128;
};

/** From the plug-in options; the values above only without any options. A missing option counts as 0. */
[[nodiscard]] KtxSettings ktxSettings(const osgDB::Options* options);

} // namespace mvgeo

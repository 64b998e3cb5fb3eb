#include "readerwriterktx/KtxSettings.h"

#include <cstdlib>

namespace mvgeo
{

KtxSettings ktxSettings(const osgDB::Options* options)
{
    if (!options) return {};
    const auto number = [options](const char* name) { return std::atoi(options->getPluginStringData(name).c_str()); };
    KtxSettings settings;
    settings.useBasis = number("UseBASISU") > 0;
    settings.useUastc = number("UseUASTC") > 0;
    settings.threadCount = number("ThreadCount");
    settings.compressLevel = number("CompressLevel");
    settings.qualityLevel = number("QualityLevel");
    return settings;
}

} // namespace mvgeo

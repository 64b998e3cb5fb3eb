#include "common/ReadableText.h"

#include <cstdio>

namespace mvgeo::host
{
std::string fixedText(double value, int decimals)
{
    char text[512]; // a double of any size
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string readableBytes(std::uint64_t bytes)
{
    const char* const units[] = {" bytes", " KB", " MB", " GB", " TB"};
    auto number = static_cast<double>(bytes);
    int unit = 0;
    for (; number >= 1000.0 && unit < 4; ++unit)
        number /= 1000.0;
    return fixedText(number, unit == 0 ? 0 : 1) + units[unit];
}

std::string readableSeconds(double seconds)
{
    return fixedText(seconds, 2) + " s";
}

std::string readableLength(double value, const std::string& unit)
{
    return fixedText(value, unit == "degrees" ? 6 : 2) + ' ' + unit;
}

std::string readablePoint(const osg::Vec3d& point)
{
    return fixedText(point.x(), 2) + ", " + fixedText(point.y(), 2) + ", " + fixedText(point.z(), 2);
}
} // namespace mvgeo::host

#pragma once

#include <osg/Vec3d>

#include <cstdint>
#include <string>

namespace mvgeo::host
{
// Numbers as people read them.

/** With so many digits behind the point. */
std::string fixedText(double value, int decimals);
/** A number of bytes: "3.4 MB". */
std::string readableBytes(std::uint64_t bytes);
/** "1.25 s". */
std::string readableSeconds(double seconds);
/** "1234.50 m": two digits behind the point, six for degrees. */
std::string readableLength(double value, const std::string& unit);
/** "x, y, z" with centimetres. */
std::string readablePoint(const osg::Vec3d& point);
} // namespace mvgeo::host

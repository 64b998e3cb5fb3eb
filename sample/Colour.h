#pragma once

#include <osg/Vec3f>

namespace mvgeo::sample
{
using Colour = osg::Vec3f; // red, green, blue in [0, 1], as they are displayed

/** Two colours and how much of the second. */
[[nodiscard]] inline Colour blend(const Colour& first, const Colour& second, double part)
{
    return first + (second - first) * static_cast<float>(part);
}
} // namespace mvgeo::sample

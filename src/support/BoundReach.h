#pragma once

#include <osg/BoundingSphere>
#include <osg/Vec3d>

#include <limits>

namespace mvgeo
{

/** How far OSG's bounds may be off, which it computes in single precision: at coordinates of four million by a quarter
 * of a metre at each step, more than a small tile is wide. */
[[nodiscard]] inline double roundingOfBounds(const osg::Vec3d& centre, double radius)
{
    constexpr double kRoundings = 4.0; // of the centre and of the radius, in the transforms on the way
    return kRoundings * std::numeric_limits<float>::epsilon() * (centre.length() + radius);
}

/** How far from its centre a valid sphere surely reaches: whoever leaves out what a sphere does not touch asks this. */
[[nodiscard]] inline double reachOf(const osg::BoundingSphere& sphere)
{
    const double radius = sphere.radius();
    return radius + roundingOfBounds(sphere.center(), radius);
}

} // namespace mvgeo

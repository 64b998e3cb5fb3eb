#pragma once

#include <osg/Plane>
#include <osg/Vec3d>

#include <utility>
#include <vector>

namespace mvgeo
{

using CutSegment = std::pair<osg::Vec3d, osg::Vec3d>;
using CutLine = std::vector<osg::Vec3d>;

/** Chains segments that share end points, bit by bit, into lines. Equal segments count once. A line ends where its
 * segments end and where more than two of them meet.
 *
 * @param along  its normal is the direction in which lines run: each starts at the end that lies further back. A
 * closed line starts at its rearmost point and runs forward above, backward below.
 * @return ordered by their starting points, rearmost first */
[[nodiscard]] std::vector<CutLine> chainSegments(std::vector<CutSegment> segments, const osg::Plane& along);

} // namespace mvgeo

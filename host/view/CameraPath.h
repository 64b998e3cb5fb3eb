#pragma once

#include "view/ViewCamera.h"

#include <osg/BoundingBox>
#include <osg/Vec3d>

#include <string>
#include <vector>

namespace mvgeo::host
{
struct CameraKey
{
    osg::Vec3d eye;
    osg::Vec3d target;
};

/** A smooth way through keyframes: Catmull-Rom splines for eye and target, the same time between any two neighbours. */
class CameraPath
{
public:
    /** @param keys  at least one */
    explicit CameraPath(std::vector<CameraKey> keys);

    /** @param time  0 at the first keyframe, 1 at the last; clamped */
    [[nodiscard]] CameraKey at(double time) const;
    [[nodiscard]] const std::vector<CameraKey>& keys() const { return _keys; }

private:
    std::vector<CameraKey> _keys;
};

/** From an overview down over the box's longer side, close above it, and back up to the overview. */
CameraPath overviewAndLowPass(const ViewCamera& camera, const osg::BoundingBoxd& extents);

/** Reads keyframes: JSON (a list of {"eye": [x, y, z], "target": [x, y, z]}, alone or as "keyframes"), or text with six
 * numbers a line, eye then target, between blanks, commas or semicolons; '#' begins a comment and a first line without
 * numbers is a heading. Throws HostError. */
CameraPath readCameraPath(const std::string& file);
} // namespace mvgeo::host

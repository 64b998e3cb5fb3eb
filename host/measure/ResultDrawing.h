#pragma once

#include "measure/Points.h"

#include <osg/Group>

#include <string>
#include <vector>

namespace mvgeo::host
{
/** What a command found, as a scene that is drawn over the model's.
 *
 * Everything lies a few pixels in front of where it is, seen from the eye, because it belongs to the finest tiles
 * while the picture may show coarser ones; what stands in front of it hides it all the same. */
class ResultDrawing
{
public:
    /** @param height  of the picture, pixels */
    explicit ResultDrawing(int height);

    /** Bright, with a dark edge. Lines without points are fine. */
    void addLines(const std::vector<Points>& lines);
    /** Tinted; three points a triangle. */
    void addTriangles(const Points& triangles);
    /** Dots. */
    void addPoints(const Points& points);

    [[nodiscard]] osg::Node& scene() const { return *_scene; }

private:
    int _height;
    osg::ref_ptr<osg::Group> _scene;
};
} // namespace mvgeo::host

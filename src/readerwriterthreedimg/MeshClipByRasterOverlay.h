#pragma once

#include <osg/Geometry>
#include <osg/Image>
#include <osg/Polytope>
#include <osg/Referenced>
#include <osg/ref_ptr>

#include <vector>

/** Cuts the mesh of a parent tile to a child's rectangle, lays the child's image over it and hangs skirts along the
 * cut.
 *
 * Built for one clip: setRectangle() once, then clip() once. Frame: the terrain's local one (metres or the rasters'
 * unit, relative to the local origin). Thread: one.
 */
class MeshClipByRasterOverlay : public osg::Referenced
{
public:
    void setRectangle(double xmin, double xmax, double ymin, double ymax);

    /** Writes the clipped mesh to `resultGeometry`, a new geometry if that is empty. Left untouched for an empty parent
     * or one whose first primitive set is no DrawElementsUInt. `skirtDepth` is in z. The image is shared. */
    void clip(osg::ref_ptr<osg::Geometry> parentGeometry, double skirtDepth, osg::ref_ptr<osg::Image> image,
              osg::ref_ptr<osg::Geometry>& resultGeometry);

    /** Nearer than `tolerance` to the line of one of the four sides. */
    [[nodiscard]] bool isOnBorder(const osg::Vec3d& point, double tolerance) const;

    /** How near to the border an edge gets a skirt: a thousandth of a unit or of the rectangle's shorter side,
     * whichever is less, but never less than the parent's vertices, which are floats, may lie off the border. */
    [[nodiscard]] double borderTolerance() const;

    /** Clips a polygon in place (Sutherland and Hodgman, 1974); true when something is left. */
    bool clipPolygon(std::vector<osg::Vec3d>& polygon) const;

protected:
    ~MeshClipByRasterOverlay() override = default;

private:
    class Cut;

    [[nodiscard]] double area() const;

    double _xmin = 0.0;
    double _xmax = 0.0;
    double _ymin = 0.0;
    double _ymax = 0.0;
    osg::Polytope _clippingPlanes; // west, south, east, north; inside is where the distance is not negative
};

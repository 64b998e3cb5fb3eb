#pragma once

#include "support/HostConversions.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace mvgeo
{

/** Where the host puts a model: the matrix that comes with each frame, pick, section and clip. The model's frame is the
 * one above the scene's root, so a point of a tile has gone through the model's own transform() before. */
class Placement
{
public:
    /** Nothing if there is no matrix or it has no inverse. */
    [[nodiscard]] static std::optional<Placement> make(const KdGeMatrix3d* modelToHost)
    {
        // OSG inverts an affine matrix without looking at its determinant, which may also be too small for a double.
        if (!modelToHost || modelToHost->isSingular()) return std::nullopt;
        const Placement placement(toOsg(*modelToHost));
        const double* inverse = placement._hostToModel.ptr();
        const bool isFinite = std::all_of(inverse, inverse + 16, [](double entry) { return std::isfinite(entry); });
        return isFinite ? std::optional<Placement>(placement) : std::nullopt;
    }

    [[nodiscard]] osg::Vec3d toModel(const osg::Vec3d& hostPoint) const { return hostPoint * _hostToModel; }
    [[nodiscard]] KdGePoint3d toHost(const osg::Vec3d& modelPoint) const
    {
        return mvgeo::toHost(modelPoint * _modelToHost);
    }
    [[nodiscard]] const osg::Matrixd& modelToHost() const { return _modelToHost; }

private:
    explicit Placement(const osg::Matrixd& modelToHost)
        : _modelToHost(modelToHost), _hostToModel(osg::Matrixd::inverse(modelToHost))
    {
    }

    osg::Matrixd _modelToHost;
    osg::Matrixd _hostToModel;
};

} // namespace mvgeo

#pragma once

#include <osg/Geometry>
#include <osg/Object>
#include <osg/ref_ptr>

/** Carries a terrain tile's geometry to its children: a user object named "ParentGeometry" on their read options.
 * Copies share the geometry. */
class GeometryContainer : public osg::Object
{
public:
    GeometryContainer() = default;
    explicit GeometryContainer(osg::Geometry* parentGeometry) : geometry(parentGeometry) {}
    GeometryContainer(const GeometryContainer& other, const osg::CopyOp& copy = osg::CopyOp::SHALLOW_COPY)
        : osg::Object(other, copy), geometry(other.geometry)
    {
    }

    META_Object(osg, GeometryContainer)

        osg::ref_ptr<osg::Geometry> geometry;

protected:
    ~GeometryContainer() override = default;
};

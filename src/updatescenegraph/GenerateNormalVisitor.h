#pragma once

#include <osg/NodeVisitor>

/** Gives each geometry without an osg::Vec3Array of normals smoothed ones; all shared vertices are smoothed. */
class GenerateNormalVisitor : public osg::NodeVisitor
{
public:
    GenerateNormalVisitor();

    using osg::NodeVisitor::apply;
    void apply(osg::Geometry& geometry) override;
};

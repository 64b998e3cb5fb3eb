#pragma once

#include "support/UserValues.h"

#include <osg/FrameStamp>
#include <osg/Group>
#include <osg/PagedLOD>

#include <string>
#include <vector>

/** Small pieces of scenes, each a line of the picture that a test draws. */

/** A group that reports a sphere of its own though it is empty. */
inline osg::ref_ptr<osg::Group> ball(const osg::Vec3& centre, float radius)
{
    osg::ref_ptr<osg::Group> node = new osg::Group;
    node->setInitialBound(osg::BoundingSphere(centre, radius));
    return node;
}

/** An empty group that counts as content under this identity. */
inline osg::ref_ptr<osg::Group> content(const std::string& identity)
{
    osg::ref_ptr<osg::Group> node = ball({}, 1.0F);
    node->setUserValue("GlobalID", identity);
    return node;
}

/** The node's identity, or "-" if it has none. */
inline std::string identityOf(const osg::Node* node)
{
    const std::string* identity = node ? mvgeo::userValue<std::string>(*node, "GlobalID") : nullptr;
    return identity ? *identity : "-";
}

inline std::vector<std::string> identitiesOf(const std::vector<osg::ref_ptr<osg::Node>>& nodes)
{
    std::vector<std::string> result;
    for (const osg::ref_ptr<osg::Node>& node : nodes)
        result.push_back(identityOf(node));
    return result;
}

/** Child `file` belongs to the second range; the first child is in the tile itself. */
inline osg::ref_ptr<osg::PagedLOD> pagedNode(const osg::ref_ptr<osg::Node>& coarse, const std::string& file)
{
    osg::ref_ptr<osg::PagedLOD> node = new osg::PagedLOD;
    node->setCenter({});
    node->setRadius(1.0F);
    node->setRangeMode(osg::LOD::PIXEL_SIZE_ON_SCREEN);
    node->addChild(coarse, 0.0F, 100.0F);
    node->setFileName(1, file);
    node->setRange(1, 100.0F, 1e30F);
    return node;
}

inline osg::ref_ptr<osg::FrameStamp> frame(unsigned int number, double referenceTime = 0.0)
{
    osg::ref_ptr<osg::FrameStamp> stamp = new osg::FrameStamp;
    stamp->setFrameNumber(number);
    stamp->setReferenceTime(referenceTime);
    return stamp;
}

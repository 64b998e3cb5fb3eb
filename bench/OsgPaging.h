#pragma once

#include "BenchModel.h"

#include <osgDB/DatabasePager>
#include <osgUtil/SceneView>

namespace mvgeo::bench
{

/** The yardstick for paging: the same files below OSG's own pager and cull traversal, as its viewer drives them,
 * without drawing. */
class OsgPaging
{
public:
    explicit OsgPaging(const std::vector<std::string>& rootFiles);
    ~OsgPaging();
    OsgPaging(const OsgPaging&) = delete;
    OsgPaging& operator=(const OsgPaging&) = delete;

    void update(const Camera& camera);
    void converge(const Camera& camera);

private:
    osg::ref_ptr<osg::Group> _root;
    osg::ref_ptr<osgDB::DatabasePager> _pager;
    osg::ref_ptr<osgUtil::SceneView> _sceneView;
    osg::ref_ptr<osg::FrameStamp> _frameStamp;
    osg::Timer _timer;
};

} // namespace mvgeo::bench

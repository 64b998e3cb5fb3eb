#include "OsgPaging.h"

#include <osgDB/ReadFile>

#include <stdexcept>
#include <thread>

namespace mvgeo::bench
{

OsgPaging::OsgPaging(const std::vector<std::string>& rootFiles)
    : _root(new osg::Group),
      _pager(osgDB::DatabasePager::create()),
      _sceneView(new osgUtil::SceneView),
      _frameStamp(new osg::FrameStamp)
{
    for (const std::string& file : rootFiles)
    {
        const osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(file);
        if (!node) throw std::runtime_error("cannot read " + file);
        _root->addChild(node);
    }
    _sceneView->setDefaults();
    _sceneView->setSceneData(_root);
    _sceneView->setViewport(0, 0, kWidth, kHeight);
    _sceneView->setProjectionMatrix(projectionMatrix());
    _sceneView->setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
    _sceneView->getCullVisitor()->setDatabaseRequestHandler(_pager);
    _sceneView->setFrameStamp(_frameStamp);
    _pager->setUpThreads(1, 0);
    _pager->registerPagedLODs(_root);
}

OsgPaging::~OsgPaging()
{
    _pager->cancel();
}

void OsgPaging::update(const Camera& camera)
{
    _frameStamp->setFrameNumber(_frameStamp->getFrameNumber() + 1);
    _frameStamp->setReferenceTime(_timer.time_s());
    _pager->signalBeginFrame(_frameStamp);
    _pager->updateSceneGraph(*_frameStamp);
    _sceneView->setViewMatrix(viewMatrix(camera));
    _sceneView->cull();
    _pager->signalEndFrame();
}

void OsgPaging::converge(const Camera& camera)
{
    for (;;)
    {
        update(camera);
        while (_pager->getRequestsInProgress() && _pager->getDataToMergeListSize() == 0)
            std::this_thread::yield();
        if (!_pager->getRequestsInProgress()) return;
    }
}

} // namespace mvgeo::bench

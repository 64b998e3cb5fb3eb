#include "view/SceneRenderer.h"

#include "common/HostError.h"

#include <osg/GLExtensions>
#include <osgViewer/Renderer>
#include <osgViewer/Viewer>

#include <cassert>
#include <string>

namespace mvgeo::host
{
namespace
{
constexpr unsigned int kSamples = 4;

/** False if the buffers could not be had: OSG then draws into the context's own tiny surface. */
bool drawsIntoBuffers(osg::Camera& camera)
{
    const auto* renderer = dynamic_cast<osgViewer::Renderer*>(camera.getRenderer());
    return renderer && renderer->getSceneView(0)->getRenderStage()->getFrameBufferObject();
}

/** The system's OpenGL loader has an address for every name it is asked for, so OSG takes this extension for
 * present where it is not, and gets multisampled buffers without memory. */
class ForgetMissingCoverageSamples : public osg::Operation
{
public:
    void operator()(osg::Object* object) override
    {
        const auto* context = dynamic_cast<osg::GraphicsContext*>(object);
        if (!context || !context->getState()) return;
        const unsigned int id = context->getState()->getContextID();
        if (!osg::isGLExtensionSupported(id, "GL_NV_framebuffer_multisample_coverage"))
            osg::GLExtensions::Get(id, true)->glRenderbufferStorageMultisampleCoverageNV = nullptr;
    }
};
} // namespace

SceneRenderer::SceneRenderer(osg::Node& scene, int width, int height)
    : _viewer(new osgViewer::Viewer), _picture(new osg::Image)
{
    _viewer->setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    _viewer->setUpViewerAsEmbeddedInWindow(0, 0, width, height);
    _viewer->setSceneData(&scene);
    _viewer->setLightingMode(osg::View::NO_LIGHT);

    _picture->allocateImage(width, height, 1, GL_RGB, GL_UNSIGNED_BYTE);
    osg::Camera& camera = *_viewer->getCamera();
    camera.setViewport(0, 0, width, height);
    camera.setClearColor({1.0F, 1.0F, 1.0F, 1.0F});
    camera.setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR); // every frame brings its projection
    camera.setProjectionResizePolicy(osg::Camera::FIXED);
    camera.setCullingMode(osg::CullSettings::VIEW_FRUSTUM_CULLING);
    camera.setRenderTargetImplementation(osg::Camera::FRAME_BUFFER_OBJECT);
    camera.attach(osg::Camera::DEPTH_BUFFER, GL_DEPTH_COMPONENT24);
    camera.attach(osg::Camera::COLOR_BUFFER, _picture.get(), kSamples, kSamples);
    _viewer->setRealizeOperation(new ForgetMissingCoverageSamples);
    _viewer->realize();
}

SceneRenderer::~SceneRenderer() = default;

osg::Image& SceneRenderer::draw(const ViewFrame& frame)
{
    assert(frame.width == _picture->s() && frame.height == _picture->t());
    const unsigned int before = _picture->getModifiedCount();
    _viewer->getCamera()->setViewMatrix(frame.view);
    _viewer->getCamera()->setProjectionMatrix(frame.projection);
    _viewer->frame();
    if (_picture->getModifiedCount() == before || !drawsIntoBuffers(*_viewer->getCamera()))
        throw HostError("Cannot draw: OpenGL gave no picture of " + std::to_string(frame.width) + " x " +
                        std::to_string(frame.height) + " pixels.");
    return *_picture;
}
} // namespace mvgeo::host

#include "commands/Commands.h"
#include "commands/TileReport.h"
#include "commands/ViewOptions.h"
#include "common/HostError.h"
#include "view/PictureFile.h"

#include <osg/DisplaySettings>
#include <osg/GraphicsContext>
#include <osgGA/StateSetManipulator>
#include <osgGA/TerrainManipulator>
#include <osgViewer/Viewer>
#include <osgViewer/ViewerEventHandlers>

#include <algorithm>
#include <memory>

namespace mvgeo::host
{
namespace
{
struct WindowOptions
{
    ModelOptions model;
    ViewOptions view;
    unsigned int frames = 0; // 0: until it is closed
    std::string snapshot;
};

/** Copies the window's picture when the frame is drawn. */
class Snapshot : public osg::Camera::DrawCallback
{
public:
    Snapshot(osg::Image& picture, int width, int height) : _picture(&picture), _width(width), _height(height) {}

    void operator()(osg::RenderInfo&) const override
    {
        _picture->readPixels(0, 0, _width, _height, GL_RGB, GL_UNSIGNED_BYTE);
    }

private:
    osg::ref_ptr<osg::Image> _picture;
    int _width;
    int _height;
};

osg::ref_ptr<osg::GraphicsContext> openWindow(const WindowOptions& options, const std::string& title)
{
    const osg::ref_ptr<osg::GraphicsContext::Traits> traits =
        new osg::GraphicsContext::Traits(osg::DisplaySettings::instance().get());
    traits->readDISPLAY();
    traits->setUndefinedScreenDetailsToDefaultScreen();
    traits->x = 40;
    traits->y = 40;
    traits->width = options.view.camera.width;
    traits->height = options.view.camera.height;
    traits->windowDecoration = true;
    traits->doubleBuffer = true;
    traits->samples = 4;
    traits->sampleBuffers = 1;
    traits->windowName = title;
    osg::ref_ptr<osg::GraphicsContext> window = osg::GraphicsContext::createGraphicsContext(traits);
    if (!window || !window->valid())
    {
        traits->samples = 0; // not every display can
        traits->sampleBuffers = 0;
        window = osg::GraphicsContext::createGraphicsContext(traits);
    }
    if (!window || !window->valid())
        throw HostError("Cannot open a window: there is no display that this session may use.", kExitNoDisplay);
    return window;
}

void setUpViewer(osgViewer::Viewer& viewer, const WindowOptions& options, osg::GraphicsContext& window,
                 const ViewCamera& home, osg::Node& scene)
{
    osg::Camera& camera = *viewer.getCamera();
    camera.setGraphicsContext(&window);
    camera.setViewport(0, 0, options.view.camera.width, options.view.camera.height);
    camera.setComputeNearFarMode(osg::CullSettings::DO_NOT_COMPUTE_NEAR_FAR);
    camera.setProjectionResizePolicy(osg::Camera::FIXED);
    camera.setCullingMode(osg::CullSettings::VIEW_FRUSTUM_CULLING);
    viewer.setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
    viewer.setLightingMode(osg::View::NO_LIGHT);
    viewer.setSceneData(&scene);

    const osg::ref_ptr<osgGA::TerrainManipulator> manipulator = new osgGA::TerrainManipulator;
    manipulator->setAutoComputeHomePosition(false);
    manipulator->setHomePosition(home.eye, home.target, {0.0, 0.0, 1.0});
    viewer.setCameraManipulator(manipulator);
    viewer.addEventHandler(new osgGA::StateSetManipulator(camera.getOrCreateStateSet()));
    viewer.addEventHandler(new osgViewer::StatsHandler);
    viewer.addEventHandler(new osgViewer::WindowSizeHandler);
    viewer.realize();
    manipulator->home(0.0);
}

/** The window's camera as the model's: the user moves it, and near and far follow the model. */
ViewFrame frameOfWindow(const osg::Camera& camera, const ViewCamera& home, const osg::BoundingBoxd& extents)
{
    ViewFrame frame;
    frame.view = camera.getViewMatrix();
    frame.width = std::max(1, static_cast<int>(camera.getViewport()->width()));
    frame.height = std::max(1, static_cast<int>(camera.getViewport()->height()));
    const DepthRange depth = fitDepthRange(frame.view, extents, true);
    const double aspect = static_cast<double>(frame.width) / frame.height;
    frame.projection = osg::Matrixd::perspective(home.fovDegrees, aspect, depth.nearPlane, depth.farPlane);
    return frame;
}

void runView(const WindowOptions& options)
{
    if (!options.snapshot.empty()) checkPicturePath(options.snapshot);
    if (options.snapshot.empty() != (options.frames == 0)) throw HostError("--out and --frames go together.");
    const OpenModel open = openModel(options.model);
    const ViewCamera home = makeCamera(options.view, open);
    const osg::ref_ptr<osg::Group> scene = makeScene(options.view, open);
    const osg::ref_ptr<osg::Image> picture = new osg::Image;
    osgViewer::Viewer viewer;
    const osg::ref_ptr<osg::GraphicsContext> window = openWindow(options, "mvgeo - " + open.input.given);
    setUpViewer(viewer, options, *window, home, *scene);
    for (unsigned int i = 0; !viewer.done() && (options.frames == 0 || i < options.frames); ++i)
    {
        viewer.advance();
        viewer.eventTraversal();
        viewer.updateTraversal();
        const ViewFrame frame = frameOfWindow(*viewer.getCamera(), home, open.extents);
        viewer.getCamera()->setProjectionMatrix(frame.projection);
        open.model->updateOnce(frame);
        if (i + 1 == options.frames)
            viewer.getCamera()->setFinalDrawCallback(new Snapshot(*picture, frame.width, frame.height));
        viewer.renderingTraversals();
    }
    if (picture->valid()) writePicture(*picture, options.snapshot);
    failOnViolations(open.model->tiles(), true);
}
} // namespace

void addViewCommand(Command app)
{
    const auto options = std::make_shared<WindowOptions>();
    Command command = app.addCommand("view", "look at a model in a window");
    addModelOptions(command, options->model);
    addCameraOptions(command, options->view);
    addPictureOptions(command, options->view);
    command.add("--frames", options->frames, "close after this many frames").between(1, 1000000);
    command.add("--out", options->snapshot, "with --frames: draw the last frame into this file").typeName("FILE");
    command.onRun([options] { runView(*options); });
}
} // namespace mvgeo::host

#include "commands/ViewOptions.h"

#include "common/HostError.h"
#include "common/JsonReport.h"
#include "common/TerminalProgress.h"
#include "common/TextParsing.h"

#include <tuple>

namespace mvgeo::host
{
namespace
{
constexpr int kMaxPictureSize = 8192; // with four samples a pixel, a square of this takes 2 GB

/** Adds an option whose text `parse` turns into a value, or the sentence's end that says what it should be. */
template <typename Parse, typename Store>
void addParsed(Command command, const char* name, const char* help, const char* form, const char* typeName, Parse parse,
               Store store)
{
    const auto take = [name, form, parse, store](const std::string& text)
    {
        const auto value = parse(text);
        if (!value) throw HostError(std::string(name) + ": '" + text + "' is not " + form);
        store(*value);
    };
    command.addText(name, take, help).typeName(typeName);
}
} // namespace

void addPictureOptions(Command command, ViewOptions& options)
{
    command.add("--fov", options.camera.fovDegrees, "vertical opening angle in degrees")
        .between(0.1, 175.0)
        .showDefault();
    addParsed(
        command, "--size", "pixels of the picture [1280x720]", "WIDTHxHEIGHT", "WxH",
        [](const std::string& text) { return parsePair(text, kMaxPictureSize); },
        [&options](const std::pair<int, int>& size) { std::tie(options.camera.width, options.camera.height) = size; });
    addParsed(command, "--background", "one colour instead of the sky", "a colour such as #ffffff", "#RRGGBB",
              parseColour, [&options](const osg::Vec3f& colour) { options.background = colour; });
}

void addCameraOptions(Command command, ViewOptions& options)
{
    addParsed(command, "--eye", "where the camera stands", "three numbers x,y,z", "X,Y,Z", parsePoint,
              [&options](const osg::Vec3d& eye) { options.eye = eye; });
    addParsed(command, "--target", "what it looks at", "three numbers x,y,z", "X,Y,Z", parsePoint,
              [&options](const osg::Vec3d& target) { options.target = target; });
}

void addTimeoutOption(Command command, ViewOptions& options)
{
    command.add("--timeout", options.timeoutSeconds, "seconds until a view that has not converged is an error")
        .between(0.0, 1e6)
        .showDefault();
}

void addViewOptions(Command command, ViewOptions& options)
{
    addCameraOptions(command, options);
    addPictureOptions(command, options);
    command.add("--ortho", options.camera.orthoHeight, "orthographic view of this height in metres").between(1e-6, 1e9);
    addTimeoutOption(command, options);
}

ViewCamera makeCamera(const ViewOptions& options, const OpenModel& open)
{
    ViewCamera camera = options.camera;
    fitCameraToBox(camera, open.groundExtents);
    if (options.target) camera.eye += *options.target - camera.target;
    if (options.target) camera.target = *options.target;
    if (options.eye) camera.eye = *options.eye;
    if (options.eye && !options.target) camera.target = open.groundExtents.center();
    if ((camera.eye - camera.target).length() < 1e-9) throw HostError("The eye and the target are the same point.");
    return camera;
}

ViewFrame makeFrame(const ViewOptions& options, const OpenModel& open)
{
    return makeCamera(options, open).frame(open.extents);
}

osg::ref_ptr<osg::Group> makeScene(const ViewOptions& options, const OpenModel& open)
{
    return makePictureScene(*open.model->tiles().scene(), options.background, open.terrainLook);
}

HostModel::Clock::time_point deadlineAfter(double seconds)
{
    return HostModel::Clock::now() +
           std::chrono::duration_cast<HostModel::Clock::duration>(std::chrono::duration<double>(seconds));
}

void convergeOrFail(HostModel& model, const ViewFrame& frame, const ViewOptions& options)
{
    TerminalProgress progress("loading:");
    const auto show = [&progress](const GeoMeshStatistics& s)
    {
        progress.showText(std::to_string(s.tilesLoaded) + " tiles loaded, " + std::to_string(s.requestsWaiting) +
                          " waiting");
    };
    if (model.converge(frame, deadlineAfter(options.timeoutSeconds), show)) return;
    throw HostError("The view has not converged within " + jsonText(options.timeoutSeconds) +
                    " seconds: " + std::to_string(model.statistics().requestsWaiting) + " requests still wait.");
}
} // namespace mvgeo::host

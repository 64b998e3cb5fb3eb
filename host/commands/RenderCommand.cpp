#include "commands/Commands.h"
#include "commands/TileReport.h"
#include "commands/ViewOptions.h"
#include "common/ReadableText.h"
#include "view/PictureFile.h"
#include "view/SceneRenderer.h"

#include <iostream>
#include <memory>

namespace mvgeo::host
{
namespace
{
struct RenderOptions
{
    ModelOptions model;
    ViewOptions view;
    std::string picture;
    bool json = false;
    bool listTiles = false;
};

void printForPeople(const RenderOptions& options, const HostModel& model, double seconds)
{
    const HostTileStore& tiles = model.tiles();
    std::cout << "Drew " << options.picture << " (" << options.view.camera.width << " x " << options.view.camera.height
              << "): " << tiles.visibleIds().size() << " tiles, " << tiles.visibleTriangleCount() << " triangles, "
              << tiles.textures().textureCount() << " textures of " << readableBytes(tiles.textures().byteCount())
              << "; converged after " << model.frameCount() << " frames in " << readableSeconds(seconds) << ".\n";
    printTerrainTiles(model);
    if (const std::uint64_t failed = model.statistics().tilesFailed)
        std::cout << failed << " tiles could not be read; coarser ones stand in their place.\n";
    if (const std::size_t undrawable = tiles.textures().undrawableCount())
        std::cout << undrawable << " textures are in a format that OpenGL here does not take; they are drawn grey.\n";
    if (!tiles.visibleIds().empty() && tiles.visibleTriangleCount() == 0)
        std::cout << "None of these tiles holds triangles that a host can take; the log tells why.\n";
    if (!options.listTiles) return;
    for (const std::string& id : tiles.visibleIds())
        std::cout << id << '\n';
}

Json reportOf(const RenderOptions& options, const OpenModel& open, const ViewFrame& frame, double seconds)
{
    Json report{{"frames", open.model->frameCount()}, {"seconds", seconds}};
    report.update(tileReport(*open.model));
    report["picture"] = options.picture;
    report["width"] = frame.width;
    report["height"] = frame.height;
    report["view"] = toJson(frame.view);
    report["projection"] = toJson(frame.projection);
    report["extents"] = toJson(open.extents);
    report["rootTiles"] = open.input.rootFiles.size();
    report["unreadable"] = open.unreadable;
    if (options.listTiles) report["tiles"] = open.model->tiles().visibleIds();
    return report;
}

void runRender(const RenderOptions& options)
{
    checkPicturePath(options.picture);
    const OpenModel open = openModel(options.model);
    const ViewFrame frame = makeFrame(options.view, open);
    const osg::ref_ptr<osg::Group> scene = makeScene(options.view, open);
    SceneRenderer renderer(*scene, frame.width, frame.height);

    const auto start = HostModel::Clock::now();
    convergeOrFail(*open.model, frame, options.view);
    const double seconds = std::chrono::duration<double>(HostModel::Clock::now() - start).count();
    writePicture(renderer.draw(frame), options.picture);

    if (options.json)
        printJson(reportOf(options, open, frame, seconds));
    else
        printForPeople(options, *open.model, seconds);
    failOnViolations(open.model->tiles());
}
} // namespace

void addRenderCommand(Command app)
{
    const auto options = std::make_shared<RenderOptions>();
    Command command = app.addCommand("render", "draw one picture once the view has all its tiles");
    addModelOptions(command, options->model);
    command.add("--out", options->picture, "the picture's file").required().typeName("FILE");
    addViewOptions(command, options->view);
    addJsonOption(command, options->json);
    command.addFlag("--list-tiles", options->listTiles, "name the visible tiles too");
    command.onRun([options] { runRender(*options); });
}
} // namespace mvgeo::host

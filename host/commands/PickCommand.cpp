#include "CommandLineValues.h"
#include "Commands.h"
#include "CommonOptions.h"
#include "HostError.h"

#include <iostream>
#include <memory>
#include <utility>

namespace mvgeo::host
{
namespace
{
struct PickOptions
{
    ModelOptions model;
    ViewOptions view;
    std::string column;
    std::string row;
    bool json = false;
};

double pixelNumber(const std::string& name, const std::string& text)
{
    if (text.empty()) throw HostError(name + " is required: a pixel of the picture.");
    const std::optional<double> number = parseNumber(text);
    if (!number) throw HostError(name + ": '" + text + "' is not a number.");
    return *number;
}

/** Where --dom or --dem stand in for MODEL, X and Y take the first two places. */
void moveUpWithoutModel(PickOptions& options)
{
    if (!options.model.namesRasters() || !options.row.empty()) return;
    options.row = std::exchange(options.column, std::exchange(options.model.model, {}));
}

Json trianglesToJson(const std::vector<osg::Vec3d>& corners)
{
    if (corners.empty()) return nullptr;
    Json json = Json::array();
    for (const osg::Vec3d& corner : corners)
        json.push_back(toJson(corner));
    return json;
}

void printForPeople(const std::optional<osg::Vec3d>& hit, const std::vector<osg::Vec3d>& triangle)
{
    if (!hit)
    {
        std::cout << "nothing there\n";
        return;
    }
    std::cout << "hit:       " << readablePoint(*hit) << '\n';
    for (const osg::Vec3d& corner : triangle)
        std::cout << "triangle:  " << readablePoint(corner) << '\n';
}

void runPick(const PickOptions& options)
{
    const ViewOptions& view = options.view;
    const double column = pixelNumber("X", options.column);
    const double row = pixelNumber("Y", options.row);
    if (column < 0.0 || column >= view.width || row < 0.0 || row >= view.height)
        throw HostError("The pixel lies outside the picture of " + std::to_string(view.width) + " x " +
                        std::to_string(view.height) + " pixels.");
    const OpenModel open = openModel(options.model);
    const ViewFrame frame = makeCamera(view, open.sight).frame(open.extents);
    convergeOrFail(*open.model, frame, view);

    const osg::Vec3d point = worldPointUnderPixel(frame, column, row);
    const std::optional<osg::Vec3d> hit = open.model->pickPoint(point);
    const std::vector<osg::Vec3d> triangle = open.model->pickTriangle(point);
    if (options.json)
        printJson({{"hit", hit ? toJson(*hit) : Json(nullptr)},
                   {"triangle", trianglesToJson(triangle)},
                   {"through", toJson(point)},
                   {"eye", toJson(osg::Matrixd::inverse(frame.view).getTrans())}});
    else
        printForPeople(hit, triangle);
    failOnViolations(open.model->tiles());
}
} // namespace

void addPickCommand(CLI::App& app, int& status)
{
    const auto options = std::make_shared<PickOptions>();
    CLI::App& command = *app.add_subcommand("pick", "find the surface under a pixel");
    addModelOptions(command, options->model);
    command.add_option("X", options->column, "pixels from the picture's left edge");
    command.add_option("Y", options->row, "pixels from its upper edge");
    addCameraOptions(command, options->view);
    addPictureOptions(command, options->view);
    addOrthoOption(command, options->view);
    addTimeoutOption(command, options->view);
    addJsonOption(command, options->json);
    command.callback(
        [options, &status]
        {
            moveUpWithoutModel(*options);
            runPick(*options);
            status = 0;
        });
}
} // namespace mvgeo::host

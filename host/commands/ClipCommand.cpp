#include "commands/Commands.h"
#include "commands/ResultOptions.h"
#include "commands/TileReport.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/TextParsing.h"
#include "measure/ClippedSurface.h"
#include "measure/ResultText.h"
#include "measure/ShapeInput.h"

#include <iostream>
#include <memory>

namespace mvgeo::host
{
namespace
{
struct ClipOptions
{
    ModelOptions model;
    ViewOptions view;
    ResultOptions result;
    std::string polygon;
    std::string from;
    std::string heights;
    std::optional<unsigned int> root;
    bool outside = false;
    bool finest = false;
};

std::pair<double, double> parseHeights(const std::string& text)
{
    const std::size_t comma = text.find(',');
    const std::optional<double> low = parseNumber(std::string_view(text).substr(0, comma));
    const std::optional<double> high =
        comma == std::string::npos ? std::nullopt : parseNumber(std::string_view(text).substr(comma + 1));
    if (!low || !high) throw HostError("--heights: '" + text + "' is not two numbers LOW,HIGH.");
    if (*low > *high) throw HostError("--heights: the first number is the lower one.");
    return {*low, *high};
}

HostModel::Clipping clippingOf(const ClipOptions& options)
{
    HostModel::Clipping how;
    how.outside = options.outside;
    how.finest = options.finest;
    how.rootFile = options.root;
    if (!options.heights.empty()) how.heights = parseHeights(options.heights);
    return how;
}

void checkRoot(const ClipOptions& options, const OpenModel& open)
{
    const std::size_t count = open.terrain ? 1 : open.input.rootFiles.size() - open.unreadable.size();
    if (options.root && *options.root >= count)
        throw HostError("There is no root tile " + std::to_string(*options.root) + "; the model has " +
                        std::to_string(count) + ", counted from 0.");
}

/** What went without a word so far. */
void warnOfGaps(double area, const ModelSystem& system)
{
    if (area > 0.0)
        std::cerr << "mvgeo: Of what the polygon cuts out " << readableArea(area, system)
                  << " lie where the DEM has no data; that is left out.\n";
}

void printForPeople(const ClipOptions& options, const SurfaceFigures& figures, const ModelSystem& system)
{
    std::cout << "kept:        " << figures.triangles << " triangles " << (options.outside ? "outside" : "inside")
              << " the polygon, of " << (options.finest ? "the finest tiles" : "the tiles that the view loads") << '\n';
    if (figures.triangles == 0) return;
    std::cout << "in plan:     " << readableArea(figures.areaPlan, system) << '\n';
    if (system.isMetric()) std::cout << "in space:    " << readableArea(figures.areaSpace, system) << '\n';
    std::cout << "heights:     " << readableLength(figures.lowest, "m") << " to "
              << readableLength(figures.highest, "m") << '\n';
}

Json reportOf(const ClipOptions& options, const SurfaceFigures& figures, double leftOut, const ModelSystem& system)
{
    Json report{{"coordinateSystem", toJson(system)},
                {"outside", options.outside},
                {"finest", options.finest},
                {"leftOut", leftOut}};
    report.update(toJson(figures, system));
    return report;
}

void runClip(const ClipOptions& options)
{
    const std::optional<ResultFormat> format = checkResultOptions(options.result);
    checkFilesDiffer({{"--out", options.result.out}, {"--picture", options.result.picture}},
                     inputFilesOf(options.model, options.from));
    const HostModel::Clipping how = clippingOf(options);
    const Points boundary = readBoundary(options.polygon, options.from);
    const OpenModel open = openModel(options.model);
    checkRoot(options, open);
    const ModelSystem system = systemOf(open);
    const ViewFrame frame = makeFrame(options.view, open);
    const bool draws = !options.result.picture.empty();
    if (draws || !options.finest) convergeOrFail(*open.model, frame, options.view);

    Points triangles = open.model->clip(boundary, how);
    const double leftOut = leaveOutBelow(triangles, open.floor);
    warnOfGaps(leftOut, system);
    if (draws)
    {
        ResultDrawing drawing(frame.height);
        drawing.addTriangles(triangles);
        writeResultPicture(open, frame, options.view, drawing, options.result.picture);
    }
    if (format)
        writeResult(options.result,
                    *format == ResultFormat::csv ? trianglesToCsv(triangles) : trianglesToGeoJson(triangles, system));
    if (options.result.json)
        printJson(reportOf(options, figuresOf(triangles), leftOut, system));
    else if (options.result.isReportPrinted())
        printForPeople(options, figuresOf(triangles), system);
    failOnViolations(open.model->tiles());
}
} // namespace

void addClipCommand(Command app)
{
    const auto options = std::make_shared<ClipOptions>();
    Command command = app.addCommand("clip", "cut the surface with a polygon: its triangles and areas");
    addModelOptions(command, options->model);
    command.add("--polygon", options->polygon, "the polygon, in the model's coordinates").typeName("\"X,Y X,Y ...\"");
    command.add("--from", options->from, "instead: GeoJSON or CSV with one polygon, which may have holes")
        .typeName("FILE");
    command.addFlag("--outside", options->outside, "keep what is outside the polygon");
    command.add("--heights", options->heights, "keep only what lies between two heights").typeName("LOW,HIGH");
    command.addFlag("--finest", options->finest, "the finest tiles; else those that the view of the camera loads");
    command.add("--root", options->root, "of this root tile only, from 0").between(0, 1000000000).typeName("N");
    addResultOptions(command, options->result);
    addViewOptions(command, options->view);
    command.onRun([options] { runClip(*options); });
}
} // namespace mvgeo::host

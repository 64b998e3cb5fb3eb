#include "commands/Commands.h"
#include "commands/ResultOptions.h"
#include "commands/TileReport.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/TextParsing.h"
#include "measure/ResultText.h"
#include "measure/ShapeInput.h"

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
    std::string from; ///< instead of them
    ResultOptions result;
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

Points pixelsOf(const PickOptions& options)
{
    const ViewCamera& view = options.view.camera;
    if (!options.from.empty() && !(options.column.empty() && options.row.empty()))
        throw HostError("X, Y and --from are two ways to say the same; give one of them.");
    Points pixels;
    if (options.from.empty())
        pixels.emplace_back(pixelNumber("X", options.column), pixelNumber("Y", options.row), 0.0);
    else
        pixels = readPixels(options.from);
    for (const osg::Vec3d& pixel : pixels)
        if (pixel.x() < 0.0 || pixel.x() >= view.width || pixel.y() < 0.0 || pixel.y() >= view.height)
            throw HostError("The pixel " + jsonText(pixel.x()) + ", " + jsonText(pixel.y()) +
                            " lies outside the picture of " + std::to_string(view.width) + " x " +
                            std::to_string(view.height) + " pixels.");
    return pixels;
}

std::vector<PickedPixel> pickAll(HostModel& model, const ViewFrame& frame, const Points& pixels)
{
    std::vector<PickedPixel> picked;
    for (const osg::Vec3d& pixel : pixels)
    {
        const osg::Vec3d point = worldPointUnderPixel(frame, pixel.x(), pixel.y());
        picked.push_back({pixel.x(), pixel.y(), model.pickPoint(point), model.pickTriangle(point)});
    }
    return picked;
}

/** A skirt is judged by the place that was hit: its foot may hang below the floor. */
bool isGround(const PickedPixel& pixel, std::optional<double> floor)
{
    if (!pixel.hit || !floor) return true;
    if (pixel.hit->z() < *floor) return false;
    const SurfaceFigures triangle = figuresOf(pixel.triangle);
    return triangle.areaPlan == 0.0 || triangle.lowest >= *floor;
}

/** What is no ground is not in the picture either: there is nothing under the pixel. */
void leaveOutBelow(std::vector<PickedPixel>& pixels, std::optional<double> floor)
{
    for (PickedPixel& pixel : pixels)
    {
        if (isGround(pixel, floor)) continue;
        std::cerr << "mvgeo: Under the pixel " << jsonText(pixel.column) << ", " << jsonText(pixel.row)
                  << " the DEM has no data.\n";
        pixel.hit.reset();
        pixel.triangle.clear();
    }
}

void printForPeople(const PickedPixel& pixel)
{
    if (!pixel.hit)
    {
        std::cout << "nothing there\n";
        return;
    }
    std::cout << "hit:       " << readablePoint(*pixel.hit) << '\n';
    for (const osg::Vec3d& corner : pixel.triangle)
        std::cout << "triangle:  " << readablePoint(corner) << '\n';
}

void printForPeople(const PickOptions& options, const std::vector<PickedPixel>& pixels)
{
    for (const PickedPixel& pixel : pixels)
    {
        if (!options.from.empty())
            std::cout << "pixel:     " << jsonText(pixel.column) << ", " << jsonText(pixel.row) << '\n';
        printForPeople(pixel);
    }
}

Json pixelToJson(const PickedPixel& pixel)
{
    return {{"hit", pixel.hit ? toJson(*pixel.hit) : Json(nullptr)}, {"triangle", pointsToJson(pixel.triangle)}};
}

Json reportOf(const PickOptions& options, const ViewFrame& frame, const std::vector<PickedPixel>& pixels)
{
    const Json eye = toJson(osg::Matrixd::inverse(frame.view).getTrans());
    if (options.from.empty())
    {
        Json report = pixelToJson(pixels.front());
        report["through"] = toJson(worldPointUnderPixel(frame, pixels.front().column, pixels.front().row));
        report["eye"] = eye;
        return report;
    }
    Json report{{"eye", eye}, {"pixels", Json::array()}};
    for (const PickedPixel& pixel : pixels)
    {
        Json one{{"column", pixel.column}, {"row", pixel.row}};
        one.update(pixelToJson(pixel));
        report["pixels"].push_back(std::move(one));
    }
    return report;
}

void drawPicture(const PickOptions& options, const OpenModel& open, const ViewFrame& frame,
                 const std::vector<PickedPixel>& pixels)
{
    ResultDrawing drawing(frame.height);
    Points hits;
    Points triangles;
    for (const PickedPixel& pixel : pixels)
    {
        if (pixel.hit) hits.push_back(*pixel.hit);
        triangles.insert(triangles.end(), pixel.triangle.begin(), pixel.triangle.end());
        Points outline = pixel.triangle;
        if (!outline.empty()) outline.push_back(outline.front());
        drawing.addLines({outline});
    }
    drawing.addTriangles(triangles);
    drawing.addPoints(hits);
    writeResultPicture(open, frame, options.view, drawing, options.result.picture);
}

void runPick(const PickOptions& options)
{
    const Points pixels = pixelsOf(options);
    const std::optional<ResultFormat> format = checkResultOptions(options.result);
    checkFilesDiffer({{"--out", options.result.out}, {"--picture", options.result.picture}},
                     inputFilesOf(options.model, options.from));
    const OpenModel open = openModel(options.model);
    const ViewFrame frame = makeFrame(options.view, open);
    convergeOrFail(*open.model, frame, options.view);

    std::vector<PickedPixel> picked = pickAll(*open.model, frame, pixels);
    leaveOutBelow(picked, open.floor);
    if (!options.result.picture.empty()) drawPicture(options, open, frame, picked);
    if (format)
        writeResult(options.result, *format == ResultFormat::csv ? toCsv(picked) : toGeoJson(picked, systemOf(open)));
    if (options.result.json)
        printJson(reportOf(options, frame, picked));
    else if (options.result.isReportPrinted())
        printForPeople(options, picked);
    failOnViolations(open.model->tiles());
}
} // namespace

void addPickCommand(Command app)
{
    const auto options = std::make_shared<PickOptions>();
    Command command = app.addCommand("pick", "find the surface under a pixel");
    addModelOptions(command, options->model);
    command.add("X", options->column, "pixels from the picture's left edge");
    command.add("Y", options->row, "pixels from its upper edge");
    command.add("--from", options->from, "instead: several pixels, a CSV file of columns and rows").typeName("FILE");
    addResultOptions(command, options->result);
    addViewOptions(command, options->view);
    command.onRun(
        [options]
        {
            moveUpWithoutModel(*options);
            runPick(*options);
        });
}
} // namespace mvgeo::host

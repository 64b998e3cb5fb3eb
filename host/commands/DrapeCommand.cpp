#include "commands/Commands.h"
#include "commands/ResultOptions.h"
#include "commands/TileReport.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/WholeFile.h"
#include "measure/DrapedLine.h"
#include "measure/ProfilePlot.h"
#include "measure/ResultText.h"
#include "measure/ShapeInput.h"

#include <filesystem>
#include <iostream>
#include <memory>

namespace mvgeo::host
{
namespace
{
struct DrapeOptions
{
    ModelOptions model;
    ViewOptions view;
    ResultOptions result;
    std::string line;
    std::string from;
    std::string profile;
};

/** What people call the model, in the title of a profile. */
std::string shortName(const ModelInput& input)
{
    std::filesystem::path path(input.given);
    if (input.terrain) path = input.terrain->dem.empty() ? input.terrain->dom : input.terrain->dem;
    if (!path.has_filename()) path = path.parent_path();
    return path.filename().string();
}

std::vector<DrapedLine> drapeAll(const OpenModel& open, const std::vector<Points>& lines)
{
    std::vector<DrapedLine> draped;
    for (const Points& line : lines)
        draped.push_back(makeDrapedLine(line, open.model->drape(line), open.floor));
    return draped;
}

/** What went without a word so far: nothing was hit, or a part is no ground. */
void warnOfGaps(const OpenModel& open, const std::vector<DrapedLine>& lines, const ModelSystem& system)
{
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        const std::string name = lines.size() == 1 ? "The line" : "Line " + std::to_string(i + 1);
        if (lines[i].pieces.empty())
            std::cerr << "mvgeo: " << name << " does not meet the model, which reaches from "
                      << readablePoint(open.extents._min) << " to " << readablePoint(open.extents._max) << ".\n";
        if (lines[i].leftOutPlan > 0.0)
            std::cerr << "mvgeo: " << name << " runs " << readableLength(lines[i].leftOutPlan, system.unit)
                      << " where the DEM has no data; that is left out.\n";
    }
}

void printForPeople(const std::vector<DrapedLine>& lines, const ModelSystem& system)
{
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        const DrapedLine& line = lines[i];
        if (lines.size() > 1) std::cout << (i == 0 ? "line " : "\nline ") << i + 1 << '\n';
        std::cout << "given:       " << readableLength(line.length(), system.unit) << ", of which "
                  << readableLength(coveredLength(line), system.unit) << " lie on the model\n"
                  << "pieces:      " << line.pieces.size() << '\n';
        if (line.pieces.empty()) continue;
        const LineFigures figures = figuresOf(line);
        std::cout << "in plan:     " << readableLength(figures.lengthPlan, system.unit) << '\n';
        if (system.isMetric()) std::cout << "in space:    " << readableLength(figures.lengthSpace, "m") << '\n';
        std::cout << "heights:     " << readableLength(figures.lowest, "m") << " to "
                  << readableLength(figures.highest, "m") << '\n';
    }
}

Json pieceToJson(const DrapedPiece& piece, const ModelSystem& system)
{
    Json json{{"from", piece.from()}, {"to", piece.to()}};
    json.update(toJson(figuresOf(piece), system));
    json["distances"] = piece.distances;
    json["points"] = pointsToJson(piece.points);
    return json;
}

Json reportOf(const std::vector<DrapedLine>& lines, const ModelSystem& system)
{
    Json report{{"coordinateSystem", toJson(system)}, {"lines", Json::array()}};
    for (const DrapedLine& line : lines)
    {
        Json json{{"given", line.length()}, {"covered", coveredLength(line)}, {"leftOut", line.leftOutPlan}};
        json.update(toJson(figuresOf(line), system));
        json["pieces"] = Json::array();
        for (const DrapedPiece& piece : line.pieces)
            json["pieces"].push_back(pieceToJson(piece, system));
        report["lines"].push_back(std::move(json));
    }
    return report;
}

void drawPicture(const DrapeOptions& options, const OpenModel& open, const std::vector<DrapedLine>& lines)
{
    const ViewFrame frame = makeFrame(options.view, open);
    convergeOrFail(*open.model, frame, options.view);
    ResultDrawing drawing(frame.height);
    for (const DrapedLine& line : lines)
    {
        std::vector<Points> pieces;
        for (const DrapedPiece& piece : line.pieces)
            pieces.push_back(piece.points);
        drawing.addLines(pieces);
    }
    writeResultPicture(open, frame, options.view, drawing, options.result.picture);
    failOnViolations(open.model->tiles());
}

void runDrape(const DrapeOptions& options)
{
    const std::optional<ResultFormat> format = checkResultOptions(options.result);
    if (!options.profile.empty()) checkProfilePath(options.profile);
    checkFilesDiffer(
        {{"--out", options.result.out}, {"--picture", options.result.picture}, {"--profile", options.profile}},
        inputFilesOf(options.model, options.from));
    const std::vector<Points> lines = readLines(options.line, options.from);
    if (!options.profile.empty() && lines.size() > 1)
        throw HostError("A profile shows one line; the file holds " + std::to_string(lines.size()) + ".");

    const OpenModel open = openModel(options.model);
    const ModelSystem system = systemOf(open);
    const std::vector<DrapedLine> draped = drapeAll(open, lines);
    warnOfGaps(open, draped, system);
    if (!options.profile.empty())
        saveFile(makeProfile(draped.front(), system, shortName(open.input)), options.profile, "profile");
    if (!options.result.picture.empty()) drawPicture(options, open, draped);
    if (format) writeResult(options.result, *format == ResultFormat::csv ? toCsv(draped) : toGeoJson(draped, system));
    if (options.result.json)
        printJson(reportOf(draped, system));
    else if (options.result.isReportPrinted())
        printForPeople(draped, system);
}
} // namespace

void addDrapeCommand(Command app)
{
    const auto options = std::make_shared<DrapeOptions>();
    Command command = app.addCommand("drape", "lay a line onto the surface: its heights, lengths and profile");
    addModelOptions(command, options->model);
    command.add("--line", options->line, "the line, in the model's coordinates").typeName("\"X,Y X,Y ...\"");
    command.add("--from", options->from, "instead: GeoJSON or CSV with lines").typeName("FILE");
    command.add("--profile", options->profile, "draw heights along the line as SVG").typeName("FILE");
    addResultOptions(command, options->result);
    addViewOptions(command, options->view);
    command.onRun([options] { runDrape(*options); });
}
} // namespace mvgeo::host

#include "commands/ResultOptions.h"

#include "commands/Commands.h"
#include "common/HostError.h"
#include "common/WholeFile.h"
#include "view/PictureFile.h"
#include "view/SceneRenderer.h"

#include <filesystem>
#include <iostream>

namespace fs = std::filesystem;

namespace mvgeo::host
{
namespace
{
constexpr const char* kCsv = "csv";
constexpr const char* kGeoJson = "geojson";

ResultFormat formatByEnding(const std::string& file)
{
    const std::string extension = fs::path(file).extension().string();
    if (extension == ".csv") return ResultFormat::csv;
    if (extension == ".geojson" || extension == ".json") return ResultFormat::geoJson;
    throw HostError("--out: the ending of '" + file + "' tells no format; give --format geojson or csv.");
}

bool isSameFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    if (fs::equivalent(a, b, error) && !error) return true; // also by a link
    const fs::path wholeA = fs::weakly_canonical(fs::absolute(a, error), error);
    const fs::path wholeB = fs::weakly_canonical(fs::absolute(b, error), error);
    return !error && wholeA == wholeB;
}
} // namespace

void addResultOptions(Command command, ResultOptions& options)
{
    command.add("--format", options.format, "write the result as geojson or csv")
        .oneOf({kGeoJson, kCsv})
        .typeName("FORMAT");
    command.add("--out", options.out, "the result's file instead of standard output").typeName("FILE");
    command.add("--picture", options.picture, "draw the result on the model").typeName("FILE");
    addJsonOption(command, options.json);
}

std::optional<ResultFormat> checkResultOptions(const ResultOptions& options)
{
    if (!options.picture.empty()) checkPicturePath(options.picture);
    if (!options.out.empty()) checkOutputPath(options.out, "result");
    if (options.json && !options.isReportPrinted())
        throw HostError("--json and --format without --out would both write to standard output.");
    if (!options.format.empty()) return options.format == kCsv ? ResultFormat::csv : ResultFormat::geoJson;
    if (options.out.empty()) return std::nullopt;
    return formatByEnding(options.out);
}

void checkFilesDiffer(const std::vector<NamedFile>& outputs, const std::vector<NamedFile>& inputs)
{
    std::vector<NamedFile> others = inputs;
    for (const NamedFile& output : outputs)
    {
        if (output.path.empty()) continue;
        for (const NamedFile& other : others)
            if (!other.path.empty() && isSameFile(output.path, other.path))
                throw HostError(other.option + " and " + output.option + " name the same file '" + output.path +
                                "', which would be overwritten.");
        others.push_back(output);
    }
}

std::vector<NamedFile> inputFilesOf(const ModelOptions& model, const std::string& from)
{
    std::vector<NamedFile> inputs{{"--from", from}, {"--dom", model.terrain.dom}, {"--dem", model.terrain.dem}};
    const auto rasters = splitTerrainPath(model.model);
    if (rasters) inputs.insert(inputs.end(), {{"MODEL", rasters->dom}, {"MODEL", rasters->dem}});
    if (!rasters) inputs.push_back({"MODEL", model.model});
    return inputs;
}

void writeResult(const ResultOptions& options, const std::string& text)
{
    if (options.out.empty())
        std::cout << text;
    else
        saveFile(text, options.out, "result");
}

void writeResultPicture(const OpenModel& open, const ViewFrame& frame, const ViewOptions& view,
                        const ResultDrawing& drawing, const std::string& file)
{
    const osg::ref_ptr<osg::Group> scene = makeScene(view, open);
    scene->addChild(&drawing.scene());
    SceneRenderer renderer(*scene, frame.width, frame.height);
    writePicture(renderer.draw(frame), file);
}
} // namespace mvgeo::host

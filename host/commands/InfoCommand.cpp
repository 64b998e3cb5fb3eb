#include "Commands.h"
#include "CommonOptions.h"
#include "ModelMetadata.h"
#include "TerrainReport.h"

#include <iostream>
#include <memory>

namespace mvgeo::host
{
namespace
{
struct InfoOptions
{
    ModelOptions model;
    bool json = false;
};

Json metadataToJson(const std::optional<ModelMetadata>& metadata)
{
    if (!metadata) return nullptr;
    Json json{{"file", metadata->file}, {"srs", metadata->srs}, {"srsOrigin", nullptr}};
    if (metadata->origin) json["srsOrigin"] = toJson(*metadata->origin);
    return json;
}

void printForPeople(const OpenModel& open, const FileTotals& totals, const std::optional<ModelMetadata>& metadata)
{
    if (open.terrain)
    {
        std::cout << "input:       " << describe(open.input.kind) << '\n';
        printTerrain(*open.terrain);
    }
    else
        std::cout << "input:       " << describe(open.input.kind) << ", " << open.input.folder << '\n'
                  << "root tiles:  " << open.input.rootFiles.size() << '\n'
                  << "tile files:  " << totals.files << ", " << readableBytes(static_cast<double>(totals.bytes))
                  << '\n';
    if (open.extents.valid())
        std::cout << "from:        " << readablePoint(open.extents._min) << '\n'
                  << "to:          " << readablePoint(open.extents._max) << '\n'
                  << "size:        " << readablePoint(open.extents._max - open.extents._min) << '\n';
    else
        std::cout << "extents:     empty\n";
    if (!metadata) return;
    std::cout << "SRS:         " << metadata->srs << '\n';
    if (metadata->origin) std::cout << "SRS origin:  " << readablePoint(*metadata->origin) << '\n';
}

void runInfo(const InfoOptions& options)
{
    const OpenModel open = openModel(options.model, /*emptyAllowed*/ true);
    const FileTotals totals = countTileFiles(open.input);
    const std::optional<ModelMetadata> metadata = readModelMetadata(open.input.metadataFile);
    if (!options.json)
    {
        printForPeople(open, totals, metadata);
        return;
    }
    Json report{{"kind", describe(open.input.kind)},
                {"folder", open.input.folder},
                {"rootTiles", open.input.rootFiles.size()},
                {"rootFiles", open.input.rootFiles},
                {"unreadable", open.unreadable},
                {"files", totals.files},
                {"bytes", totals.bytes},
                {"extents", toJson(open.extents)},
                {"metadata", metadataToJson(metadata)}};
    if (open.terrain) report.update(terrainToJson(*open.terrain));
    printJson(report);
}
} // namespace

void addInfoCommand(CLI::App& app, int& status)
{
    const auto options = std::make_shared<InfoOptions>();
    CLI::App& command = *app.add_subcommand("info", "tell what a model consists of");
    addModelOptions(command, options->model);
    addJsonOption(command, options->json);
    command.callback(
        [options, &status]
        {
            runInfo(*options);
            status = 0;
        });
}
} // namespace mvgeo::host

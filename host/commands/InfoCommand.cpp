#include "commands/Commands.h"
#include "commands/ModelOptions.h"
#include "commands/TerrainReport.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "input/FileFacts.h"
#include "input/ModelMetadata.h"

#include <mvgeothirdparty/FileQueries.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

namespace mvgeo::host
{
namespace
{
constexpr std::size_t kNamesPrinted = 10;

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

void printMetadata(const std::optional<ModelMetadata>& metadata)
{
    if (!metadata) return;
    std::cout << "SRS:         " << metadata->srs << '\n';
    if (metadata->origin) std::cout << "SRS origin:  " << readablePoint(*metadata->origin) << '\n';
}

void printRootTiles(const std::vector<std::string>& files)
{
    std::cout << "root tiles:  " << files.size() << '\n';
    if (files.size() < 2) return;
    for (std::size_t i = 0; i < std::min(files.size(), kNamesPrinted); ++i)
    {
        KdString name;
        getFileName_Imp(KdString(files[i].c_str()), name);
        std::cout << "             " << name.ansiPtr() << '\n';
    }
    if (files.size() > kNamesPrinted) std::cout << "             ... " << files.size() - kNamesPrinted << " more\n";
}

void printModel(const OpenModel& open)
{
    const FileTotals totals = countTileFiles(open.input);
    std::cout << "input:       " << describe(open.input.kind);
    if (open.terrain)
    {
        std::cout << '\n';
        printTerrain(*open.terrain);
    }
    else
    {
        std::cout << ", " << open.input.folder << '\n';
        printRootTiles(open.input.rootFiles);
        std::cout << "tile files:  " << totals.files << ", " << readableBytes(totals.bytes) << '\n';
    }
    if (open.extents.valid())
        std::cout << "from:        " << readablePoint(open.extents._min) << '\n'
                  << "to:          " << readablePoint(open.extents._max) << '\n'
                  << "size:        " << readablePoint(open.extents._max - open.extents._min) << '\n';
    else
        std::cout << "extents:     empty\n";
    printMetadata(readModelMetadata(open.input.metadataFile));
}

Json modelToJson(const OpenModel& open)
{
    const FileTotals totals = countTileFiles(open.input);
    Json report{{"kind", describe(open.input.kind)},
                {"folder", open.input.folder},
                {"rootTiles", open.input.rootFiles.size()},
                {"rootFiles", open.input.rootFiles},
                {"unreadable", open.unreadable},
                {"files", totals.files},
                {"bytes", totals.bytes},
                {"extents", toJson(open.extents)},
                {"metadata", metadataToJson(readModelMetadata(open.input.metadataFile))}};
    if (open.terrain) report.update(terrainToJson(*open.terrain));
    return report;
}

void printRaster(const RasterSummary& raster)
{
    std::cout << "raster:      " << raster.width << " x " << raster.height << " pixels, " << raster.bands
              << (raster.bands == 1 ? " band" : " bands");
    if (!raster.type.empty()) std::cout << " of type " << raster.type;
    std::cout << ", " << raster.driver << '\n' << "transform:   ";
    for (std::size_t i = 0; i < raster.transform.size(); ++i)
        std::cout << (i == 0 ? "" : ", ") << jsonText(raster.transform[i]);
    std::cout << (raster.isGeoreferenced ? "\n" : " (there is none in the file)\n");
    std::cout << "as DEM:      " << (raster.noDem ? "no: " + *raster.noDem : "yes") << '\n';
}

Json rasterToJson(const RasterSummary& raster)
{
    return {{"driver", raster.driver},
            {"width", raster.width},
            {"height", raster.height},
            {"bands", raster.bands},
            {"type", raster.type},
            {"transform", raster.transform},
            {"georeferenced", raster.isGeoreferenced},
            {"usableAsDem", !raster.noDem}};
}

const char* kindOf(const FileFacts& facts)
{
    switch (facts.kind)
    {
    case FileKind::folder:
        return "folder";
    case FileKind::tile:
        return "tile";
    case FileKind::raster:
        return "raster";
    case FileKind::other:
        break;
    }
    return "file";
}

Json factsToJson(const FileFacts& facts)
{
    Json report{{"kind", kindOf(facts)}, {"path", facts.path}, {"name", facts.name}};
    if (facts.kind != FileKind::folder) report["bytes"] = facts.bytes;
    if (facts.kind == FileKind::other || (facts.kind == FileKind::tile && !facts.isReadableTile))
        report["content"] = facts.content;
    return report;
}

/** What belongs to the file and not to the model that it may be. */
void addFacts(Json& report, const FileFacts& facts)
{
    if (facts.kind == FileKind::tile) report["reads"] = facts.isReadableTile;
    if (facts.raster) report["raster"] = rasterToJson(*facts.raster);
}

void printFacts(const FileFacts& facts)
{
    if (facts.kind == FileKind::tile) std::cout << "reads:       " << (facts.isReadableTile ? "yes" : "no") << '\n';
    if (facts.raster) printRaster(*facts.raster);
}

void reportModel(const OpenModel& open, const FileFacts* facts, bool asJson)
{
    if (asJson)
    {
        Json report = modelToJson(open);
        if (facts) addFacts(report, *facts);
        printJson(report);
        return;
    }
    if (facts) printFacts(*facts);
    printModel(open);
}

/** A file or folder that is there but is no model. */
void reportFile(const FileFacts& facts, const std::string& problem, bool asJson)
{
    const bool isDescribed = facts.raster || facts.isReadableTile;
    const std::optional<ModelMetadata> metadata =
        facts.content == "an XML file" ? readModelMetadata(facts.path) : std::nullopt;
    if (asJson)
    {
        Json report = factsToJson(facts);
        addFacts(report, facts);
        if (metadata) report["metadata"] = metadataToJson(metadata);
        report["problem"] = problem;
        printJson(report);
        return;
    }
    if (isDescribed) printFacts(facts);
    std::cout << (isDescribed ? "model:       none. " : "") << problem << '\n';
    printMetadata(metadata);
}

bool canBeModel(const FileFacts& facts)
{
    return facts.kind == FileKind::folder || facts.kind == FileKind::raster || facts.isReadableTile;
}

void runInfo(const InfoOptions& options)
{
    const std::string& path = options.model.model;
    std::error_code ignored;
    if (options.model.namesRasters() || path.empty() || !std::filesystem::exists(path, ignored))
    {
        reportModel(openModel(options.model, /*emptyAllowed*/ true), nullptr, options.json);
        return;
    }
    const FileFacts facts = readFileFacts(path);
    useLogFolder(options.model); // what is wrong with the log must not be told as a fault of the file
    std::string problem;
    try
    {
        if (canBeModel(facts))
        {
            reportModel(openModel(options.model, /*emptyAllowed*/ true), &facts, options.json);
            return;
        }
        problem = whyNoModel(facts);
    }
    catch (const HostError& error)
    {
        problem = error.what();
    }
    reportFile(facts, problem, options.json);
}
} // namespace

void addInfoCommand(Command app)
{
    const auto options = std::make_shared<InfoOptions>();
    Command command = app.addCommand("info", "tell what a model, or any file or folder, consists of");
    addModelOptions(command, options->model);
    addJsonOption(command, options->json);
    command.onRun([options] { runInfo(*options); });
}
} // namespace mvgeo::host

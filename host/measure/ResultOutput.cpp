#include "ResultOutput.h"

#include "HostError.h"
#include "PictureFile.h"
#include "commands/CommonOptions.h"
#include "sample/TileFile.h"

#include <filesystem>
#include <iostream>

namespace mvgeo::host
{
namespace
{
constexpr const char* kCsv = "csv";
constexpr const char* kGeoJson = "geojson";

ResultFormat formatByEnding(const std::string& file)
{
    const std::string extension = std::filesystem::path(file).extension().string();
    if (extension == ".csv") return ResultFormat::Csv;
    if (extension == ".geojson" || extension == ".json") return ResultFormat::GeoJson;
    throw HostError("--out: the ending of '" + file + "' tells no format; give --format geojson or csv.");
}
} // namespace

void addResultOptions(CLI::App& command, ResultOptions& options)
{
    command.add_option("--format", options.format, "write the result as geojson or csv")
        ->check(CLI::IsMember({kGeoJson, kCsv}))
        ->type_name("FORMAT");
    command.add_option("--out", options.out, "the result's file instead of standard output")->type_name("FILE");
    command.add_option("--picture", options.picture, "draw the result on the model")->type_name("FILE");
    addJsonOption(command, options.json);
}

std::optional<ResultFormat> checkResultOptions(const ResultOptions& options)
{
    if (!options.picture.empty()) checkPicturePath(options.picture);
    if (!options.out.empty()) checkPlaceOf("result", options.out);
    if (options.json && !isReportPrinted(options))
        throw HostError("--json and --format without --out would both write to standard output.");
    if (!options.format.empty()) return options.format == kCsv ? ResultFormat::Csv : ResultFormat::GeoJson;
    if (options.out.empty()) return std::nullopt;
    return formatByEnding(options.out);
}

bool isReportPrinted(const ResultOptions& options)
{
    return options.format.empty() || !options.out.empty();
}

void writeResult(const ResultOptions& options, const std::string& text)
{
    if (options.out.empty())
        std::cout << text;
    else
        writeTextFile(text, options.out, "result");
}

void writeTextFile(const std::string& text, const std::string& file, const std::string& what)
{
    const WriteResult result = writeWholeFile(text, file);
    if (!result.ok()) throw HostError("Cannot write the " + what + ": " + result.error + ".");
}
} // namespace mvgeo::host

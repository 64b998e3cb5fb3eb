#pragma once

#include "commands/ViewOptions.h"
#include "measure/ResultDrawing.h"

#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** Where the result of drape, clip and pick goes, beside the text for people. */
struct ResultOptions
{
    std::string format;  ///< of --format
    std::string out;     ///< empty: standard output
    std::string picture; ///< empty: none
    bool json = false;

    /** True unless standard output belongs to the file of results. */
    [[nodiscard]] bool isReportPrinted() const { return format.empty() || !out.empty(); }
};

enum class ResultFormat
{
    csv,
    geoJson
};

/** --format, --out, --picture and --json. */
void addResultOptions(Command command, ResultOptions& options);

/** The format of the file of results, empty if none is wanted; from the ending of --out if it is not given. Asked
 * before long work begins: throws HostError if the options contradict each other or a file cannot be written. */
std::optional<ResultFormat> checkResultOptions(const ResultOptions& options);

/** A file that a command reads or writes, and the option that names it. */
struct NamedFile
{
    std::string option;
    std::string path; ///< empty: none
};

/** Asked before anything is written. Throws HostError if one output would replace another, or an input. */
void checkFilesDiffer(const std::vector<NamedFile>& outputs, const std::vector<NamedFile>& inputs);

/** What a model is read from, as far as the command line names files. */
std::vector<NamedFile> inputFilesOf(const ModelOptions& model, const std::string& from);

/** To --out, whole or not at all, or to standard output. Throws HostError. */
void writeResult(const ResultOptions& options, const std::string& text);

/** Draws the model as it is loaded, and the result over it. Throws HostError. */
void writeResultPicture(const OpenModel& open, const ViewFrame& frame, const ViewOptions& view,
                        const ResultDrawing& drawing, const std::string& file);
} // namespace mvgeo::host

#include "commands/Commands.h"
#include "commands/ResultOptions.h"
#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/TerminalProgress.h"
#include "common/WholeFile.h"
#include "texture/TextureConversion.h"
#include "texture/TextureReport.h"

#include <osgDB/FileNameUtils>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <thread>

namespace mvgeo::host
{
namespace
{
const std::map<std::string, Transcoding> kTranscodings{
    {"dxt", Transcoding::dxt}, {"etc", Transcoding::etc}, {"rgba", Transcoding::rgba}};
const std::map<std::string, Basis> kBases{{"etc1s", Basis::etc1s}, {"none", Basis::none}, {"uastc", Basis::uastc}};

struct TextureInfoOptions
{
    std::vector<std::string> files;
    std::string transcode = "dxt";
    bool json = false;
};

struct ConvertOptions
{
    std::vector<std::string> files; ///< the last one is written
    std::string transcode;          ///< empty: RGBA
    std::string basis;              ///< empty: ETC1S
    std::optional<int> quality;
    std::optional<int> level;
    std::optional<int> threads;
    std::optional<int> layer;
    bool cube = false;
    bool json = false;
};

constexpr int kEtc1sQuality = 128;
constexpr int kEtc1sLevel = 2;
constexpr int kJpegQuality = 90;
constexpr int kLargestJpegQuality = 100;

/** Prints what can be told of a file, on the way out of an error too. Returns why the rest cannot be told. */
std::string reportTexture(const std::string& path, const TextureInfoOptions& options, Json& report)
{
    Json told{{"path", path}};
    std::string problem;
    try
    {
        const std::string bytes = readTextureFile(path);
        const TextureHeader header = parseTextureHeader(bytes, path);
        told = headerToJson(header, bytes.size(), path);
        if (!options.json) printHeader(header, bytes.size(), path);
        const LoadedTexture texture = decodeTexture(bytes, path, kTranscodings.at(options.transcode));
        told["readAs"] = picturesToJson(texture);
        if (!options.json) printPictures(texture);
        if (!texture.warnings.empty()) std::cerr << "mvgeo: '" << path << "': " << texture.warnings << '\n';
    }
    catch (const HostError& error)
    {
        problem = error.what();
        told["problem"] = problem;
    }
    report["files"].push_back(told);
    return problem;
}

void runTextureInfo(const TextureInfoOptions& options)
{
    bool isComplete = true;
    Json report{{"files", Json::array()}};
    for (const std::string& path : options.files)
    {
        if (!options.json && &path != &options.files.front()) std::cout << '\n';
        const std::string problem = reportTexture(path, options, report);
        if (problem.empty()) continue;
        std::cout.flush();
        std::cerr << "mvgeo: " << problem << '\n';
        isComplete = false;
    }
    if (options.json) printJson(report);
    if (!isComplete) throw CommandFailed{EXIT_FAILURE};
}

enum class Target
{
    ktx,
    png,
    jpeg
};

Target targetOf(const std::string& file)
{
    const std::string extension = osgDB::getLowerCaseFileExtension(file);
    if (extension == "ktx" || extension == "ktx2") return Target::ktx;
    if (extension == "png") return Target::png;
    if (extension == "jpg" || extension == "jpeg") return Target::jpeg;
    throw HostError("'" + file + "' does not end in .ktx, .ktx2, .png or .jpg.");
}

Basis basisOf(const ConvertOptions& options)
{
    return options.basis.empty() ? Basis::etc1s : kBases.at(options.basis);
}

void checkKtxOptions(const ConvertOptions& options)
{
    const Basis basis = basisOf(options);
    if (basis != Basis::etc1s && (options.quality || options.level))
        throw HostError("--quality and --level are settings of etc1s; " + options.basis + " has none.");
    if (basis == Basis::none && options.threads) throw HostError("--threads is for etc1s and uastc only.");
    if (basis != Basis::none && !options.transcode.empty() && options.transcode != "rgba")
        throw HostError("--transcode " + options.transcode +
                        " gives blocks that cannot be encoded again; add --basis none.");
}

void checkPictureOptions(const ConvertOptions& options, Target target, const std::string& out)
{
    if (options.cube || !options.basis.empty() || options.level || options.threads)
        throw HostError("--cube, --basis, --level and --threads are for KTX files, and '" + out + "' is none.");
    if (!options.transcode.empty() && options.transcode != "rgba")
        throw HostError("--transcode " + options.transcode + " gives blocks, which no PNG or JPEG holds.");
    if (options.quality && target == Target::png) throw HostError("--quality: a PNG file has no quality to choose.");
    if (options.quality.value_or(1) > kLargestJpegQuality) throw HostError("--quality: a JPEG file has 1 to 100.");
    if (options.files.size() > 2) throw HostError("'" + out + "' can hold one picture only; several make a KTX file.");
}

/** Asked before long work begins. */
Target checkConversion(const ConvertOptions& options)
{
    if (options.files.size() < 2) throw HostError("Two files are required: one to read and, last, the one to write.");
    const std::string& out = options.files.back();
    const Target target = targetOf(out);
    checkOutputPath(out, "texture");
    std::vector<NamedFile> inputs;
    for (auto file = options.files.begin(); file != options.files.end() - 1; ++file)
        inputs.push_back({"IN", *file});
    checkFilesDiffer({{"OUT", out}}, inputs);
    if (target == Target::ktx)
        checkKtxOptions(options);
    else
        checkPictureOptions(options, target, out);
    return target;
}

struct Input
{
    std::vector<NamedPicture> pictures;
    bool isCubeMap = false;
};

void addInput(Input& input, const std::string& file, const ConvertOptions& options)
{
    const auto transcoding = options.transcode.empty() ? Transcoding::rgba : kTranscodings.at(options.transcode);
    const LoadedTexture texture = decodeTexture(readTextureFile(file), file, transcoding);
    const std::vector<NamedPicture> taken = selectPictures(texture, file, options.layer);
    const bool isOnly = options.files.size() == 2;
    if (!isOnly && taken.size() > 1)
        throw HostError("'" + file + "' holds " + std::to_string(taken.size()) +
                        " pictures; only files of one can be put together, and --layer takes one of them.");
    if (texture.header.isCubeMap() && texture.header.layers > 1 && taken.size() > 1)
        throw HostError("'" + file + "' is an array of cube maps, which cannot be written; --layer takes one picture.");
    input.isCubeMap = isOnly && texture.header.isCubeMap() && taken.size() == 6;
    input.pictures.insert(input.pictures.end(), taken.begin(), taken.end());
    if (!texture.warnings.empty()) std::cerr << "mvgeo: '" << file << "': " << texture.warnings << '\n';
}

Input readInputs(const ConvertOptions& options)
{
    Input input;
    TerminalProgress progress("reading:");
    const std::size_t count = options.files.size() - 1;
    for (std::size_t i = 0; i < count; ++i)
    {
        progress.showFraction(static_cast<double>(i) / static_cast<double>(count), options.files[i]);
        addInput(input, options.files[i], options);
    }
    return input;
}

/** The encoder does not tell how far it is, so the time that it takes is shown. */
std::string showElapsedTime(const std::function<std::string()>& work)
{
    using namespace std::chrono;
    TerminalProgress progress("encoding:");
    const auto start = steady_clock::now();
    std::future<std::string> result = std::async(std::launch::async, work);
    while (result.wait_for(milliseconds(200)) == std::future_status::timeout)
        progress.showText(readableSeconds(duration<double>(steady_clock::now() - start).count()));
    return result.get();
}

std::string makeKtx(const Input& input, const ConvertOptions& options)
{
    EncoderSettings settings;
    settings.basis = basisOf(options);
    settings.quality = options.quality.value_or(kEtc1sQuality);
    settings.level = options.level.value_or(kEtc1sLevel);
    settings.threads = options.threads.value_or(static_cast<int>(std::max(1U, std::thread::hardware_concurrency())));
    settings.isCubeMap = options.cube || input.isCubeMap;
    checkSameShape(input.pictures, settings.isCubeMap);
    const std::vector<osg::ref_ptr<osg::Image>> pictures =
        picturesForKtx(input.pictures, settings.basis, settings.isCubeMap);
    return showElapsedTime([&] { return encodeKtx(pictures, settings, options.files.back()); });
}

std::string makePicture(const Input& input, Target target, const ConvertOptions& options)
{
    const std::string& out = options.files.back();
    if (input.pictures.size() > 1)
        throw HostError("'" + options.files.front() + "' holds " + std::to_string(input.pictures.size()) +
                        " pictures and '" + out + "' can hold one; --layer takes one of them.");
    const osg::ref_ptr<osg::Image> picture = pictureForFile(input.pictures.front(), target == Target::png);
    return encodePicture(*picture, target == Target::png ? "png" : "jpg", options.quality.value_or(kJpegQuality), out);
}

void runConvert(const ConvertOptions& options)
{
    const Target target = checkConversion(options);
    const Input input = readInputs(options);
    const std::string bytes = target == Target::ktx ? makeKtx(input, options) : makePicture(input, target, options);
    const std::string& out = options.files.back();
    const TextureHeader header = parseTextureHeader(bytes, out);
    saveFile(bytes, out, "texture");
    if (options.json)
        printJson(headerToJson(header, bytes.size(), out));
    else
        std::cout << "Wrote " << out << ": " << nameOf(header.container) << ", " << sizeText(header) << ", "
                  << formatText(header) << ", " << header.compression << "; " << readableBytes(bytes.size()) << ".\n";
}

void addTranscodeOption(Command command, std::string& transcode, const char* help)
{
    command.add("--transcode", transcode, help).oneOf({"dxt", "etc", "rgba"});
}

void addInfo(Command texture)
{
    const auto options = std::make_shared<TextureInfoOptions>();
    Command command = texture.addCommand("info", "tell what KTX, KTX 2, PNG and JPEG files hold");
    command.add("FILE", options->files, "files to look at, whatever their names end in").required();
    addTranscodeOption(command, options->transcode, "what a Basis texture is read as [dxt]");
    addJsonOption(command, options->json);
    command.onRun([options] { runTextureInfo(*options); });
}

void addEncoderOptions(Command command, ConvertOptions& options)
{
    command
        .add("--basis", options.basis,
             "how a KTX file is compressed: etc1s for small files, uastc for better pictures, none for "
             "pixels as they are [etc1s]")
        .oneOf({"etc1s", "uastc", "none"});
    command.add("--quality", options.quality, "of etc1s, 1 to 255 [128]; of JPEG, 1 to 100 [90]").between(1, 255);
    // The writer takes 0 for an option that was forgotten, and then works as hard as it can.
    command.add("--level", options.level, "how hard etc1s tries, 1 is fast and 5 is slow [2]").between(1, 5);
    command.add("--threads", options.threads, "threads that encode [as many as the machine has]").between(1, 256);
}

void addConvert(Command texture)
{
    const auto options = std::make_shared<ConvertOptions>();
    Command command = texture.addCommand(
        "convert", "turn KTX, KTX 2, PNG and JPEG files into one of them; several become an array or a cube map");
    command
        .add("FILES", options->files,
             "files to read and, last, the file to write, whose ending says what it becomes: .png, .jpg, or "
             ".ktx and .ktx2, which are both written as KTX 2")
        .required();
    addEncoderOptions(command, *options);
    command.addFlag("--cube", options->cube, "make a cube map of six squares: +X -X +Y -Y +Z -Z");
    command.add("--layer", options->layer, "take one layer, face or slice only, counted from 0")
        .between(0, 1 << 20)
        .typeName("N");
    addTranscodeOption(command, options->transcode,
                       "what a Basis texture is read as [rgba]; blocks can be written with --basis none");
    addJsonOption(command, options->json);
    command.onRun([options] { runConvert(*options); });
}
} // namespace

void addTextureCommand(Command app)
{
    Command texture = app.addCommand("texture", "look into texture files and convert them");
    texture.requireCommand();
    addInfo(texture);
    addConvert(texture);
}
} // namespace mvgeo::host

#include "commands/Commands.h"
#include "commands/FlightTable.h"
#include "commands/TileReport.h"
#include "commands/ViewOptions.h"
#include "common/HostError.h"
#include "common/ProcessMemory.h"
#include "common/ReadableText.h"
#include "common/TerminalProgress.h"
#include "common/WholeFile.h"
#include "measure/ShapeInput.h"
#include "view/CameraPath.h"
#include "view/PictureFile.h"
#include "view/SceneRenderer.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <thread>

namespace mvgeo::host
{
namespace
{
struct FlyOptions
{
    ModelOptions model;
    ViewOptions view;
    unsigned int frames = 300;
    std::string path;
    unsigned int pictureEvery = 0; // 0: no pictures
    std::string pictureFolder;
    std::string csv; // "-": standard output
    int maxPagedLods = -1;
    bool freeRunning = false;
    double rate = 0.0; // frames a second at most; 0: as fast as they come
    std::string line;  // "": nothing is measured on the way
    bool json = false;
};

/** Lays a line onto the surface again and again: tiles that come and go must not change the answer. */
class MeasuredLine
{
public:
    MeasuredLine(const std::string& text, HostModel& model) : _model(model)
    {
        if (text.empty()) return;
        _line = readLines(text, {}).front();
        _expected = _model.drape(_line);
    }

    void checkUnchanged(unsigned int frame) const
    {
        if (_line.empty() || isSame(_model.drape(_line), _expected)) return;
        throw HostError("In frame " + std::to_string(frame) + " the draped line is another than before the flight.");
    }

private:
    static bool isSame(const std::vector<Points>& a, const std::vector<Points>& b)
    {
        constexpr double kTolerance = 1e-6;
        const auto isPoint = [](const osg::Vec3d& p, const osg::Vec3d& q) { return (p - q).length() <= kTolerance; };
        const auto isPiece = [&](const Points& p, const Points& q)
        { return std::equal(p.begin(), p.end(), q.begin(), q.end(), isPoint); };
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), isPiece);
    }

    HostModel& _model;
    Points _line;
    std::vector<Points> _expected;
};

/** Where the table goes: a CSV file, CSV on standard output, a table for people there, or nowhere. */
class TableOutput
{
public:
    explicit TableOutput(const FlyOptions& options) : _file(options.csv)
    {
        if (options.csv.empty() && options.json) return;
        if (options.csv.empty() || options.csv == "-")
            _out = &std::cout;
        else
        {
            _stream.open(options.csv, std::ios::binary);
            _out = &_stream;
        }
        _style = options.csv.empty() ? TableStyle::forPeople : TableStyle::csv;
        writeFlightHeading(*_out, _style);
        check();
    }

    void write(const FlightRow& row)
    {
        if (_out) writeFlightRow(*_out, _style, row);
    }

    void finish()
    {
        if (!_out) return;
        _out->flush();
        check();
    }

private:
    void check() const
    {
        if (!*_out) throw HostError("Cannot write the table '" + _file + "'.");
    }

    std::string _file;
    std::ofstream _stream;
    std::ostream* _out = nullptr;
    TableStyle _style = TableStyle::forPeople;
};

/** Draws every n-th frame. Without pictures there is no OpenGL context at all. */
class PictureSeries
{
public:
    PictureSeries(const FlyOptions& options, const OpenModel& open) : _options(options)
    {
        if (options.pictureEvery == 0) return;
        makeFolder(options.pictureFolder);
        _scene = makeScene(options.view, open);
        _renderer = std::make_unique<SceneRenderer>(*_scene, options.view.camera.width, options.view.camera.height);
    }

    void drawIfDue(unsigned int frameNumber, const ViewFrame& frame)
    {
        if (!_renderer || frameNumber % _options.pictureEvery != 0) return;
        std::string digits = std::to_string(frameNumber);
        digits.insert(0, 5 - std::min<std::size_t>(5, digits.size()), '0');
        writePicture(_renderer->draw(frame), _options.pictureFolder + "/frame_" + digits + ".png");
        ++_count;
    }

    [[nodiscard]] unsigned int count() const { return _count; }

private:
    const FlyOptions& _options;
    osg::ref_ptr<osg::Group> _scene;
    std::unique_ptr<SceneRenderer> _renderer;
    unsigned int _count = 0;
};

struct FlightSummary
{
    double seconds = 0.0;
    double longestFrameSeconds = 0.0;
    std::uint64_t mostTilesHeld = 0;
    std::uint64_t mostTextureBytes = 0;
    ViewFrame lastFrame;

    void add(const FlightRow& row)
    {
        seconds += row.seconds;
        longestFrameSeconds = std::max(longestFrameSeconds, row.seconds);
        mostTilesHeld = std::max(mostTilesHeld, row.statistics.tilesHeld);
        mostTextureBytes = std::max(mostTextureBytes, row.textureBytes);
    }
};

void limitPagedLods(int limit)
{
    if (limit < 0) return;
    const std::string text = std::to_string(limit);
#if defined(_WIN32)
    _putenv_s("OSG_MAX_PAGEDLOD", text.c_str());
#else
    setenv("OSG_MAX_PAGEDLOD", text.c_str(), 1);
#endif
}

FlightRow flyOneFrame(HostModel& model, const ViewFrame& frame, const FlyOptions& options)
{
    const auto start = HostModel::Clock::now();
    if (options.freeRunning)
        model.updateOnce(frame);
    else if (!model.converge(frame, deadlineAfter(options.view.timeoutSeconds), {}))
        throw HostError("The view has not converged within " + jsonText(options.view.timeoutSeconds) + " seconds.");
    FlightRow row;
    row.seconds = std::chrono::duration<double>(HostModel::Clock::now() - start).count();
    row.statistics = model.statistics();
    row.visible = model.tiles().visibleIds().size();
    row.triangles = model.tiles().visibleTriangleCount();
    row.textureBytes = model.tiles().textures().byteCount();
    return row;
}

/** When a display of this rate would show frame `number`. */
HostModel::Clock::time_point frameEnd(HostModel::Clock::time_point start, unsigned int number, double rate)
{
    const std::chrono::duration<double> seconds((number + 1.0) / rate);
    return start + std::chrono::duration_cast<HostModel::Clock::duration>(seconds);
}

FlightSummary fly(const FlyOptions& options, const OpenModel& open, const CameraPath& path, PictureSeries& pictures)
{
    FlightSummary summary;
    TableOutput table(options);
    TerminalProgress progress("flying:");
    const MeasuredLine line(options.line, *open.model);
    ViewCamera camera = makeCamera(options.view, open);
    const auto start = HostModel::Clock::now();
    for (unsigned int i = 0; i < options.frames; ++i)
    {
        const CameraKey key = path.at(options.frames == 1 ? 0.0 : static_cast<double>(i) / (options.frames - 1));
        camera.eye = key.eye;
        camera.target = key.target;
        const ViewFrame frame = camera.frame(open.extents);
        FlightRow row = flyOneFrame(*open.model, frame, options);
        row.frame = i;
        line.checkUnchanged(i);
        table.write(row);
        summary.add(row);
        summary.lastFrame = frame;
        pictures.drawIfDue(i, frame);
        progress.showFraction(static_cast<double>(i + 1) / options.frames);
        if (options.rate > 0.0) std::this_thread::sleep_until(frameEnd(start, i, options.rate));
    }
    table.finish();
    return summary;
}

Json reportOf(const FlyOptions& options, const OpenModel& open, const FlightSummary& summary, unsigned int pictures)
{
    Json report{{"frames", options.frames},
                {"updates", open.model->frameCount()},
                {"seconds", summary.seconds},
                {"longestFrameSeconds", summary.longestFrameSeconds},
                {"freeRunning", options.freeRunning},
                {"mostTilesHeld", summary.mostTilesHeld},
                {"mostTextureBytes", summary.mostTextureBytes},
                {"peakResidentBytes", peakResidentBytes()},
                {"pictures", pictures},
                {"view", toJson(summary.lastFrame.view)},
                {"projection", toJson(summary.lastFrame.projection)}};
    report.update(tileReport(*open.model));
    return report;
}

void printForPeople(const FlyOptions& options, const OpenModel& open, const FlightSummary& summary)
{
    const GeoMeshStatistics s = open.model->statistics();
    std::cout << options.frames << " frames in " << readableSeconds(summary.seconds) << ": " << s.tilesLoaded
              << " tiles loaded, " << s.tilesExpired << " expired, " << s.tilesFailed << " failed; at most "
              << summary.mostTilesHeld << " tiles held, " << readableBytes(summary.mostTextureBytes) << " of textures, "
              << readableBytes(peakResidentBytes()) << " resident.\n";
    if (!options.line.empty()) std::cout << "The line was draped in each frame, always alike.\n";
    printTerrainTiles(*open.model);
}

void checkOptions(const FlyOptions& options)
{
    if (options.json && options.csv == "-") throw HostError("--json and --csv - would both write to standard output.");
    if ((options.pictureEvery > 0) != !options.pictureFolder.empty())
        throw HostError("--every and --out-dir go together.");
}

void runFly(const FlyOptions& options)
{
    checkOptions(options);
    limitPagedLods(options.maxPagedLods); // read when a model is made
    const OpenModel open = openModel(options.model);
    const CameraPath path = options.path.empty()
                                ? overviewAndLowPass(makeCamera(options.view, open), open.groundExtents)
                                : readCameraPath(options.path);
    PictureSeries pictures(options, open);
    const FlightSummary summary = fly(options, open, path, pictures);
    if (options.json)
        printJson(reportOf(options, open, summary, pictures.count()));
    else if (options.csv != "-")
        printForPeople(options, open, summary);
    failOnViolations(open.model->tiles(), options.freeRunning);
}
} // namespace

void addFlyCommand(Command app)
{
    const auto options = std::make_shared<FlyOptions>();
    Command command = app.addCommand("fly", "fly along a path and tell what each frame loaded and dropped");
    addModelOptions(command, options->model);
    command.add("--frames", options->frames, "frames of the flight").between(1, 1000000).showDefault();
    command.add("--path", options->path, "keyframes: six numbers a line (eye, target), or JSON").typeName("FILE");
    command.add("--every", options->pictureEvery, "draw every n-th frame").between(1, 1000000).typeName("N");
    command.add("--out-dir", options->pictureFolder, "folder for the pictures").typeName("DIR");
    command.add("--csv", options->csv, "write the table as CSV, '-' for standard output").typeName("FILE");
    command.add("--max-paged-lods", options->maxPagedLods, "paged nodes kept before old ones expire")
        .between(0, 1000000000)
        .typeName("N");
    const CommandOption freeRunning =
        command.addFlag("--free-running", options->freeRunning, "do not wait for the tiles of a frame");
    command.add("--rate", options->rate, "with --free-running: frames a second, as a display would show them")
        .between(0.1, 1000.0)
        .needs(freeRunning)
        .typeName("HZ");
    command.add("--line", options->line, "drape this line in each frame and fail if the answer changes")
        .typeName("\"X,Y X,Y ...\"");
    addPictureOptions(command, options->view);
    addTimeoutOption(command, options->view);
    addJsonOption(command, options->json);
    command.onRun([options] { runFly(*options); });
}
} // namespace mvgeo::host

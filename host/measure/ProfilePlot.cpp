#include "measure/ProfilePlot.h"

#include "common/HostError.h"
#include "common/ReadableText.h"
#include "common/WholeFile.h"
#include "measure/ResultText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace mvgeo::host
{
namespace
{
// Pixels.
constexpr double kWidth = 1000.0;
constexpr double kHeight = 420.0;
constexpr double kLeft = 80.0;
constexpr double kRight = 970.0;
constexpr double kTop = 62.0;
constexpr double kBottom = 360.0;
constexpr double kLeastStep = 0.15; // between points of a curve: nearer ones are one

constexpr int kTicksAcross = 11;
constexpr int kTicksUp = 7;
constexpr std::size_t kMostCorners = 40;    // more of the line's bends than these would be a hatching
constexpr double kLeastHeightRange = 0.1;   // metres: below, level ground would look like mountains
constexpr double kLongestInMetres = 5000.0; // longer lines are labelled in kilometres
constexpr double kLargestHeight = 1e9;      // beyond, numbers do not fit
constexpr const char* kSurfaceColour = "#b3432b";

double roundStep(double atLeast)
{
    const double power = std::pow(10.0, std::floor(std::log10(atLeast)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= atLeast * (1.0 - 1e-9)) return factor * power;
    return 10.0 * power;
}

AxisTicks ticksOfStep(double step, double firstIndex, double lastIndex)
{
    AxisTicks ticks;
    ticks.step = step;
    ticks.first = firstIndex * step;
    ticks.count = static_cast<int>(lastIndex - firstIndex) + 1;
    ticks.decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
    return ticks;
}

std::string numberText(double value, int decimals)
{
    return fixedText(value == 0.0 ? 0.0 : value, decimals); // no -0
}

std::string pixels(double value)
{
    return numberText(value, 1);
}

/** As it can stand in XML, whatever bytes a file name has. */
std::string xmlText(const std::string& text)
{
    const std::string utf8 = Json::parse(jsonText(text));
    std::string escaped;
    for (const char c : utf8)
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else
            escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    return escaped;
}

std::string textAt(double x, double y, const std::string& attributes, const std::string& text)
{
    return "<text x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" " + attributes + ">" + xmlText(text) + "</text>\n";
}

std::string lineFromTo(double x1, double y1, double x2, double y2, const std::string& attributes)
{
    return "<line x1=\"" + pixels(x1) + "\" y1=\"" + pixels(y1) + "\" x2=\"" + pixels(x2) + "\" y2=\"" + pixels(y2) +
           "\" " + attributes + "/>\n";
}

/** What the plot shows, and where it lies on the sheet. */
class Sheet
{
public:
    Sheet(const DrapedLine& line, const ModelSystem& system) : _line(line), _system(system), _figures(figuresOf(line))
    {
        _inKilometres = system.isMetric() && line.length() > kLongestInMetres;
        const double scale = _inKilometres ? 1000.0 : 1.0;
        _across = ticksWithin(0.0, line.length() / scale, kTicksAcross);
        const double low = std::clamp(_figures.lowest, -kLargestHeight, kLargestHeight);
        const double high = std::clamp(_figures.highest, low, kLargestHeight);
        const double missing = std::max(0.0, kLeastHeightRange - (high - low)) / 2.0;
        _up = ticksAround(low - missing, high + missing, kTicksUp);
    }

    [[nodiscard]] std::string grid() const
    {
        std::string text = "<g stroke=\"#dde1e4\" stroke-width=\"1\">\n";
        for (int i = 0; i < _up.count; ++i)
            text += lineFromTo(kLeft, yOf(_up.at(i)), kRight, yOf(_up.at(i)), "");
        for (int i = 0; i < _across.count; ++i)
            text += lineFromTo(xOf(distanceAt(i)), kTop, xOf(distanceAt(i)), kBottom, "");
        text += "</g>\n<g font-size=\"12\" fill=\"#333\">\n";
        for (int i = 0; i < _up.count; ++i)
            text +=
                textAt(kLeft - 8.0, yOf(_up.at(i)) + 4.0, "text-anchor=\"end\"", numberText(_up.at(i), _up.decimals));
        for (int i = 0; i < _across.count; ++i)
            text += textAt(xOf(distanceAt(i)), kBottom + 18.0, "text-anchor=\"middle\"",
                           numberText(_across.at(i), _across.decimals));
        return text + "</g>\n";
    }

    /** Where the given line bends. */
    [[nodiscard]] std::string corners() const
    {
        if (_line.corners.size() > kMostCorners + 2) return {};
        std::string text = "<g stroke=\"#7a8790\" stroke-width=\"1\" stroke-dasharray=\"3 4\">\n";
        for (std::size_t i = 1; i + 1 < _line.corners.size(); ++i)
            text += lineFromTo(xOf(_line.corners[i]), kTop, xOf(_line.corners[i]), kBottom, "");
        return text + "</g>\n";
    }

    [[nodiscard]] std::string curves() const
    {
        std::string text = "<g fill=\"none\" stroke=\"" + std::string(kSurfaceColour) +
                           "\" stroke-width=\"1.6\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n";
        for (const DrapedPiece& piece : _line.pieces)
            text += curve(piece);
        return text + "</g>\n";
    }

    [[nodiscard]] std::string axes() const
    {
        const std::string up = "text-anchor=\"middle\" transform=\"rotate(-90 22 " + pixels(middle()) + ")\"";
        return "<rect x=\"" + pixels(kLeft) + "\" y=\"" + pixels(kTop) + "\" width=\"" + pixels(kRight - kLeft) +
               "\" height=\"" + pixels(kBottom - kTop) + "\" fill=\"none\" stroke=\"#555\" stroke-width=\"1\"/>\n" +
               "<g font-size=\"13\" fill=\"#222\">\n" +
               textAt((kLeft + kRight) / 2.0, kBottom + 42.0, "text-anchor=\"middle\"",
                      "distance along the line (" + (_inKilometres ? "km" : _system.unit) + ")") +
               textAt(22.0, middle(), up, "height (m)") + "</g>\n";
    }

    [[nodiscard]] std::string summary() const
    {
        if (_line.pieces.empty()) return "The line does not meet the model.";
        std::string text = readableLength(_line.length(), _system.unit) + " long, heights " +
                           readableLength(_figures.lowest, "m") + " to " + readableLength(_figures.highest, "m");
        if (_system.isMetric()) text += ", vertical exaggeration " + exaggeration();
        return text;
    }

private:
    [[nodiscard]] static double middle() { return (kTop + kBottom) / 2.0; }
    [[nodiscard]] double distanceAt(int tick) const { return _across.at(tick) * (_inKilometres ? 1000.0 : 1.0); }
    [[nodiscard]] double xOf(double distance) const { return kLeft + (kRight - kLeft) * distance / _line.length(); }
    [[nodiscard]] double yOf(double height) const
    {
        return kBottom - (kBottom - kTop) * (height - _up.first) / (_up.last() - _up.first);
    }

    [[nodiscard]] std::string exaggeration() const
    {
        const double up = (kBottom - kTop) / (_up.last() - _up.first);
        const double across = (kRight - kLeft) / _line.length();
        char text[64];
        std::snprintf(text, sizeof text, "%.3g\xC3\x97", up / across);
        return text;
    }

    [[nodiscard]] std::string curve(const DrapedPiece& piece) const
    {
        std::string text = "<path d=\"";
        double lastX = 0.0;
        double lastY = 0.0;
        for (std::size_t i = 0; i < piece.points.size(); ++i)
        {
            const double x = xOf(piece.distances[i]);
            const double y = std::clamp(yOf(piece.points[i].z()), kTop, kBottom);
            const bool isEnd = i == 0 || i + 1 == piece.points.size();
            if (!isEnd && std::hypot(x - lastX, y - lastY) < kLeastStep) continue;
            text += (i == 0 ? "M" : " L") + numberText(x, 2) + " " + numberText(y, 2);
            lastX = x;
            lastY = y;
        }
        return text + "\"/>\n";
    }

    const DrapedLine& _line;
    const ModelSystem& _system;
    LineFigures _figures;
    bool _inKilometres = false;
    AxisTicks _across;
    AxisTicks _up;
};
} // namespace

AxisTicks ticksWithin(double low, double high, int wanted)
{
    const double step = roundStep((high - low) / std::max(1, wanted - 1));
    return ticksOfStep(step, std::ceil(low / step - 1e-9), std::floor(high / step + 1e-9));
}

AxisTicks ticksAround(double low, double high, int wanted)
{
    const double step = roundStep((high - low) / std::max(1, wanted - 1));
    return ticksOfStep(step, std::floor(low / step + 1e-9), std::ceil(high / step - 1e-9));
}

void checkProfilePath(const std::string& file)
{
    const std::string extension = std::filesystem::path(file).extension().string();
    if (extension != ".svg" && extension != ".SVG")
        throw HostError("The profile '" + file + "' does not end in .svg: it is drawn as SVG only.");
    checkOutputPath(file, "profile");
}

std::string makeProfile(const DrapedLine& line, const ModelSystem& system, const std::string& model)
{
    const Sheet sheet(line, system);
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
        pixels(kWidth) + "\" height=\"" + pixels(kHeight) + "\" viewBox=\"0 0 " + pixels(kWidth) + " " +
        pixels(kHeight) + "\" font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\">\n" +
        "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    text += textAt(kLeft, 28.0, "font-size=\"17\" font-weight=\"bold\" fill=\"#111\"", "Profile across " + model);
    text += textAt(kLeft, 48.0, "font-size=\"12.5\" fill=\"#555\"", sheet.summary());
    return text + sheet.grid() + sheet.corners() + sheet.curves() + sheet.axes() + "</svg>\n";
}
} // namespace mvgeo::host

#include "Host/ResponsePlot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

namespace lum::host {

namespace {

constexpr double kWidth = 960.0; // of the picture, in user units
constexpr double kHeight = 600.0;
constexpr double kLeft = 72.0; // of both panels
constexpr double kRight = 928.0;
constexpr double kLabelledHz[] = {10,   20,   30,   50,   100,   200,   300,   500,
                                  1000, 2000, 3000, 5000, 10000, 20000, 30000, 50000};

constexpr const char* kStyle = R"(<style>
text { font-family: "DejaVu Sans", "Liberation Sans", Helvetica, Arial, sans-serif; fill: #4a5160; font-size: 12px }
.title { font-size: 18px; font-weight: bold; fill: #1d2330 }
.axis { font-size: 12px; fill: #1d2330 }
.panel { fill: #fbfcfd; stroke: #b9c0cc }
.minor { stroke: #eceff3 }
.major { stroke: #d5dae2 }
.zero { stroke: #8d96a6 }
.magnitude { fill: none; stroke: #b4461e; stroke-width: 2.2; stroke-linejoin: round }
.phase { fill: none; stroke: #2b6a9c; stroke-width: 1.6; stroke-linejoin: round }
</style>
)";

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        default:
            result += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
    }
    return result;
}

std::string line(const char* style, double x1, double y1, double x2, double y2) {
    return std::string("<line class=\"") + style + "\" x1=\"" + number(x1) + "\" y1=\"" +
           number(y1) + "\" x2=\"" + number(x2) + "\" y2=\"" + number(y2) + "\"/>\n";
}

std::string label(double x, double y, const char* anchor, const std::string& text,
                  const char* style = "") {
    return "<text class=\"" + std::string(style) + "\" x=\"" + number(x) + "\" y=\"" + number(y) +
           "\" text-anchor=\"" + anchor + "\">" + escaped(text) + "</text>\n";
}

std::string sidewaysLabel(double x, double y, const std::string& text) {
    return "<text class=\"axis\" text-anchor=\"middle\" transform=\"translate(" + number(x) + " " +
           number(y) + ") rotate(-90)\">" + escaped(text) + "</text>\n";
}

/// A value axis: what stands at the bottom and top of a panel, and the step between its lines.
struct ValueAxis {
    double low = 0.0;
    double high = 0.0;
    double step = 1.0;
};

/// The axis that holds all values, with at most ten steps of 0.1, 0.2, 0.5, 1, 2, 5, ...
ValueAxis roundAxis(double low, double high) {
    double step = 0.1;
    constexpr double kFactors[] = {2.0, 2.5, 2.0};
    for (int i = 0; (high - low) / step > 10.0; ++i) step *= kFactors[i % 3];
    return {std::floor(low / step) * step, std::ceil(high / step) * step, step};
}

/// One panel of the picture.
struct Panel {
    double top;
    double bottom;
    double lowHz;
    double highHz;
    ValueAxis axis;

    double x(double hz) const {
        return kLeft + (kRight - kLeft) * std::log(hz / lowHz) / std::log(highHz / lowHz);
    }
    double y(double value) const {
        return bottom - (bottom - top) * (value - axis.low) / (axis.high - axis.low);
    }

    std::string frame() const {
        return "<rect class=\"panel\" x=\"" + number(kLeft) + "\" y=\"" + number(top) +
               "\" width=\"" + number(kRight - kLeft) + "\" height=\"" + number(bottom - top) +
               "\"/>\n";
    }
    std::string frequencyLines() const;
    std::string frequencyLabels() const;
    std::string valueLines(const char* format) const;
    std::string curve(const char* style, const std::vector<ResponsePoint>& points,
                      const std::function<double(const ResponsePoint&)>& value,
                      double largestJump) const;
};

std::string Panel::frequencyLines() const {
    std::string svg;
    for (double decade = 1.0; decade < highHz; decade *= 10.0) {
        for (int digit = 1; digit < 10; ++digit) {
            const double hz = decade * digit;
            if (hz <= lowHz * 1.001 || hz >= highHz * 0.999) continue;
            svg += line(digit == 1 ? "major" : "minor", x(hz), top, x(hz), bottom);
        }
    }
    return svg;
}

std::string Panel::frequencyLabels() const {
    std::string svg;
    for (const double hz : kLabelledHz) {
        if (hz < lowHz * 0.999 || hz > highHz * 1.001) continue;
        const auto digits = static_cast<int>(hz < 1000.0 ? hz : hz / 1000.0);
        svg += line("zero", x(hz), bottom, x(hz), bottom + 5.0);
        svg += label(x(hz), bottom + 19.0, "middle",
                     std::to_string(digits) + (hz < 1000.0 ? "" : "k"));
    }
    return svg;
}

std::string Panel::valueLines(const char* format) const {
    std::string svg;
    const int count = static_cast<int>(std::lround((axis.high - axis.low) / axis.step));
    for (int i = 0; i <= count; ++i) {
        const double value = axis.low + i * axis.step;
        const bool isZero = std::abs(value) < axis.step * 1e-6;
        char text[32] = "0";
        if (!isZero) std::snprintf(text, sizeof text, format, value);
        svg += line(isZero ? "zero" : "major", kLeft, y(value), kRight, y(value));
        svg += label(kLeft - 8.0, y(value) + 4.0, "end", text);
    }
    return svg;
}

/// A line through all points, lifted where the value jumps (a phase that wraps).
std::string Panel::curve(const char* style, const std::vector<ResponsePoint>& points,
                         const std::function<double(const ResponsePoint&)>& value,
                         double largestJump) const {
    std::string path;
    double previous = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double current = std::clamp(value(points[i]), axis.low, axis.high);
        const bool isLifted = i == 0 || std::abs(current - previous) > largestJump;
        path +=
            (isLifted ? "M" : "L") + number(x(points[i].frequencyHz)) + " " + number(y(current));
        previous = current;
    }
    return std::string("<path class=\"") + style + "\" d=\"" + path + "\"/>\n";
}

ValueAxis magnitudeAxis(const std::vector<ResponsePoint>& points) {
    constexpr double kDeepestDb = 120.0; // below the peak; a notch may reach minus infinity
    const auto [low, high] = std::ranges::minmax(points, {}, &ResponsePoint::magnitudeDb);
    const double top = std::max(high.magnitudeDb, 0.0);
    return roundAxis(std::min(std::max(low.magnitudeDb, top - kDeepestDb), 0.0) - 1.0, top + 1.0);
}

/// Rounding noise of a linear-phase response stays in the middle of a quiet panel.
ValueAxis phaseAxis(const std::vector<ResponsePoint>& points) {
    double widest = 0.0;
    for (const auto& point : points) widest = std::max(widest, std::abs(point.phaseDegrees));
    for (const double reach : {10.0, 45.0, 90.0}) {
        if (widest <= reach) return {-reach, reach, reach / 2.0};
    }
    return {-180.0, 180.0, 90.0};
}

} // namespace

std::string responseSvg(const std::vector<ResponsePoint>& points, const std::string& title,
                        const std::string& subtitle) {
    const double lowHz = points.front().frequencyHz;
    const double highHz = points.back().frequencyHz;
    const Panel magnitude{72.0, 388.0, lowHz, highHz, magnitudeAxis(points)};
    const Panel phase{416.0, 540.0, lowHz, highHz, phaseAxis(points)};
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " +
                      number(kWidth) + " " + number(kHeight) + "\" width=\"" + number(kWidth) +
                      "\" height=\"" + number(kHeight) + "\">\n" + kStyle;
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    svg += label(kLeft, 32.0, "start", title, "title") + label(kLeft, 54.0, "start", subtitle);
    for (const Panel* panel : {&magnitude, &phase}) svg += panel->frame() + panel->frequencyLines();
    svg += magnitude.valueLines("%+g") + phase.valueLines("%+g") + phase.frequencyLabels();
    svg += magnitude.curve(
        "magnitude", points, [](const auto& p) { return p.magnitudeDb; }, 1e9);
    svg += phase.curve(
        "phase", points, [](const auto& p) { return p.phaseDegrees; }, 180.0);
    svg += sidewaysLabel(22.0, 230.0, "Magnitude (dB)") + sidewaysLabel(22.0, 478.0, "Phase (°)");
    svg += label(0.5 * (kLeft + kRight), 582.0, "middle", "Frequency (Hz)", "axis");
    return svg + "</svg>\n";
}

} // namespace lum::host

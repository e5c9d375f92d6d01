// SPDX-License-Identifier: Apache-2.0
#include "svg/CompareSvg.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "timeline/LockSpans.h"
#include "svg/SvgParts.h"

namespace qvnperfctl {
namespace {

using svg::escape;
using svg::fit;
using svg::num;

constexpr double kWidth = 1200;
constexpr double kLeft = 150;
constexpr double kRight = 30;
constexpr double kChartHeight = 110;
constexpr const char* kColourA = "#4e79a7";
constexpr const char* kColourB = "#e15759";
constexpr const char* kDashesB = "7,4";

// The steps of side A (both sides play the same script), and each side's events; an
// event both sides had within `sameWithinUs` of each other is shown once.
std::vector<svg::Marker> markersOf(const Picture& a, const Picture& b, int64_t sameWithinUs) {
    std::vector<svg::Marker> markers;
    for (const auto& step : a.steps)
        markers.push_back({step.timeUs, step.label, false});
    std::vector<bool> shared(b.events.size(), false);
    for (const auto& e : a.events) {
        std::string sides = "A";
        for (size_t i = 0; i < b.events.size(); ++i) {
            if (!shared[i] && b.events[i].label == e.label &&
                std::llabs(b.events[i].timeUs - e.timeUs) <= sameWithinUs) {
                shared[i] = true;
                sides = "A and B";
                break;
            }
        }
        markers.push_back({e.timeUs, sides + ": " + e.label, true});
    }
    for (size_t i = 0; i < b.events.size(); ++i) {
        if (!shared[i])
            markers.push_back({b.events[i].timeUs, "B: " + b.events[i].label, true});
    }
    std::stable_sort(
        markers.begin(), markers.end(), [](const svg::Marker& x, const svg::Marker& y) {
            return x.timeUs < y.timeUs || (x.timeUs == y.timeUs && !x.event && y.event);
        });
    return markers;
}

// One side's options beside a sample of its line; returns the y of the next.
double drawSideLegend(std::ostream& out, double y, const SideLabel& label, const svg::Line& line) {
    out << "<line x1=\"12\" y1=\"" << num(y - 4) << "\" x2=\"44\" y2=\"" << num(y - 4)
        << "\" stroke=\"" << line.colour << "\" stroke-width=\"2\""
        << (line.dashes.empty() ? "" : " stroke-dasharray=\"" + line.dashes + "\"")
        << "/><text x=\"50\" y=\"" << num(y) << "\">"
        << escape(fit(label.name + ": " + (label.options.empty() ? "(no options)" : label.options),
                      170))
        << "</text>\n";
    return y + 16;
}

// One resource's chart, A solid and B dashed, headed by whether the sides differ on it;
// returns the y of the next.
double drawResourceChart(std::ostream& out, const svg::TimeScale& scale, double y,
                         const Comparison& comparison, const StepSeries& a, const StepSeries& b) {
    const bool cpu = a.resource.find("CPUFREQ") != std::string::npos;
    const bool differs = std::any_of(comparison.resources.begin(), comparison.resources.end(),
                                     [&](const auto& r) { return r.name == a.resource; });
    const svg::Line la{&a.points, kColourA, ""}, lb{&b.points, kColourB, kDashesB};
    out << "<text x=\"8\" y=\"" << num(y - 10) << "\"><tspan font-weight=\"bold\">"
        << escape(a.label) << "</tspan><tspan dx=\"10\" fill=\""
        << (differs ? "#b03030" : "#666666") << "\">"
        << (differs ? "differs" : "same on both sides") << "</tspan></text>\n";
    y = svg::stepChart(out, scale, y, kChartHeight, cpu ? "GHz" : "OPP", cpu ? 1e6 : 1, {la, lb},
                       {});
    return y + 34;
}

// A red line down from the markers through the charts where the sides first part.
void drawFirstDifference(std::ostream& out, const svg::TimeScale& scale,
                         const ResourceDifference& first, double top, double labelTop,
                         double bottom) {
    const double fx = scale.x(first.first.timeUs);
    out << "<g><title>"
        << escape("first difference: " + formatTime(first.first.timeUs) + ", " + first.first.step)
        << "</title><line x1=\"" << num(fx) << "\" y1=\"" << num(top) << "\" x2=\"" << num(fx)
        << "\" y2=\"" << num(bottom) << "\" stroke=\"#b03030\" stroke-width=\"1\"/>"
        << "<text x=\"" << num(fx + 3) << "\" y=\"" << num(labelTop + 10)
        << "\" font-size=\"9\" fill=\"#b03030\">first difference</text></g>\n";
}

}  // namespace

std::string compareSvg(const Comparison& comparison, const Timeline& a, const Timeline& b,
                       const SideLabel& labelA, const SideLabel& labelB) {
    const Picture pa = buildPicture(a), pb = buildPicture(b);
    const svg::TimeScale scale(std::max(a.endUs, b.endUs), kLeft, kWidth - kLeft - kRight);
    // Closer than a pixel or so is the same moment in the picture.
    const svg::MarkerRow markers(scale, markersOf(pa, pb, scale.endUs / 500));
    std::ostringstream body;

    double y = drawSideLegend(body, 44, labelA, {nullptr, kColourA, ""});
    y = drawSideLegend(body, y, labelB, {nullptr, kColourB, kDashesB});
    const double markersTop = y + 6;
    body << "<text x=\"8\" y=\"" << num(markersTop + 10)
         << "\" font-weight=\"bold\">steps and events</text>\n";
    y = markersTop + std::max(markers.height(), 14.0) + 30;

    const double chartsTop = y;
    for (size_t i = 0; i < pa.cpuFloors.size() && i < pb.cpuFloors.size(); ++i)
        y = drawResourceChart(body, scale, y, comparison, pa.cpuFloors[i], pb.cpuFloors[i]);
    y = drawResourceChart(body, scale, y, comparison, pa.dram, pb.dram);
    if (auto first = comparison.first())
        drawFirstDifference(body, scale, *first, markersTop, chartsTop, y - 34);
    markers.draw(body, markersTop, y - 34);
    body << "<text x=\"" << num(kWidth - kRight) << "\" y=\"" << num(y - 6)
         << "\" text-anchor=\"end\">time (" << scale.unit.name << ")</text>\n";
    y += 6;
    body << "<text x=\"8\" y=\"" << num(y + 10)
         << "\" font-weight=\"bold\">steps and events</text>\n";
    y += 16;
    y += markers.legend(body, y, 8, kWidth - 16) + 12;

    const std::string title =
        "compare " + a.sessionPath + (a.description.empty() ? "" : " - " + a.description);
    std::ostringstream out;
    svg::document(out, kWidth, y, title, body.str());
    return out.str();
}

}  // namespace qvnperfctl

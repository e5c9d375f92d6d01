// SPDX-License-Identifier: Apache-2.0
#include "svg/SessionSvg.h"

#include <algorithm>
#include <sstream>

#include "svg/SvgParts.h"

namespace qvnperfctl {
namespace {

using svg::escape;
using svg::fit;
using svg::num;

constexpr double kWidth = 1200;
constexpr double kLeft = 240;  // room for lane labels and the y axes
constexpr double kRight = 30;
constexpr double kLaneHeight = 14;
constexpr double kLaneGap = 4;
constexpr size_t kLaneLabelChars = 38;
constexpr double kCpuChartHeight = 180;
constexpr double kDramChartHeight = 80;

const char* const kSeriesColours[] = {"#4e79a7", "#e15759", "#59a14f"};
// Lines of equal value lie on top of each other: dashes keep each one visible.
const char* const kSeriesDashes[] = {"", "8,4", "2,3"};
constexpr const char* kDramColour = "#b07aa1";

std::string laneColour(const std::string& role) {
    if (role.rfind("open", 0) == 0)
        return "#4e79a7";
    if (role.rfind("configure", 0) == 0)
        return "#59a14f";
    if (role.rfind("request", 0) == 0)
        return "#f28e2b";
    if (role.find("boost") != std::string::npos)
        return "#e15759";
    if (role.rfind("EAS", 0) == 0)
        return "#b07aa1";
    return "#9c755f";
}

// Steps and controller events in time order, each step before the events it caused.
std::vector<svg::Marker> markersOf(const Picture& picture) {
    std::vector<svg::Marker> markers;
    for (const auto& step : picture.steps)
        markers.push_back({step.timeUs, step.label, false});
    for (const auto& event : picture.events)
        markers.push_back({event.timeUs, event.label, true});
    std::stable_sort(
        markers.begin(), markers.end(), [](const svg::Marker& a, const svg::Marker& b) {
            return a.timeUs < b.timeUs || (a.timeUs == b.timeUs && !a.event && b.event);
        });
    return markers;
}

class SvgCanvas {
  public:
    SvgCanvas(const Picture& picture, const std::string& title)
        : mPicture(picture),
          mTitle(title),
          mScale(picture.endUs, kLeft, kWidth - kLeft - kRight),
          mMarkers(mScale, markersOf(picture)) {}

    std::string draw() {
        double y = 44;
        const double markersTop = y + 4;
        mBody << "<text x=\"8\" y=\"" << num(markersTop + 10)
              << "\" font-weight=\"bold\">steps and events</text>\n";
        y = markersTop + std::max(mMarkers.height(), 14.0) + 8;
        y = drawLanes(y);
        svg::timeAxis(mBody, mScale, y, true);
        y += 56;

        std::vector<svg::Line> cpu;
        std::vector<std::pair<std::string, svg::Line>> cpuLegend;
        for (size_t i = 0; i < mPicture.cpuFloors.size() && i < 3; ++i) {
            svg::Line line{&mPicture.cpuFloors[i].points, kSeriesColours[i], kSeriesDashes[i]};
            cpu.push_back(line);
            cpuLegend.emplace_back(mPicture.cpuFloors[i].label, line);
        }
        y = svg::stepChart(mBody, mScale, y, kCpuChartHeight, "CPU floor (GHz)", 1e6, cpu,
                           cpuLegend);
        y += 40;
        svg::Line dram{&mPicture.dram.points, kDramColour, ""};
        y = svg::stepChart(mBody, mScale, y, kDramChartHeight, "DRAM OPP floor", 1, {dram},
                           {{mPicture.dram.label, dram}});
        mMarkers.draw(mBody, markersTop, y - 20);
        y += 16;
        mBody << "<text x=\"8\" y=\"" << num(y + 10)
              << "\" font-weight=\"bold\">steps and events</text>\n";
        y += 16;
        y += mMarkers.legend(mBody, y, 8, kWidth - 16) + 12;

        std::ostringstream out;
        svg::document(out, kWidth, y, mTitle, mBody.str());
        return out.str();
    }

  private:
    double drawLanes(double y) {
        mBody << "<text x=\"8\" y=\"" << num(y + 10) << "\" font-weight=\"bold\">locks</text>\n";
        y += 16;
        if (mPicture.bars.empty()) {
            mBody << "<text x=\"" << kLeft << "\" y=\"" << num(y + 10)
                  << "\" fill=\"#666666\">no lock was granted</text>\n";
            return y + kLaneHeight + kLaneGap;
        }
        for (const auto& bar : mPicture.bars) {
            std::string tip = "lock " + std::to_string(bar.handle) + ": " + bar.role +
                              "\nstep: " + bar.origin + "\n" + formatTime(bar.startUs) + " to " +
                              formatTime(bar.endUs) + ", " + bar.ending;
            for (const auto& v : bar.contents.back().second)
                tip += "\n" + v.name + " = " + std::to_string(v.value);
            const double x0 = mScale.x(bar.startUs);
            const double width = std::max(mScale.x(bar.endUs) - x0, 1.5);
            mBody << "<g><title>" << escape(tip) << "</title>"
                  << "<text x=\"" << num(kLeft - 8) << "\" y=\"" << num(y + 11)
                  << "\" text-anchor=\"end\">" << escape(fit(bar.role, kLaneLabelChars))
                  << "</text>"
                  << "<rect x=\"" << num(x0) << "\" y=\"" << num(y) << "\" width=\"" << num(width)
                  << "\" height=\"" << kLaneHeight << "\" fill=\"" << laneColour(bar.role)
                  << "\" fill-opacity=\"0.85\"/>";
            // A re-issue changes the lock's content: a tick where it happened.
            for (size_t i = 1; i < bar.contents.size(); ++i) {
                const double rx = mScale.x(bar.contents[i].first);
                mBody << "<line x1=\"" << num(rx) << "\" y1=\"" << num(y) << "\" x2=\"" << num(rx)
                      << "\" y2=\"" << num(y + kLaneHeight)
                      << "\" stroke=\"black\" stroke-width=\"2\"/>";
            }
            mBody << "</g>\n";
            y += kLaneHeight + kLaneGap;
        }
        return y;
    }

    const Picture& mPicture;
    std::string mTitle;
    svg::TimeScale mScale;
    svg::MarkerRow mMarkers;
    std::ostringstream mBody;
};

}  // namespace

std::string sessionSvg(const Picture& picture, const std::string& title) {
    return SvgCanvas(picture, title).draw();
}

}  // namespace qvnperfctl

#include "SvgWriter.h"

#include <algorithm>
#include <cstdint>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

namespace qvnperfctl {
namespace {

constexpr double kWidth = 1200;
constexpr double kLeft = 240;  // room for lane labels and the y axes
constexpr double kRight = 30;
constexpr double kPlotWidth = kWidth - kLeft - kRight;
constexpr double kLaneHeight = 14;
constexpr double kLaneGap = 4;
constexpr int kMaxStepRows = 12;
constexpr double kStepCharWidth = 5.2;  // average advance of a 9-pixel sans-serif character
constexpr double kStepRowHeight = 13;
constexpr double kCpuChartHeight = 200;
constexpr double kDramChartHeight = 90;
constexpr size_t kLabelChars = 34;

const char* const kSeriesColours[] = {"#4e79a7", "#e15759", "#59a14f"};
// Lines of equal value lie on top of each other: dashes keep each one visible.
const char* const kSeriesDashes[] = {"", "8,4", "2,3"};
constexpr const char* kDramColour = "#b07aa1";

// One character of UTF-8 text starting at `i`: its length in bytes, or 0 when the bytes
// there are not UTF-8 (overlong forms and surrogates included).
size_t utf8Length(const std::string& text, size_t i, uint32_t& codePoint) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    size_t length = lead < 0x80                    ? 1
                    : lead >= 0xc2 && lead <= 0xdf ? 2
                    : lead >= 0xe0 && lead <= 0xef ? 3
                    : lead >= 0xf0 && lead <= 0xf4 ? 4
                                                   : 0;
    if (length == 0 || i + length > text.size())
        return 0;
    codePoint = length == 1 ? lead : lead & (0x7f >> length);
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xc0) != 0x80)
            return 0;
        codePoint = (codePoint << 6) | (byte(i + k) & 0x3f);
    }
    static const uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < kSmallest[length] || codePoint > 0x10ffff ||
        (codePoint >= 0xd800 && codePoint <= 0xdfff))
        return 0;
    return length;
}

// Characters XML 1.0 allows in text.
bool xmlChar(uint32_t c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c <= 0xd7ff) ||
           (c >= 0xe000 && c <= 0xfffd) || c >= 0x10000;
}

// `text` as XML character data: bytes that are not UTF-8 become U+FFFD, characters XML
// does not allow are dropped, and at most `maxChars` characters are kept ("..." marks a
// cut, which falls between characters).
std::string xmlText(const std::string& text, size_t maxChars = SIZE_MAX) {
    std::vector<std::string> chars;
    for (size_t i = 0; i < text.size();) {
        uint32_t c = 0;
        const size_t length = utf8Length(text, i, c);
        if (length == 0) {
            chars.push_back("\xef\xbf\xbd");
            ++i;
            continue;
        }
        if (xmlChar(c))
            chars.push_back(text.substr(i, length));
        i += length;
    }
    if (chars.size() > maxChars) {
        chars.resize(maxChars - 3);
        chars.insert(chars.end(), 3, ".");
    }
    std::string out;
    for (const std::string& c : chars) {
        out += c == "&"    ? "&amp;"
               : c == "<"  ? "&lt;"
               : c == ">"  ? "&gt;"
               : c == "\"" ? "&quot;"
               : c == "'"  ? "&apos;"
                           : c;
    }
    return out;
}

std::string escape(const std::string& text) {
    return xmlText(text);
}

std::string shortened(const std::string& text) {
    return xmlText(text, kLabelChars);
}

std::string num(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f", v);
    return buf;
}

std::string tickLabel(double value, double step) {
    char buf[32];
    std::snprintf(buf, sizeof buf, step >= 1 ? "%.0f" : "%g", value);
    return buf;
}

// A tick step of 1, 2 or 5 times a power of ten giving at most `maxTicks` ticks.
double tickStep(double range, int maxTicks) {
    if (range <= 0)
        return 1;
    double raw = range / maxTicks;
    double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0, 10.0}) {
        if (m * power >= raw)
            return m * power;
    }
    return 10 * power;
}

std::string laneColour(const std::string& origin) {
    if (origin.rfind("open", 0) == 0)
        return "#4e79a7";
    if (origin.rfind("configure", 0) == 0)
        return "#59a14f";
    if (origin.rfind("request", 0) == 0)
        return "#f28e2b";
    if (origin.find("boost") != std::string::npos)
        return "#e15759";
    if (origin.rfind("EAS", 0) == 0)
        return "#b07aa1";
    return "#9c755f";
}

class SvgCanvas {
  public:
    SvgCanvas(const Picture& picture, const std::string& title)
        : mPicture(picture), mTitle(title), mEndUs(std::max<int64_t>(picture.endUs, 1)) {}

    std::string draw() {
        double y = 44;
        double stepsTop = y;
        layOutSteps();
        y += mStepRowCount * kStepRowHeight + 6;
        y = drawLanes(y);
        double lanesBottom = y;
        drawTimeAxis(lanesBottom);
        y += 40;
        y = drawChart(y, kCpuChartHeight, "CPU floor (kHz)", cpuSeries());
        y += 40;
        y = drawChart(y, kDramChartHeight, "DRAM OPP floor", {{&mPicture.dram, kDramColour, ""}});
        y += 40;
        drawSteps(stepsTop, y - 40);

        std::ostringstream svg;
        svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\""
            << num(y) << "\" viewBox=\"0 0 " << kWidth << ' ' << num(y)
            << "\" font-family=\"sans-serif\" font-size=\"11\">\n"
            << "<title>" << escape(mTitle) << "</title>\n"
            << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
            << "<text x=\"8\" y=\"24\" font-size=\"15\" font-weight=\"bold\">" << escape(mTitle)
            << "</text>\n"
            << mBody.str() << "</svg>\n";
        return svg.str();
    }

  private:
    struct Series {
        const StepSeries* series;
        const char* colour;
        const char* dashes;
    };

    std::vector<Series> cpuSeries() const {
        std::vector<Series> series;
        for (size_t i = 0; i < mPicture.cpuFloors.size() && i < 3; ++i) {
            series.push_back({&mPicture.cpuFloors[i], kSeriesColours[i], kSeriesDashes[i]});
        }
        return series;
    }

    double x(int64_t us) const {
        return kLeft + kPlotWidth * static_cast<double>(std::clamp<int64_t>(us, 0, mEndUs)) /
                           static_cast<double>(mEndUs);
    }

    bool anchoredAtEnd(double sx) const { return sx > kLeft + kPlotWidth - 160; }

    // Each step label goes on the first row where it clears the label before it, so that
    // steps at the same moment (all of them at 0 ms, say) stack instead of overprinting.
    void layOutSteps() {
        std::vector<double> rowEnds;
        for (const auto& step : mPicture.steps) {
            size_t chars = 0;
            for (char c : step.label)
                chars += (static_cast<unsigned char>(c) & 0xc0) != 0x80;
            const double width = std::min(chars, kLabelChars) * kStepCharWidth;
            const double sx = x(step.timeUs);
            const double from = anchoredAtEnd(sx) ? sx - 2 - width : sx + 2;
            size_t row = 0;
            while (row < rowEnds.size() && rowEnds[row] + 6 > from)
                ++row;
            if (row == rowEnds.size() && rowEnds.size() == kMaxStepRows) {
                row = std::min_element(rowEnds.begin(), rowEnds.end()) - rowEnds.begin();
            } else if (row == rowEnds.size()) {
                rowEnds.push_back(0);
            }
            rowEnds[row] = from + width;
            mStepRow.push_back(static_cast<int>(row));
        }
        mStepRowCount = std::max<int>(1, static_cast<int>(rowEnds.size()));
    }

    // Steps along the top, each with a guide line down through the lanes and charts.
    void drawSteps(double top, double guideBottom) {
        mBody << "<text x=\"8\" y=\"" << num(top + 10) << "\" font-weight=\"bold\">steps</text>\n";
        for (size_t i = 0; i < mPicture.steps.size(); ++i) {
            const auto& step = mPicture.steps[i];
            double sx = x(step.timeUs);
            double ty = top + 10 + mStepRow[i] * kStepRowHeight;
            mBody << "<g><title>" << escape(num(step.timeUs / 1000.0) + " ms  " + step.label)
                  << "</title>"
                  << "<line x1=\"" << num(sx) << "\" y1=\"" << num(ty - 9) << "\" x2=\"" << num(sx)
                  << "\" y2=\"" << num(guideBottom)
                  << "\" stroke=\"#bbbbbb\" stroke-dasharray=\"2,3\"/>"
                  << "<text y=\"" << num(ty) << "\" font-size=\"9\" "
                  << (anchoredAtEnd(sx) ? "text-anchor=\"end\" x=\"" + num(sx - 2)
                                        : "x=\"" + num(sx + 2))
                  << "\">" << shortened(step.label) << "</text></g>\n";
        }
    }

    double drawLanes(double y) {
        mBody << "<text x=\"8\" y=\"" << num(y + 10) << "\" font-weight=\"bold\">locks</text>\n";
        y += 16;
        if (mPicture.bars.empty()) {
            mBody << "<text x=\"" << kLeft << "\" y=\"" << num(y + 10)
                  << "\" fill=\"#666666\">no lock was granted</text>\n";
            return y + kLaneHeight + kLaneGap;
        }
        for (const auto& bar : mPicture.bars) {
            std::string label = "lock " + std::to_string(bar.handle) + ": " + bar.origin;
            std::string tip = label + "\n" + num(bar.startUs / 1000.0) + " - " +
                              num(bar.endUs / 1000.0) + " ms, " + bar.ending;
            for (const auto& v : bar.contents.back().second) {
                tip += "\n" + v.name + " = " + std::to_string(v.value);
            }
            double x0 = x(bar.startUs);
            double width = std::max(x(bar.endUs) - x0, 1.5);
            mBody << "<g><title>" << escape(tip) << "</title>"
                  << "<text x=\"" << num(kLeft - 8) << "\" y=\"" << num(y + 11)
                  << "\" text-anchor=\"end\">" << shortened(label) << "</text>"
                  << "<rect x=\"" << num(x0) << "\" y=\"" << num(y) << "\" width=\"" << num(width)
                  << "\" height=\"" << kLaneHeight << "\" fill=\"" << laneColour(bar.origin)
                  << "\" fill-opacity=\"0.85\"/>";
            for (size_t i = 1; i < bar.contents.size(); ++i) {
                double rx = x(bar.contents[i].first);
                mBody << "<line x1=\"" << num(rx) << "\" y1=\"" << num(y) << "\" x2=\"" << num(rx)
                      << "\" y2=\"" << num(y + kLaneHeight)
                      << "\" stroke=\"black\" stroke-width=\"2\"/>";
            }
            mBody << "</g>\n";
            y += kLaneHeight + kLaneGap;
        }
        return y;
    }

    void drawTimeAxis(double y) {
        double step = tickStep(mEndUs / 1000.0, 10);
        mBody << "<line x1=\"" << kLeft << "\" y1=\"" << num(y) << "\" x2=\""
              << num(kLeft + kPlotWidth) << "\" y2=\"" << num(y) << "\" stroke=\"black\"/>\n";
        for (double ms = 0; ms <= mEndUs / 1000.0 + 1e-9; ms += step) {
            double tx = x(static_cast<int64_t>(ms * 1000));
            mBody << "<line x1=\"" << num(tx) << "\" y1=\"" << num(y) << "\" x2=\"" << num(tx)
                  << "\" y2=\"" << num(y + 4) << "\" stroke=\"black\"/>"
                  << "<text x=\"" << num(tx) << "\" y=\"" << num(y + 15)
                  << "\" text-anchor=\"middle\" font-size=\"9\">" << tickLabel(ms, step)
                  << "</text>\n";
        }
        mBody << "<text x=\"" << num(kLeft + kPlotWidth) << "\" y=\"" << num(y + 28)
              << "\" text-anchor=\"end\">time (ms)</text>\n";
    }

    // A chart of step lines with its y axis; returns the y below its time axis.
    double drawChart(double top, double height, const std::string& yLabel,
                     const std::vector<Series>& series) {
        int maxValue = 1;
        for (const auto& s : series) {
            for (const auto& point : s.series->points) {
                if (point.second)
                    maxValue = std::max(maxValue, *point.second);
            }
        }
        double step = std::max(1.0, tickStep(maxValue, 5));
        double top_value = std::ceil(maxValue / step) * step;
        auto y = [&](double v) { return top + height - height * v / top_value; };

        mBody << "<text transform=\"translate(" << num(kLeft - 58) << ',' << num(top + height / 2)
              << ") rotate(-90)\" text-anchor=\"middle\">" << escape(yLabel) << "</text>\n";
        mBody << "<line x1=\"" << kLeft << "\" y1=\"" << num(top) << "\" x2=\"" << kLeft
              << "\" y2=\"" << num(top + height) << "\" stroke=\"black\"/>\n";
        for (double v = 0; v <= top_value + 1e-9; v += step) {
            mBody << "<line x1=\"" << num(kLeft - 4) << "\" y1=\"" << num(y(v)) << "\" x2=\""
                  << num(kLeft + kPlotWidth) << "\" y2=\"" << num(y(v)) << "\" stroke=\"#eeeeee\"/>"
                  << "<text x=\"" << num(kLeft - 6) << "\" y=\"" << num(y(v) + 3)
                  << "\" text-anchor=\"end\" font-size=\"9\">" << static_cast<long long>(v)
                  << "</text>\n";
        }
        double legendX = kLeft + 8;
        for (const auto& s : series) {
            drawStepLine(s, y);
            mBody << "<rect x=\"" << num(legendX) << "\" y=\"" << num(top - 14)
                  << "\" width=\"10\" height=\"10\" fill=\"" << s.colour << "\"/>"
                  << "<text x=\"" << num(legendX + 14) << "\" y=\"" << num(top - 5) << "\">"
                  << escape(s.series->label) << "</text>\n";
            legendX += 190;
        }
        drawTimeAxis(top + height);
        return top + height + 30;
    }

    template <typename YFn>
    void drawStepLine(const Series& s, YFn y) {
        std::string points;
        auto flush = [&] {
            if (!points.empty()) {
                mBody << "<polyline fill=\"none\" stroke=\"" << s.colour << "\" stroke-width=\"2\"";
                if (*s.dashes)
                    mBody << " stroke-dasharray=\"" << s.dashes << "\"";
                mBody << " points=\"" << points << "\"/>\n";
            }
            points.clear();
        };
        const auto& p = s.series->points;
        for (size_t i = 0; i < p.size(); ++i) {
            int64_t end = i + 1 < p.size() ? p[i + 1].first : mEndUs;
            if (!p[i].second) {
                flush();  // no lock holds the resource: a gap in the line
                continue;
            }
            double vy = y(*p[i].second);
            points += num(x(p[i].first)) + ',' + num(vy) + ' ' + num(x(end)) + ',' + num(vy) + ' ';
        }
        flush();
    }

    const Picture& mPicture;
    std::string mTitle;
    int64_t mEndUs;
    std::vector<int> mStepRow;  // by step
    int mStepRowCount = 1;
    std::ostringstream mBody;
};

}  // namespace

bool writeSvg(const Picture& picture, const std::string& title, const std::string& path) {
    std::ofstream out(path, std::ios::trunc);
    out << SvgCanvas(picture, title).draw();
    return static_cast<bool>(out.flush());
}

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
#include "svg/SvgParts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace qvnperfctl::svg {
namespace {

constexpr double kMarkerHeight = 14;
constexpr double kMarkerGap = 3;
constexpr double kLegendLine = 14;
constexpr double kLegendCharWidth = 5.6;  // average at font size 10
constexpr const char* kStepFill = "#e8e8e8";
constexpr const char* kEventFill = "#7b4f9d";

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

std::string tickLabel(double value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", std::abs(value) < 1e-9 ? 0.0 : value);
    return buf;
}

double markerWidth(size_t number) {
    return 8 + 6.5 * static_cast<double>(std::to_string(number).size());
}

}  // namespace

namespace {

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

// `text` as whole characters that XML allows: bytes that are not UTF-8 become U+FFFD,
// characters XML does not allow are dropped.
std::vector<std::string> xmlChars(const std::string& text) {
    std::vector<std::string> chars;
    for (size_t i = 0; i < text.size();) {
        uint32_t c = 0;
        const size_t length = utf8Length(text, i, c);
        if (length == 0) {
            chars.emplace_back("\xef\xbf\xbd");
            ++i;
            continue;
        }
        if (xmlChar(c))
            chars.push_back(text.substr(i, length));
        i += length;
    }
    return chars;
}

}  // namespace

std::string escape(const std::string& text) {
    std::string out;
    for (const std::string& c : xmlChars(text)) {
        out += c == "&"    ? "&amp;"
               : c == "<"  ? "&lt;"
               : c == ">"  ? "&gt;"
               : c == "\"" ? "&quot;"
               : c == "'"  ? "&apos;"
                           : c;
    }
    return out;
}

std::string fit(const std::string& text, size_t maxChars) {
    std::vector<std::string> chars = xmlChars(text);
    if (chars.size() > maxChars) {
        chars.resize(maxChars > 3 ? maxChars - 3 : 0);
        chars.insert(chars.end(), 3, ".");
    }
    std::string out;
    for (const std::string& c : chars)
        out += c;
    return out;
}

std::string num(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f", v);
    return buf;
}

void document(std::ostream& out, double width, double height, const std::string& title,
              const std::string& body) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\""
        << num(height) << "\" viewBox=\"0 0 " << width << ' ' << num(height)
        << "\" font-family=\"sans-serif\" font-size=\"11\">\n"
        << "<title>" << escape(title) << "</title>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"8\" y=\"24\" font-size=\"15\" font-weight=\"bold\">"
        << escape(fit(title, 140)) << "</text>\n"
        << body << "</svg>\n";
}

double TimeScale::x(int64_t us) const {
    return left + width * static_cast<double>(std::clamp<int64_t>(us, 0, endUs)) /
                      static_cast<double>(endUs);
}

void timeAxis(std::ostream& out, const TimeScale& scale, double y, bool withTitle) {
    const double span = static_cast<double>(scale.endUs) / scale.unit.us;
    const double step = tickStep(span, 10);
    out << "<line x1=\"" << num(scale.left) << "\" y1=\"" << num(y) << "\" x2=\""
        << num(scale.left + scale.width) << "\" y2=\"" << num(y) << "\" stroke=\"black\"/>\n";
    for (double t = 0; t <= span + 1e-9; t += step) {
        double tx = scale.x(static_cast<int64_t>(std::llround(t * scale.unit.us)));
        out << "<line x1=\"" << num(tx) << "\" y1=\"" << num(y) << "\" x2=\"" << num(tx)
            << "\" y2=\"" << num(y + 4) << "\" stroke=\"black\"/>"
            << "<text x=\"" << num(tx) << "\" y=\"" << num(y + 15)
            << "\" text-anchor=\"middle\" font-size=\"9\">" << tickLabel(t) << "</text>\n";
    }
    if (withTitle) {
        out << "<text x=\"" << num(scale.left + scale.width) << "\" y=\"" << num(y + 28)
            << "\" text-anchor=\"end\">time (" << scale.unit.name << ")</text>\n";
    }
}

MarkerRow::MarkerRow(const TimeScale& scale, std::vector<Marker> markers)
    : mScale(scale), mMarkers(std::move(markers)), mRow(mMarkers.size(), 0) {
    // Greedy: each marker takes the first row of its kind where it touches nothing.
    for (bool events : {false, true}) {
        std::vector<double> rowEnds;
        for (size_t i = 0; i < mMarkers.size(); ++i) {
            if (mMarkers[i].event != events)
                continue;
            const double x0 = mScale.x(mMarkers[i].timeUs) - markerWidth(i + 1) / 2;
            size_t row = 0;
            while (row < rowEnds.size() && rowEnds[row] + kMarkerGap > x0)
                ++row;
            if (row == rowEnds.size())
                rowEnds.push_back(0);
            rowEnds[row] = x0 + markerWidth(i + 1);
            mRow[i] = mRows + static_cast<int>(row);
        }
        mRows += static_cast<int>(rowEnds.size());
    }
}

double MarkerRow::height() const {
    return mRows * (kMarkerHeight + kMarkerGap);
}

void MarkerRow::draw(std::ostream& out, double top, double guideBottom) const {
    for (size_t i = 0; i < mMarkers.size(); ++i) {
        const Marker& m = mMarkers[i];
        const double cx = mScale.x(m.timeUs);
        const double w = markerWidth(i + 1);
        const double y = top + mRow[i] * (kMarkerHeight + kMarkerGap);
        out << "<g><title>"
            << escape(std::to_string(i + 1) + ". " + formatTime(m.timeUs) + "  " + m.label)
            << "</title>"
            << "<line x1=\"" << num(cx) << "\" y1=\"" << num(y + kMarkerHeight) << "\" x2=\""
            << num(cx) << "\" y2=\"" << num(guideBottom) << "\" stroke=\""
            << (m.event ? "#c9b3da" : "#bbbbbb") << "\" stroke-dasharray=\"2,3\"/>"
            << "<rect x=\"" << num(cx - w / 2) << "\" y=\"" << num(y) << "\" width=\"" << num(w)
            << "\" height=\"" << kMarkerHeight << "\" rx=\"" << (m.event ? 7 : 2) << "\" fill=\""
            << (m.event ? kEventFill : kStepFill) << "\" stroke=\"#888888\" stroke-width=\"0.5\"/>"
            << "<text x=\"" << num(cx) << "\" y=\"" << num(y + 10.5)
            << "\" text-anchor=\"middle\" font-size=\"9\" fill=\"" << (m.event ? "white" : "black")
            << "\">" << (i + 1) << "</text></g>\n";
    }
}

double MarkerRow::legend(std::ostream& out, double top, double left, double width) const {
    if (mMarkers.empty())
        return 0;
    const int columns = width >= 1000 ? 3 : width >= 600 ? 2 : 1;
    const double columnWidth = width / columns;
    const size_t perColumn = (mMarkers.size() + columns - 1) / columns;
    const size_t chars = static_cast<size_t>(columnWidth / kLegendCharWidth) - 2;
    for (size_t i = 0; i < mMarkers.size(); ++i) {
        const Marker& m = mMarkers[i];
        const double x = left + columnWidth * static_cast<double>(i / perColumn);
        const double y = top + kLegendLine * static_cast<double>(i % perColumn);
        const std::string head = std::to_string(i + 1) + "  " + formatTime(m.timeUs, mScale.unit);
        const std::string text = head + "  " + m.label;
        out << "<g><title>" << escape(text) << "</title><rect x=\"" << num(x) << "\" y=\""
            << num(y + 1) << "\" width=\"" << num(markerWidth(i + 1)) << "\" height=\"12\" rx=\""
            << (m.event ? 6 : 2) << "\" fill=\"" << (m.event ? kEventFill : kStepFill) << "\"/>"
            << "<text x=\"" << num(x + markerWidth(i + 1) / 2) << "\" y=\"" << num(y + 10.5)
            << "\" text-anchor=\"middle\" font-size=\"9\" fill=\"" << (m.event ? "white" : "black")
            << "\">" << (i + 1) << "</text>"
            << "<text x=\"" << num(x + markerWidth(i + 1) + 4) << "\" y=\"" << num(y + 10.5)
            << "\" font-size=\"10\"" << (m.event ? " fill=\"#5b2f7d\"" : "") << ">"
            << escape(fit(formatTime(m.timeUs, mScale.unit) + "  " + m.label, chars - 4))
            << "</text></g>\n";
    }
    return kLegendLine * static_cast<double>(perColumn);
}

namespace {

// A chart's value axis: from 0 up to `max` in ticks of `step`, drawn from `top` down
// `height`.
struct ValueAxis {
    double top, height, step, max;
    double y(double v) const { return top + height - height * v / max; }
};

ValueAxis valueAxis(const std::vector<Line>& lines, double divisor, double top, double height) {
    double maxValue = 0;
    for (const auto& line : lines) {
        for (const auto& point : *line.points) {
            if (point.second)
                maxValue = std::max(maxValue, *point.second / divisor);
        }
    }
    if (maxValue <= 0)
        maxValue = 1;
    // Values are integers: below the divisor's unit a fraction means nothing.
    const double step = std::max(tickStep(maxValue, 4), divisor == 1 ? 1.0 : 0.0);
    return {top, height, step, std::ceil(maxValue / step - 1e-9) * step};
}

void drawValueAxis(std::ostream& out, const TimeScale& scale, const ValueAxis& axis,
                   const std::string& label) {
    out << "<text transform=\"translate(" << num(scale.left - 44) << ','
        << num(axis.top + axis.height / 2) << ") rotate(-90)\" text-anchor=\"middle\">"
        << escape(label) << "</text>\n";
    out << "<line x1=\"" << num(scale.left) << "\" y1=\"" << num(axis.top) << "\" x2=\""
        << num(scale.left) << "\" y2=\"" << num(axis.top + axis.height)
        << "\" stroke=\"black\"/>\n";
    for (double v = 0; v <= axis.max + 1e-9; v += axis.step) {
        out << "<line x1=\"" << num(scale.left - 4) << "\" y1=\"" << num(axis.y(v)) << "\" x2=\""
            << num(scale.left + scale.width) << "\" y2=\"" << num(axis.y(v))
            << "\" stroke=\"#eeeeee\"/>"
            << "<text x=\"" << num(scale.left - 6) << "\" y=\"" << num(axis.y(v) + 3)
            << "\" text-anchor=\"end\" font-size=\"9\">" << tickLabel(v) << "</text>\n";
    }
}

// One step line, as polylines broken where no lock holds the resource.
void drawLine(std::ostream& out, const TimeScale& scale, const ValueAxis& axis, double divisor,
              const Line& line) {
    std::string points;
    auto flush = [&] {
        if (!points.empty()) {
            out << "<polyline fill=\"none\" stroke=\"" << line.colour << "\" stroke-width=\"2\"";
            if (!line.dashes.empty())
                out << " stroke-dasharray=\"" << line.dashes << "\"";
            out << " points=\"" << points << "\"/>\n";
        }
        points.clear();
    };
    const auto& p = *line.points;
    for (size_t i = 0; i < p.size(); ++i) {
        const int64_t end = i + 1 < p.size() ? p[i + 1].first : scale.endUs;
        if (!p[i].second) {
            flush();  // no lock holds the resource: a gap in the line
            continue;
        }
        const double vy = axis.y(*p[i].second / divisor);
        points += num(scale.x(p[i].first)) + ',' + num(vy) + ' ' + num(scale.x(end)) + ',' +
                  num(vy) + ' ';
    }
    flush();
}

// Each line's sample and name in a row above the chart.
void drawLineLegend(std::ostream& out, double left, double top,
                    const std::vector<std::pair<std::string, Line>>& legend) {
    double legendX = left;
    for (const auto& [text, line] : legend) {
        out << "<line x1=\"" << num(legendX) << "\" y1=\"" << num(top - 8) << "\" x2=\""
            << num(legendX + 24) << "\" y2=\"" << num(top - 8) << "\" stroke=\"" << line.colour
            << "\" stroke-width=\"2\""
            << (line.dashes.empty() ? "" : " stroke-dasharray=\"" + line.dashes + "\"")
            << "/><text x=\"" << num(legendX + 28) << "\" y=\"" << num(top - 4) << "\">"
            << escape(fit(text, 60)) << "</text>\n";
        legendX += 40 + 6.2 * static_cast<double>(std::min<size_t>(text.size(), 60));
    }
}

}  // namespace

double stepChart(std::ostream& out, const TimeScale& scale, double top, double height,
                 const std::string& yLabel, double divisor, const std::vector<Line>& lines,
                 const std::vector<std::pair<std::string, Line>>& legend) {
    const ValueAxis axis = valueAxis(lines, divisor, top, height);
    drawValueAxis(out, scale, axis, yLabel);
    for (const auto& line : lines)
        drawLine(out, scale, axis, divisor, line);
    drawLineLegend(out, scale.left + 8, top, legend);
    timeAxis(out, scale, top + height, false);
    return top + height + 20;
}

}  // namespace qvnperfctl::svg

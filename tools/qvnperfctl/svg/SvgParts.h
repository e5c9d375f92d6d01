// SPDX-License-Identifier: Apache-2.0
#pragma once

// Pieces both pictures draw the same way: text that fits, a time axis in a readable
// unit, steps along the top as numbered markers that never overlap, with a legend, and
// step lines of effective values.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "timeline/ValueLabels.h"

namespace qvnperfctl::svg {

std::string escape(const std::string& text);
// At most `maxChars` whole characters that XML allows (bytes that are not UTF-8 become
// U+FFFD), "..." marking a cut.
std::string fit(const std::string& text, size_t maxChars);
std::string num(double v);

// The whole picture: `width` by `height` on white, `title` as its heading, then `body`.
void document(std::ostream& out, double width, double height, const std::string& title,
              const std::string& body);

// The time scale: session time to x.
struct TimeScale {
    int64_t endUs;
    double left, width;
    TimeUnit unit;

    TimeScale(int64_t end, double l, double w)
        : endUs(end > 0 ? end : 1), left(l), width(w), unit(unitFor(endUs)) {}
    double x(int64_t us) const;
};

void timeAxis(std::ostream& out, const TimeScale& scale, double y, bool withTitle);

struct Marker {
    int64_t timeUs = 0;
    std::string label;
    bool event = false;  // a controller event rather than a scripted step
};

// Numbered markers at their moments, one row per marker kind, stacked in further rows
// where they would touch. Returns the height used; guide lines run down to `guideBottom`.
class MarkerRow {
  public:
    MarkerRow(const TimeScale& scale, std::vector<Marker> markers);
    double height() const;
    void draw(std::ostream& out, double top, double guideBottom) const;
    // The numbered list under the picture; returns its height.
    double legend(std::ostream& out, double top, double left, double width) const;

  private:
    const TimeScale& mScale;
    std::vector<Marker> mMarkers;
    std::vector<int> mRow;  // per marker
    int mRows = 0;
};

struct Line {
    const std::vector<std::pair<int64_t, std::optional<int>>>* points;
    std::string colour;
    std::string dashes;  // empty: solid
};

// A chart of step lines with its y axis and a legend above it. Values are divided by
// `divisor` for the axis. Returns the y under its own time axis.
double stepChart(std::ostream& out, const TimeScale& scale, double top, double height,
                 const std::string& yLabel, double divisor, const std::vector<Line>& lines,
                 const std::vector<std::pair<std::string, Line>>& legend);

}  // namespace qvnperfctl::svg

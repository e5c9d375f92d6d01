// SPDX-License-Identifier: Apache-2.0
#pragma once

// A timeline as a JSON file: a simulation writes it in its own process and the one that
// compares two tunings reads it back.

#include <string>

#include "timeline/Timeline.h"

namespace qvnperfctl {

// The file's text.
std::string timelineFileText(const Timeline& timeline);
// False with a message in `error` when the file is missing or not a timeline.
bool readTimelineFile(const std::string& path, Timeline& out, std::string& error);

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
#pragma once

// The simulation proper, in the process that relaunch() prepared: the controller as
// that process loaded it, the properties file the launcher wrote, and what ran, named in
// the timeline's header.

#include <string>

#include "script/SessionScript.h"
#include "timeline/Timeline.h"

namespace qvnperfctl {

// `config` is the JSON configuration given on the command line ("" for none).
Timeline playSession(const Session& session, const std::string& config, bool realTime);

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
#pragma once

// The stand-in logger's state shared with the host controls, which re-read its settings.

#include <atomic>

namespace NSCam {
namespace Utils {
namespace ULog {

// Set once the settings were read from properties; clearing it makes the next use re-read
// them.
extern std::atomic<bool> gSettingsLoaded;

}  // namespace ULog
}  // namespace Utils
}  // namespace NSCam

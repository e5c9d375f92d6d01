#pragma once

// Host-only controls for tests running in the same process. Not part of the
// library's exported surface; tests link the static archive.

#include <string>

struct C2PSInitParams;

namespace qvncam {
namespace host {

// In-process properties override the property file until cleared.
void setProperty(const std::string& name, const std::string& value);
void clearProperty(const std::string& name);
void clearAllProperties();

// Forces SetProcessProfiles to fail (or restores the normal answer).
void forceProcessProfilesFailure(bool fail);

// Re-reads the unified logger's detail level, mask and mode word from properties.
void reloadULogger();

// The last record C2PSMachine::init received; false when it was never called.
bool lastC2PSInit(C2PSInitParams* out);
void resetC2PSInit();

}  // namespace host
}  // namespace qvncam

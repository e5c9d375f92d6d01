// SPDX-License-Identifier: Apache-2.0
// Process profiles on a Linux host: known profiles succeed without effect.

#include <atomic>

#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/ProcessProfiles.h"

namespace qvncam {
namespace platform {
namespace {

std::atomic<bool> gForceFailure{false};

bool isKnownProfile(std::string_view name) {
    return name == "ProcessCapacityNormal";
}

}  // namespace

bool SetProcessProfiles(uid_t /*uid*/, pid_t /*pid*/,
                        std::initializer_list<std::string_view> profiles) {
    if (gForceFailure.load(std::memory_order_relaxed))
        return false;
    for (std::string_view profile : profiles) {
        if (!isKnownProfile(profile))
            return false;
    }
    return true;
}

}  // namespace platform

namespace host {

void forceProcessProfilesFailure(bool fail) {
    platform::gForceFailure.store(fail, std::memory_order_relaxed);
}

}  // namespace host
}  // namespace qvncam

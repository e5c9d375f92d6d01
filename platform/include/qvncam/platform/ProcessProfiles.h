// SPDX-License-Identifier: Apache-2.0
#pragma once

// Process profiles of Android's process groups.

#include <initializer_list>
#include <string_view>
#include <sys/types.h>

namespace qvncam {
namespace platform {

bool SetProcessProfiles(uid_t uid, pid_t pid, std::initializer_list<std::string_view> profiles);

}  // namespace platform
}  // namespace qvncam

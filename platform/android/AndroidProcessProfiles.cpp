// SPDX-License-Identifier: Apache-2.0
// Process profiles on a device: libprocessgroup.

#include "qvncam/platform/ProcessProfiles.h"

#if __has_include(<processgroup/processgroup.h>)
#include <processgroup/processgroup.h>
#else
// Sysroots without libprocessgroup's header (Debian's Android packages) get the
// library's own declaration.
bool SetProcessProfiles(uid_t uid, pid_t pid, std::initializer_list<std::string_view> profiles);
#endif

namespace qvncam {
namespace platform {

bool SetProcessProfiles(uid_t uid, pid_t pid, std::initializer_list<std::string_view> profiles) {
    return ::SetProcessProfiles(uid, pid, profiles);
}

}  // namespace platform
}  // namespace qvncam

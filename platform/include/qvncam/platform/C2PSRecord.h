#pragma once

// The last record C2PSMachine::init received, kept for the host controls.

#include <mutex>

#include "C2PSMachine.h"

namespace qvncam {
namespace platform {

struct C2PSInitRecord {
    std::mutex mutex;
    bool received = false;
    C2PSInitParams params{};  // zero-initialised, padding included
};

// Never destroyed: init may run from another object's destructor at exit.
C2PSInitRecord& c2psInitRecord();

}  // namespace platform
}  // namespace qvncam

// SPDX-License-Identifier: Apache-2.0
#pragma once

// The measured operations of the controller, each paired with its floor: the power-service
// entry points (or the one system call) that the operation stands for, called directly with
// prebuilt arguments. Shared by the timing benchmarks and the instruction counter so that
// both measure exactly the same code.

#include <string>
#include <vector>

namespace qvncam {
namespace bench {

struct Operation {
    const char* name;
    // One whole operation: everything it grants is given back before it returns.
    void (*run)();
    // The same requests made straight to the power service (or kernel); null when the
    // operation has no such counterpart.
    void (*floor)();
};

// Builds the controller and checks that it found the benchmark's no-op power client and
// customisation library; false, with the reason, when it did not.
bool setUp(std::string& why);

// In table order.
const std::vector<Operation>& operations();

// runPerfBoost(1) and its floor; safe to call from many threads at once.
void boost();
void boostFloor();

}  // namespace bench
}  // namespace qvncam

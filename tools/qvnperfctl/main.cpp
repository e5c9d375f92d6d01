// SPDX-License-Identifier: Apache-2.0
// qvnperfctl: shows and checks what the camera performance controller asks of the
// power service.

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "commands/ExitCodes.h"
#include "commands/Files.h"
#include "script/ShownText.h"

namespace qvnperfctl {

namespace {

const char* kUsage =
    "usage: qvnperfctl COMMAND [ARGS]...\n"
    "\n"
    "Commands:\n"
    "  simulate SESSION.json [--custom LIB.so] [--config CONFIG.json]\n"
    "           [--prop NAME=VALUE]... [--trace OUT.json] [--svg OUT.svg] [--real-time]\n"
    "      play a camera session through the controller against the host power\n"
    "      service and print every lock it takes\n"
    "  compare SESSION.json [OPTIONS] [--svg OUT.svg] --a [OPTIONS] --b [OPTIONS]\n"
    "      play one session under two tunings and show what differs\n"
    "  check-config [--show] CONFIG.json...\n"
    "      check a JSON configuration before it goes on a device, as the controller\n"
    "      reads it\n"
    "  resources [NAME | ID | CLASS]...\n"
    "      look up power resources by name, id or class\n"
    "\n"
    "qvnperfctl COMMAND --help describes each command.\n"
    "Exit status: 0 fine, 1 problems found, 2 usage or I/O error.\n";

}  // namespace
}  // namespace qvnperfctl

int main(int argc, char** argv) {
    using namespace qvnperfctl;
    holdStandardDescriptors();
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    std::string command = args.front();
    args.erase(args.begin());
    if (command == "-h" || command == "--help" || command == "help") {
        std::fputs(kUsage, stdout);
        return finishStandardOutput("");
    }
    const std::pair<const char*, int (*)(const std::vector<std::string>&)> commands[] = {
        {"simulate", runSimulate},
        {"compare", runCompare},
        {"check-config", runCheckConfig},
        {"resources", runResources},
    };
    for (const auto& [name, run] : commands) {
        if (command == name) {
            const int status = run(args);
            return std::max(status, finishStandardOutput(name));
        }
    }
    std::fprintf(stderr, "qvnperfctl: unknown command '%s'\n%s", shownText(command).c_str(),
                 kUsage);
    return kExitUsage;
}

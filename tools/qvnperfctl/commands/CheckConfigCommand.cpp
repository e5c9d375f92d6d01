// SPDX-License-Identifier: Apache-2.0
// qvnperfctl check-config: the check a device maker runs on a JSON configuration
// before flashing it.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ExitCodes.h"
#include "config/ConfigReading.h"
#include "config/Vocabulary.h"
#include "script/JsonSource.h"
#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

const char* kUsage =
    "usage: qvnperfctl check-config [--show] CONFIG.json...\n"
    "\n"
    "Checks a JSON configuration of the controller (the file that property\n"
    "vendor.debug.qvncam.perfjson names) before it goes on a device. The file is read\n"
    "by the controller's own code, so a file it refuses fails here too:\n"
    "  - the file is at most 16 MiB of JSON (comments allowed), nested at most 100\n"
    "    deep, with an object at the top;\n"
    "  - \"enter_cam\" and \"config_cam\" are objects;\n"
    "  - every name in them is a resource of the vocabulary that configuration may\n"
    "    use (see qvnperfctl resources);\n"
    "  - every value is an integer that fits in 32 bits, written as one: any other\n"
    "    value is reported with what the controller uses instead;\n"
    "  - no other top-level member and no name twice in one object.\n"
    "Each problem is printed as FILE:LINE: message.\n"
    "\n"
    "  --show   also print the command lists the controller sends from the file:\n"
    "           resource id, name and value, in the order sent, at the first camera\n"
    "           open; each later open sends them again, appended\n"
    "\n"
    "Exit status: 0 clean, 1 problems found, 2 usage or unreadable file.\n";

void printList(const char* label, const SentList& list) {
    if (!list.present) {
        std::printf("  %s: none in the file (the customisation library's answer is used)\n", label);
        return;
    }
    const size_t pairs = list.pairs.size() / 2;
    std::printf("  %s: %zu pair%s%s%s\n", label, pairs, pairs == 1 ? "" : "s",
                list.note.empty() ? "" : "; ", list.note.c_str());
    const auto& vocabulary = Vocabulary::instance();
    for (size_t i = 0; i + 1 < list.pairs.size(); i += 2) {
        const Resource* r = vocabulary.byId(list.pairs[i]);
        std::printf("    0x%08x  %-44s  %d\n", static_cast<unsigned>(list.pairs[i]),
                    r != nullptr ? r->name.c_str() : "?", list.pairs[i + 1]);
    }
}

// The controller's reading of one loaded file: its problems, then with --show the lists
// it sends.
int reportReading(const std::string& file, const JsonSource& source, bool show) {
    const std::string path = shownText(file);
    const ConfigReading reading = readConfiguration(source);
    for (const auto& p : reading.problems)
        std::printf("%s:%d: %s\n", path.c_str(), p.line, shownText(p.message).c_str());
    if (reading.problems.empty()) {
        std::printf("%s: ok\n", path.c_str());
    } else {
        std::printf("%s: %zu problem%s\n", path.c_str(), reading.problems.size(),
                    reading.problems.size() == 1 ? "" : "s");
    }
    if (show) {
        std::printf("%s: with a customisation library loaded, the first camera open sends\n",
                    path.c_str());
        printList("enter-camera list", reading.enterCamera);
        printList("configure-stream list", reading.configureStream);
        // The controller keeps what it read and reads the file again at every open.
        if (reading.enterCamera.present || reading.configureStream.present)
            std::printf(
                "  each later camera open appends the file's pairs again: the second "
                "open sends every pair twice\n");
    }
    return reading.problems.empty() ? kExitOk : kExitProblems;
}

// One file's own exit status.
int checkFile(const std::string& file, bool show) {
    JsonSource source;
    const std::string path = shownText(file);
    switch (source.load(file)) {
        case JsonSource::Status::IoError:
            std::fprintf(stderr, "qvnperfctl check-config: %s\n",
                         shownText(source.error()).c_str());
            return kExitUsage;
        case JsonSource::Status::TooLarge:
            std::printf("%s:1: not loaded by the controller: %s\n", path.c_str(),
                        shownText(source.error()).c_str());
            break;
        case JsonSource::Status::ParseError:
            std::printf("%s:%d: not loaded by the controller: %s\n", path.c_str(),
                        source.errorLine(), shownText(source.error()).c_str());
            break;
        case JsonSource::Status::Ok:
            return reportReading(file, source, show);
    }
    if (show)
        std::printf("%s: the controller does not load it and sends no list from it\n",
                    path.c_str());
    return kExitProblems;
}

}  // namespace

int runCheckConfig(const std::vector<std::string>& args) {
    CommandLine line;
    const auto problem = parseCommandLine(args, {{"show", false}}, line);
    if (line.help) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (problem)
        return usageError("check-config", *problem);
    if (line.operands.empty())
        return usageError("check-config", "missing CONFIG.json");
    const bool show = !line.options.empty();
    // Exit statuses grow with their severity: the worst file's wins.
    int status = kExitOk;
    for (const auto& path : line.operands)
        status = std::max(status, checkFile(path, show));
    return status;
}

}  // namespace qvnperfctl

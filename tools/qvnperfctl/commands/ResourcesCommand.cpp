// SPDX-License-Identifier: Apache-2.0
// qvnperfctl resources: look-ups in the controller's power-resource vocabulary.

#include <QvnPerfService.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ExitCodes.h"
#include "config/Vocabulary.h"
#include "script/ShownText.h"
#include "qvncam/platform/ParseInt.h"

namespace qvnperfctl {
namespace {

const char* kUsage =
    "usage: qvnperfctl resources [NAME | ID | CLASS]...\n"
    "\n"
    "Looks up power resources in the controller's vocabulary.\n"
    "  NAME   a resource name, e.g. PERF_RES_CPUFREQ_MIN_CLUSTER_0 (the PERF_RES_\n"
    "         prefix may be left out)\n"
    "  ID     a resource id, hexadecimal (0x400000) or decimal (4194304); a leading 0\n"
    "         means octal, as in integer properties\n"
    "  CLASS  a class word (CPUFREQ, DRAM, SCHED, ...): every resource of that class\n"
    "Without arguments it lists the classes.\n"
    "\n"
    "Each row shows the id, the name, how the host power service combines the values\n"
    "of several locks (floor: highest wins, cap: lowest wins, latest: most recent\n"
    "lock wins) and \"permitted\" when a JSON configuration or customisation library\n"
    "may name the resource.\n"
    "\n"
    "Exit status: 0 every argument found, 1 some argument matched nothing, 2 usage.\n";

std::string upper(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

// A resource id as a 32-bit unsigned number (0x... hexadecimal, else decimal or octal).
std::optional<int> parseId(const std::string& text) {
    uint32_t id = 0;
    if (!qvncam::platform::parseInt(text, &id))
        return std::nullopt;
    return static_cast<int>(id);
}

void printHeader() {
    std::printf("%-10s  %-44s  %-6s  %s\n", "ID", "NAME", "RULE", "CONFIG");
}

void printRow(const Resource& r) {
    std::printf("0x%08x  %-44s  %-6s  %s\n", static_cast<unsigned>(r.id), r.name.c_str(),
                qvnperf_kind_name(qvnperf_resource_kind(r.id)), r.permitted ? "permitted" : "-");
}

void printClasses(const Vocabulary& vocabulary) {
    std::printf("%-8s  %5s  %9s  %s\n", "CLASS", "ROWS", "PERMITTED", "IDS");
    for (const auto& word : vocabulary.classes()) {
        auto rows = vocabulary.inClass(word);
        auto permitted =
            std::count_if(rows.begin(), rows.end(), [](const Resource* r) { return r->permitted; });
        std::printf("%-8s  %5zu  %9zd  0x%08x-0x%08x\n", word.c_str(), rows.size(), permitted,
                    static_cast<unsigned>(rows.front()->id),
                    static_cast<unsigned>(rows.back()->id));
    }
    const auto& all = vocabulary.all();
    auto permitted =
        std::count_if(all.begin(), all.end(), [](const Resource& r) { return r.permitted; });
    std::printf("%-8s  %5zu  %9zd\n", "total", all.size(), permitted);
}

}  // namespace

int runResources(const std::vector<std::string>& arguments) {
    CommandLine line;
    const auto problem = parseCommandLine(arguments, {}, line);
    if (line.help) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (problem)
        return usageError("resources", *problem);
    const std::vector<std::string>& args = line.operands;
    const auto& vocabulary = Vocabulary::instance();
    if (args.empty()) {
        printClasses(vocabulary);
        return kExitOk;
    }
    int status = kExitOk;
    std::vector<const Resource*> rows;
    for (const auto& arg : args) {
        std::vector<const Resource*> found;
        if (auto id = parseId(arg)) {
            if (auto* r = vocabulary.byId(*id))
                found.push_back(r);
        } else {
            std::string word = upper(arg);
            found = vocabulary.inClass(word);
            if (found.empty()) {
                auto* r = vocabulary.byName(word);
                if (!r)
                    r = vocabulary.byName("PERF_RES_" + word);
                if (r)
                    found.push_back(r);
            }
        }
        if (found.empty()) {
            std::fprintf(stderr, "qvnperfctl resources: %s: not in the vocabulary\n",
                         shownText(arg).c_str());
            status = kExitProblems;
        }
        rows.insert(rows.end(), found.begin(), found.end());
    }
    if (!rows.empty())
        printHeader();
    for (const auto* r : rows)
        printRow(*r);
    return status;
}

}  // namespace qvnperfctl

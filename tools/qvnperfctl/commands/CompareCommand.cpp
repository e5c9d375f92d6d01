// SPDX-License-Identifier: Apache-2.0
// qvnperfctl compare: plays one session under two tunings, each in its own simulation,
// and shows where they differ.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "timeline/Comparison.h"
#include "svg/CompareSvg.h"
#include "text/ComparisonPrinter.h"
#include "commands/ExitCodes.h"
#include "commands/Files.h"
#include "play/Launcher.h"
#include "script/ShownText.h"
#include "commands/SimulateOptions.h"
#include "timeline/TimelineFile.h"

namespace qvnperfctl {
namespace {

const char* kUsage =
    "usage: qvnperfctl compare SESSION.json [OPTIONS] [--svg OUT.svg] --a [OPTIONS]\n"
    "                          --b [OPTIONS]\n"
    "\n"
    "Plays one session twice through the controller, under two tunings A and B, and\n"
    "prints what differs: for each resource that behaves differently, the time it spent\n"
    "at each effective value on each side and where the sides first part; then the\n"
    "lock counts side by side. Resources that behave the same are not listed.\n"
    "\n"
    "OPTIONS are those of simulate: --custom LIB.so, --config CONFIG.json,\n"
    "--prop NAME=VALUE. Those before --a apply to both sides, those after --a to side A\n"
    "only, those after --b to side B only.\n"
    "\n"
    "  --svg OUT.svg   both sides in one picture: CPU floors and the DRAM operating\n"
    "                  point, A solid, B dashed\n"
    "\n"
    "Example: the example policy against a power-saving one\n"
    "  qvnperfctl compare examples/sessions/preview.json \\\n"
    "      --a --custom build/examples/custom/libcameracustom.so \\\n"
    "      --b --custom build/examples/power_saving/libcameracustom.so\n"
    "\n"
    "Exit status: 0 both sides ran cleanly, 1 either side leaked a lock, released one\n"
    "badly or was refused one, 2 usage, script or I/O error.\n";

struct Sides {
    std::vector<std::string> common, a, b;
    std::vector<std::string> operands;  // after "--": every side's
    std::string svg;
};

// compare's options: simulate's, the side markers and help, by simulate's rule.
std::vector<LongOption> compareOptions() {
    std::vector<LongOption> known = simulateOptions();
    known.push_back({"a", false});
    known.push_back({"b", false});
    return known;
}

std::string optionName(const std::string& word) {
    return word.substr(0, word.find('='));
}

// Splits the command line at --a and --b; compare's own --svg belongs to the common part.
// Options are spelt out first, so that an abbreviation lands where its full name would.
std::optional<std::string> splitSides(const std::vector<std::string>& given, Sides& out) {
    const std::vector<std::string> args = spellOutOptions(given, compareOptions());
    std::vector<std::string>* scope = &out.common;
    bool seenA = false, seenB = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const std::string name = optionName(arg);
        const bool valueFollows = arg == name && i + 1 < args.size();
        if (arg == "--") {
            out.operands.assign(args.begin() + static_cast<std::ptrdiff_t>(i), args.end());
            break;
        }
        if ((name == "--a" || name == "--b") && arg != name)
            return name + " takes no value";
        if (arg == "--a" || arg == "--b") {
            bool& seen = arg == "--a" ? seenA : seenB;
            if (seen)
                return arg + " given twice";
            if (arg == "--a" && seenB)
                return std::string("--a must come before --b");
            seen = true;
            scope = arg == "--a" ? &out.a : &out.b;
        } else if (name == "--svg") {
            if (scope != &out.common)
                return std::string("--svg applies to the comparison: give it before --a");
            if (arg != name) {
                out.svg = arg.substr(name.size() + 1);
            } else if (i + 1 < args.size()) {
                out.svg = args[++i];
            }
            if (out.svg.empty())
                return std::string("--svg needs a value");
        } else if (name == "--trace" || name == "--timeline" || name == "--real-time") {
            return name + " is for simulate, not compare";
        } else {
            scope->push_back(arg);
            if (valueFollows && (name == "--custom" || name == "--config" || name == "--prop"))
                scope->push_back(args[++i]);
        }
    }
    if (!seenA || !seenB)
        return std::string("needs both --a and --b");
    return std::nullopt;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& w : words)
        text += (text.empty() ? "" : " ") + w;
    return text;
}

struct Side {
    std::string name;
    std::vector<std::string> args;  // simulate's, session first
    int status = kExitOk;
    Timeline timeline;
};

// simulate's own reading finds bad options before anything runs; so does a --svg file
// that cannot be opened, which stays open until the picture is written. An exit status
// when either does.
std::optional<int> checkSides(const Side& a, const Side& b, const std::string& svg,
                              OutputFile& svgFile) {
    for (const Side* side : {&a, &b}) {
        SimulateOptions options;
        if (auto problem = parseSimulateOptions(side->args, options))
            return usageError("compare", "side " + side->name + ": " + *problem);
    }
    if (!svg.empty() && !svgFile.open(svg)) {
        std::fprintf(stderr, "qvnperfctl compare: %s\n", svgFile.error().c_str());
        return kExitUsage;
    }
    return std::nullopt;
}

// Runs one side as a simulate child and reads back its timeline; an exit status when it
// cannot.
std::optional<int> playSide(const std::string& scratchDir, Side& side) {
    const std::string base = scratchDir + "/" + side.name;
    // The side's words may end in "--"; the timeline option goes before them.
    std::vector<std::string> childArgs = {"simulate", "--timeline", base + ".json"};
    childArgs.insert(childArgs.end(), side.args.begin(), side.args.end());
    side.status = runSelf(childArgs, base + ".txt");
    if (side.status == kExitUsage) {
        std::fprintf(stderr, "qvnperfctl compare: side %s could not run\n", side.name.c_str());
        return kExitUsage;
    }
    std::string error;
    if (!readTimelineFile(base + ".json", side.timeline, error)) {
        std::fprintf(stderr, "qvnperfctl compare: side %s: %s\n", side.name.c_str(), error.c_str());
        return side.status == kExitOk ? kExitUsage : kExitProblems;
    }
    return std::nullopt;
}

// A side's options as the comparison names them. The session path each side names is the
// same; drop the options' copy of it.
std::string sideOptions(const std::vector<std::string>& common,
                        const std::vector<std::string>& scoped) {
    std::vector<std::string> words = common;
    words.insert(words.end(), scoped.begin(), scoped.end());
    SimulateOptions parsed;
    parseSimulateOptions(words, parsed);
    auto session = std::find(words.begin(), words.end(), parsed.session);
    if (session != words.end())
        words.erase(session);
    return joined(words);
}

// Points to the simulate run that shows a side's problems; kExitProblems if either had any.
int reportSideProblems(const Side& a, const Side& b) {
    int status = kExitOk;
    for (const Side* side : {&a, &b}) {
        if (side->status != kExitOk || !side->timeline.clean() ||
            side->timeline.counters.refused > 0) {
            std::fprintf(stderr,
                         "qvnperfctl compare: side %s had problems; see qvnperfctl simulate %s\n",
                         side->name.c_str(), shownText(joined(side->args)).c_str());
            status = kExitProblems;
        }
    }
    return status;
}

}  // namespace

int runCompare(const std::vector<std::string>& args) {
    // Every other word goes to simulate's own reading, side by side.
    CommandLine line;
    parseCommandLine(args, compareOptions(), line);
    if (line.help) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    Sides sides;
    if (auto problem = splitSides(args, sides))
        return usageError("compare", *problem);

    Side a{"A", sides.common, kExitOk, {}}, b{"B", sides.common, kExitOk, {}};
    a.args.insert(a.args.end(), sides.a.begin(), sides.a.end());
    b.args.insert(b.args.end(), sides.b.begin(), sides.b.end());
    for (Side* side : {&a, &b})
        side->args.insert(side->args.end(), sides.operands.begin(), sides.operands.end());
    OutputFile svgFile;
    if (auto failed = checkSides(a, b, sides.svg, svgFile))
        return *failed;

    ScratchDir scratch;
    if (scratch.path().empty()) {
        std::fprintf(stderr, "qvnperfctl compare: cannot make a scratch directory\n");
        return kExitUsage;
    }
    for (Side* side : {&a, &b}) {
        if (auto failed = playSide(scratch.path(), *side))
            return *failed;
    }

    // Both sides play on the virtual clock, so their times agree to the microsecond.
    const Comparison comparison = compareTimelines(a.timeline, b.timeline);
    const SideLabel labelA{"A", sideOptions(sides.common, sides.a)};
    const SideLabel labelB{"B", sideOptions(sides.common, sides.b)};
    printComparison(comparison, a.timeline, b.timeline, labelA, labelB, stdout);

    const int written = finishStandardOutput("compare");
    int status = std::max(reportSideProblems(a, b), written);
    if (!sides.svg.empty() &&
        !svgFile.write(compareSvg(comparison, a.timeline, b.timeline, labelA, labelB))) {
        std::fprintf(stderr, "qvnperfctl compare: %s\n", svgFile.error().c_str());
        status = kExitUsage;
    }
    return status;
}

}  // namespace qvnperfctl

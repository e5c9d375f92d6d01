// SPDX-License-Identifier: Apache-2.0
// qvnperfctl simulate: plays a session script through the controller against the host
// power service and shows what it asked for.

#include <csignal>
#include <cstdio>
#include <algorithm>
#include <filesystem>
#include <functional>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/ExitCodes.h"
#include "commands/Files.h"
#include "commands/SimulateOptions.h"
#include "play/Launcher.h"
#include "play/PlaySession.h"
#include "script/JsonSource.h"
#include "script/PropertyFile.h"
#include "script/SessionScript.h"
#include "script/ShownText.h"
#include "svg/SessionSvg.h"
#include "text/TimeAtValueTable.h"
#include "text/TimelinePrinter.h"
#include "timeline/LockSpans.h"
#include "timeline/TimelineFile.h"
#include "trace/ChromeTrace.h"

namespace qvnperfctl {
namespace {

const char* kUsage =
    "usage: qvnperfctl simulate SESSION.json [--custom LIB.so] [--config CONFIG.json]\n"
    "                           [--prop NAME=VALUE]... [--trace OUT.json] [--svg OUT.svg]\n"
    "                           [--timeline OUT.json] [--real-time]\n"
    "\n"
    "Plays a camera session script through the controller library as built, against\n"
    "the host power service, and prints a timeline: each step, every lock granted,\n"
    "re-issued, released or expired with its resources, the effective values each step\n"
    "changed, and at the end the service's counters, any leaked lock and any refused\n"
    "request. The session plays on a virtual clock: each step and each expiry happens at\n"
    "its exact time, the run takes as long as the work, and the same input gives the\n"
    "same output.\n"
    "\n"
    "  --custom LIB.so       customisation library, loaded as libcameracustom.so\n"
    "  --config CONFIG.json  JSON configuration (sets vendor.cam3perfctrl.enablejson=1\n"
    "                        and vendor.debug.qvncam.perfjson)\n"
    "  --prop NAME=VALUE     property set before the library loads; repeatable, wins\n"
    "                        over the script's \"properties\"\n"
    "  --trace OUT.json      Chrome trace-event file (Perfetto UI, chrome://tracing)\n"
    "  --svg OUT.svg         the timeline as one SVG picture\n"
    "  --real-time           let the session's time pass for real instead\n"
    "  --timeline OUT.json   the timeline as JSON, for other programs\n"
    "\n"
    "A session script is a JSON object: \"description\", \"properties\" (set before\n"
    "the library loads) and \"steps\", each an object with an \"op\":\n"
    "  open       boost_ms\n"
    "  configure  streams [{type, width, height, usage, format}], fps [min, max]\n"
    "  requests   count, interval_ms, complete_after, first, metadata\n"
    "  boost      level (0-3 or \"default\"), timeout_ms, release_after_ms\n"
    "  affinity   thread\n"
    "  eas        tid (a number or \"self\", which is task 1000 on the virtual clock),\n"
    "             flags, release_after_ms\n"
    "  prop       name, value\n"
    "  wait       ms\n"
    "  close\n"
    "  dump       (the controller's live operators beside the service's locks)\n"
    "See examples/sessions/ and tools/README.md.\n"
    "\n"
    "Exit status: 0 clean run, 1 a lock leaked, was released badly or was refused by the\n"
    "service, 2 usage, script or I/O error.\n";

using Options = SimulateOptions;

}  // namespace

const std::vector<LongOption>& simulateOptions() {
    static const std::vector<LongOption> options = {
        {"custom", true}, {"config", true},   {"prop", true},      {"trace", true},
        {"svg", true},    {"timeline", true}, {"real-time", false}};
    return options;
}

std::optional<std::string> parseSimulateOptions(const std::vector<std::string>& args,
                                                SimulateOptions& out) {
    CommandLine line;
    auto problem = parseCommandLine(args, simulateOptions(), line);
    out.help = line.help;
    if (problem)
        return problem;
    for (const auto& [name, value] : line.options) {
        if (name == "real-time") {
            out.realTime = true;
        } else if (name == "timeline") {
            out.timeline = value;
        } else if (name == "custom") {
            out.custom = value;
        } else if (name == "config") {
            out.config = value;
        } else if (name == "trace") {
            out.trace = value;
        } else if (name == "svg") {
            out.svg = value;
        } else if (name == "prop") {
            auto eq = value.find('=');
            if (eq == std::string::npos || eq == 0)
                return "--prop needs NAME=VALUE";
            out.props.emplace_back(value.substr(0, eq), value.substr(eq + 1));
            if (auto bad = propertyProblem(out.props.back().first, out.props.back().second))
                return "--prop " + *bad;
        }
    }
    if (line.operands.size() > 1)
        return std::string("more than one session script");
    if (line.operands.empty())
        return std::string("missing SESSION.json");
    out.session = line.operands.front();
    return std::nullopt;
}

namespace {

// Loads and checks the script; prints its problems with their lines.
bool loadSession(const std::string& path, Session& session) {
    JsonSource source;
    switch (source.load(path)) {
        case JsonSource::Status::IoError:
        case JsonSource::Status::TooLarge:
            std::fprintf(stderr, "qvnperfctl simulate: %s\n", shownText(source.error()).c_str());
            return false;
        case JsonSource::Status::ParseError:
            std::fprintf(stderr, "%s:%d: not valid JSON: %s\n", shownText(path).c_str(),
                         source.errorLine(), shownText(source.error()).c_str());
            return false;
        case JsonSource::Status::Ok:
            break;
    }
    auto errors = parseSession(source, session);
    for (const auto& e : errors) {
        std::fprintf(stderr, "%s:%d: %s\n", shownText(path).c_str(), e.line,
                     shownText(e.message).c_str());
    }
    return errors.empty();
}

// Values that a device reads other than they look: the host reads them the same way, but
// a tuner who wrote "2.5GHz" should hear that it is 2.
void warnOfPropertyValues(const Session& session, const LaunchPlan& plan) {
    auto warn = [](const std::string& name, const std::string& value, int line) {
        if (auto warning = propertyValueWarning(name, value)) {
            std::fprintf(stderr, "qvnperfctl simulate: warning: %s%s\n",
                         shownText(*warning).c_str(),
                         line > 0 ? (" [line " + std::to_string(line) + "]").c_str() : "");
        }
    };
    for (const auto& [name, value] : plan.properties)
        warn(name, value, 0);
    for (const auto& step : session.steps) {
        if (const auto* prop = std::get_if<PropStep>(&step.action))
            warn(prop->name, prop->value, step.line);
    }
}

// Writes one output file; false after saying why when it cannot.
bool writeOutput(const std::string& path, const std::function<std::string()>& text) {
    OutputFile file;
    if (file.open(path) && file.write(text()))
        return true;
    std::fprintf(stderr, "qvnperfctl simulate: %s\n", file.error().c_str());
    return false;
}

// The simulation proper, in the process that relaunch() prepared.
int play(const Options& options, const Session& session) {
    // A reader that goes away (simulate ... | head) only cuts the timeline short: the
    // pictures are still written and the exit status still tells what the session did.
    std::signal(SIGPIPE, SIG_IGN);
    Timeline timeline = playSession(session, options.config, options.realTime);
    printTimeline(timeline, stdout);
    std::fputs("\n", stdout);
    printTimeAtValue(timeline, stdout);
    const int written = finishStandardOutput("simulate");
    int status = std::max(timeline.clean() ? kExitOk : kExitProblems, written);

    if (!options.timeline.empty() &&
        !writeOutput(options.timeline, [&] { return timelineFileText(timeline); }))
        status = kExitUsage;
    if (!options.trace.empty() || !options.svg.empty()) {
        Picture picture = buildPicture(timeline);
        if (!options.trace.empty() &&
            !writeOutput(options.trace, [&] { return chromeTrace(timeline, picture); }))
            status = kExitUsage;
        std::string title =
            session.path + (session.description.empty() ? "" : " - " + session.description);
        if (!options.svg.empty() &&
            !writeOutput(options.svg, [&] { return sessionSvg(picture, title); }))
            status = kExitUsage;
    }
    return status;
}

// Checks what the run is given and starts it in a fresh process. The output files stay
// open meanwhile: a FIFO's reader then sees the end of the data only when the run ends.
int relaunchSimulation(const std::vector<std::string>& args, const Options& options,
                       const Session& session) {
    LaunchPlan plan;
    plan.properties = session.properties;
    for (const auto* in : {&options.config, &options.custom}) {
        if (auto problem = in->empty() ? std::nullopt : inputFileProblem(*in)) {
            std::fprintf(stderr, "qvnperfctl simulate: %s\n", problem->c_str());
            return kExitUsage;
        }
    }
    if (!options.config.empty()) {
        std::error_code ec;
        const auto config = std::filesystem::canonical(options.config, ec);
        for (auto& property : configurationProperties(ec ? options.config : config.string()))
            plan.properties.push_back(std::move(property));
    }
    plan.properties.insert(plan.properties.end(), options.props.begin(), options.props.end());
    plan.customLibrary = options.custom;
    warnOfPropertyValues(session, plan);
    std::vector<OutputFile> outputs;
    for (const auto* out : {&options.trace, &options.svg, &options.timeline}) {
        if (out->empty())
            continue;
        outputs.emplace_back();
        if (!outputs.back().open(*out)) {
            std::fprintf(stderr, "qvnperfctl simulate: %s\n", outputs.back().error().c_str());
            return kExitUsage;
        }
    }
    std::vector<std::string> childArgs = {"simulate"};
    childArgs.insert(childArgs.end(), args.begin(), args.end());
    return relaunch(childArgs, plan);
}

}  // namespace

int runSimulate(const std::vector<std::string>& args) {
    Options options;
    auto problem = parseSimulateOptions(args, options);
    if (options.help) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (problem)
        return usageError("simulate", *problem);
    Session session;
    if (!loadSession(options.session, session))
        return kExitUsage;
    if (isRelaunched())
        return play(options, session);
    return relaunchSimulation(args, options, session);
}

}  // namespace qvnperfctl

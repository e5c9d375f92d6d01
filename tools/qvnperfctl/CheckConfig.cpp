// qvnperfctl check-config: the check a device maker runs on a JSON configuration
// before flashing it.

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "CheckConfig.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "JsonSource.h"
#include "Vocabulary.h"

namespace qvnperfctl {
namespace {

const char* kUsage =
    "usage: qvnperfctl check-config CONFIG.json...\n"
    "\n"
    "Checks a JSON configuration of the controller (the file that property\n"
    "vendor.debug.qvncam.perfjson names) before it goes on a device:\n"
    "  - the file is JSON with an object at the top;\n"
    "  - \"enter_cam\" and \"config_cam\" are objects;\n"
    "  - every name in them is a resource of the vocabulary that configuration may\n"
    "    use (see qvnperfctl resources);\n"
    "  - every value is an integer that fits in 32 bits;\n"
    "  - no other top-level member and no name twice in one object.\n"
    "Each problem is printed as FILE:LINE: message.\n"
    "\n"
    "Exit status: 0 clean, 1 problems found, 2 usage or unreadable file.\n";

const char* const kSections[] = {"enter_cam", "config_cam"};

std::string quoted(const std::string& s) {
    return "\"" + s + "\"";
}

std::string describe(const Json::Value& v) {
    switch (v.type()) {
        case Json::nullValue:
            return "null";
        case Json::intValue:
        case Json::uintValue:
            return "an integer";
        case Json::realValue:
            return "a number with a fraction or exponent";
        case Json::stringValue:
            return "a string";
        case Json::booleanValue:
            return "a boolean";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
    }
    return "a value";
}

class ConfigChecker {
  public:
    explicit ConfigChecker(const JsonSource& source) : mSource(source) {}

    std::vector<ConfigProblem> run() {
        const auto& root = mSource.root();
        if (!root.isObject()) {
            add(mSource.lineOf(root), "the top level must be an object, not " + describe(root));
            return mProblems;
        }
        checkDuplicates(root, "the top level");
        for (const auto& member : mSource.membersAsWritten(root)) {
            if (std::find(std::begin(kSections), std::end(kSections), member.name) ==
                std::end(kSections)) {
                add(member.line, "unknown top-level member " + quoted(member.name) +
                                     " (the controller reads only \"enter_cam\" and "
                                     "\"config_cam\")");
            }
        }
        for (const char* section : kSections) {
            if (root.isMember(section))
                checkSection(section, root[section]);
        }
        std::stable_sort(
            mProblems.begin(), mProblems.end(),
            [](const ConfigProblem& a, const ConfigProblem& b) { return a.line < b.line; });
        return mProblems;
    }

  private:
    void add(int line, std::string message) { mProblems.push_back({line, std::move(message)}); }

    void checkDuplicates(const Json::Value& object, const std::string& where) {
        std::map<std::string, int> firstLine;
        for (const auto& member : mSource.membersAsWritten(object)) {
            auto [it, fresh] = firstLine.emplace(member.name, member.line);
            if (!fresh) {
                add(member.line, "duplicate name " + quoted(member.name) + " in " + where +
                                     " (first at line " + std::to_string(it->second) +
                                     "; only one of them takes effect)");
            }
        }
    }

    void checkSection(const std::string& section, const Json::Value& value) {
        if (!value.isObject()) {
            add(mSource.lineOf(value),
                quoted(section) + " must be an object, not " + describe(value));
            return;
        }
        checkDuplicates(value, quoted(section));
        const auto& vocabulary = Vocabulary::instance();
        std::map<std::string, bool> seen;
        for (const auto& member : mSource.membersAsWritten(value)) {
            if (!seen.emplace(member.name, true).second)
                continue;
            const Resource* resource = vocabulary.byName(member.name);
            if (!resource) {
                add(member.line, quoted(member.name) + " in " + quoted(section) +
                                     " is not a resource of the vocabulary");
            } else if (!resource->permitted) {
                add(member.line, quoted(member.name) + " in " + quoted(section) +
                                     " is not permitted in configuration");
            }
            checkValue(member.name, value[member.name]);
        }
    }

    void checkValue(const std::string& name, const Json::Value& v) {
        int line = mSource.lineOf(v);
        if (v.type() != Json::intValue && v.type() != Json::uintValue) {
            add(line, "value of " + quoted(name) + " must be an integer, not " + describe(v));
        } else if (!v.isInt()) {
            add(line, "value " + v.asString() + " of " + quoted(name) +
                          " does not fit in 32 bits (-2147483648 to 2147483647)");
        }
    }

    const JsonSource& mSource;
    std::vector<ConfigProblem> mProblems;
};

}  // namespace

std::vector<ConfigProblem> checkConfiguration(const JsonSource& source) {
    return ConfigChecker(source).run();
}

int runCheckConfig(const std::vector<std::string>& args) {
    if (wantsHelp(args)) {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (args.empty())
        return usageError("check-config", "missing CONFIG.json");
    for (const auto& arg : args) {
        if (arg.size() > 1 && arg[0] == '-') {
            return usageError("check-config", "unknown option " + arg);
        }
    }
    int status = kExitOk;
    for (const auto& path : args) {
        JsonSource source;
        switch (source.load(path)) {
            case JsonSource::Status::IoError:
                std::fprintf(stderr, "qvnperfctl check-config: %s\n", source.error().c_str());
                status = kExitUsage;
                continue;
            case JsonSource::Status::ParseError:
                std::printf("%s:%d: not valid JSON: %s\n", path.c_str(), source.errorLine(),
                            source.error().c_str());
                if (status == kExitOk)
                    status = kExitProblems;
                continue;
            case JsonSource::Status::Ok:
                break;
        }
        auto problems = checkConfiguration(source);
        for (const auto& p : problems) {
            std::printf("%s:%d: %s\n", path.c_str(), p.line, p.message.c_str());
        }
        if (problems.empty()) {
            std::printf("%s: ok\n", path.c_str());
        } else {
            std::printf("%s: %zu problem%s\n", path.c_str(), problems.size(),
                        problems.size() == 1 ? "" : "s");
            if (status == kExitOk)
                status = kExitProblems;
        }
    }
    return status;
}

}  // namespace qvnperfctl

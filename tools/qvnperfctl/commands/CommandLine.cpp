// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"

#include <cstdio>

#include "commands/ExitCodes.h"
#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

// The option "--name" stands for: the one spelt so, else the one option it is a prefix of.
// Every command reads its options by this rule, so an abbreviation means one thing
// everywhere.
std::optional<std::string> findLongOption(const std::string& name,
                                          const std::vector<LongOption>& known, LongOption& found) {
    std::vector<LongOption> all = known;
    all.push_back({"help", false});
    int matches = 0;
    for (const LongOption& opt : all) {
        const std::string full = opt.name;
        if (full == name) {
            found = opt;
            return std::nullopt;
        }
        if (!name.empty() && full.compare(0, name.size(), name) == 0) {
            found = opt;
            ++matches;
        }
    }
    if (matches == 1)
        return std::nullopt;
    return (matches > 1 ? "ambiguous option --" : "unknown option --") + name;
}

struct OptionWord {
    std::string name;                  // as written, without "--"
    std::optional<std::string> value;  // after '=', if any
};

OptionWord splitOptionWord(const std::string& word) {
    const size_t eq = word.find('=');
    if (eq == std::string::npos)
        return {word.substr(2), std::nullopt};
    return {word.substr(2, eq - 2), word.substr(eq + 1)};
}

bool isLongOption(const std::string& word) {
    return word.size() > 2 && word.compare(0, 2, "--") == 0;
}

}  // namespace

std::optional<std::string> parseCommandLine(const std::vector<std::string>& args,
                                            const std::vector<LongOption>& known,
                                            CommandLine& out) {
    std::optional<std::string> problem;
    auto note = [&problem](std::string text) {
        if (!problem)
            problem = std::move(text);
    };
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-') {
            out.operands.push_back(word);
        } else if (word == "--") {
            optionsEnded = true;
        } else if (!isLongOption(word)) {
            for (char c : word.substr(1)) {
                if (c == 'h') {
                    out.help = true;
                } else {
                    note(std::string("unknown option -") + c);
                }
            }
        } else {
            const OptionWord given = splitOptionWord(word);
            LongOption opt{};
            if (auto bad = findLongOption(given.name, known, opt)) {
                note(*bad);
                continue;
            }
            const std::string full = std::string("--") + opt.name;
            if (given.value && !opt.takesValue) {
                note(full + " takes no value");
                continue;
            }
            std::string value = given.value.value_or("");
            if (opt.takesValue && !given.value && i + 1 < args.size())
                value = args[++i];
            if (opt.takesValue && value.empty()) {
                note(full + " needs a value");
            } else if (full == "--help") {
                out.help = true;
            } else {
                out.options.emplace_back(opt.name, value);
            }
        }
    }
    return problem;
}

std::vector<std::string> spellOutOptions(const std::vector<std::string>& args,
                                         const std::vector<LongOption>& known) {
    std::vector<std::string> out;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (word == "--") {
            out.insert(out.end(), args.begin() + static_cast<std::ptrdiff_t>(i), args.end());
            break;
        }
        const OptionWord given = isLongOption(word) ? splitOptionWord(word) : OptionWord{};
        LongOption opt{};
        if (!isLongOption(word) || findLongOption(given.name, known, opt)) {
            out.push_back(word);
            continue;
        }
        out.push_back(std::string("--") + opt.name + (given.value ? "=" + *given.value : ""));
        if (opt.takesValue && !given.value && i + 1 < args.size())
            out.push_back(args[++i]);
    }
    return out;
}

int usageError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "qvnperfctl %s: %s\n", command.c_str(), shownText(message).c_str());
    std::fprintf(stderr, "Try 'qvnperfctl %s --help'.\n", command.c_str());
    return kExitUsage;
}

}  // namespace qvnperfctl

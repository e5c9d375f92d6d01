#include "commands/CommandLine.h"

#include <getopt.h>

#include <cstdio>

#include "commands/ExitCodes.h"
#include "script/ShownText.h"

namespace qvnperfctl {

std::optional<std::string> parseCommandLine(const std::vector<std::string>& args,
                                            const std::vector<LongOption>& known,
                                            CommandLine& out) {
    // getopt_long permutes argv in place: give it copies.
    std::vector<std::string> words = {"qvnperfctl"};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    constexpr int kHelp = 'h';
    constexpr int kFirst = 256;  // codes of the command's own options, past any char
    std::vector<option> table;
    for (size_t i = 0; i < known.size(); ++i) {
        table.push_back({known[i].name, known[i].takesValue ? required_argument : no_argument,
                         nullptr, kFirst + static_cast<int>(i)});
    }
    table.push_back({"help", no_argument, nullptr, kHelp});
    table.push_back({nullptr, 0, nullptr, 0});

    std::optional<std::string> problem;
    auto note = [&problem](std::string text) {
        if (!problem)
            problem = std::move(text);
    };
    optind = 0;  // GNU: start afresh, also in a process that parsed before
    opterr = 0;  // our own messages
    const int argc = static_cast<int>(words.size());
    for (int code; (code = getopt_long(argc, argv.data(), ":h", table.data(), nullptr)) != -1;) {
        const std::string word = argv[optind - 1] != nullptr ? argv[optind - 1] : "";
        if (code == kHelp) {
            out.help = true;
        } else if (code == '?' && optopt != 0) {
            note("unknown option -" + std::string(1, static_cast<char>(optopt)));
        } else if (code == '?') {
            const std::string name = word.substr(2, word.find('=') - 2);
            int matches = 0;
            for (const LongOption& opt : known)
                matches += std::string(opt.name).compare(0, name.size(), name) == 0;
            note((matches > 1 ? "ambiguous option " : "unknown option ") + word);
        } else if (code == ':') {
            note(word.substr(0, word.find('=')) + " needs a value");
        } else {
            const LongOption& opt = known[static_cast<size_t>(code - kFirst)];
            const std::string value = optarg != nullptr ? optarg : "";
            if (opt.takesValue && value.empty()) {
                note("--" + std::string(opt.name) + " needs a value");
                continue;
            }
            out.options.emplace_back(opt.name, value);
        }
    }
    out.operands.assign(argv.begin() + optind, argv.begin() + argc);
    return problem;
}

int usageError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "qvnperfctl %s: %s\n", command.c_str(), shownText(message).c_str());
    std::fprintf(stderr, "Try 'qvnperfctl %s --help'.\n", command.c_str());
    return kExitUsage;
}

}  // namespace qvnperfctl

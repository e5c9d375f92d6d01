// SPDX-License-Identifier: Apache-2.0
#pragma once

// How every subcommand reads its command line.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qvnperfctl {

// A long option of a command; -h and --help are every command's.
struct LongOption {
    const char* name;  // without the leading "--"
    bool takesValue;
};

struct CommandLine {
    bool help = false;
    // Options as given, in order: name (without "--") and value ("" for a flag).
    std::vector<std::pair<std::string, std::string>> options;
    std::vector<std::string> operands;
};

// Parses `args`: "--name VALUE" or "--name=VALUE" (a prefix of one name alone will do),
// operands anywhere, "--" ends the options. Returns the first problem ("unknown option
// --x", "--x needs a value"); `out.help` is set whatever else is wrong.
std::optional<std::string> parseCommandLine(const std::vector<std::string>& args,
                                            const std::vector<LongOption>& known, CommandLine& out);

// `args` with each option word that names one of `known` spelt out in full, as
// parseCommandLine reads it ("--sv=x" becomes "--svg=x"); values, operands, words it
// would refuse and all after "--" are left as they are.
std::vector<std::string> spellOutOptions(const std::vector<std::string>& args,
                                         const std::vector<LongOption>& known);

// Prints "qvnperfctl COMMAND: message" and a hint to stderr; returns kExitUsage.
int usageError(const std::string& command, const std::string& message);

}  // namespace qvnperfctl

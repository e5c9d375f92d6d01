// SPDX-License-Identifier: Apache-2.0
#pragma once

// Exit statuses shared by every subcommand.
namespace qvnperfctl {

constexpr int kExitOk = 0;        // nothing wrong
constexpr int kExitProblems = 1;  // the command ran and found problems
constexpr int kExitUsage = 2;     // bad command line, unreadable input or unwritable output

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
#pragma once

// Runs the qvnperfctl binary as a user would and captures what it prints.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/ReadText.h"

using testing::HasSubstr;

struct ToolRun {
    int status;  // exit status, -1 when the tool did not exit normally
    std::string out, err;
};

// A fresh path in this process's scratch directory, which goes when the process ends; the
// file is written when `text` is given.
inline std::string tempPath(const std::string& name, const char* text = nullptr) {
    static const struct Dir {
        std::string path = testing::TempDir() + "qvnperfctl_test." + std::to_string(getpid());
        Dir() { std::filesystem::create_directories(path); }
        ~Dir() { std::filesystem::remove_all(path); }
    } dir;
    static int counter = 0;
    const std::string path = dir.path + "/" + std::to_string(++counter) + "_" + name;
    if (text != nullptr)
        std::ofstream(path) << text;
    return path;
}

// The arguments are quoted for the shell; none of ours holds a quote. Standard output goes
// to `stdoutTo` when one is given (and is then not read back). A run that takes longer
// than `seconds` is stopped and exits 124.
inline ToolRun runTool(const std::vector<std::string>& args, const std::string& stdoutTo = "",
                       int seconds = 300) {
    std::string command = "timeout -k 5 " + std::to_string(seconds) + " " QVNPERFCTL_PATH;
    for (const std::string& arg : args)
        command += " '" + arg + "'";
    const std::string out = stdoutTo.empty() ? tempPath("stdout") : stdoutTo;
    const std::string err = tempPath("stderr");
    const int status = std::system((command + " >" + out + " 2>" + err).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, stdoutTo.empty() ? readText(out) : "",
            readText(err)};
}

// `text` with runs of blanks made one and blanks at line starts dropped, so that
// expectations need not spell out the column layout.
inline std::string squeeze(const std::string& text) {
    std::string out;
    for (char c : text)
        if (c != ' ' || (!out.empty() && out.back() != ' ' && out.back() != '\n'))
            out += c;
    return out;
}

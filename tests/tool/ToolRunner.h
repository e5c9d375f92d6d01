#pragma once

// Runs the qvnperfctl binary as a user would and captures what it prints.

#include <string>
#include <vector>

struct ToolRun {
    int status = -1;  // exit status, -1 when it did not exit normally
    std::string out;
    std::string err;
};

ToolRun runTool(const std::vector<std::string>& args);

// A fresh file path in the test's temporary directory.
std::string tempPath(const std::string& name);
// Writes `text` to a fresh temporary file and returns its path.
std::string writeTemp(const std::string& name, const std::string& text);

// `text` with runs of blanks made one and blanks at line starts dropped, so that
// expectations need not spell out the column layout.
std::string squeeze(const std::string& text);
// The line of `text` holding `needle`, without its newline; empty when none does.
std::string lineWith(const std::string& text, const std::string& needle);
// How many times `needle` occurs in `text`.
size_t occurrences(const std::string& text, const std::string& needle);

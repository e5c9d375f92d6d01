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

// SPDX-License-Identifier: Apache-2.0
#pragma once

// Golden files of the tool's whole output. After a meant change of the output:
//   QVNPERFCTL_UPDATE_GOLDEN=1 ctest --test-dir build -R Golden

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/ReadText.h"

namespace {

// The first line where two texts part, for a failure message that fits on a screen.
std::string firstDifference(const std::string& want, const std::string& got) {
    std::istringstream a(want), b(got);
    std::string lineA, lineB;
    for (int n = 1;; ++n) {
        const bool moreA = static_cast<bool>(std::getline(a, lineA));
        const bool moreB = static_cast<bool>(std::getline(b, lineB));
        if (!moreA && !moreB)
            return "no difference";
        if (!moreA || !moreB || lineA != lineB) {
            return "line " + std::to_string(n) + "\n  golden: " + lineA.substr(0, 300) +
                   "\n  now:    " + lineB.substr(0, 300);
        }
    }
}

// Where the trees live is the one thing in the output that differs between checkouts.
std::string withoutTreePaths(std::string text) {
    namespace fs = std::filesystem;
    const std::pair<std::string, const char*> trees[] = {
        {QVNCAM_BINARY_DIR, "BUILD"},
        {fs::canonical(QVNCAM_BINARY_DIR).string(), "BUILD"},
        {PROJECT_SOURCE_DIR, "SRC"},
        {fs::canonical(PROJECT_SOURCE_DIR).string(), "SRC"},
    };
    for (const auto& [dir, name] : trees) {
        for (size_t at; (at = text.find(dir)) != std::string::npos;)
            text.replace(at, dir.size(), name);
    }
    return text;
}

// Each output against GOLDEN_DIR/NAME+SUFFIX, or written there when updating.
void expectGolden(const std::string& name,
                  const std::vector<std::pair<std::string, std::string>>& outputs) {
    const bool update = std::getenv("QVNPERFCTL_UPDATE_GOLDEN") != nullptr;
    for (const auto& [suffix, text] : outputs) {
        const std::string golden = GOLDEN_DIR "/" + name + suffix;
        if (update) {
            std::ofstream(golden, std::ios::binary) << text;
            continue;
        }
        const std::string want = readText(golden);
        EXPECT_TRUE(want == text) << golden << " differs at " << firstDifference(want, text)
                                  << "\n(meant? QVNPERFCTL_UPDATE_GOLDEN=1 ctest -R Golden)";
    }
}

}  // namespace

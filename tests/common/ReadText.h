// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <iterator>
#include <string>

// The whole of a file as it is; empty when it cannot be read.
inline std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

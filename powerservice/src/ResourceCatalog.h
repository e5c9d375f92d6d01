// SPDX-License-Identifier: Apache-2.0
#pragma once

// The power resources the service knows by name, shared with the controller
// through the vocabulary data file, and the rule that picks each resource's
// effective value.

#include <cstddef>
#include <string>

namespace qvnperf {

enum class ResourceKind : int { Floor = 0, Cap = 1, Latest = 2 };

struct ResourceInfo {
    const char* name;
    int id;
    bool permitted;
    ResourceKind kind;
};

// Null when the id (or name) is outside the vocabulary.
const ResourceInfo* findResource(int id);
const ResourceInfo* findResource(const char* name);

// Ids outside the vocabulary are Latest.
ResourceKind kindOf(int id);

// The name, or "0x%08x" for an unknown id.
std::string resourceLabel(int id);

}  // namespace qvnperf

// SPDX-License-Identifier: Apache-2.0
#pragma once

// The power-resource vocabulary as the controller loaded it (its exported tables),
// ordered by id, with look-ups by name, id and class word.

#include <string>
#include <vector>

namespace qvnperfctl {

struct Resource {
    std::string name;
    int id;
    bool permitted;  // configuration may name it
};

class Vocabulary {
  public:
    // Built once from the controller's tables.
    static const Vocabulary& instance();

    const std::vector<Resource>& all() const { return mResources; }
    const Resource* byName(const std::string& name) const;
    const Resource* byId(int id) const;
    // The resources of a class word as classOf() gives it ("CPUFREQ", "FPS", ...);
    // empty when unknown.
    std::vector<const Resource*> inClass(const std::string& word) const;
    // Class words in order of their first id.
    std::vector<std::string> classes() const;

    // The class word of a resource name: PERF_RES_<CLASS>_...
    static std::string classOf(const std::string& name);

  private:
    Vocabulary();
    std::vector<Resource> mResources;
};

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
#include "ResourceCatalog.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <unordered_map>
#include <vector>

namespace qvnperf {
namespace {

struct Row {
    const char* name;
    int id;
    bool permitted;
};

constexpr Row kRows[] = {
#define PERF_RES(name, id, permitted) {#name, static_cast<int>(id), (permitted) != 0},
#include "PowerResources.def"
#undef PERF_RES
};

bool wordIs(const char* word, size_t len, const char* candidate) {
    return std::strlen(candidate) == len && std::strncmp(word, candidate, len) == 0;
}

bool wordIn(const char* word, size_t len, std::initializer_list<const char*> set) {
    return std::any_of(set.begin(), set.end(), [&](const char* c) { return wordIs(word, len, c); });
}

// The kind rule stated with the vocabulary (PowerResources.def): switches and modes are
// named by their last word; otherwise the last word that bounds the value decides (so
// "BOOST_MAX" is a cap on a boost).
ResourceKind kindOfName(const char* name) {
    ResourceKind kind = ResourceKind::Latest;
    const char* p = name;
    while (*p != '\0') {
        const char* end = std::strchr(p, '_');
        size_t len = end ? static_cast<size_t>(end - p) : std::strlen(p);
        if (end == nullptr && wordIn(p, len, {"ENABLE", "DISABLE", "MODE", "MASK", "POLICY"})) {
            return ResourceKind::Latest;
        }
        if (wordIn(p, len, {"MIN", "FLOOR", "BOOST"})) {
            kind = ResourceKind::Floor;
        } else if (wordIn(p, len, {"MAX", "CEILING", "LIMIT", "CAP"})) {
            kind = ResourceKind::Cap;
        }
        p += len;
        if (*p == '_') {
            ++p;
        }
    }
    return kind;
}

class Catalog {
  public:
    Catalog() {
        mById.reserve(std::size(kRows));
        for (const Row& r : kRows) {
            mById.push_back({r.name, r.id, r.permitted, kindOfName(r.name)});
        }
        std::sort(mById.begin(), mById.end(),
                  [](const ResourceInfo& a, const ResourceInfo& b) { return a.id < b.id; });
        mByName.reserve(mById.size());
        for (const ResourceInfo& r : mById) {
            mByName.emplace(r.name, &r);
        }
    }

    const ResourceInfo* find(int id) const {
        auto it = std::lower_bound(mById.begin(), mById.end(), id,
                                   [](const ResourceInfo& r, int v) { return r.id < v; });
        return it != mById.end() && it->id == id ? &*it : nullptr;
    }

    const ResourceInfo* find(const char* name) const {
        auto it = mByName.find(name);
        return it == mByName.end() ? nullptr : it->second;
    }

  private:
    std::vector<ResourceInfo> mById;
    std::unordered_map<std::string, const ResourceInfo*> mByName;
};

// Never destroyed: the leak report runs after static destructors at exit.
const Catalog& catalog() {
    static const Catalog* c = new Catalog;
    return *c;
}

}  // namespace

const ResourceInfo* findResource(int id) {
    return catalog().find(id);
}

const ResourceInfo* findResource(const char* name) {
    return name == nullptr ? nullptr : catalog().find(name);
}

ResourceKind kindOf(int id) {
    const ResourceInfo* r = findResource(id);
    return r ? r->kind : ResourceKind::Latest;
}

std::string resourceLabel(int id) {
    if (const ResourceInfo* r = findResource(id)) {
        return r->name;
    }
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%08x", static_cast<unsigned>(id));
    return buf;
}

}  // namespace qvnperf

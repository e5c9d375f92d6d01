// SPDX-License-Identifier: Apache-2.0
#include "config/Vocabulary.h"

#include <PerfCtrlHelper.h>

#include <algorithm>

namespace qvnperfctl {

using NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlHelper;

const Vocabulary& Vocabulary::instance() {
    static const Vocabulary vocabulary;
    return vocabulary;
}

Vocabulary::Vocabulary() {
    for (const auto& [id, name] : PerfCtrlHelper::PowerEnumToStringMap) {
        mResources.push_back({name, id, PerfCtrlHelper::AvailablePowerHalCmds.count(name) > 0});
    }
    std::sort(mResources.begin(), mResources.end(), [](const Resource& a, const Resource& b) {
        return static_cast<unsigned>(a.id) < static_cast<unsigned>(b.id);
    });
}

const Resource* Vocabulary::byName(const std::string& name) const {
    auto it = PerfCtrlHelper::StringToPowerEnumMap.find(name);
    return it == PerfCtrlHelper::StringToPowerEnumMap.end() ? nullptr : byId(it->second);
}

const Resource* Vocabulary::byId(int id) const {
    auto it = std::lower_bound(
        mResources.begin(), mResources.end(), id, [](const Resource& r, int value) {
            return static_cast<unsigned>(r.id) < static_cast<unsigned>(value);
        });
    return it != mResources.end() && it->id == id ? &*it : nullptr;
}

std::string Vocabulary::classOf(const std::string& name) {
    static const std::string prefix = "PERF_RES_";
    if (name.compare(0, prefix.size(), prefix) != 0)
        return {};
    auto end = name.find('_', prefix.size());
    return name.substr(prefix.size(),
                       end == std::string::npos ? std::string::npos : end - prefix.size());
}

std::vector<const Resource*> Vocabulary::inClass(const std::string& word) const {
    std::vector<const Resource*> found;
    for (const auto& r : mResources) {
        if (classOf(r.name) == word)
            found.push_back(&r);
    }
    return found;
}

std::vector<std::string> Vocabulary::classes() const {
    std::vector<std::string> words;
    for (const auto& r : mResources) {
        auto word = classOf(r.name);
        if (std::find(words.begin(), words.end(), word) == words.end())
            words.push_back(word);
    }
    return words;
}

}  // namespace qvnperfctl

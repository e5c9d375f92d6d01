// SPDX-License-Identifier: Apache-2.0
#pragma once

// How the controller reads a section of its JSON configuration ("enter_cam",
// "config_cam"). The controller and qvnperfctl check-config both read through this, so
// the checker judges a file exactly as a device does.

#include <string>
#include <vector>

#include "PerfCtrlHelper.h"
#include "QvncamJSON.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

inline constexpr const char* kJsonEnterCamSection = "enter_cam";
inline constexpr const char* kJsonConfigCamSection = "config_cam";

struct JsonSectionMember {
    std::string name;
    int value;  // as the controller reads it: 0 for what is not a 32-bit integer
    int id;     // the resource's id; kNotAResource for a name outside the vocabulary
};

inline constexpr int kNotAResource = -1;

struct JsonSection {
    bool present = false;  // the document has it: it replaces the customisation's answer
    bool object = false;   // ... as an object; any other value sends an empty list
    std::vector<JsonSectionMember> members;  // in the document's order

    // What the controller sends: resource id, value, ..., names outside the vocabulary
    // skipped.
    std::vector<int> cmds() const {
        std::vector<int> out;
        for (const auto& m : members) {
            if (m.id != kNotAResource) {
                out.push_back(m.id);
                out.push_back(m.value);
            }
        }
        return out;
    }
};

// Every member's value is taken, known name or not, with `valueOf`: the facility's int
// conversion by default. A reader that must not log (the checker) passes its own.
struct FacilityInt {
    int operator()(const QvncamJSONData& v) const { return static_cast<int>(v); }
};

template <typename ValueOf = FacilityInt>
JsonSection readJsonSection(const QvncamJSONData& doc, const char* name, ValueOf valueOf = {}) {
    JsonSection section;
    section.present = doc.hasMember(name);
    if (!section.present)
        return section;
    const QvncamJSONData& value = doc[name];
    section.object = value.isObject();
    if (!section.object)
        return section;
    const auto& names = PerfCtrlHelper::StringToPowerEnumMap;
    for (const QvncamJSONData* it = value.begin(); it != value.end(); ++it) {
        const std::string key = it->key();
        const int number = valueOf(*it);
        const auto found = names.find(key);
        section.members.push_back(
            {key, number, found == names.end() ? kNotAResource : found->second});
    }
    return section;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"
#include "JsonSections.h"
#include "PerfCtrlHelper.h"
#include "PowerResourceIds.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// Appends the known resources of one section, in the document's order; false when the
// section is not an object.
bool appendSection(const QvncamJSONData& doc, const char* member, const char* label, bool& exist,
                   std::vector<int>& cmds, bool verbose) {
    if (verbose) {
        CAM_LOGD("%s json cmds:", label);
    }
    exist = true;
    const JsonSection section = readJsonSection(doc, member);
    if (!section.object) {
        CAM_LOGW("%s: json format failed!", label);
        return false;
    }
    for (const auto& m : section.members) {
        if (m.id == kNotAResource) {
            CAM_LOGW("%s: fail to find key=%s", label, m.name.c_str());
            continue;
        }
        cmds.push_back(m.id);
        cmds.push_back(m.value);
        if (verbose) {
            CAM_LOGD("%s json cmds: key=%s value=%d", label, m.name.c_str(), m.value);
        }
    }
    return true;
}

}  // namespace

size_t countOutCmdInts(const CustomOutCmds& outCmds) {
    size_t count = 0;
    for (const auto& entry : outCmds) {
        count += entry.second >= 0 ? kIntsPerPair : 0;
    }
    return count;
}

bool Cam3PerfCtrlImp::__prepareJsonCmds(const QvncamJSONData& doc, JsonCmdSet& out) {
    const bool verbose = miLogLevel.load(std::memory_order_relaxed) != 0;
    if (verbose) {
        CAM_LOGD("__prepareJsonCmds exist enterCam:%d ConfigCam:%d",
                 doc.hasMember(kJsonEnterCamSection) ? 1 : 0,
                 doc.hasMember(kJsonConfigCamSection) ? 1 : 0);
    }
    bool result = true;
    if (doc.hasMember(kJsonEnterCamSection) &&
        !appendSection(doc, kJsonEnterCamSection, "EnterCam", out.enterCamExist, out.enterCamCmds,
                       verbose)) {
        result = false;
    }
    if (doc.hasMember(kJsonConfigCamSection) &&
        !appendSection(doc, kJsonConfigCamSection, "ConfigCam", out.configCamExist,
                       out.configCamCmds, verbose)) {
        return false;
    }
    return result;
}

void Cam3PerfCtrlImp::__processOutCmds(const CustomOutCmds& outCmds, std::vector<int>& cmds) {
    const bool verbose = miLogLevel.load(std::memory_order_relaxed) != 0;
    const auto& names = PerfCtrlHelper::StringToPowerEnumMap;
    for (const auto& entry : outCmds) {
        const auto found = names.find(entry.first);
        // Control keys (C2PS_*, CAM_CPU_AFFY_SCENE) are not resources and pass through here.
        if (found == names.end()) {
            continue;
        }
        cmds.push_back(found->second);
        cmds.push_back(entry.second);
        if (verbose) {
            CAM_LOGD(" %s:%d", entry.first.c_str(), entry.second);
        }
    }
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"
#include "PerfCtrlHelper.h"
#include "PowerResourceIds.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

struct JsonSection {
    const char* member;
    const char* label;  // "EnterCam" / "ConfigCam", the prefix of every line
    bool& exist;
    std::vector<int>& cmds;
};

// Appends the known resources of one section; false when the section is not an object.
bool readSection(const QvncamJSONData& doc, const JsonSection& section, bool verbose) {
    if (verbose) {
        CAM_LOGD("%s json cmds:", section.label);
    }
    section.exist = true;
    const QvncamJSONData& value = doc[section.member];
    if (!value.isObject()) {
        CAM_LOGW("%s: json format failed!", section.label);
        return false;
    }
    const auto& names = PerfCtrlHelper::StringToPowerEnumMap;
    for (const QvncamJSONData* it = value.begin(); it != value.end(); ++it) {
        const std::string key = it->key();
        const int val = *it;
        const auto found = names.find(key);
        if (found == names.end()) {
            CAM_LOGW("%s: fail to find key=%s", section.label, key.c_str());
            continue;
        }
        section.cmds.push_back(found->second);
        section.cmds.push_back(val);
        if (verbose) {
            CAM_LOGD("%s json cmds: key=%s value=%d", section.label, key.c_str(), val);
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
                 doc.hasMember("enter_cam") ? 1 : 0, doc.hasMember("config_cam") ? 1 : 0);
    }
    bool result = true;
    if (doc.hasMember("enter_cam") &&
        !readSection(doc, {"enter_cam", "EnterCam", out.enterCamExist, out.enterCamCmds},
                     verbose)) {
        result = false;
    }
    if (doc.hasMember("config_cam") &&
        !readSection(doc, {"config_cam", "ConfigCam", out.configCamExist, out.configCamCmds},
                     verbose)) {
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

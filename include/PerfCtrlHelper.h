// SPDX-License-Identifier: Apache-2.0
#pragma once

// Static loaders, tables and platform settings of the controller, published for other
// modules of the camera stack. The tables are read-only after library load.

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "PerfCtrlCustom.h"
#include "PerfOperatorImp.h"
#include "QvncamExport.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class PerfCtrlHelper {
  public:
    static constexpr int DEFAULT_LOG_LEVEL = 0;

    // Resource vocabulary of the power service: id -> name, name -> id, and the
    // names that configuration may use.
    QVNCAM_EXPORT static const std::unordered_map<int, std::string> PowerEnumToStringMap;
    QVNCAM_EXPORT static const std::unordered_map<std::string, int> StringToPowerEnumMap;
    QVNCAM_EXPORT static const std::unordered_set<std::string> AvailablePowerHalCmds;

    // Boost level -> command list, built at library load.
    QVNCAM_EXPORT static const std::unordered_map<int, std::vector<int>> BoostComdTable;

    // Opens the power-service client and resolves its two lock entries into the outputs:
    // true. False, leaving the outputs alone, when the library or an entry is missing; a
    // library opened is then closed, and the next call starts over. Any thread; concurrent
    // first calls load once.
    QVNCAM_EXPORT static bool loadPowerHalAPI(PerfOperatorImp::LockAcqFn& lockAcq,
                                              PerfOperatorImp::LockRelFn& lockRel);

    // Resolves the customisation library's entries into the four outputs. Each entry not
    // found by an earlier call is looked up and written, null if missing; one found earlier
    // is not written again. If enterCam, configTime or runtime is null afterwards, all three
    // are made null: they are used together or not at all. Without the library nothing is
    // written. Errors are logged. Any thread.
    QVNCAM_EXPORT static void loadCustomPerfFunctions(CustomEnterCameraFn& enterCam,
                                                      CustomConfigTimeFn& configTime,
                                                      CustomRuntimeFn& runtime,
                                                      QueryAppropriateCPUFn& queryCpu);

    // Appends the platform-dependent enter-camera settings to `cmds`, as the
    // vendor.cam3dev.* properties read now select them.
    QVNCAM_EXPORT static void prepareEnterCameraPlatSettings(std::vector<int>& cmds);
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

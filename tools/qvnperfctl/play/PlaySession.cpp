// SPDX-License-Identifier: Apache-2.0
#include "play/PlaySession.h"

#include <Cam3PerfCtrl.h>
#include <QvnPerfService.h>
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include "play/Simulator.h"
#include "script/JsonSource.h"
#include "script/PropertyFile.h"

namespace qvnperfctl {
namespace {

using NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl;

std::string pathOf(const void* symbol) {
    Dl_info info{};
    return dladdr(symbol, &info) && info.dli_fname ? info.dli_fname : "?";
}

// The customisation library the controller loaded, if any.
std::string customLibraryInUse() {
    void* handle = dlopen("libcameracustom.so", RTLD_LAZY | RTLD_NOLOAD);
    if (!handle)
        return "none";
    std::string path = "?";
    link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name)
        path = map->l_name;
    dlclose(handle);
    return path;
}

// The user strings the controller gives the custom locks: a JSON section in use takes
// the place of the customisation library's answer.
CustomOrigins customOrigins(const std::string& config) {
    CustomOrigins origins;
    JsonSource source;
    if (config.empty() || source.load(config) != JsonSource::Status::Ok ||
        !source.root().isObject())
        return origins;
    if (source.root().isMember("enter_cam"))
        origins.enterCamera = "enterCam-json";
    if (source.root().isMember("config_cam"))
        origins.configureStream = "configureStream-from-json";
    return origins;
}

}  // namespace

Timeline playSession(const Session& session, const std::string& config, bool realTime) {
    const char* propertiesPath = std::getenv("QVNCAM_PROPERTIES");
    PropertyFile properties(propertiesPath ? propertiesPath : "");
    properties.load();

    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    std::vector<std::pair<std::string, std::string>> setup = {
        {"controller", pathOf(reinterpret_cast<const void*>(&Cam3PerfCtrl::getInstance))},
        {"power service", pathOf(reinterpret_cast<const void*>(&perf_lock_acq))},
        {"customisation", customLibraryInUse()},
        {"configuration", config.empty() ? "none" : config},
    };
    const char* label = "properties";
    for (const auto& [name, value] : properties.entries()) {
        setup.emplace_back(label, name + "=" + value);
        label = "";
    }
    if (properties.entries().empty())
        setup.emplace_back(label, "none");
    Timeline timeline = simulate(session, *ctrl, properties, {realTime, customOrigins(config)});
    timeline.setup = std::move(setup);
    return timeline;
}

}  // namespace qvnperfctl

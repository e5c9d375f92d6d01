// SPDX-License-Identifier: Apache-2.0
// check-config --show against the controller: for each configuration, the lists the tool
// says the controller sends are the lists the recording power client receives.

#include <dlfcn.h>

#include <sstream>

#include "ToolRunner.h"
#include "camera/CamTestSupport.h"

namespace camtest {
namespace {

using Sent = std::optional<List>;  // none: the section is not in the file

struct Shown {
    int status = -1;
    Sent enter, config;
};

Shown showConfig(const std::string& path) {
    const ToolRun run = runTool({"check-config", "--show", path});
    Shown shown{run.status, std::nullopt, std::nullopt};
    std::istringstream lines(run.out);
    Sent* list = nullptr;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  enter-camera list:", 0) == 0 ||
            line.rfind("  configure-stream", 0) == 0) {
            list = line[2] == 'e' ? &shown.enter : &shown.config;
            if (line.find("none in the file") == std::string::npos)
                list->emplace();
        } else if (line.rfind("    0x", 0) == 0 && list != nullptr && *list) {
            (*list)->push_back(static_cast<int>(std::stoul(line.substr(4), nullptr, 16)));
            (*list)->push_back(std::stoi(line.substr(line.find_last_of(' ') + 1)));
        }
    }
    return shown;
}

// The customisation double's entries: the controller resolves them for its first
// instance only.
template <typename Fn>
Fn entry(const char* name) {
    static void* const lib = dlopen("libcameracustom.so", RTLD_NOW);
    return reinterpret_cast<Fn>(dlsym(lib, name));
}

class ConfigAgreement : public CamTest {};

TEST_F(ConfigAgreement, ShowPrintsWhatTheControllerSends) {
    const List kEnterMarker = {0xc04000, 77}, kConfigMarker = {0xc04100, 88};  // GPU_OPP_MIN/MAX
    customdbl::api()->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_GPU_OPP_MIN", 77);
    customdbl::api()->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_GPU_OPP_MAX", 88);
    const std::string deep = std::string(101, '[') + std::string(101, ']');
    // clang-format off
    const struct { std::string text; bool clean; } configs[] = {
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 1, "PERF_RES_DRAM_OPP_MIN": 2,
             "PERF_RES_CPUFREQ_MIN_CLUSTER_0": -3}, "config_cam": {}})", true},
        {"// only one section\r{\"config_cam\": {\"PERF_RES_DRAM_OPP_MIN\": 4,}}", true},
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 3.0, "PERF_RES_DRAM_OPP_MIN": "12",
             "PERF_RES_CPUFREQ_MIN_CLUSTER_1": true, "PERF_RES_CPUFREQ_MIN_CLUSTER_2": 2.5,
             "PERF_RES_CPUCORE_MIN_CLUSTER_0": 99999999999999999999999, "NOPE": 1}})", false},
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 1, "PERF_RES_GPU_FW_IDLE": 2}})", false},
        {R"({"enter_cam": 5, "config_cam": {"PERF_RES_GPU_FW_IDLE": 6}})", false},
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 7}, "config_cam": [1]})", false},
        {R"([{"enter_cam": {"PERF_RES_GPU_FW_IDLE": 7}}])", false},
        // refused by the controller: nothing of them is sent
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 8})", false},
        {"{\"enter_cam\": {\"PERF_RES_GPU_FW_IDLE\": 9}, \"x\": " + deep + "}", false},
        {"{\"enter_cam\": {\"PERF_RES_GPU_FW_IDLE\": 10}}" + std::string(16 << 20, ' '), false}};
    // clang-format on
    for (const auto& [text, clean] : configs) {
        SCOPED_TRACE(text.substr(0, 60));
        const std::string path = tempPath("config.json", text.c_str());
        const Shown shown = showConfig(path);
        EXPECT_EQ(shown.status, clean ? 0 : 1);

        Cam3PerfCtrlImp controller;  // a fresh JSON record, with the fixture's customisation
        Peer::setCustomisation(controller, entry<CustomEnterCameraFn>("customizeEnterCameraPerf"),
                               entry<CustomConfigTimeFn>("customizeConfigTimeCPUCtrl"),
                               entry<CustomRuntimeFn>("customizeRuntimeCPUCtrl"));
        setProperty(PerfCtrlProperties::kEnableJson.name, "1");
        setProperty(qvncam::platform::kJsonConfigProperty, path);
        issued();
        auto opened = controller.enterPerfCtrl_EnterCamera(0);
        const Issued atEnter = issued();
        auto configured = controller.enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
        const Issued atConfig = issued();
        ASSERT_EQ(atEnter.size(), 3u);
        ASSERT_EQ(atConfig.size(), 1u);
        EXPECT_EQ(std::get<1>(atEnter[2]), shown.enter.value_or(kEnterMarker));
        EXPECT_EQ(std::get<1>(atConfig[0]), shown.config.value_or(kConfigMarker));
    }
}

}  // namespace
}  // namespace camtest

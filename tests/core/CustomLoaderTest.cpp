// Customisation loading; built once per library variant (QVNCAM_CUSTOM_VARIANT), each
// with its own suite name (CUSTOM_SUITE).

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ControllerPeer.h"
#include "CoreTestSupport.h"
#include "DlCallCounter.h"
#include "PerfCtrlHelper.h"
#include "doubles/CustomDouble.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

#define VARIANT_NONE 0
#define VARIANT_FULL 1
#define VARIANT_QUERYONLY 2
#define VARIANT_NORUNTIME 3

namespace {

enum class Out { Untouched, Null, Resolved };

struct VariantRow {
    Out enter, config, runtime, query;
    std::vector<std::pair<std::string, std::string>> errors;  // message start, dlerror mention
};

const VariantRow kRows[] = {
    // no library
    {Out::Untouched,
     Out::Untouched,
     Out::Untouched,
     Out::Untouched,
     {{"dlopen fail: ", "libcameracustom.so"}}},
    // all four entries
    {Out::Resolved, Out::Resolved, Out::Resolved, Out::Resolved, {}},
    // queryAppropriateCPU only
    {Out::Null,
     Out::Null,
     Out::Null,
     Out::Resolved,
     {{"funcEnterCamCPUCtrl error: ", "customizeEnterCameraPerf"},
      {"funcConfigTimeCPUCtrl error: ", "customizeConfigTimeCPUCtrl"},
      {"funcRuntimeCPUCtrl error: ", "customizeRuntimeCPUCtrl"}}},
    // every entry but customizeRuntimeCPUCtrl
    {Out::Null,
     Out::Null,
     Out::Null,
     Out::Resolved,
     {{"funcRuntimeCPUCtrl error: ", "customizeRuntimeCPUCtrl"}}},
};

const VariantRow& row() {
    return kRows[QVNCAM_CUSTOM_VARIANT];
}

bool sentinelEnter(const CustomParams&, CustomOutCmds&, unsigned int&) {
    return false;
}
bool sentinelConfig(const qcam::StreamConfiguration&, const CustomParams&, CustomOutCmds&,
                    unsigned int&) {
    return false;
}
bool sentinelRuntime(const NSCam::IMetadata*, const CustomParams&, CustomOutCmds&, unsigned int&,
                     OverwriteCPUControls&) {
    return false;
}
int sentinelQuery(const char*, int) {
    return 0;
}

struct Outputs {
    CustomEnterCameraFn enter = sentinelEnter;
    CustomConfigTimeFn config = sentinelConfig;
    CustomRuntimeFn runtime = sentinelRuntime;
    QueryAppropriateCPUFn query = sentinelQuery;

    void load() { PerfCtrlHelper::loadCustomPerfFunctions(enter, config, runtime, query); }
};

void* symbolOf(const char* name) {
    void* lib = dlopen("libcameracustom.so", RTLD_NOW | RTLD_NOLOAD);
    if (lib == nullptr) {
        return nullptr;
    }
    void* sym = dlsym(lib, name);
    dlclose(lib);
    return sym;
}

template <typename Fn>
void expectOutput(Out expected, Fn actual, Fn sentinel, const char* symbol) {
    switch (expected) {
        case Out::Untouched:
            EXPECT_EQ(actual, sentinel) << symbol;
            break;
        case Out::Null:
            EXPECT_EQ(actual, nullptr) << symbol;
            break;
        case Out::Resolved:
            ASSERT_NE(actual, nullptr) << symbol;
            EXPECT_EQ(reinterpret_cast<void*>(actual), symbolOf(symbol)) << symbol;
            break;
    }
}

// The controller's fields start null, so "untouched" reads as null there.
template <typename Fn>
void expectField(Out expected, Fn actual, const char* symbol) {
    expectOutput(expected == Out::Untouched ? Out::Null : expected, actual, Fn{nullptr}, symbol);
}

}  // namespace

TEST(CUSTOM_SUITE, ResolvesTheVariantsEntriesWithItsErrors) {
    Outputs out;
    testing::internal::CaptureStderr();
    out.load();
    const std::string err = testing::internal::GetCapturedStderr();

    expectOutput(row().enter, out.enter, &sentinelEnter, "customizeEnterCameraPerf");
    expectOutput(row().config, out.config, &sentinelConfig, "customizeConfigTimeCPUCtrl");
    expectOutput(row().runtime, out.runtime, &sentinelRuntime, "customizeRuntimeCPUCtrl");
    expectOutput(row().query, out.query, &sentinelQuery, "queryAppropriateCPU");

    EXPECT_EQ(coretest::countMessages(err, 'E', "PerfCtrlHelper"),
              static_cast<int>(row().errors.size()))
        << err;
    for (const auto& e : row().errors) {
        EXPECT_EQ(coretest::countLog(err, 'E', "PerfCtrlHelper", e.first), 1) << err;
        EXPECT_NE(coretest::logLine(err, 'E', "PerfCtrlHelper", e.first).find(e.second),
                  std::string::npos)
            << err;
    }
}

TEST(CUSTOM_SUITE, ControllerTakesTheVariantsEntries) {
    testing::internal::CaptureStderr();
    Cam3PerfCtrlImp ctrl;
    testing::internal::GetCapturedStderr();
    Cam3PerfCtrlImpTestPeer peer(ctrl);
    expectField(row().enter, peer.enterCam(), "customizeEnterCameraPerf");
    expectField(row().config, peer.configTime(), "customizeConfigTimeCPUCtrl");
    expectField(row().runtime, peer.runtime(), "customizeRuntimeCPUCtrl");
    expectField(row().query, peer.queryCpu(), "queryAppropriateCPU");
}

#if QVNCAM_CUSTOM_VARIANT == VARIANT_FULL

TEST(CUSTOM_SUITE, SecondCallAfterSuccessWritesNothing) {
    Outputs first;
    first.load();
    ASSERT_NE(first.runtime, nullptr);

    Outputs second;
    second.enter = nullptr;
    second.config = nullptr;
    second.runtime = nullptr;
    second.query = nullptr;
    dlcount::reset();
    testing::internal::CaptureStderr();
    second.load();
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(second.enter, nullptr);
    EXPECT_EQ(second.config, nullptr);
    EXPECT_EQ(second.runtime, nullptr);
    EXPECT_EQ(second.query, nullptr);
    EXPECT_EQ(dlcount::opens("libcameracustom.so"), 0);
    EXPECT_EQ(dlcount::lookups("customizeEnterCameraPerf"), 0);
    EXPECT_EQ(dlcount::lookups("queryAppropriateCPU"), 0);
    EXPECT_TRUE(err.empty()) << err;
}

TEST(CUSTOM_SUITE, ConcurrentCallersResolveOnce) {
    Outputs a;
    Outputs b;
    std::atomic<int> ready{0};
    auto run = [&ready](Outputs* out) {
        ready.fetch_add(1);
        while (ready.load() < 2) {
            std::this_thread::yield();
        }
        out->load();
    };
    std::thread ta(run, &a);
    std::thread tb(run, &b);
    ta.join();
    tb.join();
    // One caller resolved everything; the other found it cached and got nothing written.
    const bool aFirst = a.query != &sentinelQuery;
    Outputs& winner = aFirst ? a : b;
    Outputs& loser = aFirst ? b : a;
    EXPECT_NE(winner.enter, nullptr);
    EXPECT_NE(winner.runtime, nullptr);
    EXPECT_NE(winner.query, &sentinelQuery);
    EXPECT_EQ(loser.enter, &sentinelEnter);
    EXPECT_EQ(loser.config, &sentinelConfig);
    EXPECT_EQ(loser.runtime, &sentinelRuntime);
    EXPECT_EQ(loser.query, &sentinelQuery);
}

TEST(CUSTOM_SUITE, CustomDoubleAnswersAsScriptedAndRecordsTheCalls) {
    Outputs out;
    out.load();
    ASSERT_TRUE(customdbl::available());
    customdbl::api()->reset();
    customdbl::api()->setResult(CUSTOMDBL_RUNTIME, false);
    customdbl::api()->setTimeout(CUSTOMDBL_RUNTIME, 33);
    customdbl::api()->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_X", 5);
    customdbl::api()->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_Y", 6);
    customdbl::api()->setQueryMask(0x0f);
    customdbl::api()->setQueryMaskFor("worker", 0xf0);

    NSCam::IMetadata meta;
    const CustomParams params = {{"IS_CONFIG_TIME_KEY", "0"}};
    CustomOutCmds cmds;
    unsigned int timeout = 0;
    OverwriteCPUControls overwrite;
    EXPECT_FALSE(out.runtime(&meta, params, cmds, timeout, overwrite));
    EXPECT_EQ(cmds, (CustomOutCmds{{"PERF_RES_X", 5}}));
    EXPECT_EQ(timeout, 33u);
    EXPECT_EQ(overwrite.configCamCmds, (CustomOutCmds{{"PERF_RES_Y", 6}}));
    EXPECT_TRUE(overwrite.enterCamCmds.empty());
    EXPECT_EQ(customdbl::api()->callCount(CUSTOMDBL_RUNTIME), 1);
    EXPECT_EQ(customdbl::lastParams(CUSTOMDBL_RUNTIME), params);
    EXPECT_EQ(customdbl::api()->lastMetadata(), &meta);

    EXPECT_EQ(out.query("worker", 3), 0xf0);
    EXPECT_EQ(out.query("other", 4), 0x0f);
    EXPECT_EQ(customdbl::lastQuery().threadName, "other");
    EXPECT_EQ(customdbl::lastQuery().scene, 4);
    EXPECT_EQ(customdbl::api()->callCount(CUSTOMDBL_QUERY), 2);
}

#endif

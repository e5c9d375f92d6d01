// SPDX-License-Identifier: Apache-2.0
// Customisation loading; built once per library variant (CUSTOM_VARIANT: none, complete,
// CPU-query only, without the runtime entry), each with its own suite name (CUSTOM_SUITE).

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "PerfCtrlHelper.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

const char* const kSymbols[4] = {"customizeEnterCameraPerf", "customizeConfigTimeCPUCtrl",
                                 "customizeRuntimeCPUCtrl", "queryAppropriateCPU"};
// Start of each error message, per entry and for the library.
const char* const kErrors[5] = {
    "funcEnterCamCPUCtrl error: ", "funcConfigTimeCPUCtrl error: ", "funcRuntimeCPUCtrl error: ",
    "funcQueryAppropriateCPU error: ", "dlopen fail: "};
const int kNoLibrary = 4;

// Each output after a call: as the caller had it, written null, or the library's entry.
enum Out { Kept, Null, Set };

struct Call {
    Out out[4];                // in kSymbols order
    std::vector<int> missing;  // entries reported missing, or kNoLibrary
    int opens;                 // of the library
};

// The first and the second call in each variant.
const Call kCalls[4][2] = {
    // no library: nothing written, and the next call tries again
    {{{Kept, Kept, Kept, Kept}, {kNoLibrary}, 1}, {{Kept, Kept, Kept, Kept}, {kNoLibrary}, 1}},
    // complete: resolved once, then cached and not written again
    {{{Set, Set, Set, Set}, {}, 1}, {{Kept, Kept, Kept, Kept}, {}, 0}},
    // CPU query only: the three customisation entries go together, the query stands alone
    {{{Null, Null, Null, Set}, {0, 1, 2}, 1}, {{Null, Null, Null, Kept}, {0, 1, 2}, 0}},
    // without the runtime entry: the two found are not handed out either
    {{{Null, Null, Null, Set}, {2}, 1}, {{Null, Null, Null, Kept}, {2}, 0}},
};

void sentinel() {}

struct Outputs {
    CustomEnterCameraFn enter = reinterpret_cast<CustomEnterCameraFn>(&sentinel);
    CustomConfigTimeFn config = reinterpret_cast<CustomConfigTimeFn>(&sentinel);
    CustomRuntimeFn runtime = reinterpret_cast<CustomRuntimeFn>(&sentinel);
    QueryAppropriateCPUFn query = reinterpret_cast<QueryAppropriateCPUFn>(&sentinel);

    void* at(int i) const {
        void* p[] = {reinterpret_cast<void*>(enter), reinterpret_cast<void*>(config),
                     reinterpret_cast<void*>(runtime), reinterpret_cast<void*>(query)};
        return p[i];
    }
};

}  // namespace

TEST(CUSTOM_SUITE, ResolvesCachesAndReportsTheVariantsEntries) {
    for (const Call& call : kCalls[CUSTOM_VARIANT]) {
        Outputs out;
        dlcountReset();
        testing::internal::CaptureStderr();
        PerfCtrlHelper::loadCustomPerfFunctions(out.enter, out.config, out.runtime, out.query);
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(dlcount("open:libcameracustom.so"), call.opens);

        EXPECT_EQ(coretest::countLog(err, 'E', "PerfCtrlHelper"), int(call.missing.size())) << err;
        for (int i : call.missing) {
            EXPECT_EQ(coretest::countLog(err, 'E', "PerfCtrlHelper", kErrors[i]), 1) << err;
            const std::string text = i == kNoLibrary
                                         ? std::string("libcameracustom.so: cannot open")
                                         : std::string("undefined symbol: ") + kSymbols[i];
            EXPECT_EQ(coretest::countOf(err, text), 1) << err;  // the loader's own error text
        }
        void* lib = dlopen("libcameracustom.so", RTLD_NOW | RTLD_NOLOAD);
        for (int i = 0; i < 4; ++i) {
            void* want = call.out[i] == Kept   ? Outputs().at(i)
                         : call.out[i] == Null ? nullptr
                                               : dlsym(lib, kSymbols[i]);
            EXPECT_EQ(out.at(i), want) << kSymbols[i];
        }
    }
}

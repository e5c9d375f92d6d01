// SPDX-License-Identifier: Apache-2.0
// qvncam_perfctrl_dump() against operators created, re-issued, detached, released and
// destroyed in the order the input decides. Each dump between steps lists exactly the live
// operators; for a bounded part of each input a second thread dumps meanwhile, and each of
// its dumps must agree with itself.

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "FuzzSupport.h"
#include "PerfCtrlProperties.h"
#include "PerfOperatorImp.h"
#include "qvncam_perfctrl.h"

using NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperatorImp;

namespace {

constexpr size_t kMaxOperators = 64;
constexpr int kMaxSideDumps = 8;

// The dump's text, through a file in memory.
std::string dumpText() {
    const int fd = memfd_create("qvncam_fuzz_dump", MFD_CLOEXEC);
    if (fd < 0) {
        std::abort();
    }
    qvncam_perfctrl_dump(fd);
    std::string text;
    char buf[4096];
    for (ssize_t n; (n = pread(fd, buf, sizeof(buf), static_cast<off_t>(text.size()))) > 0;) {
        text.append(buf, static_cast<size_t>(n));
    }
    close(fd);
    return text;
}

// The count the dump announces; the operator lines ("  #N ...") must match it.
size_t listedOperators(const std::string& text) {
    const size_t at = text.find("\nlive operators: ");
    if (at == std::string::npos) {
        std::abort();
    }
    const size_t announced = std::strtoul(text.c_str() + at + 17, nullptr, 10);
    size_t lines = 0;
    for (size_t pos = 0; (pos = text.find("\n  #", pos)) != std::string::npos; ++pos) {
        ++lines;
    }
    if (lines != announced) {
        std::abort();
    }
    return announced;
}

std::vector<int> pickCmds(FuzzedDataProvider& in) {
    // Known ids (named in the dump), then anything.
    static const int kIds[] = {0x414000, 0x400200, 0x404000, 0x1404300};
    std::vector<int> cmds;
    for (size_t pairs = in.ConsumeIntegralInRange<size_t>(0, 6); pairs > 0; --pairs) {
        cmds.push_back(in.ConsumeBool() ? kIds[in.ConsumeIntegralInRange<size_t>(0, 3)]
                                        : in.ConsumeIntegral<int>());
        cmds.push_back(in.ConsumeIntegral<int>());
    }
    return cmds;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzsupport::quietController();
    // Log level 0: timed operators start no trace timer thread.
    fuzzsupport::setProperty(NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlProperties::kLogLevel.name,
                             "0");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    std::vector<std::unique_ptr<PerfOperatorImp>> ops;
    const int sideDumps = in.ConsumeIntegralInRange<int>(0, kMaxSideDumps);
    std::thread side([sideDumps] {
        for (int i = 0; i < sideDumps; ++i) {
            listedOperators(dumpText());
        }
    });
    while (in.remaining_bytes() > 0) {
        const int step = in.ConsumeIntegralInRange<int>(0, 5);
        if (step == 0 || ops.empty()) {
            if (ops.size() < kMaxOperators) {
                static const int kTimeouts[] = {0, 1, 500, 60000};
                const int timeout = kTimeouts[in.ConsumeIntegralInRange<size_t>(0, 3)];
                std::string user = in.ConsumeRandomLengthString(40);
                // The library's own user strings are single lines; so are these.
                std::replace(user.begin(), user.end(), '\n', ' ');
                ops.push_back(std::make_unique<PerfOperatorImp>(
                    pickCmds(in), timeout, in.ConsumeBool() ? user.c_str() : nullptr));
            }
        } else {
            const size_t i = in.ConsumeIntegralInRange<size_t>(0, ops.size() - 1);
            switch (step) {
                case 1:
                    ops.erase(ops.begin() + static_cast<std::ptrdiff_t>(i));
                    break;
                case 2:
                    ops[i]->exit();
                    break;
                case 3:
                    ops[i]->detach();
                    break;
                case 4:
                    ops[i]->perform_extra(pickCmds(in));
                    break;
                default:
                    if (listedOperators(dumpText()) != ops.size()) {
                        std::abort();
                    }
                    break;
            }
        }
    }
    if (listedOperators(dumpText()) != ops.size()) {
        std::abort();
    }
    ops.clear();
    side.join();
    if (listedOperators(dumpText()) != 0) {
        std::abort();
    }
    return 0;
}

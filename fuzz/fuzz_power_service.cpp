// SPDX-License-Identifier: Apache-2.0
// The host power service's request handling: sequences of acquires (new locks, re-issues of
// live, released or invented handles, lists of any length and content, any duration),
// releases and inspection calls. Every input starts from an empty service.

#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

#include "QvnPerfService.h"

namespace {

volatile unsigned gSink = 0;
int gDevNull = -1;

void touchPairs(const QvnPerfPair* pairs, int n) {
    for (int i = 0; i < n; ++i) {
        gSink = gSink + static_cast<unsigned>(pairs[i].id) + static_cast<unsigned>(pairs[i].value);
    }
}

void onLock(const QvnPerfLockInfo* lock, void*) {
    touchPairs(lock->pairs, lock->num_pairs);
}

void onEvent(const QvnPerfEvent* event, void*) {
    touchPairs(event->pairs, event->num_pairs);
    touchPairs(event->lock_pairs, event->num_lock_pairs);
    gSink = gSink + (event->reason != nullptr ? static_cast<unsigned char>(event->reason[0]) : 0u);
}

int pickHandle(FuzzedDataProvider& in, const std::vector<int>& handles) {
    if (!handles.empty() && in.ConsumeBool()) {
        return handles[in.ConsumeIntegralInRange<size_t>(0, handles.size() - 1)];
    }
    return in.ConsumeIntegral<int>();
}

int pickId(FuzzedDataProvider& in) {
    static const int kIds[] = {0x400000, 0x400100, 0x404000, 0x1000000, 0x1404300, 0x2004000};
    return in.ConsumeBool() ? kIds[in.ConsumeIntegralInRange<size_t>(0, 5)]
                            : in.ConsumeIntegral<int>();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qvnperf_set_warnings(0);
    qvnperf_set_exit_report(0);
    gDevNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    std::vector<int> handles;
    uint64_t cursor = 0;
    for (int step = 0; step < 64 && in.remaining_bytes() > 0; ++step) {
        switch (in.ConsumeIntegralInRange(0, 6)) {
            case 0: {
                const int handle = in.ConsumeBool() ? 0 : pickHandle(in, handles);
                const int duration =
                    in.ConsumeBool() ? in.ConsumeIntegralInRange(-1, 2) : in.ConsumeIntegral<int>();
                const int numArgs = in.ConsumeIntegralInRange(-2, QVNPERF_MAX_ARGS + 4);
                std::vector<int> list(numArgs > 0 ? static_cast<size_t>(numArgs) : 0);
                for (size_t i = 0; i < list.size(); i += 2) {
                    list[i] = pickId(in);
                    if (i + 1 < list.size()) {
                        list[i + 1] = in.ConsumeIntegral<int>();
                    }
                }
                // An empty list may come as a null pointer, as an empty vector's data() does.
                int* ptr = list.empty() && in.ConsumeBool() ? nullptr : list.data();
                const int result = perf_lock_acq(handle, duration, ptr, numArgs);
                if (result > 0) {
                    handles.push_back(result);
                }
                break;
            }
            case 1:
                perf_lock_rel(pickHandle(in, handles));
                break;
            case 2:
                qvnperf_get_locks(onLock, nullptr);
                qvnperf_get_leaks(onLock, nullptr);
                break;
            case 3: {
                std::vector<QvnPerfEffective> out(in.ConsumeIntegralInRange<size_t>(0, 16));
                qvnperf_get_effective(out.data(), static_cast<int>(out.size()));
                int value = 0;
                qvnperf_get_effective_value(pickId(in), &value);
                break;
            }
            case 4:
                cursor = qvnperf_read_events(in.ConsumeBool() ? cursor : 0, onEvent, nullptr);
                break;
            case 5: {
                QvnPerfCounters c{};
                qvnperf_get_counters(&c);
                if (c.granted != c.released + c.expired + c.live) {
                    __builtin_trap();
                }
                qvnperf_report_leaks(gDevNull);
                break;
            }
            default: {
                char label[QVNPERF_NAME_MAX];
                const size_t room = in.ConsumeIntegralInRange<size_t>(0, sizeof(label));
                qvnperf_resource_label(pickId(in), room > 0 ? label : nullptr, room);
                const std::string name = in.ConsumeRandomLengthString(80);
                int id = 0;
                qvnperf_resource_id(name.c_str(), &id);
                qvnperf_resource_kind(pickId(in));
                qvnperf_resource_permitted(pickId(in));
                break;
            }
        }
    }
    for (int handle : handles) {
        perf_lock_rel(handle);
    }
    qvnperf_reset();
    return 0;
}

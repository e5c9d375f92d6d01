// SPDX-License-Identifier: Apache-2.0
#pragma once

// The platform C2PS controller's initialisation record.

#include <cstddef>
#include <cstdint>

// Trivial on purpose: users zero the whole record, padding included, before filling it.
struct C2PSInitParams {
    int32_t fps;
    int32_t scenario;
    int32_t featureCustomization;
    bool disableIneffCpufreq;
    int32_t lmcoreUmRatio;
    int32_t umMin;
    bool pfPolicy;
};

// The platform library reads this record by layout: keep it exactly so.
static_assert(sizeof(C2PSInitParams) == 28, "C2PSInitParams must be 28 bytes");
static_assert(offsetof(C2PSInitParams, fps) == 0, "fps offset");
static_assert(offsetof(C2PSInitParams, scenario) == 4, "scenario offset");
static_assert(offsetof(C2PSInitParams, featureCustomization) == 8, "featureCustomization offset");
static_assert(offsetof(C2PSInitParams, disableIneffCpufreq) == 12, "disableIneffCpufreq offset");
static_assert(offsetof(C2PSInitParams, lmcoreUmRatio) == 16, "lmcoreUmRatio offset");
static_assert(offsetof(C2PSInitParams, umMin) == 20, "umMin offset");
static_assert(offsetof(C2PSInitParams, pfPolicy) == 24, "pfPolicy offset");
static_assert(sizeof(bool) == 1, "bool must be one byte");

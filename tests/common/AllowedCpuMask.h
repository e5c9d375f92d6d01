// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <sched.h>

// The CPUs the calling thread may use, as a mask of the first `cpus` (at most 31).
inline int allowedMask(int cpus = 8) {
    cpu_set_t set;
    CPU_ZERO(&set);
    EXPECT_EQ(sched_getaffinity(0, sizeof(set), &set), 0);
    int mask = 0;
    for (int cpu = 0; cpu < cpus; ++cpu)
        mask |= CPU_ISSET(cpu, &set) << cpu;
    return mask;
}

#pragma once

#include <sched.h>

// The CPUs this process may use, as a mask of the first eight.
inline int allowedMask() {
    cpu_set_t set;
    sched_getaffinity(0, sizeof(set), &set);
    int mask = 0;
    for (int cpu = 0; cpu < 8; ++cpu)
        mask |= CPU_ISSET(cpu, &set) << cpu;
    return mask;
}

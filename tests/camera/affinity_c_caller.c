// SPDX-License-Identifier: Apache-2.0
// Thread placement through the exported C functions, from C, against the shared library.

#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <stdio.h>

#include "qvncam_perfctrl.h"

static int failures;

#define CHECK(cond) \
    ((cond) ? (void)0 : (void)(++failures, fprintf(stderr, "line %d: %s\n", __LINE__, #cond)))

int main(void) {
    cpu_set_t now;
    if (sched_getaffinity(0, sizeof(now), &now) != 0 || !CPU_ISSET(0, &now))
        return 77;  // skipped
    pthread_setname_np(pthread_self(), "camC");
    // The first call builds the controller, which loads the customisation double; it answers
    // -1 (no placement) until told otherwise.
    CHECK(qvncam_perfctrl_query_affinity("camC") == 0 && !qvncam_perfctrl_set_affinity());
    void* custom = dlopen("libcameracustom.so", RTLD_NOW | RTLD_NOLOAD);
    void (*maskFor)(const char*, int) =
        custom ? (void (*)(const char*, int))dlsym(custom, "customdbl_set_query_mask_for") : NULL;
    if (maskFor == NULL)
        return 2;            // the customisation double is not loaded
    maskFor("camC", 0x300);  // illegal: the query passes it on, placement refuses it
    CHECK(qvncam_perfctrl_query_affinity("camC") == 0x300 && !qvncam_perfctrl_set_affinity());
    maskFor("camC", 0x1);
    CHECK(qvncam_perfctrl_set_affinity() && sched_getaffinity(0, sizeof(now), &now) == 0 &&
          CPU_COUNT(&now) == 1 && CPU_ISSET(0, &now));
    return failures == 0 ? 0 : 1;
}

// SPDX-License-Identifier: Apache-2.0
#ifndef QVNCAM_PERFCTRL_H
#define QVNCAM_PERFCTRL_H

/* C entry points for code that cannot use the Cam3PerfCtrl class. */

#include <stdbool.h>

#if defined(__cplusplus)
extern "C" {
#endif

/* Cam3PerfCtrl::getInstance()->setAffinity(): binds the calling thread to the CPUs chosen
   for its name; true only when its affinity was set (see Cam3PerfCtrl.h for each false). */
__attribute__((visibility("default"))) bool qvncam_perfctrl_set_affinity(void);

/* Cam3PerfCtrl::getInstance()->queryAffinity(threadName): the CPU mask advised for a thread
   name, unchecked; 0 when there is none (see Cam3PerfCtrl.h). */
__attribute__((visibility("default"))) int qvncam_perfctrl_query_affinity(const char* threadName);

/* Writes the controller's state and every live perf operator (which camera moment holds
   which power lock) to fd as plain text, for a camera HAL's dump(). Any thread, any time
   (before the controller exists and during its teardown too), but not from a signal
   handler. Never creates the controller; a write error ends it quietly, without SIGPIPE.
   While nobody dumps, the list costs each operator one short lock when it is created and
   one when it is destroyed, plus one for an exit() that releases it, a detach() that
   succeeds and each re-issue (perform_extra). It is the lock of the creating thread's
   shard (of 16), so threads seldom wait for one another. */
__attribute__((visibility("default"))) void qvncam_perfctrl_dump(int fd);

#if defined(__cplusplus)
}
#endif

#endif /* QVNCAM_PERFCTRL_H */

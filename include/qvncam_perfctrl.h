#ifndef QVNCAM_PERFCTRL_H
#define QVNCAM_PERFCTRL_H

/* C entry points for code that cannot use the Cam3PerfCtrl class. */

#include <stdbool.h>

#if defined(__cplusplus)
extern "C" {
#endif

/* Places the calling thread on the CPUs chosen for its name; true when its affinity changed. */
__attribute__((visibility("default"))) bool qvncam_perfctrl_set_affinity(void);

/* The CPU mask advised for a thread name, 0 when there is none. */
__attribute__((visibility("default"))) int qvncam_perfctrl_query_affinity(const char* threadName);

/* Writes the controller's state and every live perf operator (which camera moment holds
   which power lock) to fd as plain text, for a camera HAL's dump(). Never creates the
   controller; a write error ends it quietly, without SIGPIPE. */
__attribute__((visibility("default"))) void qvncam_perfctrl_dump(int fd);

#if defined(__cplusplus)
}
#endif

#endif /* QVNCAM_PERFCTRL_H */

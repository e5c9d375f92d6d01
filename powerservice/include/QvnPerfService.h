// SPDX-License-Identifier: Apache-2.0
/*
 * Host power service: libqvnperf_client_vendor.so.
 *
 * Two entry points speak the power-service lock protocol (perf_lock_acq,
 * perf_lock_rel). Beside them, an inspection API lets tools and tests watch
 * what the service holds: an event log read with a cursor, snapshots of the
 * live locks, effective values per resource, counters, resource look-ups and a
 * leak report.
 *
 * Plain C: no C++ type crosses this boundary. Variable-length data (pairs) is
 * handed to a callback and is valid only during that call. Callbacks run
 * without the service's lock held, so they may call back into the service.
 *
 * Times are microseconds of the controller's platform clock (qvnperf_now_us):
 * the system clock, or the virtual clock a host test or `qvnperfctl simulate`
 * switched the process to. Durations are milliseconds. Every call first
 * expires the locks whose duration ran out.
 */
#ifndef QVNPERF_SERVICE_H
#define QVNPERF_SERVICE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define QVNPERF_API __attribute__((visibility("default")))
#else
#define QVNPERF_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QVNPERF_API_VERSION 1

/* Largest accepted request, in ints (512 pairs). */
#define QVNPERF_MAX_ARGS 1024
/* Most locks alive at once; a new lock beyond this is refused. */
#define QVNPERF_MAX_LOCKS 4096
/* Room for a resource name or an unknown id shown as "0x%08x", with its NUL. */
#define QVNPERF_NAME_MAX 64

/* ---- Power-service lock protocol ------------------------------------- */

/*
 * handle 0 (or unknown, or expired): grants a new lock and returns its handle
 * (1 or more, never reused in the process). Handle of a live lock: lays the
 * pairs on top of that lock, restarts its duration with `duration` and returns
 * the same handle. duration: milliseconds, 0 = until released. list: numArgs
 * ints read as (resource id, value) pairs. Returns 0 when the request is
 * refused (malformed, or too many live locks); a warning goes to stderr.
 */
QVNPERF_API int perf_lock_acq(int handle, int duration, int* list, int numArgs);

/* Ends a lock. Unknown or already released handles count as bad releases.
 * Returns 0 when a lock was released (or had already expired), -1 otherwise. */
QVNPERF_API int perf_lock_rel(int handle);

/* ---- Resource vocabulary --------------------------------------------- */

/* How the effective value of a resource is chosen over the live locks. */
typedef enum QvnPerfResourceKind {
    QVNPERF_KIND_FLOOR = 0, /* name has a MIN, FLOOR or BOOST word: highest wins */
    QVNPERF_KIND_CAP = 1,   /* name has a MAX, CEILING, LIMIT or CAP word: lowest wins */
    QVNPERF_KIND_LATEST = 2 /* switches, modes, unknown ids: most recent lock wins */
} QvnPerfResourceKind;

typedef struct QvnPerfPair {
    int id;
    int value;
} QvnPerfPair;

/* Name of a resource in the vocabulary (static storage), or NULL. */
QVNPERF_API const char* qvnperf_resource_name(int id);
/* Writes the name, or "0x%08x" for an id outside the vocabulary; returns the
 * length it needed, like snprintf. */
QVNPERF_API int qvnperf_resource_label(int id, char* buf, size_t size);
/* Id of a named resource: 1 and *id set when found, else 0. */
QVNPERF_API int qvnperf_resource_id(const char* name, int* id);
/* 1 when the resource may be named by configuration, else 0. */
QVNPERF_API int qvnperf_resource_permitted(int id);
/* QvnPerfResourceKind of any id (LATEST for unknown ids). */
QVNPERF_API int qvnperf_resource_kind(int id);
/* "floor", "cap", "latest". */
QVNPERF_API const char* qvnperf_kind_name(int kind);

/* ---- Event log --------------------------------------------------------- */

typedef enum QvnPerfEventKind {
    QVNPERF_EV_GRANTED = 1,    /* a new lock */
    QVNPERF_EV_REISSUED = 2,   /* pairs laid on a live lock, duration restarted */
    QVNPERF_EV_RELEASED = 3,   /* released (see QVNPERF_EVF_AFTER_EXPIRY) */
    QVNPERF_EV_EXPIRED = 4,    /* duration ran out; time_us is the moment it did */
    QVNPERF_EV_REFUSED = 5,    /* malformed request or too many locks; handle = argument */
    QVNPERF_EV_BAD_RELEASE = 6 /* release of an unknown or already ended handle */
} QvnPerfEventKind;

/* RELEASED of a lock that had already expired by its duration. */
#define QVNPERF_EVF_AFTER_EXPIRY 0x1

typedef struct QvnPerfEvent {
    uint64_t seq;       /* 1, 2, ... in order of occurrence; gaps mean dropped events */
    int kind;           /* QvnPerfEventKind */
    int flags;          /* QVNPERF_EVF_* */
    int handle;         /* the lock; for REFUSED and BAD_RELEASE the handle passed in */
    int duration_ms;    /* GRANTED/REISSUED/REFUSED: the argument; RELEASED/EXPIRED: the
                           lock's (0 for a release after expiry) */
    int64_t time_us;    /* platform clock */
    int num_args;       /* REFUSED: numArgs as passed; otherwise 2 * num_pairs */
    const char* reason; /* REFUSED and BAD_RELEASE: why (static string); else NULL */
    int num_pairs;      /* GRANTED/REISSUED: the request's pairs */
    const QvnPerfPair* pairs;
    int num_lock_pairs;            /* the lock's whole content after the event (at its end for */
    const QvnPerfPair* lock_pairs; /* RELEASED/EXPIRED); none for REFUSED/BAD_RELEASE */
} QvnPerfEvent;

typedef void (*QvnPerfEventFn)(const QvnPerfEvent* event, void* ctx);

/* The event log keeps the most recent events that fit in this many bytes (the events
 * and their pairs), and always the newest one; older ones are dropped. */
#define QVNPERF_EVENT_LOG_BYTES (16u * 1024u * 1024u)

/* Calls fn for each retained event with seq > cursor, oldest first, and returns
 * the seq of the last one delivered (cursor itself when there was none). Start
 * with 0. The log holds at most QVNPERF_EVENT_LOG_BYTES. */
QVNPERF_API uint64_t qvnperf_read_events(uint64_t cursor, QvnPerfEventFn fn, void* ctx);
/* "GRANTED", "REISSUED", "RELEASED", "EXPIRED", "REFUSED", "BAD_RELEASE". */
QVNPERF_API const char* qvnperf_event_kind_name(int kind);

/* ---- Live locks ---------------------------------------------------------- */

typedef struct QvnPerfLockInfo {
    int handle;
    uint64_t order;       /* 1 for the first lock granted since start or reset */
    int64_t granted_us;   /* platform-clock time of the grant */
    int64_t issued_us;    /* last grant or re-issue: the duration runs from here */
    int duration_ms;      /* 0: no expiry */
    int64_t time_left_ms; /* -1: no expiry; else milliseconds left, rounded up */
    int reissues;         /* re-issues so far */
    int num_pairs;        /* resources held, in order of first appearance */
    const QvnPerfPair* pairs;
} QvnPerfLockInfo;

typedef void (*QvnPerfLockFn)(const QvnPerfLockInfo* lock, void* ctx);

/* Calls fn for each live lock in order of creation; returns how many. */
QVNPERF_API int qvnperf_get_locks(QvnPerfLockFn fn, void* ctx);
/* Same for the locks that would leak now: live and without expiry. */
QVNPERF_API int qvnperf_get_leaks(QvnPerfLockFn fn, void* ctx);

/* ---- Effective values ------------------------------------------------------ */

typedef struct QvnPerfEffective {
    int id;
    int value;
    int kind;                    /* QvnPerfResourceKind */
    int known;                   /* 0: id outside the vocabulary */
    int handle;                  /* the lock whose value won */
    int holders;                 /* live locks holding this resource */
    char name[QVNPERF_NAME_MAX]; /* name, or "0x%08x" */
} QvnPerfEffective;

/* Fills up to capacity entries, by ascending id, and returns how many
 * resources are held in total (call with capacity 0 to size the buffer). */
QVNPERF_API int qvnperf_get_effective(QvnPerfEffective* out, int capacity);
/* 1 and *value set when some live lock holds id, else 0. */
QVNPERF_API int qvnperf_get_effective_value(int id, int* value);

/* ---- Counters -------------------------------------------------------------- */

typedef struct QvnPerfCounters {
    uint64_t granted; /* new locks */
    uint64_t reissued;
    uint64_t released;              /* live locks ended by a release */
    uint64_t expired;               /* locks ended by their duration */
    uint64_t released_after_expiry; /* releases of expired locks (not bad releases) */
    uint64_t refused;
    uint64_t bad_releases;
    uint64_t live;           /* granted = released + expired + live */
    uint64_t events_dropped; /* events pushed out of the log */
} QvnPerfCounters;

QVNPERF_API void qvnperf_get_counters(QvnPerfCounters* out);

/* ---- Control ------------------------------------------------------------- */

/* The platform clock of the event log, in microseconds. */
QVNPERF_API int64_t qvnperf_now_us(void);
/* Drops every lock without events and clears the log and counters. Handles
 * keep counting up: a handle from before the reset is unknown afterwards. */
QVNPERF_API void qvnperf_reset(void);
/* Warnings on stderr (on by default). */
QVNPERF_API void qvnperf_set_warnings(int on);
/* The leak report at process exit (on by default). */
QVNPERF_API void qvnperf_set_exit_report(int on);
/* Writes one line per leaked lock (live, no expiry) to fd; returns how many. */
QVNPERF_API int qvnperf_report_leaks(int fd);
QVNPERF_API int qvnperf_api_version(void);

#ifdef __cplusplus
}
#endif

#endif /* QVNPERF_SERVICE_H */

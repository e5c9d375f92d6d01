// SPDX-License-Identifier: Apache-2.0
#pragma once

// Clang thread-safety annotations, and a mutex that carries them: each lock of the library
// names the data it guards, and clang's -Wthread-safety checks every access. Other
// compilers see plain declarations. The macros are prefixed so that they cannot clash with
// a HAL's own (android-base's GUARDED_BY and kin).

#include <mutex>

#if defined(__clang__)
#define QVNCAM_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QVNCAM_THREAD_ANNOTATION(x)
#endif

#define QVNCAM_CAPABILITY(name) QVNCAM_THREAD_ANNOTATION(capability(name))
#define QVNCAM_SCOPED_CAPABILITY QVNCAM_THREAD_ANNOTATION(scoped_lockable)
#define QVNCAM_GUARDED_BY(x) QVNCAM_THREAD_ANNOTATION(guarded_by(x))
#define QVNCAM_REQUIRES(...) QVNCAM_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define QVNCAM_REQUIRES_SHARED(...) \
    QVNCAM_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define QVNCAM_ACQUIRE(...) QVNCAM_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QVNCAM_ACQUIRE_SHARED(...) QVNCAM_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define QVNCAM_RELEASE(...) QVNCAM_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QVNCAM_RELEASE_SHARED(...) QVNCAM_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define QVNCAM_EXCLUDES(...) QVNCAM_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
// For the few places whose locking the analysis cannot follow; say why beside each one.
#define QVNCAM_NO_THREAD_SAFETY_ANALYSIS QVNCAM_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace qvncam {

// std::mutex, which libstdc++ does not annotate, as a capability. Same size and layout.
class QVNCAM_CAPABILITY("mutex") Mutex {
  public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() QVNCAM_ACQUIRE() { mMutex.lock(); }
    void unlock() QVNCAM_RELEASE() { mMutex.unlock(); }
    // The mutex itself, for std::condition_variable; the analysis does not see through it.
    std::mutex& native() { return mMutex; }

  private:
    std::mutex mMutex;
};

// std::lock_guard for Mutex.
class QVNCAM_SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) QVNCAM_ACQUIRE(mutex) : mMutex(mutex) { mMutex.lock(); }
    ~MutexLock() QVNCAM_RELEASE() { mMutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mMutex;
};

}  // namespace qvncam

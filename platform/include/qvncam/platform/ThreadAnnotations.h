// SPDX-License-Identifier: Apache-2.0
#pragma once

// The library's annotated Mutex, for platform sources, and the locks only they need: a
// shared mutex and a lock a condition variable can wait on.

#include <condition_variable>
#include <mutex>
#include <shared_mutex>

// By its path: the clock library and the Android back end's checks see platform/include only.
#include "../../../../include/QvncamThreadAnnotations.h"

namespace qvncam {
namespace platform {

// std::shared_mutex as a capability.
class QVNCAM_CAPABILITY("shared_mutex") SharedMutex {
  public:
    SharedMutex() = default;
    SharedMutex(const SharedMutex&) = delete;
    SharedMutex& operator=(const SharedMutex&) = delete;

    void lock() QVNCAM_ACQUIRE() { mMutex.lock(); }
    void unlock() QVNCAM_RELEASE() { mMutex.unlock(); }
    void lock_shared() QVNCAM_ACQUIRE_SHARED() { mMutex.lock_shared(); }
    void unlock_shared() QVNCAM_RELEASE_SHARED() { mMutex.unlock_shared(); }

  private:
    std::shared_mutex mMutex;
};

class QVNCAM_SCOPED_CAPABILITY ReaderLock {
  public:
    explicit ReaderLock(SharedMutex& mutex) QVNCAM_ACQUIRE_SHARED(mutex) : mMutex(mutex) {
        mMutex.lock_shared();
    }
    ~ReaderLock() QVNCAM_RELEASE() { mMutex.unlock_shared(); }
    ReaderLock(const ReaderLock&) = delete;
    ReaderLock& operator=(const ReaderLock&) = delete;

  private:
    SharedMutex& mMutex;
};

class QVNCAM_SCOPED_CAPABILITY WriterLock {
  public:
    explicit WriterLock(SharedMutex& mutex) QVNCAM_ACQUIRE(mutex) : mMutex(mutex) { mMutex.lock(); }
    ~WriterLock() QVNCAM_RELEASE() { mMutex.unlock(); }
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

  private:
    SharedMutex& mMutex;
};

// A MutexLock that a std::condition_variable can wait on. The wait lets the mutex go and
// takes it back before it returns, so for the analysis it stays held throughout.
class QVNCAM_SCOPED_CAPABILITY CondLock {
  public:
    explicit CondLock(Mutex& mutex) QVNCAM_ACQUIRE(mutex) : mLock(mutex.native()) {}
    ~CondLock() QVNCAM_RELEASE() {}
    CondLock(const CondLock&) = delete;
    CondLock& operator=(const CondLock&) = delete;

    std::unique_lock<std::mutex>& forWait() { return mLock; }

  private:
    std::unique_lock<std::mutex> mLock;
};

}  // namespace platform
}  // namespace qvncam

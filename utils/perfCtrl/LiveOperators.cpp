// SPDX-License-Identifier: Apache-2.0
#include "LiveOperators.h"

#include <algorithm>
#include <atomic>

#include "NeverDestroyed.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// Operators are listed in the shard of the thread that creates them. Camera threads each
// keep to their own shard, whose lock and list stay in that core's cache, and never wait
// for one another while there are no more threads than shards; a single list under one lock would
// make every boost and request of every thread take turns. Per-thread lists would avoid even that,
// but an operator often dies on another thread (a request's lock is dropped by the thread that
// reports it done) and a dump would have to reach lists of threads that have ended; fixed shards
// keep both simple. Destruction finds the shard in the operator. The locks are mutexes, not
// spinning flags: a real-time camera thread spinning against a preempted dump thread on the same
// core would never let it finish.
constexpr unsigned kShards = 16;

// 128 bytes apart: cores fetch cache lines in pairs, so neighbouring 64-byte shards
// would still bounce between two threads.
constexpr size_t kShardSpacing = 128;

// The mutex also guards the links (mLivePrev, mLiveNext) of the operators in the list, and
// the fields that Guard covers.
struct alignas(kShardSpacing) Shard {
    qvncam::Mutex mutex;
    PerfOperatorImp* head QVNCAM_GUARDED_BY(mutex) = nullptr;
    PerfOperatorImp* tail QVNCAM_GUARDED_BY(mutex) = nullptr;
};

struct ShardTable {
    Shard shards[kShards];
};
NeverDestroyed<ShardTable> gTable;

unsigned shardOfThisThread() {
    // Threads take the shards in turn when they first list an operator, so up to kShards
    // threads never share one; a hash of the thread id collides far sooner, and two
    // threads on one shard take turns at its lock.
    static std::atomic<unsigned> next{0};
    thread_local const unsigned index = next.fetch_add(1, std::memory_order_relaxed) % kShards;
    return index;
}

constexpr size_t kUserPrefix = sizeof(kOperatorNamePrefix) - 1;

}  // namespace

void LiveOperators::add(PerfOperatorImp& op) {
    const unsigned index = shardOfThisThread();
    Shard& shard = gTable.value.shards[index];
    qvncam::MutexLock lock(shard.mutex);
    op.mLiveShard = static_cast<int>(index);
    op.mLivePrev = shard.tail;
    op.mLiveNext = nullptr;
    (shard.tail != nullptr ? shard.tail->mLiveNext : shard.head) = &op;
    shard.tail = &op;
}

void LiveOperators::remove(PerfOperatorImp& op) {
    if (op.mLiveShard < 0) {
        return;
    }
    Shard& shard = gTable.value.shards[op.mLiveShard];
    qvncam::MutexLock lock(shard.mutex);
    (op.mLivePrev != nullptr ? op.mLivePrev->mLiveNext : shard.head) = op.mLiveNext;
    (op.mLiveNext != nullptr ? op.mLiveNext->mLivePrev : shard.tail) = op.mLivePrev;
    op.mLivePrev = op.mLiveNext = nullptr;
    op.mLiveShard = -1;
}

std::vector<LiveOperatorInfo> LiveOperators::snapshot() {
    std::vector<LiveOperatorInfo> out;
    for (Shard& shard : gTable.value.shards) {
        qvncam::MutexLock lock(shard.mutex);
        for (const PerfOperatorImp* op = shard.head; op != nullptr; op = op->mLiveNext) {
            LiveOperatorInfo info;
            info.user = op->mUserName.substr(std::min(kUserPrefix, op->mUserName.size()));
            info.handle = op->mHandle;
            info.timeoutMs = op->mTimeout;
            info.detached = op->mIsDetached;
            info.released = op->mReleased;
            info.start = op->mStartTime;
            info.cmds = op->mCmds;
            info.reissues = op->mReissues;
            info.lastReissue = op->mReissueTime;
            out.push_back(std::move(info));
        }
    }
    // By start time; operators started in the same microsecond keep the order of their list.
    // (std::stable_sort would need a temporary buffer and one more symbol bound at load.)
    std::vector<size_t> order(out.size());
    for (size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    std::sort(order.begin(), order.end(), [&out](size_t a, size_t b) {
        return out[a].start != out[b].start ? out[a].start < out[b].start : a < b;
    });
    std::vector<LiveOperatorInfo> sorted;
    sorted.reserve(out.size());
    for (size_t i : order) {
        sorted.push_back(std::move(out[i]));
    }
    return sorted;
}

LiveOperators::Guard::Guard(const PerfOperatorImp& op)
    : mMutex(op.mLiveShard >= 0 ? &gTable.value.shards[op.mLiveShard].mutex : nullptr) {
    if (mMutex != nullptr) {
        mMutex->lock();
    }
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

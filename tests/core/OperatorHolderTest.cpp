// Phase and in-flight holders against the recording power-service client.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "CoreTestSupport.h"
#include "PerfOperatorImp.h"
#include "doubles/RecordingPowerClient.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

class HolderTest : public testing::Test {
  protected:
    void SetUp() override {
        qvncam::host::clearAllProperties();
        ASSERT_TRUE(recpower::available()) << "recording client not on LD_LIBRARY_PATH";
        recpower::reset();
    }

    // A held lock without expiry; its handle is the number of acquires so far.
    static std::shared_ptr<PerfOperator> makeOp() {
        return std::make_shared<PerfOperatorImp>(std::vector<int>{0x400000, 1}, 0, "holder");
    }
};

}  // namespace

TEST_F(HolderTest, PhaseHolderReleasesLastAddedFirstAndKeepsTheCustomOperator) {
    auto holder = std::make_shared<PerfOperatorHolderImp>();
    EXPECT_EQ(holder->getPerfOperator(), nullptr);
    for (int i = 0; i < 3; ++i) {
        holder->push_back(makeOp());  // handles 1, 2, 3
    }
    auto custom = makeOp();  // handle 4
    holder->push_back(custom);
    holder->setCustomHolder(custom);
    custom.reset();

    EXPECT_TRUE(holder->exit());
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2, 1}));
    ASSERT_NE(holder->getPerfOperator(), nullptr);
    EXPECT_TRUE(holder->getPerfOperator()->isAlive());
    EXPECT_TRUE(holder->exit());
    EXPECT_EQ(recpower::releases().size(), 3u);

    holder.reset();
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2, 1, 4}));
}

TEST_F(HolderTest, PhaseHolderDestructionReleasesTheListThenTheCustomOperator) {
    {
        PerfOperatorHolderImp holder;
        holder.setCustomHolder(makeOp());  // 1
        holder.push_back(makeOp());        // 2
        holder.push_back(makeOp());        // 3
    }
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2, 1}));
}

TEST_F(HolderTest, ReplacingTheCustomOperatorDropsTheOldOne) {
    PerfOperatorHolderImp holder;
    holder.setCustomHolder(makeOp());  // 1
    holder.setCustomHolder(makeOp());  // 2
    EXPECT_EQ(recpower::releases(), std::vector<int>{1});
    EXPECT_TRUE(holder.getPerfOperator()->isAlive());
}

TEST_F(HolderTest, InflightHolderKeepsOneLockPerRequest) {
    auto holder = std::make_shared<InflightOperatorHolderImp>();
    EXPECT_TRUE(holder->insert(1, makeOp()));  // 1
    EXPECT_TRUE(holder->insert(2, makeOp()));  // 2
    EXPECT_TRUE(holder->insert(1, makeOp()));  // 3 replaces 1
    EXPECT_EQ(recpower::releases(), std::vector<int>{1});

    EXPECT_TRUE(holder->notifyRequestDone(99));  // unknown: nothing happens
    EXPECT_EQ(recpower::releases(), std::vector<int>{1});

    EXPECT_TRUE(holder->notifyRequestDone(1));
    EXPECT_EQ(recpower::releases(), (std::vector<int>{1, 3}));
    EXPECT_TRUE(holder->notifyRequestDone(1));
    EXPECT_EQ(recpower::releases(), (std::vector<int>{1, 3}));

    EXPECT_TRUE(holder->insert(5, makeOp()));  // 4
    EXPECT_TRUE(holder->exit());
    EXPECT_EQ(recpower::live(), std::vector<int>{});
    EXPECT_EQ(recpower::releasesOf(2), 1);
    EXPECT_EQ(recpower::releasesOf(4), 1);

    EXPECT_TRUE(holder->insert(6, makeOp()));  // 5, released with the holder
    holder.reset();
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

TEST_F(HolderTest, InflightInsertAndDoneFromTwoThreads) {
    constexpr int kRequests = 200;
    auto holder = std::make_shared<InflightOperatorHolderImp>();
    std::atomic<int> inserted{0};
    std::atomic<bool> stalled{false};

    std::thread producer([&] {
        for (int req = 0; req < kRequests; ++req) {
            holder->insert(req, makeOp());
            if (req % 4 == 0) {
                holder->insert(req, makeOp());  // replaced while the consumer runs
            }
            inserted.store(req + 1, std::memory_order_release);
        }
    });
    std::thread consumer([&] {
        for (int req = 0; req < kRequests; ++req) {
            if (!coretest::waitFor(
                    [&] { return inserted.load(std::memory_order_acquire) > req; })) {
                stalled.store(true);
                return;
            }
            holder->notifyRequestDone(req);
            holder->notifyRequestDone(req + kRequests);  // never inserted
        }
    });
    producer.join();
    consumer.join();
    ASSERT_FALSE(stalled.load());

    const size_t expectedLocks = kRequests + kRequests / 4;
    EXPECT_EQ(recpower::acquires().size(), expectedLocks);
    EXPECT_EQ(recpower::releases().size(), expectedLocks);
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

TEST_F(HolderTest, InflightInsertsOnSameRequestsFromTwoThreads) {
    constexpr int kPerThread = 100;
    constexpr int kKeys = 10;
    auto holder = std::make_shared<InflightOperatorHolderImp>();
    auto work = [&](int offset) {
        for (int i = 0; i < kPerThread; ++i) {
            holder->insert((i + offset) % kKeys, makeOp());
            if (i % 3 == 0) {
                holder->notifyRequestDone((i + offset + 1) % kKeys);
            }
        }
    };
    std::thread a(work, 0);
    std::thread b(work, 5);
    a.join();
    b.join();
    EXPECT_LE(recpower::live().size(), static_cast<size_t>(kKeys));
    holder->exit();
    EXPECT_EQ(recpower::acquires().size(), 2u * kPerThread);
    EXPECT_EQ(recpower::releases().size(), 2u * kPerThread);
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

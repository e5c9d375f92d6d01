// SPDX-License-Identifier: Apache-2.0
// The registry of live operators and qvncam_perfctrl_dump(), against the recording client.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "Cam3PerfCtrl.h"
#include "Cam3PerfCtrlImp.h"
#include "PerfCtrlDump.h"
#include "PerfCtrlHelper.h"
#include "doubles/RecordingPowerClient.h"
#include "qvncam/platform/VirtualClock.h"
#include "qvncam_perfctrl.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using testing::HasSubstr;

namespace {

const std::vector<int> kCmds = {0x414000, 7, 0x7fffff00, 9};
const std::vector<int> kMore = {0x400200, 3};

class LiveOperatorsTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(recpower::available()) << "recording client not on LD_LIBRARY_PATH";
        recpower::reset();
    }
};

std::string dumpText() {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), &std::fclose);
    qvncam_perfctrl_dump(fileno(file.get()));
    std::rewind(file.get());
    std::string text;
    for (int c; (c = std::fgetc(file.get())) != EOF;)
        text += static_cast<char>(c);
    return text;
}

struct StateRow {
    const char* name;
    RecPowerMode mode;
    int timeout;
    void (*act)(PerfOperatorImp&);
    OperatorState state;
    int handle, reissues;
    std::vector<int> cmds;
    friend void PrintTo(const StateRow& row, std::ostream* os) { *os << row.name; }
};

class LiveOperatorRowTest : public LiveOperatorsTest,
                            public testing::WithParamInterface<StateRow> {};

}  // namespace

TEST_P(LiveOperatorRowTest, IsListedUntilDestroyed) {
    const StateRow& row = GetParam();
    recpower::setMode(row.mode);
    auto op = std::make_unique<PerfOperatorImp>(kCmds, row.timeout, "row");
    row.act(*op);
    const auto listed = LiveOperators::snapshot();
    ASSERT_EQ(listed.size(), 1u);
    const LiveOperatorInfo& info = listed[0];
    EXPECT_EQ(info.user, "row");
    EXPECT_EQ(operatorState(info, operatorNow()), row.state);
    EXPECT_EQ(std::make_tuple(info.handle, info.reissues, info.cmds),
              std::make_tuple(row.handle, row.reissues, row.cmds));
    op.reset();
    EXPECT_TRUE(LiveOperators::snapshot().empty());
}

INSTANTIATE_TEST_SUITE_P(
    States, LiveOperatorRowTest,
    testing::Values(StateRow{"Held", RECPOWER_GRANT_ALL, 0, [](PerfOperatorImp&) {},
                             OperatorState::Held, 1, 0, kCmds},
                    StateRow{"Timed", RECPOWER_GRANT_ALL, 60000, [](PerfOperatorImp&) {},
                             OperatorState::Timed, 1, 0, kCmds},
                    StateRow{"Detached", RECPOWER_GRANT_ALL, 60000,
                             [](PerfOperatorImp& op) { op.detach(); }, OperatorState::Detached, 1,
                             0, kCmds},
                    StateRow{"Released", RECPOWER_GRANT_ALL, 0,
                             [](PerfOperatorImp& op) { op.exit(); }, OperatorState::Released, -1, 0,
                             kCmds},
                    StateRow{"Refused", RECPOWER_REFUSE_ALL, 60000, [](PerfOperatorImp&) {},
                             OperatorState::Refused, 0, 0, kCmds},
                    // the last list sent is the re-issue's; a refused re-issue leaves handle 0
                    StateRow{"Reissued", RECPOWER_GRANT_ALL, 0,
                             [](PerfOperatorImp& op) { op.perform_extra(kMore); },
                             OperatorState::Held, 1, 1, kMore},
                    StateRow{"ReissueRefused", RECPOWER_REFUSE_EVERY_OTHER, 0,
                             [](PerfOperatorImp& op) { op.perform_extra(kMore); },
                             OperatorState::Refused, 0, 1, kMore}),
    [](const testing::TestParamInfo<StateRow>& info) { return info.param.name; });

// Expiry is counted as isAlive() counts it: alive one millisecond before, expired at the end.
TEST(DumpStateTest, ExpiresWhenTheDurationIsOver) {
    LiveOperatorInfo op;
    op.handle = 4;
    op.timeoutMs = 500;
    for (bool detached : {false, true}) {
        op.detached = detached;
        EXPECT_EQ(operatorState(op, op.start + std::chrono::microseconds(499999)),
                  detached ? OperatorState::Detached : OperatorState::Timed);
        EXPECT_EQ(operatorState(op, op.start + std::chrono::milliseconds(500)),
                  OperatorState::Expired);
    }
}

TEST_F(LiveOperatorsTest, DumpListsOldestFirstAndNeverCreatesTheController) {
    PerfOperatorImp first(kCmds, 0, "first");
    PerfOperatorImp second(kMore, 60000, nullptr);
    for (int round = 0; round < 2; ++round) {
        const std::string text = dumpText();
        EXPECT_THAT(text, HasSubstr("controller: not created")) << text;
        EXPECT_THAT(text, HasSubstr("live operators: 2, oldest first\n  #1 \"first\" handle 1: "
                                    "held, no expiry; age "));
        EXPECT_THAT(text, HasSubstr("cmds: " + PerfCtrlHelper::PowerEnumToStringMap.at(0x414000) +
                                    "=7 0x7fffff00=9\n"));
        EXPECT_THAT(text, HasSubstr("#2 \"_null_user_name_\" handle 2: timed, 60000 ms, "));
    }
    Cam3PerfCtrl::getInstance();
    const std::string text = dumpText();
    EXPECT_THAT(text, HasSubstr("controller: created\n  customisation entries: 0 of 4 loaded "
                                "(missing: customizeEnterCameraPerf, "));
    EXPECT_THAT(text, HasSubstr("JSON configuration: off; record: enter_cam absent, config_cam "
                                "absent\n  CPU-affinity scene: 0\n  log level: 0\n"
                                "power-service client: loaded\n"));
}

// dumpsys may close its end early: the dump stops, the process is not killed, no SIGPIPE is
// left pending for the caller.
TEST_F(LiveOperatorsTest, WriteErrorsEndTheDumpQuietly) {
    ASSERT_EQ(signal(SIGPIPE, SIG_DFL), SIG_DFL);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    close(fds[0]);
    PerfOperatorImp op(kCmds, 0, "reader gone");
    qvncam_perfctrl_dump(fds[1]);
    qvncam_perfctrl_dump(-1);
    close(fds[1]);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

// Threads create, re-issue, release and drop operators, and open the camera (which rewrites
// the controller's state), while another dumps; every lock is released once and nothing
// stays listed.
TEST_F(LiveOperatorsTest, ConcurrentOperatorsAndDumps) {
    std::atomic<bool> done{false};
    std::thread dumper([&] {
        while (!done.load()) {
            EXPECT_THAT(dumpText(), HasSubstr("live operators: "));
        }
    });
    std::vector<std::thread> workers;
    workers.emplace_back([] {
        for (int i = 0; i < 100; ++i) {
            Cam3PerfCtrl::getInstance()->enterPerfCtrl_EnterCamera(10);
        }
    });
    for (int t = 0; t < 3; ++t) {
        workers.emplace_back([t] {
            for (int i = 0; i < 500; ++i) {
                auto op = std::make_shared<PerfOperatorImp>(kCmds, (i + t) % 3 == 0 ? 0 : 60000,
                                                            "worker");
                op->perform_extra(kMore);
                if (i % 5 == 0) {
                    op->exit();
                }
            }
        });
    }
    for (auto& w : workers)
        w.join();
    done = true;
    dumper.join();
    EXPECT_TRUE(LiveOperators::snapshot().empty());
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

// Threads dump while main returns: the tables the dump reads outlive the process's statics.
TEST(DumpAtExitTest, DumpsWhileTheProcessExitsEndCleanly) {
    for (int run = 0; run < 12; ++run) {
        const std::string delayUs = std::to_string(run * 250);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            execl(DUMP_AT_EXIT_CHILD, DUMP_AT_EXIT_CHILD, delayUs.c_str(), nullptr);
            _exit(127);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << "run " << run << ": signal " << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0) << "run " << run;
    }
}

// Only the process's controller (getInstance()) is shown; one built and destroyed directly
// does not make the dump call it destroyed.
TEST_F(LiveOperatorsTest, DirectlyBuiltControllersDoNotChangeWhatTheDumpShows) {
    { Cam3PerfCtrlImp direct; }
    EXPECT_THAT(dumpText(), HasSubstr("controller: not created"));
    Cam3PerfCtrl::getInstance();
    { Cam3PerfCtrlImp second; }
    EXPECT_THAT(dumpText(), HasSubstr("controller: created\n"));
}

// isAlive() counts from the first request, the service from the latest re-issue; the dump
// shows both rather than call a lock the service holds "expired".
TEST_F(LiveOperatorsTest, ReissuedLockShowsBothTheFirstRequestAndTheService) {
    qvncam::host::useVirtualClock(1000000);
    PerfOperatorImp op(kCmds, 1000, "inflight");
    qvncam::host::advanceClockBy(600000);
    ASSERT_TRUE(op.perform_extra(kMore));
    const std::pair<int, const char*> rows[] = {
        {200,
         "timed, 1000 ms, 200 ms left; re-issued 200 ms ago, the service holds it 800 ms "
         "more; age 800 ms"},
        {200,
         "isAlive false (1000 ms from the first request); re-issued 400 ms ago, the "
         "service holds it 600 ms more; age 1000 ms"},
        {700,
         "expired, 1000 ms, ended 700 ms ago; re-issued 1100 ms ago, the service ended it "
         "100 ms ago; age 1700 ms"},
    };
    for (const auto& [advanceMs, line] : rows) {
        qvncam::host::advanceClockBy(advanceMs * 1000);
        EXPECT_THAT(dumpText(), HasSubstr(std::string("\"inflight\" handle 1: ") + line));
    }
    EXPECT_FALSE(op.isAlive());
}

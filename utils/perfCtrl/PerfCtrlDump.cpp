// SPDX-License-Identifier: Apache-2.0
#include "PerfCtrlDump.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <utility>

#include "PerfOperatorImp.h"
#include "PowerResourceIds.h"
#include "qvncam_perfctrl.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

constexpr size_t kPairsLineWidth = 100;
constexpr size_t kPairsIndent = 11;  // continuation lines start under the first pair
// How long a dump waits for a reader that does not keep up (a non-blocking fd).
constexpr int kWriteWaitMs = 1000;
// Room reserved up front for the text; it grows if an operator needs more.
constexpr size_t kHeaderBytes = 512;
constexpr size_t kBytesPerOperator = 200;

void appendf(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string& out, const char* format, ...) {
    char buf[256];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buf, sizeof(buf), format, args);
    va_end(args);
    if (n > 0) {
        out.append(buf, std::min(static_cast<size_t>(n), sizeof(buf) - 1));
    }
}

// Local wall-clock time, as the rest of a bug report shows it.
std::string clockText(PerfOperatorImp::TimePoint t, bool withDate) {
    using std::chrono::duration_cast;
    const auto sinceEpoch = t.time_since_epoch();
    const auto wholeSeconds = duration_cast<std::chrono::seconds>(sinceEpoch);
    const int millis = static_cast<int>(
        duration_cast<std::chrono::milliseconds>(sinceEpoch - wholeSeconds).count());
    const time_t seconds = static_cast<time_t>(wholeSeconds.count());
    struct tm parts {};
    localtime_r(&seconds, &parts);
    char buf[32];
    if (strftime(buf, sizeof(buf), withDate ? "%Y-%m-%d %H:%M:%S" : "%H:%M:%S", &parts) == 0)
        buf[0] = '\0';
    char full[48];
    (void)std::snprintf(full, sizeof(full), "%s.%03d", buf, millis);
    return full;
}

void appendEntries(std::string& out, const ControllerDumpState& c) {
    const std::pair<const char*, bool> entries[] = {
        {"customizeEnterCameraPerf", c.enterCamEntry},
        {"customizeConfigTimeCPUCtrl", c.configTimeEntry},
        {"customizeRuntimeCPUCtrl", c.runtimeEntry},
        {"queryAppropriateCPU", c.queryCpuEntry},
    };
    std::string missing;
    int count = 0;
    for (const auto& [name, present] : entries) {
        count += present ? 1 : 0;
        if (!present) {
            missing += missing.empty() ? " (missing: " : ", ";
            missing += name;
        }
    }
    appendf(out, "  customisation entries: %d of %zu loaded%s%s\n", count, std::size(entries),
            missing.c_str(), missing.empty() ? "" : ")");
}

void appendController(std::string& out, const ControllerDumpState& c, bool powerClientLoaded) {
    switch (c.presence) {
        case ControllerPresence::NotCreated:
            out += "controller: not created (getInstance() not called yet)\n";
            break;
        case ControllerPresence::Destroyed:
            out += "controller: destroyed (process exit)\n";
            break;
        case ControllerPresence::Created:
            out += "controller: created\n";
            appendEntries(out, c);
            appendf(out, "  JSON configuration: %s; record: enter_cam ", c.jsonOn ? "on" : "off");
            appendf(out, c.enterCamExist ? "%zu pairs" : "absent", c.enterCamInts / kIntsPerPair);
            out += ", config_cam ";
            appendf(out, c.configCamExist ? "%zu pairs" : "absent", c.configCamInts / kIntsPerPair);
            out += "\n";
            appendf(out, "  CPU-affinity scene: %d\n", c.affinityScene);
            appendf(out, "  log level: %d\n", c.logLevel);
            break;
    }
    appendf(out, "power-service client: %s\n", powerClientLoaded ? "loaded" : "not loaded");
}

void appendPairs(std::string& out, const LiveOperatorInfo& op) {
    std::string line = "      ";
    if (op.reissues > 0) {
        appendf(line, "last re-issue (%d so far):", op.reissues);
    } else {
        line += "cmds:";
    }
    if (op.cmds.empty()) {
        line += " none";
    }
    for (size_t i = 0; i < op.cmds.size(); i += kIntsPerPair) {
        std::string pair;
        if (const char* name = powerResourceName(op.cmds[i])) {
            pair = name;
        } else {
            appendf(pair, "0x%08x", static_cast<unsigned>(op.cmds[i]));
        }
        if (i + 1 < op.cmds.size()) {
            appendf(pair, "=%d", op.cmds[i + 1]);
        }
        if (line.size() + 1 + pair.size() > kPairsLineWidth && line.size() > kPairsIndent) {
            out += line + "\n";
            line.assign(kPairsIndent, ' ');
        }
        line += " " + pair;
    }
    out += line + "\n";
}

void appendOperator(std::string& out, size_t index, const LiveOperatorInfo& op,
                    PerfOperatorImp::TimePoint now) {
    const OperatorState state = operatorState(op, now);
    // The user string goes in whole: it may be longer than appendf's buffer.
    appendf(out, "  #%zu \"", index);
    out += op.user;
    const long long elapsed = millisBetween(op.start, now);
    // isAlive() counts the duration from the first request, the service from the latest
    // re-issue: when they disagree, both are shown.
    const bool reissued = op.reissues > 0 && op.timeoutMs > 0;
    const long long sinceReissue = millisBetween(op.lastReissue, now);
    const long long serviceLeft = op.timeoutMs - sinceReissue;
    if (state == OperatorState::Expired && reissued && serviceLeft > 0) {
        appendf(out, "\" handle %d: isAlive false%s (%d ms from the first request)", op.handle,
                op.detached ? " (detached)" : "", op.timeoutMs);
    } else {
        appendf(out, "\" handle %d: %s", op.handle, operatorStateName(state));
    }
    switch (state) {
        case OperatorState::Held:
            out += ", no expiry";
            break;
        case OperatorState::Timed:
        case OperatorState::Detached:
            appendf(out, ", %d ms, %lld ms left", op.timeoutMs, op.timeoutMs - elapsed);
            break;
        case OperatorState::Expired:
            if (!reissued || serviceLeft <= 0) {
                appendf(out, "%s, %d ms, ended %lld ms ago", op.detached ? " (detached)" : "",
                        op.timeoutMs, elapsed - op.timeoutMs);
            }
            break;
        case OperatorState::NeverAcquired:
            out += " (no power-service client)";
            break;
        case OperatorState::Refused:
        case OperatorState::Released:
            break;
    }
    if (reissued && (state == OperatorState::Timed || state == OperatorState::Detached ||
                     state == OperatorState::Expired)) {
        if (serviceLeft > 0) {
            appendf(out, "; re-issued %lld ms ago, the service holds it %lld ms more", sinceReissue,
                    serviceLeft);
        } else {
            appendf(out, "; re-issued %lld ms ago, the service ended it %lld ms ago", sinceReissue,
                    -serviceLeft);
        }
    }
    appendf(out, "; age %lld ms (since %s)\n", elapsed, clockText(op.start, false).c_str());
    appendPairs(out, op);
}

// Writes all of `text`; false at the first error. SIGPIPE is held back on this thread while
// it writes, so that a reader that went away ends the dump and not the camera process.
bool writeAll(int fd, const std::string& text) {
    sigset_t pipeOnly, saved, pending;
    sigemptyset(&pipeOnly);
    sigaddset(&pipeOnly, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeOnly, &saved);
    sigpending(&pending);
    const bool pipeWasPending = sigismember(&pending, SIGPIPE) == 1;

    size_t done = 0;
    int error = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n >= 0) {
            done += static_cast<size_t>(n);
            continue;
        }
        error = errno;
        if (error == EINTR) {
            continue;
        }
        pollfd ready{fd, POLLOUT, 0};
        if ((error == EAGAIN || error == EWOULDBLOCK) && ::poll(&ready, 1, kWriteWaitMs) > 0 &&
            (ready.revents & POLLOUT) != 0) {
            continue;
        }
        break;
    }
    if (error == EPIPE && !pipeWasPending) {
        const timespec noWait{};
        sigtimedwait(&pipeOnly, nullptr, &noWait);
    }
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    return done == text.size();
}

}  // namespace

OperatorState operatorState(const LiveOperatorInfo& op, PerfOperatorImp::TimePoint now) {
    if (op.released) {
        return OperatorState::Released;
    }
    if (op.handle == 0) {
        return OperatorState::Refused;
    }
    if (op.handle < 0) {
        return OperatorState::NeverAcquired;
    }
    if (op.timeoutMs == 0) {
        return OperatorState::Held;
    }
    if (op.timeoutMs <= millisBetween(op.start, now)) {
        return OperatorState::Expired;
    }
    return op.detached ? OperatorState::Detached : OperatorState::Timed;
}

const char* operatorStateName(OperatorState state) {
    switch (state) {
        case OperatorState::Held:
            return "held";
        case OperatorState::Timed:
            return "timed";
        case OperatorState::Detached:
            return "detached";
        case OperatorState::Expired:
            return "expired";
        case OperatorState::Refused:
            return "refused";
        case OperatorState::NeverAcquired:
            return "never acquired";
        case OperatorState::Released:
            return "released";
    }
    return "?";
}

std::string renderDump(const ControllerDumpState& ctrl, bool powerClientLoaded,
                       const std::vector<LiveOperatorInfo>& ops, PerfOperatorImp::TimePoint now) {
    std::string out;
    out.reserve(kHeaderBytes + ops.size() * kBytesPerOperator);
    appendf(out, "qvncam_perfctrl, pid %d, %s\n", static_cast<int>(getpid()),
            clockText(now, true).c_str());
    appendController(out, ctrl, powerClientLoaded);
    appendf(out, "live operators: %zu%s\n", ops.size(), ops.empty() ? "" : ", oldest first");
    for (size_t i = 0; i < ops.size(); ++i) {
        appendOperator(out, i + 1, ops[i], now);
    }
    return out;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

extern "C" void qvncam_perfctrl_dump(int fd) {
    using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
    try {
        // Each part is copied under its own short lock; the text is built and written after.
        const ControllerDumpState ctrl = copyControllerDumpState();
        const bool clientLoaded =
            PerfOperatorImp::mfnLockAcq.load(std::memory_order_relaxed) != nullptr;
        const std::vector<LiveOperatorInfo> ops = LiveOperators::snapshot();
        writeAll(fd, renderDump(ctrl, clientLoaded, ops, operatorNow()));
    } catch (...) {
        // Out of memory: a dump is not worth the camera process.
    }
}

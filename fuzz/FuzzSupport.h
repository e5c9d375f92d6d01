#pragma once

// Set-up shared by the fuzz targets that drive the controller in-process.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "PerfOperatorImp.h"
#include "qvncam/platform/HostControl.h"

namespace fuzzsupport {

// A power service that grants everything, installed before any operator asks for the client
// library, so that every input costs no dlopen and no IPC.
inline int grantLock(int handle, int /*duration*/, int* /*list*/, int /*numArgs*/) {
    return handle > 0 ? handle : 1;
}
inline int releaseLock(int /*handle*/) {
    return 0;
}

// Every debug line is formatted (so fuzzed names pass through the format calls) but goes to
// the unified logger's sink, which writes nowhere without QVNCAM_ULOG_FILE.
inline void quietController() {
    using NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperatorImp;
    PerfOperatorImp::mfnLockAcq.store(grantLock);
    PerfOperatorImp::mfnLockRel.store(releaseLock);
    unsetenv("QVNCAM_ULOG_FILE");
    unsetenv("QVNCAM_TRACE_FILE");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.detail", "5");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.mask", "0x1001000");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.mode", "2");
    // Debug listings on; operators with a duration would then start timer threads, so the
    // targets only ever ask for locks without one.
    qvncam::host::setProperty("vendor.cam3perfctrl.log", "1");
    qvncam::host::reloadULogger();
}

// A file of this process for the input, rewritten for each one; in memory where the system
// has it, since rewriting a file on disk can cost milliseconds.
inline std::string writeInput(const char* tag, const uint8_t* data, size_t size) {
    static const std::string dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : "/tmp/";
    const std::string path = dir + "qvncam_fuzz_" + tag + "_" + std::to_string(getpid());
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f != nullptr) {
        if (size > 0) {
            std::fwrite(data, 1, size, f);
        }
        std::fclose(f);
    }
    return path;
}

}  // namespace fuzzsupport

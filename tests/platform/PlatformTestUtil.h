#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "qvncam/platform/HostControl.h"

namespace qvncam {
namespace test {

inline std::string readFile(const std::string& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline std::string pidText() {
    return std::to_string(::getpid());
}

// A scratch directory, the platform's variables unset and the host controls reset,
// so that the tests also pass when run together in one process.
class PlatformTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/qvncam-platform-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        dir = pattern;
        for (const char* var : {"QVNCAM_PROPERTIES", "QVNCAM_ULOG_FILE", "QVNCAM_TRACE_FILE"}) {
            ::unsetenv(var);
        }
        host::clearAllProperties();
        host::reloadULogger();
    }
    void TearDown() override {
        host::clearAllProperties();
        host::reloadULogger();
        EXPECT_EQ(::system(("rm -rf '" + dir + "'").c_str()), 0);
    }
    std::string path(const std::string& name) const { return dir + "/" + name; }
    // Writes a property file and points QVNCAM_PROPERTIES at it.
    std::string useProperties(const std::string& text) {
        std::string p = path("props");
        writeFile(p, text);
        ::setenv("QVNCAM_PROPERTIES", p.c_str(), 1);
        return p;
    }
    static void setULog(int detail, uint32_t mask, uint32_t mode) {
        host::setProperty("vendor.debug.qvncam.ulog.detail", std::to_string(detail));
        host::setProperty("vendor.debug.qvncam.ulog.mask", std::to_string(mask));
        host::setProperty("vendor.debug.qvncam.ulog.mode", std::to_string(mode));
        host::reloadULogger();
    }

    std::string dir;
};

}  // namespace test
}  // namespace qvncam

// SPDX-License-Identifier: Apache-2.0
#pragma once

// The controller reads some properties when its library is loaded and finds its
// customisation library by the bare name "libcameracustom.so". So the simulation runs
// in a fresh copy of this program, started with a properties file and a library search
// path made for the session.

#include <string>
#include <utility>
#include <vector>

namespace qvnperfctl {

struct LaunchPlan {
    std::vector<std::pair<std::string, std::string>> properties;
    std::string customLibrary;  // empty: none
};

// A fresh directory under $TMPDIR (or /tmp), removed with everything in it when the
// object goes, whatever happened to the children that used it. path() is empty when it
// could not be made.
class ScratchDir {
  public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

// True in the copy started by relaunch().
bool isRelaunched();

// Runs this program again with `args` in a new process prepared by `plan`, waits for
// it and returns its exit status; kExitUsage with a message on stderr when it cannot.
int relaunch(const std::vector<std::string>& args, const LaunchPlan& plan);

// Runs this program as a plain subcommand with its standard output sent to
// `stdoutPath`, waits for it and returns its exit status as relaunch() does.
int runSelf(const std::vector<std::string>& args, const std::string& stdoutPath);

}  // namespace qvnperfctl

// SPDX-License-Identifier: Apache-2.0
// Where the tool writes: standard output, FIFOs, devices and directories given as output
// paths, FIFOs given as inputs. Nothing hangs, and what cannot be written is an I/O error.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <thread>

#include "ToolRunner.h"

namespace {

const std::string kSession = EXAMPLES_DIR "/sessions/preview.json";

// Reads a FIFO from before the tool starts until its last writer closes it.
class FifoReader {
  public:
    explicit FifoReader(const std::string& path)
        : mFd(open(path.c_str(), O_RDONLY | O_NONBLOCK)), mThread([this] { readAll(); }) {}
    std::string finish() {
        mThread.join();
        close(mFd);
        return mData;
    }

  private:
    void readAll() {
        // No end of file is seen before a writer has come.
        for (pollfd p{mFd, POLLIN, 0}; poll(&p, 1, 30000) > 0;) {
            char buf[4096];
            const ssize_t n = read(mFd, buf, sizeof buf);
            if (n == 0 || (n < 0 && errno != EAGAIN && errno != EINTR))
                return;
            mData.append(buf, static_cast<size_t>(std::max<ssize_t>(n, 0)));
        }
    }

    int mFd;
    std::string mData;
    std::thread mThread;
};

TEST(OutputFiles, WriteErrorsOnStandardOutputExitTwo) {
    const std::pair<std::vector<std::string>, std::string> commands[] = {
        {{"simulate", kSession}, "qvnperfctl simulate"},
        {{"compare", kSession, "--a", "--b"}, "qvnperfctl compare"},
        {{"check-config", "--show", EXAMPLES_DIR "/config/perf_config.json"},
         "qvnperfctl check-config"},
        {{"resources"}, "qvnperfctl resources"},
        {{"--help"}, "qvnperfctl"}};
    for (const auto& [args, who] : commands) {
        const ToolRun run = runTool(args, "/dev/full");
        EXPECT_EQ(run.status, 2) << args[0];
        EXPECT_THAT(run.err,
                    HasSubstr(who + ": cannot write standard output: No space left on device"));
    }
}

// A closed standard output is a write error of the command itself, and no output file
// opened meanwhile takes its place.
TEST(OutputFiles, ClosedStandardOutputIsAnErrorAndNoFileTakesItsPlace) {
    const std::string svg = tempPath("closed.svg"), err = tempPath("closed.err");
    const std::string commands[] = {"compare '" + kSession + "' --a --b",
                                    "compare '" + kSession + "' --svg " + svg + " --a --b",
                                    "simulate '" + kSession + "' --svg " + svg};
    for (const std::string& command : commands) {
        const int status = std::system((QVNPERFCTL_PATH " " + command + " >&- 2>" + err).c_str());
        EXPECT_EQ(WEXITSTATUS(status), 2) << command;
        EXPECT_THAT(readText(err), HasSubstr(command.substr(0, command.find(' ')) +
                                             ": cannot write standard output"));
        EXPECT_THAT(readText(err), testing::Not(HasSubstr("could not run"))) << command;
        if (command.find("--svg") != std::string::npos) {
            EXPECT_THAT(readText(svg), testing::StartsWith("<?xml")) << command;
        }
    }
}

TEST(OutputFiles, FifosAreWrittenWhileReadAndRefusedWithoutAReader) {
    const std::string fifo = tempPath("out.fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"simulate", kSession, "--svg", fifo}, "</svg>\n"},
        {{"simulate", kSession, "--trace", fifo}, "}\n"},
        {{"simulate", kSession, "--timeline", fifo}, "}\n"},
        {{"compare", kSession, "--svg", fifo, "--a", "--b"}, "</svg>\n"}};
    for (const auto& [args, end] : cases) {
        const ToolRun alone = runTool(args, "", 20);
        EXPECT_EQ(alone.status, 2) << args[2];
        EXPECT_THAT(alone.err, HasSubstr("cannot write " + fifo + ": no process reads this FIFO"));
        FifoReader reader(fifo);
        const ToolRun read = runTool(args, "", 20);
        EXPECT_EQ(read.status, 0) << read.err;
        EXPECT_THAT(reader.finish(), testing::EndsWith(end)) << args[0] << " " << args[2];
    }
    for (const char* input : {"--config", "--custom"}) {
        const ToolRun run = runTool({"simulate", kSession, input, fifo}, "", 20);
        EXPECT_EQ(run.status, 2) << input;
        EXPECT_THAT(run.err, HasSubstr("cannot read " + fifo + ": not a regular file"));
    }
}

TEST(OutputFiles, DirectoriesAndFullDevicesAreIoErrors) {
    const std::string directory = testing::TempDir();
    const std::pair<std::string, std::string> paths[] = {{directory, "Is a directory"},
                                                         {"/dev/full", "No space left on device"}};
    for (const auto& [path, reason] : paths) {
        for (const char* option : {"--svg", "--trace", "--timeline"}) {
            const ToolRun run = runTool({"simulate", kSession, option, path});
            EXPECT_EQ(run.status, 2) << option << " " << path;
            EXPECT_THAT(run.err, HasSubstr("cannot write " + path + ": " + reason));
        }
        const ToolRun run = runTool({"compare", kSession, "--svg", path, "--a", "--b"});
        EXPECT_EQ(run.status, 2) << path;
        EXPECT_THAT(run.err, HasSubstr("compare: cannot write " + path + ": " + reason));
    }
}

}  // namespace

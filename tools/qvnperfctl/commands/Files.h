// SPDX-License-Identifier: Apache-2.0
#pragma once

// The files a command reads and writes, opened so that nothing waits: a FIFO is written
// only while a process reads it, and an input that is not a regular file is refused
// without being opened for reading.

#include <optional>
#include <string>

namespace qvnperfctl {

// Why `path` cannot serve as an input file ("cannot read PATH: not a regular file"), or
// nothing when it can.
std::optional<std::string> inputFileProblem(const std::string& path);

// An output path, opened at once or refused. A FIFO opens only when a process has it open
// for reading, and is then written as a stream; a regular file is emptied when written.
class OutputFile {
  public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(OutputFile&& other) noexcept;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    OutputFile& operator=(OutputFile&&) = delete;

    // False with error() set when `path` cannot be opened without waiting.
    bool open(const std::string& path);
    // Writes `text` whole; false with error() set when it cannot.
    bool write(const std::string& text);
    // "cannot write PATH: REASON".
    const std::string& error() const { return mError; }

  private:
    bool fail(int error);

    int mFd = -1;
    bool mRegular = false;
    std::string mPath;
    std::string mError;
};

// Fills closed standard descriptors with /dev/null opened the wrong way round, so that
// no file the tool opens lands on them and writing to a closed stdout still fails.
void holdStandardDescriptors();

// Flushes standard output at the end of COMMAND: kExitUsage after "qvnperfctl COMMAND:
// cannot write standard output: REASON" when it could not be written, else kExitOk. A
// reader that went away (simulate ... | head) only cut the output short: kExitOk. Each
// failure is reported once.
int finishStandardOutput(const std::string& command);

}  // namespace qvnperfctl

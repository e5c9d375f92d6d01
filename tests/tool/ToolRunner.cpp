#include "ToolRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Every file a test makes goes into one directory per test process, removed at the end.
class TempDirectory : public ::testing::Environment {
  public:
    const std::string& path() {
        if (mPath.empty()) {
            std::string pattern = ::testing::TempDir() + "qvnperfctl_test.XXXXXX";
            if (mkdtemp(pattern.data()))
                mPath = pattern;
        }
        return mPath;
    }
    void TearDown() override {
        std::error_code ignored;
        if (!mPath.empty())
            std::filesystem::remove_all(mPath, ignored);
    }

  private:
    std::string mPath;
};

TempDirectory* const gTempDirectory =
    static_cast<TempDirectory*>(::testing::AddGlobalTestEnvironment(new TempDirectory));

}  // namespace

std::string tempPath(const std::string& name) {
    static int counter = 0;
    return gTempDirectory->path() + "/" + std::to_string(++counter) + "_" + name;
}

std::string writeTemp(const std::string& name, const std::string& text) {
    std::string path = tempPath(name);
    std::ofstream(path) << text;
    return path;
}

ToolRun runTool(const std::vector<std::string>& args) {
    std::string outPath = tempPath("stdout");
    std::string errPath = tempPath("stderr");
    std::vector<std::string> argv = {QVNPERFCTL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv)
        cargv.push_back(a.data());
    cargv.push_back(nullptr);

    pid_t pid = fork();
    if (pid == 0) {
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, 1);
        dup2(err, 2);
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    ToolRun run;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        run.status = WEXITSTATUS(status);
    }
    run.out = slurp(outPath);
    run.err = slurp(errPath);
    unlink(outPath.c_str());
    unlink(errPath.c_str());
    return run;
}

std::string squeeze(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == ' ' && (out.empty() || out.back() == ' ' || out.back() == '\n'))
            continue;
        out += c;
    }
    return out;
}

std::string lineWith(const std::string& text, const std::string& needle) {
    auto at = text.find(needle);
    if (at == std::string::npos)
        return {};
    auto begin = text.rfind('\n', at);
    begin = begin == std::string::npos ? 0 : begin + 1;
    return text.substr(begin, text.find('\n', at) - begin);
}

size_t occurrences(const std::string& text, const std::string& needle) {
    size_t count = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) {
        ++count;
    }
    return count;
}

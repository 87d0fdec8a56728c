#pragma once
// Running the built program from tests: one-shot runs with standard input and
// captured output, long-running children that can be signalled, temporary
// folders, and bounded waits on a condition.

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace testsupport {

struct RunResult {
    int exitCode = -1; // -1: killed after the time limit or by a signal
    std::string out;
    std::string err;
};

// Runs argv with the given standard input; kills it after the limit.
RunResult RunProgram(const std::vector<std::string>& argv, const std::string& input = "",
                     std::chrono::milliseconds limit = std::chrono::seconds(30));

// A child that runs until signalled; its output goes to temporary files.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& argv);
    ~ChildProcess(); // kills the child if it is still running
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void Signal(int signal) const;
    // The exit status, or nullopt when it did not end within the limit.
    std::optional<int> WaitExit(std::chrono::milliseconds limit);
    std::string Stdout() const;
    std::string Stderr() const;
    int pid() const { return pid_; }

private:
    int pid_ = -1;
    std::optional<int> status_;
    std::filesystem::path outFile_, errFile_;
};

struct TempDir {
    std::filesystem::path path;
    TempDir();
    ~TempDir();
};

// Writes json to dir/name.json and builds dir/name.QX3 from it with
// `corvane config build`; a refusal fails the test.
std::filesystem::path BuildConfigFile(const TempDir& dir, const std::string& name,
                                      const std::string& json);

// The whole file as bytes; empty when it cannot be read.
std::string ReadFileBytes(const std::filesystem::path& p);

// Polls pred every 20 ms until it holds or the limit passes.
bool WaitFor(std::chrono::milliseconds limit, const std::function<bool()>& pred);

} // namespace testsupport

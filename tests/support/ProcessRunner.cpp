#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace testsupport {

namespace {

std::vector<char*> ArgvPointers(const std::vector<std::string>& argv) {
    std::vector<char*> out;
    for (const auto& a : argv)
        out.push_back(const_cast<char*>(a.c_str()));
    out.push_back(nullptr);
    return out;
}

std::string Slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

int DecodeStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

RunResult RunProgram(const std::vector<std::string>& argv, const std::string& input,
                     std::chrono::milliseconds limit) {
    int in[2], out[2], err[2];
    if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC))
        return {};
    pid_t pid = fork();
    if (pid == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        auto args = ArgvPointers(argv);
        execv(args[0], args.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    RunResult result;
    std::size_t written = 0;
    if (input.empty()) {
        close(in[1]);
        in[1] = -1;
    }
    fcntl(in[1], F_SETFL, O_NONBLOCK);
    auto deadline = std::chrono::steady_clock::now() + limit;
    bool outOpen = true, errOpen = true;
    while ((outOpen || errOpen) && std::chrono::steady_clock::now() < deadline) {
        pollfd fds[3] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}, {in[1], POLLOUT, 0}};
        fds[0].fd = outOpen ? out[0] : -1;
        fds[1].fd = errOpen ? err[0] : -1;
        poll(fds, 3, 50);
        char buf[4096];
        for (int i = 0; i < 2; ++i) {
            if (fds[i].revents & (POLLIN | POLLHUP)) {
                ssize_t n = read(fds[i].fd, buf, sizeof buf);
                if (n <= 0)
                    (i == 0 ? outOpen : errOpen) = false;
                else
                    (i == 0 ? result.out : result.err).append(buf, static_cast<std::size_t>(n));
            }
        }
        if (in[1] >= 0 && (fds[2].revents & (POLLOUT | POLLERR))) {
            ssize_t n = write(in[1], input.data() + written, input.size() - written);
            if (n > 0)
                written += static_cast<std::size_t>(n);
            if (n < 0 || written == input.size()) {
                close(in[1]);
                in[1] = -1;
            }
        }
    }
    if (in[1] >= 0)
        close(in[1]);
    close(out[0]);
    close(err[0]);
    int status = 0;
    while (std::chrono::steady_clock::now() < deadline) {
        if (waitpid(pid, &status, WNOHANG) == pid) {
            result.exitCode = DecodeStatus(status);
            return result;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    result.exitCode = -1;
    return result;
}

ChildProcess::ChildProcess(const std::vector<std::string>& argv) {
    char tmpl[] = "/tmp/corvane-child-XXXXXX";
    std::filesystem::path dir = mkdtemp(tmpl);
    outFile_ = dir / "stdout";
    errFile_ = dir / "stderr";
    pid_ = fork();
    if (pid_ == 0) {
        int devnull = open("/dev/null", O_RDONLY);
        dup2(devnull, 0);
        int o = open(outFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int e = open(errFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(o, 1);
        dup2(e, 2);
        auto args = ArgvPointers(argv);
        execv(args[0], args.data());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0 && !status_) {
        kill(pid_, SIGKILL);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    std::error_code ec;
    std::filesystem::remove_all(outFile_.parent_path(), ec);
}

void ChildProcess::Signal(int signal) const {
    if (pid_ > 0)
        kill(pid_, signal);
}

std::optional<int> ChildProcess::WaitExit(std::chrono::milliseconds limit) {
    if (status_)
        return status_;
    auto deadline = std::chrono::steady_clock::now() + limit;
    do {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = DecodeStatus(status);
            return status_;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } while (std::chrono::steady_clock::now() < deadline);
    return std::nullopt;
}

std::string ChildProcess::Stdout() const {
    return Slurp(outFile_);
}
std::string ChildProcess::Stderr() const {
    return Slurp(errFile_);
}

TempDir::TempDir() {
    char tmpl[] = "/tmp/corvane-test-XXXXXX";
    path = mkdtemp(tmpl);
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
}

std::filesystem::path BuildConfigFile(const TempDir& dir, const std::string& name,
                                      const std::string& json) {
    std::filesystem::path source = dir.path / (name + ".json");
    std::filesystem::path file = dir.path / (name + ".QX3");
    std::ofstream(source, std::ios::binary) << json;
    RunResult r = RunProgram({CORVANE_BINARY, "config", "build", source.string(), file.string()});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return file;
}

std::string ReadFileBytes(const std::filesystem::path& p) {
    return Slurp(p);
}

bool WaitFor(std::chrono::milliseconds limit, const std::function<bool()>& pred) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        if (pred())
            return true;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace testsupport

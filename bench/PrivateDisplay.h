#pragma once
// The private X display that benchmarks start for the runtimes and clients
// they measure.

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace benchrig {

// An Xvfb of the benchmark's own; display is empty when it did not start.
struct PrivateDisplay {
    pid_t pid = -1;
    std::string display;
    PrivateDisplay() {
        const std::string name = ":" + std::to_string(190 + getpid() % 40);
        pid = fork();
        if (pid == 0) {
            const int quiet = ::open("/dev/null", O_WRONLY);
            dup2(quiet, 1);
            dup2(quiet, 2);
            execlp("Xvfb", "Xvfb", name.c_str(), "-screen", "0", "1024x768x24", "-nolisten", "tcp",
                   "-noreset", nullptr);
            _exit(127);
        }
        const std::string socket = "/tmp/.X11-unix/X" + name.substr(1);
        for (int i = 0; i < 200 && !std::filesystem::exists(socket); ++i)
            usleep(50000);
        if (std::filesystem::exists(socket))
            display = name;
    }
    ~PrivateDisplay() {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
    }
};

} // namespace benchrig

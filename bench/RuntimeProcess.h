#pragma once
// A runtime started by a benchmark, headless or with its window: its
// configuration built in a temporary folder, a raw pseudo-terminal as its
// port, and its CPU time read from /proc (as any process's). Also the private
// session bus that benchmarks start for it (the X display: PrivateDisplay.h).

#include "PrivateDisplay.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <pty.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace benchrig {

// User plus system CPU seconds of a process so far.
inline double ProcessCpuSeconds(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), {});
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skip;
    for (int i = 0; i < 11; ++i)
        fields >> skip;
    long utime = 0, stime = 0;
    fields >> utime >> stime;
    return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct RuntimeProcess {
    std::filesystem::path dir;
    int master = -1; // the instrument's end of the port
    pid_t pid = -1;

    // json gives the configuration for the runtime's folder; busAddress, when
    // not empty, is the session bus the runtime uses; display, when not
    // empty, is the X display of a runtime with its window (else headless);
    // option, when not empty, is one more option of `corvane run`.
    explicit RuntimeProcess(const std::function<std::string(const std::filesystem::path&)>& json,
                            const std::string& busAddress = "", const std::string& display = "",
                            const std::string& option = "") {
        char tmpl[] = "/tmp/corvane-bench-XXXXXX";
        dir = mkdtemp(tmpl);
        std::ofstream(dir / "cfg.json") << json(dir);
        const std::string build = std::string(CORVANE_BINARY) + " config build " +
                                  (dir / "cfg.json").string() + " " + (dir / "b.QX3").string();
        if (std::system(build.c_str()) != 0)
            return;
        int slave = -1;
        char name[256];
        termios raw{};
        cfmakeraw(&raw);
        openpty(&master, &slave, name, &raw, nullptr);
        ::close(slave);
        pid = fork();
        if (pid == 0) {
            if (!busAddress.empty())
                setenv("DBUS_SESSION_BUS_ADDRESS", busAddress.c_str(), 1);
            if (!display.empty()) {
                setenv("DISPLAY", display.c_str(), 1);
                setenv("XDG_CONFIG_HOME", dir.c_str(), 1); // the window's place stays here
                if (!option.empty())
                    execl(CORVANE_BINARY, CORVANE_BINARY, "run", option.c_str(), "--port", name,
                          (dir / "b.QX3").c_str(), nullptr);
                execl(CORVANE_BINARY, CORVANE_BINARY, "run", "--port", name,
                      (dir / "b.QX3").c_str(), nullptr);
            } else {
                execl(CORVANE_BINARY, CORVANE_BINARY, "run", "--headless", "--port", name,
                      (dir / "b.QX3").c_str(), nullptr);
            }
            _exit(127);
        }
    }
    ~RuntimeProcess() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
        ::close(master);
        std::filesystem::remove_all(dir);
    }
    RuntimeProcess(const RuntimeProcess&) = delete;
    RuntimeProcess& operator=(const RuntimeProcess&) = delete;

    // User plus system CPU seconds of the runtime so far.
    double CpuSeconds() const { return ProcessCpuSeconds(pid); }
};

// A dbus-daemon of the benchmark's own.
struct PrivateBus {
    pid_t pid = -1;
    std::string address;
    PrivateBus() {
        int out[2];
        if (pipe(out) != 0)
            return;
        pid = fork();
        if (pid == 0) {
            dup2(out[1], 1);
            const int quiet = ::open("/dev/null", O_WRONLY);
            dup2(quiet, 2); // its remarks (such as on the fd limit) are not the figures
            execl(DBUS_DAEMON, DBUS_DAEMON, "--session", "--nofork", "--print-address=1", nullptr);
            _exit(127);
        }
        ::close(out[1]);
        char c;
        while (::read(out[0], &c, 1) == 1 && c != '\n')
            address += c;
        ::close(out[0]);
    }
    ~PrivateBus() {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
    }
};

} // namespace benchrig

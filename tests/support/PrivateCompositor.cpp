#include "support/PrivateCompositor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <grp.h>
#include <pwd.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace testsupport {

namespace {

constexpr const char* Sway = "/usr/bin/sway";

// Self-contained (no test framework), so that the benchmarks use it too.
bool WaitFor(std::chrono::milliseconds limit, const std::function<bool()>& pred) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

std::string ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool Listening(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::strcpy(address.sun_path, path.c_str());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool ok =
        fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0)
        ::close(fd);
    return ok;
}

void Save(const char* name, std::string& value, bool& had) {
    const char* v = std::getenv(name);
    had = v != nullptr;
    value = v ? v : "";
}

void Restore(const char* name, const std::string& value, bool had) {
    if (had)
        ::setenv(name, value.c_str(), 1);
    else
        ::unsetenv(name);
}

// Runs argv as uid/gid with the compositor's environment; its output.
std::string RunAs(unsigned uid, unsigned gid, const std::string& runtimeDir,
                  const std::vector<std::string>& argv) {
    int out[2];
    if (::pipe2(out, O_CLOEXEC) != 0)
        return "";
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(out[1], 1);
        if (::getuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0))
            _exit(126);
        ::setenv("XDG_RUNTIME_DIR", runtimeDir.c_str(), 1);
        std::vector<char*> args;
        for (const auto& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        _exit(127);
    }
    ::close(out[1]);
    std::string text;
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(out[0], buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<std::size_t>(n));
    ::close(out[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return text;
}

} // namespace

std::string PrivateCompositor::Missing() {
    if (::access(Sway, X_OK) != 0)
        return "sway is not installed (scripts/setup installs it)";
    if (::getuid() == 0 && !::getpwnam("nobody"))
        return "sway refuses to run as root, and there is no user \"nobody\" to run it as";
    return "";
}

PrivateCompositor::PrivateCompositor(bool xwayland) {
    uid_ = ::getuid();
    gid_ = ::getgid();
    if (uid_ == 0) {
        const passwd* nobody = ::getpwnam("nobody");
        if (!nobody) {
            failure_ = Missing();
            return;
        }
        uid_ = nobody->pw_uid;
        gid_ = nobody->pw_gid;
    }
    char dir[] = "/tmp/corvane-sway-XXXXXX";
    if (!::mkdtemp(dir)) {
        failure_ = std::string("no runtime folder: ") + std::strerror(errno);
        return;
    }
    runtimeDir_ = dir;
    if (::chown(dir, uid_, gid_) != 0 || ::chmod(dir, 0700) != 0) {
        failure_ = std::string("the runtime folder cannot be given to the compositor's user: ") +
                   std::strerror(errno);
        return;
    }
    const std::string config = runtimeDir_ + "/config";
    // With XWayland, sway gives its display to the programs it starts: one
    // of them writes it down.
    std::ofstream(config) << (xwayland ? "xwayland force\nexec echo $DISPLAY > " + runtimeDir_ +
                                             "/display\n"
                                       : std::string("xwayland disable\n"));
    const std::string log = runtimeDir_ + "/sway.log";
    const int logFd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    [[maybe_unused]] int ignored = ::chown(config.c_str(), uid_, gid_);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(logFd, 1);
        ::dup2(logFd, 2);
        const int null = ::open("/dev/null", O_RDONLY);
        ::dup2(null, 0);
        // Its own process group: the clients it starts go with it.
        ::setpgid(0, 0);
        if (::getuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(gid_) != 0 || ::setuid(uid_) != 0))
            _exit(126);
        const std::string runtime = "XDG_RUNTIME_DIR=" + runtimeDir_;
        const std::string home = "HOME=" + runtimeDir_;
        const char* env[] = {"PATH=/usr/bin:/bin",
                             runtime.c_str(),
                             home.c_str(),
                             "WLR_BACKENDS=headless",
                             "WLR_RENDERER=pixman",
                             "WLR_LIBINPUT_NO_DEVICES=1",
                             "WLR_HEADLESS_OUTPUTS=1",
                             nullptr};
        const char* argv[] = {Sway, "-c", config.c_str(), nullptr};
        ::execve(Sway, const_cast<char* const*>(argv), const_cast<char* const*>(env));
        _exit(127);
    }
    if (logFd >= 0)
        ::close(logFd);
    // The first socket sway makes in its folder is its display.
    std::string socket;
    const bool up = WaitFor(10s, [&] {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return true;
        }
        for (const auto& entry : fs::directory_iterator(runtimeDir_))
            if (entry.path().filename().string().rfind("wayland-", 0) == 0 &&
                entry.path().extension() != ".lock" && Listening(entry.path().string())) {
                socket = entry.path().filename().string();
                return true;
            }
        return false;
    });
    if (!up || pid_ < 0 || socket.empty()) {
        failure_ = "sway did not start: " + Log();
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        pid_ = -1;
        return;
    }
    Save("WAYLAND_DISPLAY", savedWayland_, hadWayland_);
    Save("XDG_RUNTIME_DIR", savedRuntime_, hadRuntime_);
    Save("DISPLAY", savedDisplay_, hadDisplay_);
    ::setenv("WAYLAND_DISPLAY", socket.c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", runtimeDir_.c_str(), 1);
    ::unsetenv("DISPLAY");
}

PrivateCompositor::~PrivateCompositor() {
    if (pid_ > 0) {
        // Its clients (XWayland too) end when their compositor goes.
        ::kill(pid_, SIGTERM);
        const bool ended = WaitFor(5s, [&] { return ::waitpid(pid_, nullptr, WNOHANG) == pid_; });
        if (!ended) {
            ::kill(-pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        Restore("WAYLAND_DISPLAY", savedWayland_, hadWayland_);
        Restore("XDG_RUNTIME_DIR", savedRuntime_, hadRuntime_);
        Restore("DISPLAY", savedDisplay_, hadDisplay_);
    }
    if (!runtimeDir_.empty()) {
        std::error_code ec;
        fs::remove_all(runtimeDir_, ec);
    }
}

std::string PrivateCompositor::Log() const {
    return ReadFileBytes(runtimeDir_ + "/sway.log");
}

std::string PrivateCompositor::SwayMsg(const std::string& arguments) const {
    // Its IPC socket, which sway names only to the programs it starts.
    std::string socket;
    for (const auto& entry : fs::directory_iterator(runtimeDir_))
        if (entry.path().filename().string().rfind("sway-ipc.", 0) == 0)
            socket = entry.path().string();
    std::vector<std::string> argv{"/usr/bin/swaymsg", "-s", socket};
    std::size_t start = 0;
    while (start < arguments.size()) {
        const std::size_t end = std::min(arguments.find(' ', start), arguments.size());
        argv.push_back(arguments.substr(start, end - start));
        start = end + 1;
    }
    return RunAs(uid_, gid_, runtimeDir_, argv);
}

bool PrivateCompositor::WaitForXWayland() {
    std::string display;
    const bool up = WaitFor(10s, [&] {
        display = ReadFileBytes(runtimeDir_ + "/display");
        if (display.size() < 3 || display[0] != ':')
            return false;
        display.erase(display.find_last_not_of("\n") + 1);
        return Listening("/tmp/.X11-unix/X" + display.substr(1));
    });
    if (!up)
        return false;
    ::setenv("DISPLAY", display.c_str(), 1);
    // XWayland lets in only its own user; the test's programs run as
    // another when the test runs as root.
    if (uid_ != ::getuid())
        RunAs(uid_, gid_, runtimeDir_,
              {"/usr/bin/env", "DISPLAY=" + display, "/usr/bin/xhost",
               "+si:localuser:" + std::string(::getpwuid(::getuid())->pw_name)});
    return true;
}

} // namespace testsupport

#include "support/PrivateXServer.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace testsupport {

namespace {
constexpr const char* Xvfb = "/usr/bin/Xvfb";
}

bool PrivateXServer::Available() {
    return ::access(Xvfb, X_OK) == 0;
}

PrivateXServer::PrivateXServer() {
    // Tests run in parallel: a server that lost the race for a display
    // number exits at once, and the next number is tried.
    for (int n = 100 + static_cast<int>(::getpid() % 400); n < 600; ++n) {
        const std::string socket = "/tmp/.X11-unix/X" + std::to_string(n);
        if (fs::exists(socket) || fs::exists("/tmp/.X" + std::to_string(n) + "-lock"))
            continue;
        display_ = ":" + std::to_string(n);
        xvfb_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{Xvfb, display_, "-nolisten", "tcp"});
        const bool up =
            WaitFor(10s, [&] { return fs::exists(socket) || xvfb_->WaitExit(0ms).has_value(); });
        if (up && !xvfb_->WaitExit(300ms).has_value())
            break;
        xvfb_.reset();
    }
    if (xvfb_)
        ::setenv("DISPLAY", display_.c_str(), 1);
}

PrivateXServer::~PrivateXServer() {
    if (xvfb_)
        xvfb_->Signal(SIGTERM);
    xvfb_.reset();
    ::unsetenv("DISPLAY");
}

} // namespace testsupport

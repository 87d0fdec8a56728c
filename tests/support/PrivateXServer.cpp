#include "support/PrivateXServer.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace testsupport {

namespace {

constexpr const char* Xvfb = "/usr/bin/Xvfb";

// True when an X server accepts connections on display n. The socket and
// lock file that a killed server leaves behind do not count: Xvfb takes such
// a number over.
bool DisplayListening(int n) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/tmp/.X11-unix/X%d", n);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const bool listening =
        ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return listening;
}

// The process that holds display n: the number in its lock file, 0 when
// there is none.
int LockHolder(int n) {
    char path[64];
    std::snprintf(path, sizeof path, "/tmp/.X%d-lock", n);
    std::FILE* file = std::fopen(path, "r");
    if (!file)
        return 0;
    int pid = 0;
    if (std::fscanf(file, "%d", &pid) != 1)
        pid = 0;
    std::fclose(file);
    return pid;
}

} // namespace

bool PrivateXServer::Available() {
    return ::access(Xvfb, X_OK) == 0;
}

PrivateXServer::PrivateXServer() {
    // Tests run in parallel: two may start a server on the same number. The
    // display is ours only when our server holds its lock file and listens;
    // a server that lost the race exits, and the next number is tried. (A
    // loser that was merely slow to exit once made a test use another test's
    // server, which went away under it.)
    for (int n = 100 + static_cast<int>(::getpid() % 400); n < 600; ++n) {
        if (DisplayListening(n))
            continue;
        display_ = ":" + std::to_string(n);
        // -noreset: by default the server resets whenever its last client
        // leaves, and refuses connections while it does. A probe or an xprop
        // poll is often that last client, and a window manager that connected
        // just then exited with "Failed to open the display".
        xvfb_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{Xvfb, display_, "-nolisten", "tcp", "-noreset"});
        const bool ours = WaitFor(10s, [&] {
            return (LockHolder(n) == xvfb_->pid() && DisplayListening(n)) ||
                   xvfb_->WaitExit(0ms).has_value();
        });
        if (ours && !xvfb_->WaitExit(0ms).has_value())
            break;
        xvfb_.reset();
    }
    if (xvfb_)
        ::setenv("DISPLAY", display_.c_str(), 1);
}

PrivateXServer::~PrivateXServer() {
    // Given the time to remove its socket and lock file, the server leaves
    // its display number free for the next test.
    if (xvfb_) {
        xvfb_->Signal(SIGTERM);
        xvfb_->WaitExit(5s);
    }
    xvfb_.reset();
    ::unsetenv("DISPLAY");
}

} // namespace testsupport

#include "support/PseudoTerminal.h"

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace testsupport {

void PseudoTerminal::Open() {
    Close();
    int slave = -1;
    char name[256] = {};
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&master_, &slave, name, mode_ == Mode::Raw ? &raw : nullptr, nullptr) != 0) {
        master_ = -1;
        return;
    }
    ::close(slave); // the program under test opens the slave itself
    slaveName_ = name;
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
    // A program started by the test must not inherit the master: closing it
    // here would then not hang up the slave.
    fcntl(master_, F_SETFD, FD_CLOEXEC);
}

void PseudoTerminal::Close() {
    if (master_ >= 0)
        ::close(master_);
    master_ = -1;
}

bool PseudoTerminal::Write(const std::string& text) const {
    return master_ >= 0 &&
           ::write(master_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool PseudoTerminal::IsRaw() const {
    // The master reads the settings that the slave's user made.
    termios t{};
    return master_ >= 0 && tcgetattr(master_, &t) == 0 && (t.c_lflag & (ICANON | ECHO)) == 0;
}

std::string PseudoTerminal::ReadFor(std::chrono::milliseconds limit, std::size_t want) const {
    std::string got;
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (got.size() < want && std::chrono::steady_clock::now() < deadline) {
        char buf[256];
        ssize_t n = ::read(master_, buf, sizeof buf);
        if (n > 0)
            got.append(buf, static_cast<std::size_t>(n));
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return got;
}

} // namespace testsupport

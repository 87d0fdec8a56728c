#include "serial/PosixPort.h"

#include "serial/PortList.h"
#include "serial/PortSettings.h"
#include "serial/PosixTermios2.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace serial {

namespace {

// The device is gone only when the system says so: a read or write that
// fails with one of these errors. A read that returns 0 or EAGAIN means no
// byte has arrived; a quiet instrument is not a lost one.
bool DeviceGone(int err) {
    return err == EIO || err == ENXIO || err == ENODEV;
}

speed_t StandardSpeed(long baud) {
    switch (baud) {
    case 110:
        return B110;
    case 300:
        return B300;
    case 600:
        return B600;
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    default:
        return 0;
    }
}

void ApplyLine(termios& t, const LineSettings& s) {
    cfmakeraw(&t);
    t.c_cflag |= CLOCAL | CREAD;
    t.c_cflag &= ~(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
    static const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    t.c_cflag |= sizes[s.dataBits - 5];
    switch (s.parity) {
    case Parity::None:
        break;
    case Parity::Odd:
        t.c_cflag |= PARENB | PARODD;
        break;
    case Parity::Even:
        t.c_cflag |= PARENB;
        break;
    case Parity::Mark:
        t.c_cflag |= PARENB | CMSPAR | PARODD;
        break;
    case Parity::Space:
        t.c_cflag |= PARENB | CMSPAR;
        break;
    }
    if (s.stopBits != StopBits::One)
        t.c_cflag |= CSTOPB; // 1.5 stop bits: the nearest the driver offers
    t.c_iflag &= ~(IXON | IXOFF | IXANY | INPCK | ISTRIP);
    if (s.flow == FlowControl::XonXoff)
        t.c_iflag |= IXON | IXOFF;
    if (s.flow == FlowControl::Hardware)
        t.c_cflag |= CRTSCTS;
    t.c_cc[VMIN] = 0;
    t.c_cc[VTIME] = 0;
    t.c_cc[VSTART] = 0x11;
    t.c_cc[VSTOP] = 0x13;
}

class PosixPort : public Port {
public:
    PosixPort(int fd, termios saved, engine::Clock& clock)
        : fd_(fd), saved_(saved), clock_(clock) {}
    ~PosixPort() override { ClosePort(); }

    std::size_t Read(std::uint8_t* buffer, std::size_t size) override {
        if (fd_ < 0 || lost_ || size == 0)
            return 0;
        ssize_t n = ::read(fd_, buffer, size);
        if (n > 0)
            return static_cast<std::size_t>(n);
        if (n < 0 && DeviceGone(errno)) {
            lost_ = true;
            return 0;
        }
        // In raw mode with VMIN = VTIME = 0 a hung-up terminal also reads as
        // 0, like a quiet one; poll tells them apart (an unplugged adapter, a
        // pseudo-terminal whose other end closed).
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, 0) == 1 && (p.revents & (POLLHUP | POLLERR | POLLNVAL)))
            lost_ = true;
        return 0;
    }

    void FlushPendingOutput(std::string& pendingOutput) override {
        if (fd_ < 0 || lost_ || pendingOutput.empty())
            return;
        ssize_t n = ::write(fd_, pendingOutput.data(), pendingOutput.size());
        if (n > 0)
            pendingOutput.erase(0, static_cast<std::size_t>(n));
        else if (n < 0 && DeviceGone(errno))
            lost_ = true;
    }

    void PurgePort() override {
        if (fd_ >= 0)
            ::tcflush(fd_, TCIOFLUSH);
    }
    // A hung-up device would be "readable" for good: not watched once lost.
    int ArrivalHandle() const override { return lost_ ? -1 : fd_; }
    void SetDTR(bool on) override { Line(TIOCM_DTR, on); }
    void SetRTS(bool on) override { Line(TIOCM_RTS, on); }
    void PulseDTR() override {
        // The low time is 155 ms although the caption says 100 ms; the wait
        // blocks by design, as the line must not be left low.
        SetDTR(false);
        // Asleep, not spinning: the wait needs no processor.
        const std::int32_t start = clock_.TickCount();
        while (true) {
            const std::int32_t elapsed = static_cast<std::int32_t>(
                static_cast<std::uint32_t>(clock_.TickCount()) - static_cast<std::uint32_t>(start));
            if (elapsed >= 155 || elapsed < 0)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(155 - elapsed));
        }
        SetDTR(true);
    }
    void SetCommBreak() override {
        if (fd_ >= 0)
            ::ioctl(fd_, TIOCSBRK);
    }
    void ClearCommBreak() override {
        if (fd_ >= 0)
            ::ioctl(fd_, TIOCCBRK);
    }
    void ClosePort() override {
        if (fd_ < 0)
            return;
        SetDTR(false);
        SetRTS(false);
        ::tcsetattr(fd_, TCSANOW, &saved_);
        ::close(fd_); // also releases the lock
        fd_ = -1;
    }
    bool IsLost() const override { return lost_; }

private:
    void Line(int bit, bool on) {
        if (fd_ >= 0)
            ::ioctl(fd_, on ? TIOCMBIS : TIOCMBIC, &bit);
    }

    int fd_;
    termios saved_;
    engine::Clock& clock_;
    bool lost_ = false;
};

} // namespace

OpenFailure DescribeOpenFailure(const std::string& device, int error) {
    OpenFailure failure{device, error, "", OpenFailure::Membership::None};
    struct stat st {};
    if ((error != EACCES && error != EPERM) || ::stat(device.c_str(), &st) != 0)
        return failure;
    const group* owner = ::getgrgid(st.st_gid);
    if (!owner)
        return failure;
    failure.ownerGroup = owner->gr_name;
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
    const int n = ::getgroups(static_cast<int>(groups.size()), groups.data());
    if (::getegid() == st.st_gid || std::find(groups.begin(), groups.begin() + std::max(n, 0),
                                              st.st_gid) != groups.begin() + std::max(n, 0)) {
        failure.membership = OpenFailure::Membership::InSession;
        return failure;
    }
    // Not in this session's groups: perhaps added since the login.
    const passwd* user = ::getpwuid(::getuid());
    if (!user)
        return failure;
    bool member = user->pw_gid == st.st_gid;
    for (char** m = owner->gr_mem; m && *m && !member; ++m)
        member = std::strcmp(*m, user->pw_name) == 0;
    if (member)
        failure.membership = OpenFailure::Membership::NextLogin;
    return failure;
}

std::unique_ptr<Port> OpenPosixPort(const config::Config& cfg, const std::string& device,
                                    config::MessageSink& messages, engine::Clock& clock) {
    const std::string name = config::PortName(cfg);
    auto fail = [&](int fd, const std::string& text, const std::string& title,
                    config::MessageIcon icon) -> std::unique_ptr<Port> {
        if (fd >= 0)
            ::close(fd);
        messages.Show({text, title, icon, config::MessageButtons::Ok});
        return nullptr;
    };
    int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    // Not shared: a device another program (or another Corvane) holds is not
    // available. The second line says why, and what the user can do.
    if (fd < 0 || ::flock(fd, LOCK_EX | LOCK_NB) != 0)
        return fail(fd,
                    "Device " + name + " Not Available.\n" +
                        OpenFailureReason(DescribeOpenFailure(device, errno)),
                    "Device Error", config::MessageIcon::Exclamation);
    termios saved{};
    if (::tcgetattr(fd, &saved) != 0)
        return fail(fd, "GetComState failed", "", config::MessageIcon::None);
    // Besides the lock, the terminal refuses further opens while we hold it.
    ::ioctl(fd, TIOCEXCL);
    LineSettings line = MapSettings(cfg);
    termios t = saved;
    ApplyLine(t, line);
    speed_t speed = StandardSpeed(line.baudRate);
    if (speed != 0) {
        cfsetispeed(&t, speed);
        cfsetospeed(&t, speed);
    }
    if (::tcsetattr(fd, TCSANOW, &t) != 0)
        return fail(fd, "SetComState failed", "", config::MessageIcon::None);
    if (speed == 0 && !SetCustomBaudRate(fd, line.baudRate))
        return fail(fd, "SetComState failed", "", config::MessageIcon::None);
    if (line.stopBits == StopBits::OneAndHalf)
        messages.Show({name + ": 1.5 stop bits are not available on this system; using 2",
                       "Device Error", config::MessageIcon::Information,
                       config::MessageButtons::Ok});
    auto port = std::make_unique<PosixPort>(fd, saved, clock);
    // DTR is raised on every choice; RTS too, except that Opto-RS holds it low
    // and hardware flow control leaves it to the driver.
    port->SetDTR(true);
    if (line.flow == FlowControl::OptoRs)
        port->SetRTS(false);
    else if (line.flow != FlowControl::Hardware)
        port->SetRTS(true);
    return port;
}

} // namespace serial

#include "support/PrivateBus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

namespace testsupport {

PrivateBus::PrivateBus() {
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{DBUS_DAEMON, "--session", "--nofork", "--print-address=1"});
    const bool started = WaitFor(std::chrono::seconds(10), [&] {
        const std::string out = daemon_->Stdout();
        const std::size_t end = out.find('\n');
        if (end == std::string::npos)
            return false;
        address_ = out.substr(0, end);
        return true;
    });
    EXPECT_TRUE(started) << "dbus-daemon did not start: " << daemon_->Stderr();
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
}

PrivateBus::~PrivateBus() {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", NoBusAddress, 1);
    daemon_.reset();
}

} // namespace testsupport

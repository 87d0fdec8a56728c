#pragma once
// A private D-Bus session bus for one test: a dbus-daemon started by the test
// and ended with it. While it lives, DBUS_SESSION_BUS_ADDRESS names it, so
// the programs the test starts use it; afterwards the address names no bus
// again. Tests never reach the desktop's bus.

#include "support/ProcessRunner.h"

#include <memory>
#include <string>

namespace testsupport {

// What DBUS_SESSION_BUS_ADDRESS holds outside a PrivateBus: a bus that is not there.
inline constexpr const char* NoBusAddress = "unix:path=/nonexistent/corvane-tests-have-no-bus";

class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& address() const { return address_; }

private:
    std::unique_ptr<ChildProcess> daemon_;
    std::string address_;
};

} // namespace testsupport

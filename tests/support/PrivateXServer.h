#pragma once
// A private X server for one test: an Xvfb on a free display number, started
// by the test and ended with it. While it lives, DISPLAY names it, so the
// programs the test starts use it; afterwards DISPLAY is unset again. Tests
// never reach the desktop's display.

#include "support/ProcessRunner.h"

#include <memory>
#include <string>

namespace testsupport {

class PrivateXServer {
public:
    // Whether Xvfb is installed (scripts/setup installs it).
    static bool Available();

    PrivateXServer();
    ~PrivateXServer();
    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;

    bool started() const { return xvfb_ != nullptr; }
    const std::string& display() const { return display_; }

private:
    std::unique_ptr<ChildProcess> xvfb_;
    std::string display_;
};

} // namespace testsupport

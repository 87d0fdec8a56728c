#pragma once
// A private Wayland compositor for one test: a headless sway (wlroots with
// its headless backend and pixman renderer, no input devices), started by
// the test and ended with it. While it lives, WAYLAND_DISPLAY and
// XDG_RUNTIME_DIR name it and DISPLAY is unset (or names its XWayland), so
// the programs the test starts use it; afterwards they are as before.
//
// sway refuses to run as root. Run as root (as CI runs), it is started as
// the unprivileged user "nobody", with a runtime folder of its own that the
// test's programs, as root, may still use.

#include <memory>
#include <string>

namespace testsupport {

class PrivateCompositor {
public:
    // What is missing for a compositor here ("sway is not installed ..."),
    // empty when one can be started.
    static std::string Missing();

    // xwayland: let X11 programs run under it (DISPLAY is then set once
    // XWayland has started, which takes a moment: see WaitForXWayland).
    explicit PrivateCompositor(bool xwayland = false);
    ~PrivateCompositor();
    PrivateCompositor(const PrivateCompositor&) = delete;
    PrivateCompositor& operator=(const PrivateCompositor&) = delete;

    bool started() const { return pid_ > 0; }
    // Why it did not start, with sway's own last words.
    std::string Failure() const { return failure_; }
    const std::string& runtimeDir() const { return runtimeDir_; }
    // The compositor's log so far.
    std::string Log() const;
    // Starts XWayland (sway starts it on demand) and sets DISPLAY to it.
    bool WaitForXWayland();
    // Runs swaymsg with the arguments, as the compositor's user; its output.
    std::string SwayMsg(const std::string& arguments) const;

private:
    int pid_ = -1;
    unsigned uid_ = 0, gid_ = 0;
    std::string runtimeDir_, failure_;
    std::string savedWayland_, savedRuntime_, savedDisplay_;
    bool hadWayland_ = false, hadRuntime_ = false, hadDisplay_ = false;
};

} // namespace testsupport

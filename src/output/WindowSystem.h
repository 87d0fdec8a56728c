#pragma once
// Top-level windows as the target application search sees them. Backends:
// X11WindowSystem, and a recording fake in the tests.

#include <cstdint>
#include <string>
#include <vector>

namespace output {

using WindowId = std::uint64_t; // 0 = no window

class WindowSystem {
public:
    virtual ~WindowSystem() = default;
    // Top-level windows in stacking order, the top one first.
    virtual std::vector<WindowId> TopLevelWindows() = 0;
    virtual std::string Caption(WindowId w) = 0;
    virtual WindowId ForegroundWindow() = 0;
    // Brings w to the front with the input focus; false when refused.
    virtual bool Activate(WindowId w) = 0;
    virtual bool IsIconic(WindowId w) = 0;
    virtual void Restore(WindowId w) = 0;
    virtual void Show(WindowId w) = 0;
    virtual void Minimize(WindowId w) = 0;
    // Starts a command line detached; an empty text or the system's
    // description of why it could not be started.
    virtual std::string StartProgram(const std::string& commandLine) = 0;
};

struct Activation {
    WindowId window = 0;
    bool TargetWasIconic = false;
};

// Finds the first window (top first) whose upper-cased caption contains the
// trimmed, upper-cased title. The first window is taken to be in front
// already and is left alone; any other is activated, and restored when it was
// minimised.
Activation ActivateTargetApp(const std::string& title, WindowSystem& windows);

// Captions and titles are compared upper-cased.
std::string UpperCase(std::string text);

} // namespace output

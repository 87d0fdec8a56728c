#pragma once
// Top-level windows as the target application search sees them. Backends:
// X11WindowSystem, and a recording fake in the tests.

#include "engine/Clock.h"

#include <cstdint>
#include <functional>
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
    // Asks for w to be brought to the front with the input focus; false when
    // refused. A window manager carries the request out later: FocusIsIn
    // tells when it has.
    virtual bool Activate(WindowId w) = 0;
    // True when w is the active window (as the window manager reports it, when
    // there is one) and the input focus is in w, on w itself, a window inside
    // it or the frame around it: keys sent now reach w.
    virtual bool FocusIsIn(WindowId w) = 0;
    virtual bool IsIconic(WindowId w) = 0;
    virtual void Restore(WindowId w) = 0;
    virtual void Show(WindowId w) = 0;
    virtual void Minimize(WindowId w) = 0;
};

struct Activation {
    WindowId window = 0;
    bool TargetWasIconic = false;
    bool requested = false; // activation was asked for (the window was not first)
};

// Finds the first window (top first) whose upper-cased caption contains the
// trimmed, upper-cased title. The first window is taken to be in front
// already and is left alone; any other is activated, and restored when it was
// minimised.
Activation ActivateTargetApp(const std::string& title, WindowSystem& windows);

// How long a switch of the active window may take before it counts as
// refused.
constexpr int FrontWaitMs = 2000;

enum class FrontWait { InFront, TimedOut, Closing };

// Waits until w holds the focus (FocusIsIn), at most FrontWaitMs by the
// clock's tick count, calling pump between looks; Closing when the pump said
// the program is closing.
FrontWait WaitUntilInFront(WindowSystem& windows, WindowId w, engine::Clock& clock,
                           const std::function<bool(int maxWaitMs)>& pump);

// Captions and titles are compared upper-cased.
std::string UpperCase(std::string text);

} // namespace output

#pragma once
// System-wide hot keys as the platform offers them: a key with modifiers is
// taken for this program under an identifier, whichever window has the focus,
// and every press of it comes back with that identifier. X11HotKeys grabs the
// keys on the X root window; the tests record the calls with
// tests/support/FakeHotKeyPlatform.h.

#include <functional>

namespace control {

// The platform's modifier bits, as a registration takes them.
inline constexpr int ModAlt = 1, ModControl = 2, ModShift = 4;

class HotKeyPlatform {
public:
    virtual ~HotKeyPlatform() = default;
    // Takes virtualKey with exactly modifiers (ModAlt | ModControl | ModShift)
    // for id. False when the platform refuses: another program, or another id
    // of this one, holds the combination, or no key of the current keyboard
    // has that virtual key.
    virtual bool RegisterHotKey(int id, int modifiers, int virtualKey) = 0;
    // Gives back what id took.
    virtual void UnregisterHotKey(int id) = 0;

    // Runs from the event loop with the id of each press, between ticks or
    // inside a wait that pumps events; never from within a call above.
    std::function<void(int id)> pressed;
};

} // namespace control

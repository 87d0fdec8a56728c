#pragma once
// Hot keys on X11: each combination is grabbed on the root window of a
// connection of its own, for the key's keycode on the current layout and the
// X modifiers of Shift, Ctrl and Alt, once for every combination of the lock
// masks (Caps Lock, Num Lock, Scroll Lock), so that a lit lock key does not
// disable a hot key. A combination another client holds is refused by the
// server; the refusal is caught and becomes a failed registration. Presses
// arrive through the Qt event loop (a socket notifier on the connection).

#include "control/HotKeyPlatform.h"

#include <memory>
#include <vector>

class QSocketNotifier;
typedef struct _XDisplay Display;

namespace output {
class X11Keyboard;
}

namespace control {

class X11HotKeys : public HotKeyPlatform {
public:
    // Null when no X display can be opened.
    static std::unique_ptr<X11HotKeys> Open();
    ~X11HotKeys() override;

    bool RegisterHotKey(int id, int modifiers, int virtualKey) override;
    void UnregisterHotKey(int id) override;

private:
    explicit X11HotKeys(std::unique_ptr<output::X11Keyboard> keyboard);
    // The X modifier masks of this server's Alt and lock keys.
    void ReadModifierMasks();
    // mods plus each combination of the lock masks.
    std::vector<unsigned> Variants(unsigned mods) const;
    // Grabs every variant; on a refusal of any, gives back the others and
    // returns false.
    bool Grab(unsigned keycode, unsigned mods);
    void Ungrab(unsigned keycode, unsigned mods);
    // Handles every event the connection holds.
    void ProcessEvents();
    // Events Xlib read while waiting for a reply stay in its queue, where
    // the socket notifier does not see them: they are handled from the event
    // loop right after.
    void ProcessQueuedEventsSoon();

    struct Registration {
        int id;
        unsigned keycode;
        unsigned mods;
    };

    std::unique_ptr<output::X11Keyboard> keyboard_; // the connection and the layout's keycodes
    Display* dpy_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::vector<Registration> registrations_;
    unsigned altMask_ = 0;
    std::vector<unsigned> lockMasks_;
    unsigned allLocks_ = 0;
    bool processing_ = false;
};

} // namespace control

#pragma once
// Another X client for tests, on the display DISPLAY names: it presses keys
// through XTest as a user would, locks and unlocks Num Lock and Caps Lock,
// and grabs key combinations as another program would.

#include <chrono>
#include <string>
#include <vector>

typedef struct _XDisplay Display;

namespace testsupport {

class XTestClient {
public:
    XTestClient();
    ~XTestClient();
    XTestClient(const XTestClient&) = delete;
    XTestClient& operator=(const XTestClient&) = delete;

    bool connected() const { return dpy_ != nullptr; }

    // Presses the keys, named by their keysyms ("Alt_L", "Shift_L", "F5") or
    // by the keyboard's name of a physical key ("<FK13>"), in order and
    // releases them in reverse: the combination of a hot key.
    void Press(const std::vector<std::string>& keys);
    // Locks or unlocks a lock key ("Num_Lock", "Caps_Lock"); true once the
    // server shows it so.
    bool SetLock(const std::string& key, bool on);
    // The X modifier mask that a key ("Shift_L", "Alt_L", "Num_Lock") sets.
    unsigned ModifierMask(const std::string& key);

    // Grabs key with exactly mods on the root window, as a program holding a
    // hot key does; false when another client holds that combination.
    bool Grab(const std::string& key, unsigned mods);
    // True when a press of a combination this client grabbed comes within limit.
    bool WaitGrabbedPress(std::chrono::milliseconds limit);

private:
    unsigned Keycode(const std::string& key);
    Display* dpy_ = nullptr;
};

} // namespace testsupport

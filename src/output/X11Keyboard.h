#pragma once
// Keys typed through XTest on the current keyboard layout. A character is
// typed with the keycode and level that produce it on that layout, so "y",
// "z", "@" and accented letters come out right on German or French layouts;
// characters that need AltGr get it around their key.

#include "output/Keyboard.h"
#include "output/WindowSystem.h"

#include <bitset>
#include <map>
#include <memory>
#include <utility>

typedef struct _XDisplay Display;

namespace output {

class X11Keyboard : public Keyboard {
public:
    // Null when the display cannot be opened.
    static std::unique_ptr<X11Keyboard> Open();
    ~X11Keyboard() override;

    int VkKeyScan(unsigned char c) override;
    void KeyEvent(int vk, bool release) override;
    bool CapsLockOn() override;
    void SetCapsLock(bool on) override;

    Display* display() const { return dpy_; }

    // The virtual key of an X keycode (what its unshifted level types), or 0.
    int VirtualKeyFor(unsigned keycode);
    // The X keycode that a virtual key presses, or 0.
    unsigned KeycodeFor(int vk) {
        bool level3 = false;
        return KeycodeForVk(vk, level3);
    }

private:
    explicit X11Keyboard(Display* dpy) : dpy_(dpy) {}
    // The keycode and shift level (0..3) of keysym in the current group.
    bool FindKey(unsigned long keysym, unsigned& keycode, int& level);
    unsigned KeycodeForVk(int vk, bool& level3);
    // The keycode of the key the keyboard description names so ("FK13"), or 0.
    unsigned KeycodeOfKeyName(const char* name);
    // Sends one key event; a press of a key that was pressed or released
    // since the last pause first waits until the server's clock has moved
    // on, so that no press shares a server timestamp with an earlier event
    // of its key.
    void FakeKey(unsigned keycode, bool press);

    Display* dpy_;
    std::map<int, std::pair<unsigned, bool>> byVk_; // allocated vk -> (keycode, AltGr)
    std::map<std::pair<unsigned, bool>, int> vkByKey_;
    int nextVk_ = 0;
    std::bitset<256> usedInThisMs_; // keycodes pressed or released since the last pause
};

// Top-level windows of the X server: the window manager's stacking list when
// there is one, else the root window's children. Every call that names a
// window runs under an X error trap: the window may have closed since it was
// found, and that must not end the program.
class X11WindowSystem : public WindowSystem {
public:
    explicit X11WindowSystem(Display* dpy) : dpy_(dpy) {}
    std::vector<WindowId> TopLevelWindows() override;
    std::string Caption(WindowId w) override;
    WindowId ForegroundWindow() override;
    bool Activate(WindowId w) override;
    bool FocusIsIn(WindowId w) override;
    bool IsIconic(WindowId w) override;
    void Restore(WindowId w) override;
    void Show(WindowId w) override;
    void Minimize(WindowId w) override;

private:
    Display* dpy_;
};

} // namespace output

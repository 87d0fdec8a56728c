#pragma once
// The keyboard as the keystroke sender sees it: virtual-key codes (the codes
// stored in configuration files), synthetic key events and the Caps Lock
// state. Backends: X11Keyboard (XTest on the current layout), UsKeyboard (a
// built-in US layout that types nothing, for dry runs) and the recording
// fake in the tests.

#include <cstdint>
#include <string>
#include <vector>

namespace output {

class Keyboard {
public:
    virtual ~Keyboard() = default;
    // The virtual key that types character c on the current layout in the
    // low byte, with bit 8 set when Shift is needed; -1 when no key types it.
    virtual int VkKeyScan(unsigned char c) = 0;
    // A press or release of a virtual key.
    virtual void KeyEvent(int vk, bool release) = 0;
    virtual bool CapsLockOn() = 0;
    virtual void SetCapsLock(bool on) = 0;
};

// Space and the control characters every layout types the same way: their
// virtual key (Ctrl+letter codes carry the Ctrl bit 0x200), or -1 for any
// other character.
int CommonVkKeyScan(unsigned char c);

// The US layout without a device: VkKeyScan as a US keyboard answers it, and
// key events are recorded instead of typed.
class UsKeyboard : public Keyboard {
public:
    struct Event {
        int vk;
        bool release;
        bool operator==(const Event&) const = default;
    };
    std::vector<Event> events;
    bool capsLock = false;
    std::vector<bool> capsChanges;

    int VkKeyScan(unsigned char c) override;
    void KeyEvent(int vk, bool release) override { events.push_back({vk, release}); }
    bool CapsLockOn() override { return capsLock; }
    void SetCapsLock(bool on) override {
        capsLock = on;
        capsChanges.push_back(on);
    }
};

} // namespace output

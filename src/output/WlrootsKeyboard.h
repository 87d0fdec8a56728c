#pragma once
// Keys typed on a wlroots compositor (sway, Hyprland, labwc, river, Wayfire)
// through a virtual keyboard (zwp_virtual_keyboard_v1) that carries Corvane's
// own keymap (WlrootsKeymap): a US keyboard whose spare keys are given the
// other characters of a record as they are needed, so that every character
// arrives whatever layout the user's keyboard has.
//
// The compositor takes the modifier state from us rather than from the keys,
// so Shift, Ctrl and Alt, and the Caps Lock and Num Lock locks, are kept
// here and sent with every change. The keyboard's locks are its own: the
// user's Caps Lock does not change what is typed, and Num Lock starts on, as
// on most desktops, so that {NUMPAD1} types 1.
//
// Every event is stamped by KeyStamps: no press of a key shares a
// millisecond with an earlier event of that key.

#include "output/KeyPacing.h"
#include "output/Keyboard.h"
#include "output/WlrootsConnection.h"
#include "output/WlrootsKeymap.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct zwp_virtual_keyboard_v1;

namespace output {

class WlrootsKeyboard : public Keyboard {
public:
    // A virtual keyboard on the connection's seat, with its keymap sent.
    // Null, with why in words for the user, when the compositor offers none.
    static std::unique_ptr<WlrootsKeyboard> Open(WlrootsConnection& connection, std::string& why);
    ~WlrootsKeyboard() override;

    int VkKeyScan(unsigned char c) override;
    void KeyEvent(int vk, bool release) override;
    bool CapsLockOn() override { return (locked_ & WlrootsKeymap::LockMask) != 0; }
    void SetCapsLock(bool on) override;

    // A seat that had no keyboard before ours gets one now, and programs
    // take a moment to ask for its keys: keys sent before they have asked
    // are lost. The first key waits this long after the keyboard was made.
    static constexpr int NewSeatKeyboardSettleMs = 250;

private:
    WlrootsKeyboard(WlrootsConnection& connection, zwp_virtual_keyboard_v1* keyboard)
        : connection_(connection), keyboard_(keyboard) {}
    bool UploadKeymap(std::string& why);
    void SendModifiers();
    // The evdev code that vk presses now (placing a character on a spare key
    // and sending the keymap again when needed), or 0.
    unsigned CodeFor(int vk);
    static std::uint32_t NowMs();

    WlrootsConnection& connection_;
    zwp_virtual_keyboard_v1* keyboard_;
    WlrootsKeymap keymap_;
    KeyStamps stamps_;
    std::uint32_t depressed_ = 0;
    std::uint32_t locked_ = WlrootsKeymap::NumLockMask;
    std::map<unsigned char, int> vkByChar_; // characters beyond US ASCII
    std::map<int, unsigned char> charByVk_;
    std::map<int, std::size_t> downOnSpare_; // vk -> spare key while it is down
    std::uint32_t readyAt_ = 0;
    bool waitForReady_ = false;
};

} // namespace output

#pragma once
// The runtime's global hot keys: the hot-key table of a configuration, the
// action a hot key runs, and the registration and release of the used slots
// with the platform. Up to 50 slots; a slot whose key byte is 0 is unused
// and never reaches the platform.

#include "config/Config.h"
#include "control/HotKeyPlatform.h"
#include "control/RuntimeControl.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace control {

// HotKeyAction: what a hot key does.
enum HotKeyActions : int {
    NoAction = 0,
    TransmitString = 1,
    IssueBreak = 2,
    ToggleDtr = 3,
    EnableTimer = 4,
    DisableTimer = 5,
    RaiseDtr = 6,
    LowerDtr = 7,
    RaiseRts = 8,
    LowerRts = 9,
    ResetInput = 10,
    SuspendInput = 11,
    ResumeInput = 12,
    ResumeForOneRecord = 13,
};

// The captions of actions 0..13 in the order the hot-key editor lists them.
// Two hold a double blank ("Enable  Timer", "Enable  Corvane"): that is how
// they have always read.
const std::array<std::string_view, 14>& HotKeyActionCaptions();

// HotKeyCode's high byte.
inline constexpr int HotKeyShift = 1, HotKeyCtrl = 2, HotKeyAlt = 4;

// The platform modifiers of a HotKeyCode: Shift gives ModShift, Ctrl
// ModControl, Alt ModAlt. Other bits of the high byte are ignored.
int PlatformModifiers(int hotKeyCode);

struct HotKey {
    int slot = 0;       // 0..49, also the identifier the platform is given
    int virtualKey = 0; // low byte of HotKeyCode; 0 = unused slot
    int modifiers = 0;  // ModAlt | ModControl | ModShift
    int action = NoAction;
    std::string text; // HotKeyData: the bytes "Transmit String" sends
    bool operator==(const HotKey&) const = default;
};

// Two used slots with the same key and modifiers: the platform gives a
// combination to one of them only, so the other would never run. The first
// such pair in slot order (first < second), or nothing.
struct DuplicateHotKey {
    int first = 0;
    int second = 0;
    bool operator==(const DuplicateHotKey&) const = default;
};
std::optional<DuplicateHotKey>
FindDuplicateHotKey(const config::HotKeyArray<config::Integer>& codes);

// The hot key of one slot (0..49), as the configuration holds it now.
HotKey HotKeyFor(const config::Config& cfg, int slot);
// The used slots (key byte not 0), in slot order.
std::vector<HotKey> HotKeyTable(const config::Config& cfg);

// Carries out a hot key's action. On the virtual device the line actions
// (BREAK, the DTR toggle, DTR and RTS up or down) do nothing, while every
// other action works as on a port ("Transmit String" only queues, as always).
// Actions outside 1..13 do nothing.
void RunHotKeyAction(const HotKey& hotKey, RuntimeControl& runtime);

// Registration bookkeeping. Presses run their action at once, also while a
// tick waits inside a delivery that pumps events: every action only queues
// output, sets a flag of the runtime state, drives a line or purges the
// port, none of which the waiting tick relies on (the record being typed has
// been copied already, the byte loop checks the suspension after each byte,
// and a purge also drops the bytes read ahead). None of them pumps events or
// starts a tick, so a press is never handled inside another.
class HotKeys {
public:
    // Takes the platform's presses for as long as it lives.
    HotKeys(const config::Config& cfg, RuntimeControl& runtime, HotKeyPlatform& platform);
    ~HotKeys();
    HotKeys(const HotKeys&) = delete;
    HotKeys& operator=(const HotKeys&) = delete;

    // Start-up: registers every used slot, the slot number as its identifier.
    // A refused slot is kept as such in HotKeyRegistered, without a word.
    void Register();
    // Unloading and reload: releases every slot whose registration succeeded.
    void Release();

    // A press of slot: its action, read from the configuration now. A slot
    // that is not registered (a press that was on its way while the hot keys
    // were released) does nothing.
    void Pressed(int slot);

    // The display names ("ALT+CTRL+F5") of the registered slots with action.
    std::vector<std::string> RegisteredNames(int action) const;

    // Per slot: true while the platform holds it for this runtime.
    std::array<bool, config::NumHotKeys> HotKeyRegistered{};

private:
    const config::Config& cfg_;
    RuntimeControl& runtime_;
    HotKeyPlatform& platform_;
};

} // namespace control

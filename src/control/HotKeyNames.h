#pragma once
// Names of hot keys as the hot-key editor shows them: the key list of its
// picker, each name with the virtual key it stands for, and a hot key's
// display name, built as "ALT+", "CTRL+", "SHIFT+" (always in that order)
// followed by the key's name, as in ALT+CTRL+F5.

#include <string>
#include <string_view>
#include <vector>

namespace control {

struct HotKeyKey {
    std::string_view name;
    int virtualKey; // 0 for "None": no hot key
};

// The picker's keys in the order it lists them: "None", "SPACE", "ENTER", ...
// "F1" to "F16", "NumPad 0" to "NumPad 9", "Gray *" ... "Gray /" (the "Gray"
// keys are those of the numeric keypad).
const std::vector<HotKeyKey>& HotKeyKeyList();

// The picker's name of a virtual key. Letters, digits and the punctuation
// keys of a US keyboard, which a configuration may hold although the picker
// does not offer them, are named by their characters ("A", ";"); any other
// key by its number, as "Key 7".
std::string HotKeyKeyName(int virtualKey);

// The display name of a HotKeyCode; "None" when its key byte is 0.
std::string HotKeyDisplayName(int hotKeyCode);

// Ctrl+Alt with F1 to F12 (without Shift) switches a Linux desktop to a text
// console: the desktop takes the combination before any program
// sees it, so such a hot key is kept but never runs.
bool IsConsoleSwitchKey(int hotKeyCode);
// What is said of such combinations, by their display names: "ALT+CTRL+F5
// switches the desktop to a text console on Linux: ... will not reach
// Corvane."
std::string ConsoleSwitchWarning(const std::vector<std::string>& names);

} // namespace control

#include "control/HotKeyNames.h"

#include "control/HotKeys.h"

namespace control {

const std::vector<HotKeyKey>& HotKeyKeyList() {
    static const std::vector<HotKeyKey> list = [] {
        // "BREAK" is the Pause/Break key (virtual key 19), the key a user
        // means when choosing it alone; "PRTSC" is Print Screen (44).
        std::vector<HotKeyKey> keys = {
            {"None", 0},        {"SPACE", 32},  {"ENTER", 13}, {"BACKSPACE", 8}, {"TAB", 9},
            {"INSERT", 45},     {"DELETE", 46}, {"UP", 38},    {"DOWN", 40},     {"RIGHT", 39},
            {"LEFT", 37},       {"HOME", 36},   {"END", 35},   {"PGDN", 34},     {"PGUP", 33},
            {"ESCAPE", 27},     {"BREAK", 19},  {"CLEAR", 12}, {"CAPSLOCK", 20}, {"NUMLOCK", 144},
            {"SCROLLOCK", 145}, {"PRTSC", 44},
        };
        static const char* const functionKeys[] = {"F1",  "F2",  "F3",  "F4",  "F5",  "F6",
                                                   "F7",  "F8",  "F9",  "F10", "F11", "F12",
                                                   "F13", "F14", "F15", "F16"};
        for (int i = 0; i < 16; ++i)
            keys.push_back({functionKeys[i], 112 + i});
        static const char* const numPad[] = {"NumPad 0", "NumPad 1", "NumPad 2", "NumPad 3",
                                             "NumPad 4", "NumPad 5", "NumPad 6", "NumPad 7",
                                             "NumPad 8", "NumPad 9"};
        for (int i = 0; i < 10; ++i)
            keys.push_back({numPad[i], 96 + i});
        keys.insert(
            keys.end(),
            {{"Gray *", 106}, {"Gray +", 107}, {"Gray -", 109}, {"Gray .", 110}, {"Gray /", 111}});
        return keys;
    }();
    return list;
}

namespace {

// Keys the picker does not offer but a configuration may hold: letters and
// digits are their own virtual keys, and the punctuation keys carry the codes
// of their place on a US keyboard. They are named by their characters.
const std::vector<HotKeyKey>& OtherKeyNames() {
    static const std::vector<HotKeyKey> list = [] {
        std::vector<HotKeyKey> keys;
        static const char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
        for (const char& c : std::string_view(letters))
            keys.push_back({std::string_view(&c, 1), static_cast<unsigned char>(c)});
        static const char punctuation[] = ";=,-./`[\\]'";
        static const int punctuationKeys[] = {186, 187, 188, 189, 190, 191,
                                              192, 219, 220, 221, 222};
        for (std::size_t i = 0; i < std::size(punctuationKeys); ++i)
            keys.push_back({std::string_view(&punctuation[i], 1), punctuationKeys[i]});
        return keys;
    }();
    return list;
}

} // namespace

std::string HotKeyKeyName(int virtualKey) {
    for (const auto* list : {&HotKeyKeyList(), &OtherKeyNames()})
        for (const HotKeyKey& key : *list)
            if (key.virtualKey == virtualKey)
                return std::string(key.name);
    return "Key " + std::to_string(virtualKey);
}

std::string HotKeyDisplayName(int hotKeyCode) {
    const int key = hotKeyCode & 0xFF;
    if (key == 0)
        return "None";
    const int high = (hotKeyCode >> 8) & 0xFF;
    std::string name;
    if (high & HotKeyAlt)
        name += "ALT+";
    if (high & HotKeyCtrl)
        name += "CTRL+";
    if (high & HotKeyShift)
        name += "SHIFT+";
    return name + HotKeyKeyName(key);
}

bool IsConsoleSwitchKey(int hotKeyCode) {
    constexpr int F1 = 112, F12 = 123;
    const int key = hotKeyCode & 0xFF;
    // With Shift added the keyboard map gives the plain function key again.
    const int modifiers = (hotKeyCode >> 8) & (HotKeyShift | HotKeyCtrl | HotKeyAlt);
    return key >= F1 && key <= F12 && modifiers == (HotKeyCtrl | HotKeyAlt);
}

std::string ConsoleSwitchWarning(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i)
        list += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    const bool one = names.size() == 1;
    return list + (one ? " switches" : " switch") +
           " the desktop to a text console on Linux: the desktop takes " + (one ? "it" : "them") +
           " before any program sees " + (one ? "it, so this hot key" : "them, so these hot keys") +
           " will not reach Corvane.";
}

} // namespace control

#pragma once
// The keymap that the wlroots keystroke backend uploads with its virtual
// keyboard. A Wayland compositor hands each program the keymap of the
// keyboard that typed, so Corvane's keys mean what this keymap says whatever
// layout the user's own keyboard has: the keys of a US keyboard at their
// usual places (so that shortcuts and programs that look at key positions
// behave as with a real keyboard), Num Lock on the keypad as on a PC, and a
// few spare keys that carry, as needed, the characters a US keyboard lacks
// (é, ß, µ, ° and the rest of Latin-1).

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace output {

class WlrootsKeymap {
public:
    // The spare keys: evdev codes that no keyboard gives a meaning (195 to
    // 199) and the Japanese input keys, which other layouts leave unused.
    // None is a key a compositor binding is likely to use.
    static constexpr std::array<unsigned, 12> SpareCodes = {195, 196, 197, 198, 199, 85,
                                                            89,  90,  91,  92,  93,  94};

    // The evdev code of a virtual key on the US part of the keymap, or 0.
    static unsigned CodeOf(int vk);

    // The keymap in XKB text, with character c on spare key i for each
    // entry (0 for a free spare key). Empty, with why, when libxkbcommon
    // refuses it (its data files missing).
    std::string Text(std::string& why) const;

    // The spare key that carries character c, or nullopt.
    std::optional<std::size_t> SpareFor(unsigned char c) const;
    // Puts c on a spare key, replacing the character used longest ago
    // (never one in keep); its index. The keymap has to be uploaded again.
    std::size_t PlaceOnSpare(unsigned char c, const std::vector<std::size_t>& keep);
    // The evdev code of spare key i.
    static unsigned SpareCode(std::size_t i) { return SpareCodes[i]; }
    // Marks spare key i as just used.
    void Touch(std::size_t i) { used_[i] = ++uses_; }

    // The modifier masks of the keymap (the same for every keymap made here).
    static constexpr std::uint32_t ShiftMask = 1u << 0, LockMask = 1u << 1, ControlMask = 1u << 2,
                                   AltMask = 1u << 3, NumLockMask = 1u << 4;

private:
    std::array<unsigned char, SpareCodes.size()> spare_{};
    std::array<std::uint64_t, SpareCodes.size()> used_{};
    std::uint64_t uses_ = 0;
};

} // namespace output

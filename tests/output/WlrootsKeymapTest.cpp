// The keymap the wlroots backend uploads, read back with libxkbcommon as a
// Wayland program reads it: every character of US ASCII on the key and level
// the sender presses for it, the characters beyond it on spare keys, and the
// locks on the keys that toggle them.

#include "output/WlrootsKeymap.h"
#include "output/Keyboard.h"

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <memory>

namespace {

// A program's view of an uploaded keymap.
class ProgramView {
public:
    explicit ProgramView(const std::string& text) {
        context_ = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        keymap_ = xkb_keymap_new_from_string(context_, text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                             XKB_KEYMAP_COMPILE_NO_FLAGS);
        if (keymap_)
            state_ = xkb_state_new(keymap_);
    }
    ~ProgramView() {
        if (state_)
            xkb_state_unref(state_);
        if (keymap_)
            xkb_keymap_unref(keymap_);
        xkb_context_unref(context_);
    }
    bool ok() const { return state_ != nullptr; }
    // The character the evdev key types with the given modifiers, as UTF-32.
    std::uint32_t Types(unsigned code, std::uint32_t depressed, std::uint32_t locked = 0) {
        xkb_state_update_mask(state_, depressed, 0, locked, 0, 0, 0);
        return xkb_state_key_get_utf32(state_, code + 8);
    }
    xkb_keysym_t Symbol(unsigned code, std::uint32_t locked) {
        xkb_state_update_mask(state_, 0, 0, locked, 0, 0, 0);
        return xkb_state_key_get_one_sym(state_, code + 8);
    }

private:
    xkb_context* context_ = nullptr;
    xkb_keymap* keymap_ = nullptr;
    xkb_state* state_ = nullptr;
};

} // namespace

TEST(WlrootsKeymap, EveryUsAsciiCharacterComesFromTheKeyTheSenderPresses) {
    output::WlrootsKeymap keymap;
    std::string why;
    const std::string text = keymap.Text(why);
    ASSERT_FALSE(text.empty()) << why;
    ProgramView program(text);
    ASSERT_TRUE(program.ok());
    output::UsKeyboard us;
    for (int c = 0x20; c < 0x7F; ++c) {
        const int vk = us.VkKeyScan(static_cast<unsigned char>(c));
        ASSERT_NE(vk, -1) << c;
        const unsigned code = output::WlrootsKeymap::CodeOf(vk & 0xFF);
        ASSERT_NE(code, 0u) << "no key for " << static_cast<char>(c);
        const std::uint32_t shift = (vk & 0x100) ? output::WlrootsKeymap::ShiftMask : 0;
        EXPECT_EQ(program.Types(code, shift), static_cast<std::uint32_t>(c))
            << static_cast<char>(c);
    }
    // Caps Lock makes capitals of letters only; Num Lock makes digits of the
    // keypad.
    const unsigned a = output::WlrootsKeymap::CodeOf('A');
    const unsigned one = output::WlrootsKeymap::CodeOf('1');
    const unsigned pad1 = output::WlrootsKeymap::CodeOf(97);
    EXPECT_EQ(program.Types(a, 0, output::WlrootsKeymap::LockMask), 'A');
    EXPECT_EQ(program.Types(one, 0, output::WlrootsKeymap::LockMask), '1');
    EXPECT_EQ(program.Types(pad1, 0, output::WlrootsKeymap::NumLockMask), '1');
    EXPECT_EQ(program.Symbol(pad1, 0), static_cast<xkb_keysym_t>(XKB_KEY_KP_End));
    EXPECT_EQ(program.Symbol(output::WlrootsKeymap::CodeOf(20), 0),
              static_cast<xkb_keysym_t>(XKB_KEY_Caps_Lock));
}

TEST(WlrootsKeymap, CharactersBeyondAsciiTakeTheSpareKeyUsedLongestAgo) {
    output::WlrootsKeymap keymap;
    const auto spares = output::WlrootsKeymap::SpareCodes.size();
    // Every Latin-1 character beyond ASCII, more than there are spare keys.
    for (int c = 0xA1; c <= 0xFF; ++c) {
        const auto ch = static_cast<unsigned char>(c);
        std::optional<std::size_t> spare = keymap.SpareFor(ch);
        if (!spare)
            spare = keymap.PlaceOnSpare(ch, {});
        std::string why;
        ProgramView program(keymap.Text(why));
        ASSERT_TRUE(program.ok()) << why;
        EXPECT_EQ(program.Types(output::WlrootsKeymap::SpareCode(*spare), 0),
                  static_cast<std::uint32_t>(c));
    }
    // The last ones placed are still there; a held key is never taken.
    EXPECT_TRUE(keymap.SpareFor(0xFF));
    EXPECT_FALSE(keymap.SpareFor(0xA1));
    const std::size_t held = *keymap.SpareFor(0xFF - spares + 1); // the one used longest ago
    const std::size_t placed = keymap.PlaceOnSpare(0xE9, {held});
    EXPECT_NE(placed, held);
    EXPECT_TRUE(keymap.SpareFor(0xFF - spares + 1));
    EXPECT_FALSE(keymap.SpareFor(0xFF - spares + 2));
}

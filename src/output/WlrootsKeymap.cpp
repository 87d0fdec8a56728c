#include "output/WlrootsKeymap.h"

#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace output {

namespace {

struct Key {
    int vk;
    unsigned code; // evdev
    const char* type;
    const char* symbols;
};

// The US keyboard by virtual key. Letters follow Caps Lock (ALPHABETIC), the
// keypad follows Num Lock (KEYPAD).
const Key UsKeys[] = {
    {'A', 30, "ALPHABETIC", "a, A"},
    {'B', 48, "ALPHABETIC", "b, B"},
    {'C', 46, "ALPHABETIC", "c, C"},
    {'D', 32, "ALPHABETIC", "d, D"},
    {'E', 18, "ALPHABETIC", "e, E"},
    {'F', 33, "ALPHABETIC", "f, F"},
    {'G', 34, "ALPHABETIC", "g, G"},
    {'H', 35, "ALPHABETIC", "h, H"},
    {'I', 23, "ALPHABETIC", "i, I"},
    {'J', 36, "ALPHABETIC", "j, J"},
    {'K', 37, "ALPHABETIC", "k, K"},
    {'L', 38, "ALPHABETIC", "l, L"},
    {'M', 50, "ALPHABETIC", "m, M"},
    {'N', 49, "ALPHABETIC", "n, N"},
    {'O', 24, "ALPHABETIC", "o, O"},
    {'P', 25, "ALPHABETIC", "p, P"},
    {'Q', 16, "ALPHABETIC", "q, Q"},
    {'R', 19, "ALPHABETIC", "r, R"},
    {'S', 31, "ALPHABETIC", "s, S"},
    {'T', 20, "ALPHABETIC", "t, T"},
    {'U', 22, "ALPHABETIC", "u, U"},
    {'V', 47, "ALPHABETIC", "v, V"},
    {'W', 17, "ALPHABETIC", "w, W"},
    {'X', 45, "ALPHABETIC", "x, X"},
    {'Y', 21, "ALPHABETIC", "y, Y"},
    {'Z', 44, "ALPHABETIC", "z, Z"},
    {'1', 2, "TWO_LEVEL", "1, exclam"},
    {'2', 3, "TWO_LEVEL", "2, at"},
    {'3', 4, "TWO_LEVEL", "3, numbersign"},
    {'4', 5, "TWO_LEVEL", "4, dollar"},
    {'5', 6, "TWO_LEVEL", "5, percent"},
    {'6', 7, "TWO_LEVEL", "6, asciicircum"},
    {'7', 8, "TWO_LEVEL", "7, ampersand"},
    {'8', 9, "TWO_LEVEL", "8, asterisk"},
    {'9', 10, "TWO_LEVEL", "9, parenleft"},
    {'0', 11, "TWO_LEVEL", "0, parenright"},
    {186, 39, "TWO_LEVEL", "semicolon, colon"},
    {187, 13, "TWO_LEVEL", "equal, plus"},
    {188, 51, "TWO_LEVEL", "comma, less"},
    {189, 12, "TWO_LEVEL", "minus, underscore"},
    {190, 52, "TWO_LEVEL", "period, greater"},
    {191, 53, "TWO_LEVEL", "slash, question"},
    {192, 41, "TWO_LEVEL", "grave, asciitilde"},
    {219, 26, "TWO_LEVEL", "bracketleft, braceleft"},
    {220, 43, "TWO_LEVEL", "backslash, bar"},
    {221, 27, "TWO_LEVEL", "bracketright, braceright"},
    {222, 40, "TWO_LEVEL", "apostrophe, quotedbl"},
    {8, 14, "ONE_LEVEL", "BackSpace"},
    {9, 15, "TWO_LEVEL", "Tab, ISO_Left_Tab"},
    // Clear has no key of its own on a PC keyboard; an unused code carries it.
    {12, 84, "ONE_LEVEL", "Clear"},
    {13, 28, "ONE_LEVEL", "Return"},
    {16, 42, "ONE_LEVEL", "Shift_L"},
    {17, 29, "ONE_LEVEL", "Control_L"},
    {18, 56, "TWO_LEVEL", "Alt_L, Meta_L"},
    {19, 119, "ONE_LEVEL", "Pause"},
    {20, 58, "ONE_LEVEL", "Caps_Lock"},
    {27, 1, "ONE_LEVEL", "Escape"},
    {32, 57, "ONE_LEVEL", "space"},
    {33, 104, "ONE_LEVEL", "Prior"},
    {34, 109, "ONE_LEVEL", "Next"},
    {35, 107, "ONE_LEVEL", "End"},
    {36, 102, "ONE_LEVEL", "Home"},
    {37, 105, "ONE_LEVEL", "Left"},
    {38, 103, "ONE_LEVEL", "Up"},
    {39, 106, "ONE_LEVEL", "Right"},
    {40, 108, "ONE_LEVEL", "Down"},
    {44, 99, "ONE_LEVEL", "Print"},
    {45, 110, "ONE_LEVEL", "Insert"},
    {46, 111, "ONE_LEVEL", "Delete"},
    {47, 138, "ONE_LEVEL", "Help"},
    {96, 82, "KEYPAD", "KP_Insert, KP_0"},
    {97, 79, "KEYPAD", "KP_End, KP_1"},
    {98, 80, "KEYPAD", "KP_Down, KP_2"},
    {99, 81, "KEYPAD", "KP_Next, KP_3"},
    {100, 75, "KEYPAD", "KP_Left, KP_4"},
    {101, 76, "KEYPAD", "KP_Begin, KP_5"},
    {102, 77, "KEYPAD", "KP_Right, KP_6"},
    {103, 71, "KEYPAD", "KP_Home, KP_7"},
    {104, 72, "KEYPAD", "KP_Up, KP_8"},
    {105, 73, "KEYPAD", "KP_Prior, KP_9"},
    {106, 55, "ONE_LEVEL", "KP_Multiply"},
    {107, 78, "ONE_LEVEL", "KP_Add"},
    {109, 74, "ONE_LEVEL", "KP_Subtract"},
    {110, 83, "KEYPAD", "KP_Delete, KP_Decimal"},
    {111, 98, "ONE_LEVEL", "KP_Divide"},
    {112, 59, "ONE_LEVEL", "F1"},
    {113, 60, "ONE_LEVEL", "F2"},
    {114, 61, "ONE_LEVEL", "F3"},
    {115, 62, "ONE_LEVEL", "F4"},
    {116, 63, "ONE_LEVEL", "F5"},
    {117, 64, "ONE_LEVEL", "F6"},
    {118, 65, "ONE_LEVEL", "F7"},
    {119, 66, "ONE_LEVEL", "F8"},
    {120, 67, "ONE_LEVEL", "F9"},
    {121, 68, "ONE_LEVEL", "F10"},
    {122, 87, "ONE_LEVEL", "F11"},
    {123, 88, "ONE_LEVEL", "F12"},
    {124, 183, "ONE_LEVEL", "F13"},
    {125, 184, "ONE_LEVEL", "F14"},
    {126, 185, "ONE_LEVEL", "F15"},
    {127, 186, "ONE_LEVEL", "F16"},
    {144, 69, "ONE_LEVEL", "Num_Lock"},
    {145, 70, "ONE_LEVEL", "Scroll_Lock"},
};

struct ContextDeleter {
    void operator()(xkb_context* c) const { xkb_context_unref(c); }
};
struct KeymapDeleter {
    void operator()(xkb_keymap* k) const { xkb_keymap_unref(k); }
};

std::string KeyName(unsigned code) {
    return "<K" + std::to_string(code) + ">";
}

} // namespace

unsigned WlrootsKeymap::CodeOf(int vk) {
    for (const Key& key : UsKeys)
        if (key.vk == vk)
            return key.code;
    return 0;
}

std::optional<std::size_t> WlrootsKeymap::SpareFor(unsigned char c) const {
    for (std::size_t i = 0; i < spare_.size(); ++i)
        if (c != 0 && spare_[i] == c)
            return i;
    return std::nullopt;
}

std::size_t WlrootsKeymap::PlaceOnSpare(unsigned char c, const std::vector<std::size_t>& keep) {
    std::size_t chosen = spare_.size();
    for (std::size_t i = 0; i < spare_.size(); ++i) {
        if (std::find(keep.begin(), keep.end(), i) != keep.end())
            continue;
        if (chosen == spare_.size() || used_[i] < used_[chosen])
            chosen = i;
    }
    if (chosen == spare_.size())
        chosen = 0; // every spare key is held down: cannot happen with one key at a time
    spare_[chosen] = c;
    Touch(chosen);
    return chosen;
}

std::string WlrootsKeymap::Text(std::string& why) const {
    std::string keycodes, symbols;
    auto add = [&](unsigned code, const char* type, const std::string& syms) {
        keycodes += "    " + KeyName(code) + " = " + std::to_string(code + 8) + ";\n";
        symbols += "    key " + KeyName(code) + " { type = \"" + type + "\", [ " + syms + " ] };\n";
    };
    for (const Key& key : UsKeys)
        add(key.code, key.type, key.symbols);
    for (std::size_t i = 0; i < spare_.size(); ++i) {
        // A Latin-1 character's keysym is its code.
        char sym[16];
        xkb_keysym_get_name(spare_[i] ? spare_[i] : XKB_KEY_NoSymbol, sym, sizeof sym);
        add(SpareCodes[i], "ONE_LEVEL", spare_[i] ? sym : "NoSymbol");
    }
    const std::string text =
        "xkb_keymap {\n"
        "xkb_keycodes \"corvane\" {\n    minimum = 8;\n    maximum = 255;\n" +
        keycodes +
        "    indicator 1 = \"Caps Lock\";\n    indicator 2 = \"Num Lock\";\n};\n"
        "xkb_types \"corvane\" { include \"complete\" };\n"
        "xkb_compatibility \"corvane\" { include \"complete\" };\n"
        "xkb_symbols \"corvane\" {\n" +
        symbols +
        "    modifier_map Shift { <K42> };\n    modifier_map Lock { <K58> };\n"
        "    modifier_map Control { <K29> };\n    modifier_map Mod1 { <K56> };\n"
        "    modifier_map Mod2 { <K69> };\n};\n};\n";
    // Compiled here first: the compositor gets the keymap as libxkbcommon
    // writes it out, complete, with no include left to resolve.
    std::unique_ptr<xkb_context, ContextDeleter> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (!context) {
        why = "libxkbcommon cannot start";
        return "";
    }
    std::unique_ptr<xkb_keymap, KeymapDeleter> keymap(xkb_keymap_new_from_string(
        context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap) {
        why = "libxkbcommon cannot compile Corvane's keymap (are the XKB data files of the "
              "xkb-data package installed?)";
        return "";
    }
    char* compiled = xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1);
    std::string out = compiled ? compiled : "";
    std::free(compiled);
    return out;
}

} // namespace output

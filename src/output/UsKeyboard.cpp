#include "output/Keyboard.h"

#include <cstring>

namespace output {

int UsKeyboard::VkKeyScan(unsigned char c) {
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 'A';
    if (c >= 'A' && c <= 'Z')
        return 0x100 | c;
    if (c >= '0' && c <= '9')
        return c;
    static const char shiftedDigits[] = ")!@#$%^&*(";
    if (const char* p = c ? std::strchr(shiftedDigits, c) : nullptr)
        return 0x100 | ('0' + static_cast<int>(p - shiftedDigits));
    struct Oem {
        char plain, shifted;
        int vk;
    };
    static const Oem oem[] = {{';', ':', 186},  {'=', '+', 187}, {',', '<', 188}, {'-', '_', 189},
                              {'.', '>', 190},  {'/', '?', 191}, {'`', '~', 192}, {'[', '{', 219},
                              {'\\', '|', 220}, {']', '}', 221}, {'\'', '"', 222}};
    for (const auto& k : oem) {
        if (c == static_cast<unsigned char>(k.plain))
            return k.vk;
        if (c == static_cast<unsigned char>(k.shifted))
            return 0x100 | k.vk;
    }
    return CommonVkKeyScan(c);
}

int CommonVkKeyScan(unsigned char c) {
    switch (c) {
    case ' ':
        return 32;
    case '\r':
        return 13;
    case '\t':
        return 9;
    case '\b':
        return 8;
    case 27:
        return 27;
    default:
        break;
    }
    if (c >= 1 && c <= 26)
        return 0x200 | (c + 64); // Ctrl+letter: only the Shift bit is honoured
    return -1;
}

} // namespace output

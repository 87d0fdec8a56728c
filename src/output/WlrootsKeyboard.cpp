#include "output/WlrootsKeyboard.h"

#include "output/KeySender.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <chrono>
#include <sys/mman.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace output {

std::unique_ptr<WlrootsKeyboard> WlrootsKeyboard::Open(WlrootsConnection& connection,
                                                       std::string& why) {
    if (!connection.offer().virtualKeyboard || !connection.keyboards()) {
        why = "the compositor offers no virtual keyboard (zwp_virtual_keyboard_v1): it is not "
              "one built on wlroots";
        return nullptr;
    }
    if (!connection.seat()) {
        why = "the compositor has no seat to type on";
        return nullptr;
    }
    const bool seatHadKeyboard = connection.offer().seatHasKeyboard;
    auto* handle = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(connection.keyboards(),
                                                                           connection.seat());
    std::unique_ptr<WlrootsKeyboard> keyboard(new WlrootsKeyboard(connection, handle));
    if (!keyboard->UploadKeymap(why))
        return nullptr;
    keyboard->SendModifiers();
    if (!connection.Roundtrip() || connection.Broken()) {
        const wl_interface* interface = nullptr;
        wl_display_get_protocol_error(connection.display(), &interface, nullptr);
        why = interface ? std::string("the compositor refused Corvane a virtual keyboard (") +
                              interface->name + " error)"
                        : "the compositor closed the connection when Corvane made its keyboard";
        keyboard->keyboard_ = nullptr; // gone with the connection
        return nullptr;
    }
    if (!seatHadKeyboard) {
        keyboard->waitForReady_ = true;
        keyboard->readyAt_ = NowMs() + NewSeatKeyboardSettleMs;
    }
    return keyboard;
}

WlrootsKeyboard::~WlrootsKeyboard() {
    if (keyboard_ && !connection_.Broken()) {
        zwp_virtual_keyboard_v1_destroy(keyboard_);
        connection_.Flush();
    }
}

std::uint32_t WlrootsKeyboard::NowMs() {
    // The clock of the compositor's own input events: programs compare our
    // stamps with those of the real keyboard and pointer.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1000000);
}

bool WlrootsKeyboard::UploadKeymap(std::string& why) {
    const std::string text = keymap_.Text(why);
    if (text.empty())
        return false;
    const int fd = memfd_create("corvane-keymap", MFD_CLOEXEC);
    if (fd < 0) {
        why = "no memory file for the keymap";
        return false;
    }
    // The size counts the terminating NUL, as compositors send keymaps.
    const std::size_t size = text.size() + 1;
    std::size_t written = 0;
    while (written < size) {
        const ssize_t n = ::write(fd, text.c_str() + written, size - written);
        if (n <= 0)
            break;
        written += static_cast<std::size_t>(n);
    }
    if (written == size)
        zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                       static_cast<std::uint32_t>(size));
    ::close(fd); // the request carries a copy of the descriptor
    if (written != size) {
        why = "the keymap could not be written";
        return false;
    }
    return true;
}

void WlrootsKeyboard::SendModifiers() {
    zwp_virtual_keyboard_v1_modifiers(keyboard_, depressed_, 0, locked_, 0);
}

int WlrootsKeyboard::VkKeyScan(unsigned char c) {
    if (c < 0x80)
        return UsKeyboard().VkKeyScan(c);
    if (c < 0xA0)
        return -1;
    if (auto it = vkByChar_.find(c); it != vkByChar_.end())
        return it->second;
    // A code of its own for each character beyond ASCII, from the codes that
    // name no key of the US keyboard (nor Shift, Ctrl, Alt or "no key").
    for (int vk = 1; vk < 255; ++vk) {
        if (vk == VkShift || vk == VkControl || vk == VkMenu || WlrootsKeymap::CodeOf(vk) != 0 ||
            charByVk_.count(vk))
            continue;
        vkByChar_[c] = vk;
        charByVk_[vk] = c;
        return vk;
    }
    return -1;
}

unsigned WlrootsKeyboard::CodeFor(int vk) {
    if (unsigned code = WlrootsKeymap::CodeOf(vk))
        return code;
    auto it = charByVk_.find(vk);
    if (it == charByVk_.end())
        return 0;
    if (auto down = downOnSpare_.find(vk); down != downOnSpare_.end())
        return WlrootsKeymap::SpareCode(down->second);
    std::optional<std::size_t> spare = keymap_.SpareFor(it->second);
    if (!spare) {
        std::vector<std::size_t> keep;
        for (const auto& [downVk, index] : downOnSpare_)
            keep.push_back(index);
        spare = keymap_.PlaceOnSpare(it->second, keep);
        std::string why;
        if (!UploadKeymap(why))
            return 0;
        // A new keymap starts the compositor's state afresh.
        SendModifiers();
    }
    keymap_.Touch(*spare);
    return WlrootsKeymap::SpareCode(*spare);
}

void WlrootsKeyboard::KeyEvent(int vk, bool release) {
    if (!keyboard_ || connection_.Broken())
        return;
    const unsigned code = CodeFor(vk);
    if (code == 0)
        return;
    if (waitForReady_) {
        while (static_cast<std::int32_t>(readyAt_ - NowMs()) > 0) {
            connection_.Dispatch();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        waitForReady_ = false;
    }
    if (charByVk_.count(vk)) {
        if (release)
            downOnSpare_.erase(vk);
        else if (auto spare = keymap_.SpareFor(charByVk_[vk]))
            downOnSpare_[vk] = *spare;
    }
    const std::uint32_t now = NowMs();
    const std::uint32_t stamp = stamps_.Stamp(code, !release, now);
    if (const std::uint32_t wait = KeyStamps::WaitBefore(stamp, now))
        std::this_thread::sleep_for(std::chrono::milliseconds(wait));
    zwp_virtual_keyboard_v1_key(keyboard_, stamp, code,
                                release ? WL_KEYBOARD_KEY_STATE_RELEASED
                                        : WL_KEYBOARD_KEY_STATE_PRESSED);
    std::uint32_t held = 0;
    if (vk == VkShift)
        held = WlrootsKeymap::ShiftMask;
    else if (vk == VkControl)
        held = WlrootsKeymap::ControlMask;
    else if (vk == VkMenu)
        held = WlrootsKeymap::AltMask;
    if (held) {
        depressed_ = release ? depressed_ & ~held : depressed_ | held;
        SendModifiers();
    } else if (!release && (vk == 20 || vk == 144)) {
        locked_ ^= vk == 20 ? WlrootsKeymap::LockMask : WlrootsKeymap::NumLockMask;
        SendModifiers();
    }
    connection_.Flush();
}

void WlrootsKeyboard::SetCapsLock(bool on) {
    if (!keyboard_ || connection_.Broken())
        return;
    locked_ = on ? locked_ | WlrootsKeymap::LockMask : locked_ & ~WlrootsKeymap::LockMask;
    SendModifiers();
    connection_.Flush();
}

} // namespace output

// `corvane keys [--dry-run] [--window TITLE] [--delay MS] [--keyboard NAME]
// STRING`: parses a keystroke string and types it through the session's
// keystroke backend (into the window whose caption contains TITLE, when
// given). --dry-run prints one line per key event instead; it uses the
// backend's layout when one opens and a US layout otherwise. The exit status
// is the parser's code (0 to 5); a session that cannot type or a window that
// cannot be found is reported on standard error with status 1.

#include "app/Commands.h"
#include "app/Help.h"
#include "app/KeystrokeBackend.h"
#include "engine/PosixClock.h"
#include "output/KeySender.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

namespace app {

namespace {

// Answers layout questions from another keyboard and records the events.
class DryRunKeyboard : public output::Keyboard {
public:
    explicit DryRunKeyboard(output::Keyboard& layout) : layout_(layout) {}
    int VkKeyScan(unsigned char c) override { return layout_.VkKeyScan(c); }
    void KeyEvent(int vk, bool release) override {
        std::cout << (release ? "up " : "down ") << vk << '\n';
    }
    bool CapsLockOn() override { return false; }
    void SetCapsLock(bool) override {}

private:
    output::Keyboard& layout_;
};

// A terminal passes "é" as UTF-8; the keystroke notation is Latin-1, as in
// configuration files. A valid UTF-8 string of Latin-1 characters is taken
// as those characters; anything else is taken byte for byte.
std::string Latin1FromTerminal(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if ((c == 0xC2 || c == 0xC3) && i + 1 < text.size() &&
                   (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) {
            out += static_cast<char>(((c & 0x03) << 6) |
                                     (static_cast<unsigned char>(text[++i]) & 0x3F));
        } else {
            return text;
        }
    }
    return out;
}

} // namespace

int CmdKeys(const Args& args) {
    bool dryRun = false;
    std::optional<std::string> title, text;
    long delay = 1;
    output::KeyboardBackend forced = output::KeyboardBackend::Auto;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--dry-run")
            dryRun = true;
        else if (args[i] == "--keyboard" && i + 1 < args.size()) {
            auto backend = output::ParseKeyboardBackend(args[++i]);
            if (!backend)
                return UsageError("keys");
            forced = *backend;
        } else if (args[i] == "--window" && i + 1 < args.size())
            title = args[++i];
        else if (args[i] == "--delay" && i + 1 < args.size())
            delay = std::strtol(args[++i].c_str(), nullptr, 10);
        else if (!text)
            text = args[i];
        else
            return UsageError("keys"); // one STRING only (it may begin with "-")
    }
    if (!text) {
        return UsageError("keys");
    }
    text = Latin1FromTerminal(*text);
    engine::PosixClock clock;
    // Without an event loop, the pauses between keys simply sleep.
    auto sleep = [](int maxWaitMs) {
        std::this_thread::sleep_for(std::chrono::milliseconds(maxWaitMs));
        return true;
    };
    const std::unique_ptr<KeystrokeBackend> backend = OpenKeystrokeBackend(forced);
    output::Keyboard* typing = backend->keyboard();
    if (dryRun) {
        output::UsKeyboard us;
        DryRunKeyboard keyboard(typing ? *typing : us);
        output::KeySender sender(keyboard, clock, sleep);
        return sender.SimSendKeys(*text, 0);
    }
    std::vector<std::uint16_t> queue;
    output::UsKeyboard layoutCheck;
    if (!typing) {
        int code = output::ParseKeyString(*text, layoutCheck, queue);
        if (code != output::KeysOk)
            return code;
        std::cerr << "corvane keys: nothing can type in this session: " << backend->choice.why
                  << '\n';
        return 1;
    }
    if (title) {
        output::WindowSystem& windows = *backend->windows();
        output::Activation activation = output::ActivateTargetApp(*title, windows);
        output::WindowId target = activation.window;
        if (!target) {
            std::cerr << "corvane keys: no window's caption contains \"" << *title << "\"\n";
            return 1;
        }
        if (!windows.FocusIsIn(target)) {
            if (!activation.requested)
                windows.Activate(target);
            if (output::WaitUntilInFront(windows, target, clock, sleep) !=
                output::FrontWait::InFront) {
                std::cerr << "corvane keys: the window \"" << windows.Caption(target)
                          << "\" did not come to the front; nothing was typed\n";
                return 1;
            }
        }
    }
    output::KeySender sender(*typing, clock, sleep);
    const int code = sender.SimSendKeys(*text, delay);
    // Everything sent is handled before the keyboard goes away with the
    // program.
    if (backend->wayland)
        backend->wayland->Roundtrip();
    return code;
}

} // namespace app

// `corvane keys [--dry-run] [--window TITLE] [--delay MS] STRING`: parses a
// keystroke string and types it (into the window whose caption contains
// TITLE, when given). --dry-run prints one line per key event instead; it
// uses the X layout when a display is available and a US layout otherwise.
// The exit status is the parser's code (0 to 5); a display or window that
// cannot be found is reported on standard error with status 1.

#include "app/Commands.h"
#include "app/Help.h"
#include "engine/PosixClock.h"
#include "output/KeySender.h"
#include "output/X11Keyboard.h"

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

} // namespace

int CmdKeys(const Args& args) {
    bool dryRun = false;
    std::optional<std::string> title, text;
    long delay = 1;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--dry-run")
            dryRun = true;
        else if (args[i] == "--window" && i + 1 < args.size())
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
    engine::PosixClock clock;
    // Without an event loop, the pauses between keys simply sleep.
    auto sleep = [](int maxWaitMs) {
        std::this_thread::sleep_for(std::chrono::milliseconds(maxWaitMs));
        return true;
    };
    std::unique_ptr<output::X11Keyboard> x11 =
        std::getenv("DISPLAY") ? output::X11Keyboard::Open() : nullptr;
    if (dryRun) {
        output::UsKeyboard us;
        DryRunKeyboard keyboard(x11 ? static_cast<output::Keyboard&>(*x11) : us);
        output::KeySender sender(keyboard, clock, sleep);
        return sender.SimSendKeys(*text, 0);
    }
    std::vector<std::uint16_t> queue;
    output::UsKeyboard layoutCheck;
    if (!x11) {
        int code = output::ParseKeyString(*text, layoutCheck, queue);
        if (code != output::KeysOk)
            return code;
        std::cerr << "corvane keys: cannot open the X display"
                  << (std::getenv("WAYLAND_DISPLAY") ? " (keystrokes cannot reach native "
                                                       "Wayland windows)"
                                                     : "")
                  << '\n';
        return 1;
    }
    if (title) {
        output::X11WindowSystem windows(x11->display());
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
    output::KeySender sender(*x11, clock, sleep);
    return sender.SimSendKeys(*text, delay);
}

} // namespace app

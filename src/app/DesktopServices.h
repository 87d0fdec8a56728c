#pragma once
// What this program gives every runtime, with or without its window: the
// termios port (opened again when its device comes back), keystrokes through
// the backend the session offers (XTest on X11, the wlroots virtual keyboard
// on sway and its kin; KeystrokeBackend), the session bus for the DDE server
// and links, and X11 hot keys. HeadlessRuntime and WindowedRuntime hand these to the
// shared runtime.

#include "app/KeystrokeBackend.h"
#include "config/Config.h"
#include "config/MessageSink.h"
#include "config/SettingsStore.h"
#include "control/DdeClient.h"
#include "control/DdeServer.h"
#include "control/HotKeyPlatform.h"
#include "engine/Clock.h"
#include "output/BrokerSettings.h"
#include "output/KeySender.h"
#include "output/KeystrokeDispatch.h"
#include "output/PosixProgramLauncher.h"
#include "serial/Port.h"

#include <QSocketNotifier>

#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace app {

// The user's home folder ($HOME), under which the runtime keeps log files
// named the Windows way ("C:\Corvane.Log"); empty when HOME is not set.
inline std::string HomeFolder() {
    const char* home = std::getenv("HOME");
    return home ? home : "";
}

// Where a runtime reads from: the virtual device, or a port (the one its COM
// name is mapped to unless portPath names another).
struct RuntimeOptions {
    bool virtualDevice = false;
    std::optional<std::string> portPath;
    bool trend = false; // the trend window opens with the runtime window
    output::BrokerOverrides broker; // --mqtt and its companions
    // The keystroke backend forced with --keyboard; without it, the one
    // chosen in Preferences, else the session's own.
    std::optional<output::KeyboardBackend> keyboard;
};

class DesktopServices {
public:
    // stopping tells the keystroke waits (a target coming to the front, a
    // started program) that the runtime is closing or soon will: they end
    // then. caption is the runtime's caption, the title of messages.
    DesktopServices(config::MessageSink& messages, config::SettingsStore& store,
                    engine::Clock& clock, std::function<bool()> stopping,
                    std::function<std::string()> caption);

    // The device to open instead of the one the COM name is mapped to.
    void SetPortPath(std::optional<std::string> path) { portPath_ = std::move(path); }
    void SetKeyboardBackend(std::optional<output::KeyboardBackend> forced) { forced_ = forced; }

    std::unique_ptr<serial::Port> OpenPort(config::Config& cfg);
    output::KeystrokeDelivery* Keystrokes(config::Config& cfg);
    std::unique_ptr<control::DdeClient> NewDdeClient();
    std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler& handler);
    std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform();

    // The keystroke delivery, once made: the window tells it its own window.
    output::KeystrokeDispatch* keystrokes() { return keystrokes_.get(); }
    // The window of the keystroke backend that shows the program's own
    // window titled title (X11: the X window xid), or 0.
    output::WindowId OwnWindow(const std::string& title, output::WindowId xid);

private:
    config::MessageSink& messages_;
    config::SilentMessageSink silentMessages_;
    config::SettingsStore& store_;
    engine::Clock& clock_;
    std::optional<std::string> portPath_;
    std::function<bool()> stopping_;
    std::function<std::string()> caption_;
    std::optional<output::KeyboardBackend> forced_;
    std::unique_ptr<KeystrokeBackend> backend_;
    // The compositor's events are read as they come, between the runtime's
    // ticks, so that its window list stays current.
    std::unique_ptr<QSocketNotifier> waylandEvents_;
    output::PosixProgramLauncher launcher_;
    std::unique_ptr<output::KeySender> sender_;
    std::unique_ptr<output::KeystrokeDispatch> keystrokes_;
};

} // namespace app

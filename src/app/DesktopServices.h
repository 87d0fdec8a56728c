#pragma once
// What this program gives every runtime, with or without its window: the
// termios port (opened again when its device comes back), XTest keystrokes
// when there is an X display, the session bus for the DDE server and links,
// and X11 hot keys. HeadlessRuntime and WindowedRuntime hand these to the
// shared runtime.

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
#include "output/X11Keyboard.h"
#include "serial/Port.h"

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

    std::unique_ptr<serial::Port> OpenPort(config::Config& cfg);
    output::KeystrokeDelivery* Keystrokes(config::Config& cfg);
    std::unique_ptr<control::DdeClient> NewDdeClient();
    std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler& handler);
    std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform();

    // The keystroke delivery, once made: the window tells it its own window.
    output::KeystrokeDispatch* keystrokes() { return keystrokes_.get(); }

private:
    config::MessageSink& messages_;
    config::SilentMessageSink silentMessages_;
    config::SettingsStore& store_;
    engine::Clock& clock_;
    std::optional<std::string> portPath_;
    std::function<bool()> stopping_;
    std::function<std::string()> caption_;
    std::unique_ptr<output::X11Keyboard> keyboard_;
    std::unique_ptr<output::X11WindowSystem> windows_;
    output::PosixProgramLauncher launcher_;
    std::unique_ptr<output::KeySender> sender_;
    std::unique_ptr<output::KeystrokeDispatch> keystrokes_;
};

} // namespace app

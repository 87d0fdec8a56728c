#pragma once
// The runtime without windows: the shared runtime on a real port or on the
// virtual device (standard input and output), ticked by a 50 ms timer of the
// Qt event loop. It gives the runtime what this program has: the termios
// port, XTest keystrokes and X11 hot keys when there is a display, the
// session bus, and standard error for messages.

#include "app/ArrivalWatcher.h"
#include "app/BrokerService.h"
#include "app/DesktopServices.h"
#include "config/MessageSink.h"
#include "config/QtSettingsStore.h"
#include "control/Clipboard.h"
#include "engine/PosixClock.h"
#include "runtime/Runtime.h"

#include <QSocketNotifier>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace app {

// Without a window, the window commands of other programs ("{APPNORMAL}",
// "{APPMINIMIZE}") are accepted and do nothing, and there is no clipboard.
class HeadlessRuntime : private runtime::RuntimePlatform {
public:
    explicit HeadlessRuntime(config::MessageSink& messages);
    ~HeadlessRuntime() override;

    // Loads the configuration, opens the port (or the virtual device) and
    // starts the timer. False, after the message, when that fails.
    bool Activate(const std::string& file, const RuntimeOptions& options);

    // Closes the runtime in order (output flushed, lines lowered, port
    // closed) once the tick in progress, if any, is over. Records that could
    // not be logged are written to standard error, and the exit status
    // becomes 1.
    void RequestStop() { runtime_.RequestStop(); }

    // Called once the runtime has closed, with the program's exit status.
    std::function<void(int)> onFinished;

private:
    void Tick();
    void ReadStandardInput();

    std::unique_ptr<serial::Port> OpenPort(config::Config& cfg) override {
        return desktop_.OpenPort(cfg);
    }
    void VirtualDeviceOutput(const std::string& bytes) override;
    output::KeystrokeDelivery* Keystrokes(config::Config& cfg) override {
        return desktop_.Keystrokes(cfg);
    }
    std::unique_ptr<control::DdeClient> NewDdeClient() override { return desktop_.NewDdeClient(); }
    std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler& handler) override {
        return desktop_.NewDdeBus(handler);
    }
    std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform() override {
        return desktop_.NewHotKeyPlatform();
    }
    void ShowNormal() override {}
    void Minimize() override {}
    void Reloaded() override { broker_.Reloaded(); }
    void Closed(int exitStatus) override;

    config::MessageSink& messages_;
    config::Config cfg_;
    config::QtSettingsStore store_;
    engine::PosixClock clock_;
    control::NoClipboard clipboard_;
    DesktopServices desktop_;
    QTimer timer_;
    bool virtualDevice_ = false;
    bool inputEnded_ = false;
    int stdinFlags_ = -1;
    // Last, so that it goes first: its Exit needs the parts above.
    runtime::Runtime runtime_;
    ArrivalWatcher arrivals_{runtime_};
    // Standard input of the virtual device, read as it arrives.
    std::unique_ptr<QSocketNotifier> stdinNotifier_;
    BrokerService broker_{runtime_, messages_, clock_};
};

} // namespace app

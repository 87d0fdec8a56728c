#pragma once
// The runtime without windows: the configuration activated on a real port or
// on the virtual device (standard input and output), driven by a 50 ms timer
// of the Qt event loop.

#include "config/Config.h"
#include "config/QtSettingsStore.h"
#include "control/Clipboard.h"
#include "control/DbusClient.h"
#include "control/DbusServer.h"
#include "control/DdeRuntime.h"
#include "control/HotKeys.h"
#include "control/RuntimeControl.h"
#include "control/RuntimeHost.h"
#include "control/X11HotKeys.h"
#include "runtime/Acquisition.h"
#include "engine/PosixClock.h"
#include "engine/RuntimeState.h"
#include "output/KeySender.h"
#include "output/KeystrokeDispatch.h"
#include "output/RecordDispatch.h"
#include "output/X11Keyboard.h"
#include "serial/Port.h"
#include "serial/VirtualPort.h"

#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace app {

struct HeadlessOptions {
    bool virtualDevice = false;
    std::optional<std::string> portPath;
};

// Without a window, the window commands of other programs ("{APPNORMAL}",
// "{APPMINIMIZE}") are accepted and do nothing, and there is no clipboard.
class HeadlessRuntime : public control::RuntimeHost {
public:
    explicit HeadlessRuntime(config::MessageSink& messages);
    ~HeadlessRuntime() override;

    // Loads the configuration, opens the port (or the virtual device) and
    // starts the timer. False, after the message, when that fails.
    bool Activate(const std::string& file, const HeadlessOptions& options);

    // Closes the runtime in order: output flushed, lines lowered, port closed.
    // Records that could not be logged are written to standard error, and the
    // exit status becomes 1.
    void Exit();

    // Called once the runtime has closed, with the program's exit status.
    std::function<void(int)> onFinished;

private:
    void Tick();
    void ReadStandardInput();
    // At the end of the virtual device's input: true once every record is
    // finished, or the log has been retried for a few seconds in vain.
    bool InputFinished();
    void ReportUnwrittenRecords();
    std::string RuntimeCaptionFor() const;
    void StartKeystrokes();

    // The DDE side (HeadlessDde.cpp): the server on the session bus, the
    // client links and the target command.
    void StartDde();
    void StopDde();
    void ShowNormal() override {}
    void Minimize() override {}
    void ReloadConfiguration(const std::string& file) override;
    // Runs a reload asked for by "{CONFIG(", from the tick's start.
    void Reload();

    // The hot keys (HeadlessHotKeys.cpp), taken on the X display when the
    // configuration has any, and given back at exit and reload.
    void StartHotKeys();
    void StopHotKeys();
    // What a runtime that starts suspended says: how input is resumed.
    std::string SuspendedMessage() const;

    config::MessageSink& messages_;
    config::SilentMessageSink silentMessages_;
    config::Config cfg_;
    config::QtSettingsStore store_;
    engine::Locale locale_;
    engine::PosixClock clock_;
    engine::RuntimeState state_;
    output::FileLogWriter logWriter_;
    std::unique_ptr<output::RecordDispatch> dispatch_;
    std::unique_ptr<serial::Port> port_;
    serial::VirtualPort* virtualPort_ = nullptr;
    std::unique_ptr<runtime::Acquisition> acquisition_;
    std::unique_ptr<output::X11Keyboard> keyboard_;
    std::unique_ptr<output::X11WindowSystem> windows_;
    std::unique_ptr<output::KeySender> sender_;
    std::unique_ptr<output::KeystrokeDispatch> keystrokes_;
    std::unique_ptr<control::CoreRuntimeControl> control_;
    control::NoClipboard clipboard_;
    std::unique_ptr<control::DbusClient> ddeClient_;
    std::unique_ptr<control::DdeRuntime> dde_;
    std::unique_ptr<control::DbusServer> ddeServer_;
    std::string servedName_;
    std::unique_ptr<control::X11HotKeys> hotKeyPlatform_;
    std::unique_ptr<control::HotKeys> hotKeys_;
    bool noHotKeyDisplay_ = false; // said once, not again at a reload
    std::optional<std::string> pendingReload_;
    QTimer timer_;
    bool inputEnded_ = false;
    std::optional<std::int32_t> logWaitSince_;
    bool exiting_ = false;
    int exitStatus_ = 0;
    int stdinFlags_ = -1;
};

} // namespace app

#pragma once
// One running configuration, the same with or without a window: its port (or
// the virtual device), the acquisition loop, the record dispatch, the DDE
// side and the hot keys, wired together and started, ticked, reloaded and
// closed in their order. What only the program around it can provide (the
// port backend, the keystroke sender, the bus, the X display, the window) it
// asks of a RuntimePlatform, so `corvane run --headless` and the runtime
// window run configurations in exactly one way.
//
// The runtime works on the program's one configuration record, not on a
// copy: what it changes while it runs (a reloaded file and its name, a
// pasted link, the timed output set by a command, the target caption learned
// at a launch) is what the setup window shows, and saves, afterwards.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "config/SettingsStore.h"
#include "control/Clipboard.h"
#include "control/DdeClient.h"
#include "control/DdeRuntime.h"
#include "control/DdeServer.h"
#include "control/HotKeyPlatform.h"
#include "control/HotKeys.h"
#include "control/RuntimeHost.h"
#include "engine/Clock.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"
#include "output/KeystrokeDelivery.h"
#include "output/RecordDispatch.h"
#include "runtime/Acquisition.h"
#include "runtime/CoreRuntimeControl.h"
#include "serial/Port.h"
#include "serial/VirtualPort.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace runtime {

class RuntimePlatform {
public:
    virtual ~RuntimePlatform() = default;

    // The configuration's port for a normal run, open with its line
    // settings, or null after the message when it cannot be opened.
    virtual std::unique_ptr<serial::Port> OpenPort(config::Config& cfg) = 0;
    // What the program sends to the virtual device's instrument.
    virtual void VirtualDeviceOutput(const std::string& bytes) = 0;
    // The Send Keystrokes delivery, kept by the platform; null, after the
    // platform has said why, when nothing can be typed here.
    virtual output::KeystrokeDelivery* Keystrokes(config::Config& cfg) = 0;
    // The DDE side: a client for links and target commands, and the bus for
    // the server (null when there is no session bus).
    virtual std::unique_ptr<control::DdeClient> NewDdeClient() = 0;
    virtual std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler& handler) = 0;
    // The system-wide hot keys, or null when there is no display to take
    // them on.
    virtual std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform() = 0;
    // The runtime window's commands ("{APPNORMAL}", "{APPMINIMIZE}").
    virtual void ShowNormal() = 0;
    virtual void Minimize() = 0;
    // A reload has put another configuration in force: what shows it is to
    // be built again.
    virtual void Reloaded() {}
    // The runtime begins to close: nothing is read from here on, so what it
    // still has to say (records that could not be logged) may wait for the
    // user.
    virtual void Closing() {}
    // The runtime has closed: no more ticks; the program may end with
    // exitStatus.
    virtual void Closed(int exitStatus) = 0;
};

struct RuntimeParts {
    RuntimePlatform& platform;
    config::Config& cfg; // the program's configuration record
    config::MessageSink& messages;
    engine::Clock& clock;
    config::SettingsStore& store;
    control::Clipboard& clipboard;
    engine::Locale locale;
    std::string home; // where a log file with a relative name goes
};

class Runtime : private control::RuntimeHost {
public:
    explicit Runtime(const RuntimeParts& parts);
    ~Runtime() override;
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    // Activation of the configuration record as it is (the setup window's,
    // changes not saved yet included): opens the port, or the virtual
    // device, and starts everything in order: the loop, the keystroke
    // delivery, the DDE server and links, the hot keys. The caller then
    // ticks it every 50 ms. False, after the message, when the port cannot
    // be opened; also false when the runtime was closed while a message of
    // the start waited for the user; it has then told the platform.
    bool RunNormal();
    bool RunVirtual();
    // The same after loading file into the record (false, after the
    // message, when it cannot be read).
    bool RunNormal(const std::string& file);
    bool RunVirtual(const std::string& file);

    // The 50 ms tick: a reload asked for by "{CONFIG(" first, then the loop.
    // At the end of the virtual device's input the pending records are
    // finished as "{APPEXIT}" would.
    void Tick();

    // Bytes have arrived at the port (its ArrivalHandle became readable):
    // records that end on a byte are framed and delivered now rather than at
    // the next tick (a reload asked for comes first, as on a tick).
    void InputArrived();
    // What the platform watches for arriving bytes: the port's handle, or
    // -1 while nothing is to be read between ticks (the virtual device,
    // records ending on a pause, input suspended, a tick in progress).
    int ArrivalHandle() const;

    // Bytes the virtual device's instrument sent (framed at once, as bytes
    // arriving at a port), and the end of them.
    void VirtualInput(std::string_view bytes);
    void EndOfVirtualInput() { inputEnded_ = true; }
    // Bytes given to the virtual device and not taken by the loop yet.
    std::size_t VirtualInputWaiting() const { return virtualPort_ ? virtualPort_->Unread() : 0; }

    // Suspend or resume input (the window's menu, a hot key, a command).
    void ToggleSuspend();

    // Unloading, in order: hot keys and DDE given back, queued output sent,
    // records that could not be logged reported (the exit status becomes 1),
    // the port closed; then the platform is told. Once only.
    void Exit();
    // A stop asked for from outside (a signal, the window's close box): at
    // once between ticks; from inside a tick (an event pumped while a record
    // is typed or a program starts) once that tick is over, which the
    // tick's waits see in StopRequested and end early for.
    void RequestStop();
    bool Closing() const { return exiting_; }
    // The runtime is closing or will close soon: asked to stop, or told to
    // exit by "{APPEXIT}" (also at the end of the virtual device's input,
    // once its records are handled). Waits inside a tick end at this.
    bool StopRequested() const;

    // What a headless runtime that starts suspended says: how input is
    // resumed.
    std::string SuspendedMessage() const;
    std::string Caption() const;

    // What a window shows: every change of an item ("Field(2)",
    // "RecordNumber", "DateTime") with its text, and every change of the
    // suspension (the caption and the menu follow it).
    std::function<void(const std::string& item, const std::string& text)> itemChanged;
    std::function<void()> suspendChanged;
    // Adds a reader of every record delivered, in every transfer mode;
    // readers are called in the order they were added (nothing is gathered
    // for them while there is none).
    void OnRecordDelivered(std::function<void(const output::DeliveredRecord&)> hook);

    config::Config& cfg() { return cfg_; }
    engine::RuntimeState& state() { return state_; }
    control::RuntimeControl& control() { return *control_; }
    control::DdeRuntime* dde() { return dde_.get(); }

private:
    bool Run(const std::string& file, bool virtualDevice);
    // Runs a step of the loop (the tick, or what arrived between ticks) as
    // a tick runs: a reload asked for first, and a stop asked for meanwhile
    // after it. False when the runtime has closed (or the step was skipped,
    // inside a tick).
    bool Drive(void (Acquisition::*step)());
    bool Start(bool virtualDevice);
    // Names the console-switch combinations among the registered hot keys
    // that were not named before.
    void WarnAboutConsoleKeys();
    void StartDde();
    void StopDde();
    void StartHotKeys();
    void StopHotKeys();
    // At the end of the virtual device's input: true once every record is
    // finished, or the log has been retried for a few seconds in vain.
    bool InputFinished();
    void ReportUnwrittenRecords();

    // The host side of a DDE command.
    void ShowNormal() override { platform_.ShowNormal(); }
    void Minimize() override { platform_.Minimize(); }
    void ReloadConfiguration(const std::string& file) override;
    void Reload();

    RuntimePlatform& platform_;
    config::MessageSink& messages_;
    engine::Clock& clock_;
    config::SettingsStore& store_;
    control::Clipboard& clipboard_;
    engine::Locale locale_;
    std::string home_;

    config::Config& cfg_;
    engine::RuntimeState state_;
    output::FileLogWriter logWriter_;
    std::unique_ptr<output::RecordDispatch> dispatch_;
    std::unique_ptr<serial::Port> port_;
    serial::VirtualPort* virtualPort_ = nullptr;
    std::unique_ptr<Acquisition> acquisition_;
    std::unique_ptr<CoreRuntimeControl> control_;
    output::KeystrokeDelivery* keystrokes_ = nullptr;
    std::unique_ptr<control::DdeClient> ddeClient_;
    std::unique_ptr<control::DdeRuntime> dde_;
    std::unique_ptr<control::DdeBus> ddeBus_;
    std::string servedName_;
    std::unique_ptr<control::HotKeyPlatform> hotKeyPlatform_;
    std::unique_ptr<control::HotKeys> hotKeys_;
    bool noHotKeyDisplay_ = false; // said once, not again at a reload
    std::vector<std::string> consoleKeysNamed_;
    std::vector<std::function<void(const output::DeliveredRecord&)>> recordReaders_;
    std::function<void(const output::DeliveredRecord&)> recordDelivered_; // calls them all
    std::optional<std::string> pendingReload_;
    bool inputEnded_ = false;
    bool stopRequested_ = false;
    std::optional<std::int32_t> logWaitSince_;
    bool exiting_ = false;
    int exitStatus_ = 0;
};

// Reads the configuration a runtime (or the Port Test window) activates;
// false, after the message, when it cannot be read or is none.
bool LoadActivationFile(config::Config& cfg, const std::string& file,
                        config::MessageSink& messages);

} // namespace runtime

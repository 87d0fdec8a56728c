#pragma once
// The runtime with its window: the shared runtime ticked by a 50 ms timer,
// shown in the runtime window (and, on the virtual device, the virtual
// serial device window beside it), with the desktop's clipboard. Closing the
// window closes the runtime in order. The trend window opens from the
// runtime window's View menu (or at the start); once open it takes every
// delivered record until the runtime closes, also while it is hidden.
//
// While the runtime runs, its messages (a device lost and back, no session
// bus, a log that cannot be written, a program that cannot start) are boxes
// that do not wait: the port is read on the same thread, and a box that
// waited for a click would stop the reading. Once the runtime closes, what it
// still says (records that could not be logged) waits for the user.

#include "app/ArrivalWatcher.h"
#include "app/BrokerService.h"
#include "app/DesktopServices.h"
#include "config/QtSettingsStore.h"
#include "engine/PosixClock.h"
#include "runtime/Runtime.h"
#include "trend/PosixWallClock.h"
#include "ui/QtClipboard.h"
#include "ui/QtMessageSink.h"
#include "ui/RuntimeWindow.h"
#include "ui/TrendWindow.h"
#include "ui/VirtualDeviceWindow.h"

#include <QTimer>

#include <functional>
#include <memory>

namespace app {

class WindowedRuntime : private runtime::RuntimePlatform {
public:
    // The runtime works on cfg, the program's configuration record.
    explicit WindowedRuntime(config::Config& cfg);
    ~WindowedRuntime() override;

    // Loads file into the configuration record, activates it and shows the
    // window; false when the configuration or its port cannot be opened (no
    // window then, and the message is still up: WaitForMessages).
    bool Activate(const std::string& file, const RuntimeOptions& options);
    // The configuration record as it is (the setup window's).
    bool Activate(const RuntimeOptions& options);
    // A signal, the setup window closing: the runtime closes in order, once
    // the tick in progress (if any) is over.
    void RequestStop() { runtime_.RequestStop(); }
    // Runs the event loop until every message box of the runtime is closed.
    void WaitForMessages() { messages_.WaitUntilAllClosed(); }
    // Leaves the message boxes up after this runtime is gone.
    void LeaveMessagesUp() { messages_.ReleaseAll(); }

    // Once the runtime has closed and its window is gone.
    std::function<void(int)> onFinished;

    ui::RuntimeWindow* window() const { return window_.get(); }
    ui::VirtualDeviceWindow* virtualDevice() const { return virtual_.get(); }
    // Opens the trend window (made the first time), or brings it to the front.
    void ShowTrend();
    ui::TrendWindow* trend() const { return trend_.get(); }
    runtime::Runtime& runtime() { return runtime_; }

private:
    bool Activate(const RuntimeOptions& options, const std::function<bool()>& run);

    std::unique_ptr<serial::Port> OpenPort(config::Config& cfg) override {
        return desktop_.OpenPort(cfg);
    }
    void VirtualDeviceOutput(const std::string& bytes) override;
    output::KeystrokeDelivery* Keystrokes(config::Config& cfg) override;
    std::unique_ptr<control::DdeClient> NewDdeClient() override { return desktop_.NewDdeClient(); }
    std::unique_ptr<control::DdeBus> NewDdeBus(control::DdeServerHandler& handler) override {
        return desktop_.NewDdeBus(handler);
    }
    std::unique_ptr<control::HotKeyPlatform> NewHotKeyPlatform() override {
        return desktop_.NewHotKeyPlatform();
    }
    void ShowNormal() override;
    void Minimize() override;
    void Reloaded() override;
    void Closing() override;
    void Closed(int exitStatus) override;

    ui::QtMessageSink messages_;
    config::QtSettingsStore store_;
    engine::PosixClock clock_;
    ui::QtClipboard clipboard_;
    DesktopServices desktop_;
    QTimer timer_;
    std::unique_ptr<ui::RuntimeWindow> window_;
    std::unique_ptr<ui::VirtualDeviceWindow> virtual_;
    std::string pendingOutput_; // sent before the virtual device window exists
    trend::PosixWallClock wallClock_;
    std::unique_ptr<ui::TrendWindow> trend_;
    runtime::Runtime runtime_;
    ArrivalWatcher arrivals_{runtime_};
    BrokerService broker_{runtime_, messages_, clock_};
};

} // namespace app

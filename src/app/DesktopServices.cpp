#include "app/DesktopServices.h"

#include "app/Headless.h"
#include "control/DbusClient.h"
#include "control/DbusServer.h"
#include "control/X11HotKeys.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "serial/ReconnectingPort.h"

#include <QDBusConnection>

#include <cstdlib>

namespace app {

DesktopServices::DesktopServices(config::MessageSink& messages, config::SettingsStore& store,
                                 engine::Clock& clock, std::function<bool()> stopping,
                                 std::function<std::string()> caption)
    : messages_(messages), store_(store), clock_(clock), stopping_(std::move(stopping)),
      caption_(std::move(caption)) {}

std::unique_ptr<serial::Port> DesktopServices::OpenPort(config::Config& cfg) {
    std::string device = serial::DevicePathFor(cfg, store_, portPath_);
    auto port = serial::OpenPosixPort(cfg, device, messages_, clock_);
    if (!port)
        return nullptr;
    // Messages of reopening attempts are not shown: the loss itself is reported.
    auto reopen = [this, &cfg, device]() {
        return serial::OpenPosixPort(cfg, device, silentMessages_, clock_);
    };
    return std::make_unique<serial::ReconnectingPort>(
        std::move(port), reopen, config::PortName(cfg) + " (" + device + ")", messages_, clock_);
}

output::KeystrokeDelivery* DesktopServices::Keystrokes(config::Config& cfg) {
    waylandEvents_.reset();
    backend_ = OpenKeystrokeBackend(forced_.value_or(output::StoredKeyboardBackend(store_)));
    if (!backend_->keyboard()) {
        messages_.Show({output::NoKeystrokesMessage(backend_->choice), caption_(),
                        config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        return nullptr;
    }
    if (output::WlrootsConnection* wayland = backend_->wayland.get()) {
        waylandEvents_ = std::make_unique<QSocketNotifier>(wayland->Fd(), QSocketNotifier::Read);
        // A compositor that went away (or closed our connection) is said
        // once; its socket, readable for good then, is no longer watched.
        QObject::connect(waylandEvents_.get(), &QSocketNotifier::activated, [this, wayland] {
            if (wayland->Dispatch())
                return;
            waylandEvents_->setEnabled(false);
            messages_.Show({"The Wayland compositor closed Corvane's connection: records are "
                            "counted but no longer typed. Start the runtime again.",
                            caption_(), config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
        });
    }
    // SIGTERM, the window's Exit and "{APPEXIT}" reach the runtime through
    // the pumped events: the waits end with them.
    auto pump = [this](int maxWaitMs) {
        PumpEvents(maxWaitMs);
        return !stopping_();
    };
    sender_ = std::make_unique<output::KeySender>(*backend_->keyboard(), clock_, pump);
    keystrokes_ = std::make_unique<output::KeystrokeDispatch>(cfg, *backend_->windows(), launcher_,
                                                              *sender_, messages_, clock_, pump);
    return keystrokes_.get();
}

output::WindowId DesktopServices::OwnWindow(const std::string& title, output::WindowId xid) {
    if (backend_ && backend_->wlrootsWindows)
        return backend_->wlrootsWindows->FindByTitle(title);
    return xid;
}

std::unique_ptr<control::DdeClient> DesktopServices::NewDdeClient() {
    return std::make_unique<control::DbusClient>();
}

std::unique_ptr<control::DdeBus> DesktopServices::NewDdeBus(control::DdeServerHandler& handler) {
    if (!QDBusConnection::sessionBus().isConnected())
        return nullptr;
    return std::make_unique<control::DbusServer>(handler);
}

std::unique_ptr<control::HotKeyPlatform> DesktopServices::NewHotKeyPlatform() {
    // A connection of their own: the keystroke sender's exists only in Send
    // Keystrokes mode, and its events are not ours.
    return control::X11HotKeys::Open();
}

} // namespace app

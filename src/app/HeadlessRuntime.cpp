#include "app/HeadlessRuntime.h"

#include "app/Headless.h"
#include "control/DbusClient.h"
#include "control/DbusServer.h"
#include "control/X11HotKeys.h"
#include "engine/ProcessLocale.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "serial/ReconnectingPort.h"

#include <QDBusConnection>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace app {

namespace {

constexpr std::size_t MaxReadPerTick = 1 << 16;

std::string Home() {
    const char* home = std::getenv("HOME");
    return home ? home : "";
}

} // namespace

HeadlessRuntime::HeadlessRuntime(config::MessageSink& messages)
    : messages_(messages),
      runtime_({*this, messages, clock_, store_, clipboard_, engine::ReadProcessLocale(), Home()}) {}

HeadlessRuntime::~HeadlessRuntime() {
    if (stdinFlags_ >= 0)
        ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_);
}

bool HeadlessRuntime::Activate(const std::string& file, const HeadlessOptions& options) {
    portPath_ = options.portPath;
    virtualDevice_ = options.virtualDevice;
    if (virtualDevice_) {
        stdinFlags_ = ::fcntl(STDIN_FILENO, F_GETFL);
        if (stdinFlags_ >= 0)
            ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_ | O_NONBLOCK);
    }
    if (!(virtualDevice_ ? runtime_.RunVirtual(file) : runtime_.RunNormal(file)))
        return false;
    QObject::connect(&timer_, &QTimer::timeout, [this] { Tick(); });
    timer_.start(50);
    return true;
}

void HeadlessRuntime::Tick() {
    ReadStandardInput();
    runtime_.Tick();
}

void HeadlessRuntime::ReadStandardInput() {
    if (!virtualDevice_ || inputEnded_ || runtime_.Closing())
        return;
    char buffer[8192];
    std::size_t total = 0;
    while (total < MaxReadPerTick) {
        ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n > 0) {
            runtime_.VirtualInput(std::string_view(buffer, static_cast<std::size_t>(n)));
            total += static_cast<std::size_t>(n);
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            inputEnded_ = true;
            runtime_.EndOfVirtualInput();
            return;
        } else {
            return;
        }
    }
}

std::unique_ptr<serial::Port> HeadlessRuntime::OpenPort(config::Config& cfg) {
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

void HeadlessRuntime::VirtualDeviceOutput(const std::string& bytes) {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
}

output::KeystrokeDelivery* HeadlessRuntime::Keystrokes(config::Config& cfg) {
    keyboard_ = std::getenv("DISPLAY") ? output::X11Keyboard::Open() : nullptr;
    if (!keyboard_) {
        bool waylandOnly = std::getenv("WAYLAND_DISPLAY") && !std::getenv("DISPLAY");
        messages_.Show({waylandOnly ? "This is a Wayland session without X11: keystrokes "
                                      "cannot reach native Wayland windows. Records are counted "
                                      "but not typed."
                                    : "The X display cannot be opened: records are counted but "
                                      "not typed.",
                        runtime_.Caption(), config::MessageIcon::Exclamation,
                        config::MessageButtons::Ok});
        return nullptr;
    }
    windows_ = std::make_unique<output::X11WindowSystem>(keyboard_->display());
    // SIGTERM reaches Exit through the pumped events: the waits end with it.
    auto pump = [this](int maxWaitMs) {
        PumpEvents(maxWaitMs);
        return !runtime_.Closing();
    };
    sender_ = std::make_unique<output::KeySender>(*keyboard_, clock_, pump);
    keystrokes_ = std::make_unique<output::KeystrokeDispatch>(cfg, *windows_, *sender_, messages_,
                                                              clock_, pump);
    return keystrokes_.get();
}

std::unique_ptr<control::DdeClient> HeadlessRuntime::NewDdeClient() {
    return std::make_unique<control::DbusClient>();
}

std::unique_ptr<control::DdeBus> HeadlessRuntime::NewDdeBus(control::DdeServerHandler& handler) {
    if (!QDBusConnection::sessionBus().isConnected())
        return nullptr;
    return std::make_unique<control::DbusServer>(handler);
}

std::unique_ptr<control::HotKeyPlatform> HeadlessRuntime::NewHotKeyPlatform() {
    // A connection of their own: the keystroke sender's exists only in Send
    // Keystrokes mode, and its events are not ours.
    return control::X11HotKeys::Open();
}

void HeadlessRuntime::Closed(int exitStatus) {
    timer_.stop();
    if (onFinished)
        onFinished(exitStatus);
}

} // namespace app

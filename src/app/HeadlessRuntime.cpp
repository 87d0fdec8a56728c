#include "app/HeadlessRuntime.h"

#include "app/Commands.h"
#include "app/Headless.h"
#include "config/ConfigFile.h"
#include "engine/ProcessLocale.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "serial/ReconnectingPort.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace app {

namespace {

constexpr std::size_t MaxReadPerTick = 1 << 16;

// How long the end of the virtual device's input waits for a log file that
// cannot be written (it is retried once a second) before the run ends.
constexpr std::int32_t LogWaitAtEndMs = 3000;

} // namespace

HeadlessRuntime::HeadlessRuntime(config::MessageSink& messages) : messages_(messages) {}

HeadlessRuntime::~HeadlessRuntime() {
    if (stdinFlags_ >= 0)
        ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_);
}

bool HeadlessRuntime::Activate(const std::string& file, const HeadlessOptions& options) {
    if (!LoadActivationFile(cfg_, file, messages_))
        return false;
    locale_ = engine::ReadProcessLocale();

    if (options.virtualDevice) {
        state_.RunMode = engine::VirtualDevice;
        auto port = std::make_unique<serial::VirtualPort>([](const std::string& bytes) {
            std::fwrite(bytes.data(), 1, bytes.size(), stdout);
            std::fflush(stdout);
        });
        virtualPort_ = port.get();
        port_ = std::move(port);
        stdinFlags_ = ::fcntl(STDIN_FILENO, F_GETFL);
        if (stdinFlags_ >= 0)
            ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_ | O_NONBLOCK);
    } else {
        state_.RunMode = engine::Normal;
        std::string device = serial::DevicePathFor(cfg_, store_, options.portPath);
        auto port = serial::OpenPosixPort(cfg_, device, messages_, clock_);
        if (!port)
            return false;
        // Messages of reopening attempts are not shown: the loss itself is reported.
        auto reopen = [this, device]() {
            return serial::OpenPosixPort(cfg_, device, silentMessages_, clock_);
        };
        port_ = std::make_unique<serial::ReconnectingPort>(
            std::move(port), reopen, config::PortName(cfg_) + " (" + device + ")", messages_,
            clock_);
    }

    const std::string stem = "Corvane - " + config::PortName(cfg_);
    if (auto beep = store_.Get(stem, "Settings", "SpecialBeep"))
        state_.SpecialBeep = std::strtol(beep->c_str(), nullptr, 10);

    const char* home = std::getenv("HOME");
    dispatch_ = std::make_unique<output::RecordDispatch>(cfg_, state_, clock_, messages_, locale_,
                                                         logWriter_, home ? home : "");
    acquisition_ = std::make_unique<runtime::Acquisition>(cfg_, state_, *port_, clock_, messages_,
                                                         locale_, *dispatch_);
    dispatch_->cancelLogAction = [this] {
        acquisition_->Reset();
        if (!state_.Suspended)
            acquisition_->ToggleSuspend();
    };
    acquisition_->hooks.exitAction = [this] { Exit(); };
    acquisition_->Activate();
    if (cfg_.TransferMode == config::SendKeystrokes)
        StartKeystrokes();

    QObject::connect(&timer_, &QTimer::timeout, [this] { Tick(); });
    timer_.start(50);
    StartDde();
    StartHotKeys();
    if (state_.Suspended)
        messages_.Show({SuspendedMessage(), RuntimeCaptionFor(), config::MessageIcon::Information,
                        config::MessageButtons::Ok});
    return true;
}

void HeadlessRuntime::StartKeystrokes() {
    keyboard_ = std::getenv("DISPLAY") ? output::X11Keyboard::Open() : nullptr;
    if (!keyboard_) {
        bool waylandOnly = std::getenv("WAYLAND_DISPLAY") && !std::getenv("DISPLAY");
        messages_.Show({waylandOnly ? "This is a Wayland session without X11: keystrokes "
                                      "cannot reach native Wayland windows. Records are counted "
                                      "but not typed."
                                    : "The X display cannot be opened: records are counted but "
                                      "not typed.",
                        RuntimeCaptionFor(), config::MessageIcon::Exclamation,
                        config::MessageButtons::Ok});
        return;
    }
    windows_ = std::make_unique<output::X11WindowSystem>(keyboard_->display());
    // SIGTERM reaches Exit through the pumped events: the waits end with it.
    auto pump = [this](int maxWaitMs) {
        PumpEvents(maxWaitMs);
        return !exiting_;
    };
    sender_ = std::make_unique<output::KeySender>(*keyboard_, clock_, pump);
    keystrokes_ = std::make_unique<output::KeystrokeDispatch>(cfg_, *windows_, *sender_, messages_,
                                                              clock_, pump);
    dispatch_->keystrokes = keystrokes_.get();
}

std::string HeadlessRuntime::RuntimeCaptionFor() const {
    return runtime::RuntimeCaption(cfg_, state_);
}

void HeadlessRuntime::ReadStandardInput() {
    if (!virtualPort_ || inputEnded_)
        return;
    char buffer[8192];
    std::size_t total = 0;
    while (total < MaxReadPerTick) {
        ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n > 0) {
            virtualPort_->VirtualInput.append(buffer, static_cast<std::size_t>(n));
            total += static_cast<std::size_t>(n);
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            inputEnded_ = true;
            return;
        } else {
            return;
        }
    }
}

void HeadlessRuntime::Tick() {
    if (exiting_)
        return;
    if (pendingReload_ && !state_.InTick)
        Reload();
    ReadStandardInput();
    acquisition_->Timer1_Timer();
    if (exiting_)
        return;
    // At the end of the virtual device's input the pending records are
    // finished as "{APPEXIT}" would.
    if (inputEnded_ && state_.ExitCountdown == 0 && InputFinished())
        state_.ExitCountdown = -1;
}

bool HeadlessRuntime::InputFinished() {
    // Suspended input stays unread; a record waiting for its time gap ends first.
    if (virtualPort_->Unread() != 0 || state_.Suspended ||
        (cfg_.EndOfRecordEvent == 1 && state_.RecordActive))
        return false;
    if (!dispatch_->LogPending())
        return true;
    // Records that wait for the log file get a few retries; then the run
    // ends and they go to standard error.
    const std::int32_t now = clock_.TickCount();
    if (!logWaitSince_)
        logWaitSince_ = now;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                     static_cast<std::uint32_t>(*logWaitSince_)) >= LogWaitAtEndMs;
}

void HeadlessRuntime::ReportUnwrittenRecords() {
    const std::deque<std::string> lines = dispatch_->TakeUnwrittenLines();
    if (lines.empty())
        return;
    std::string text = std::to_string(lines.size()) +
                       (lines.size() == 1 ? " record was" : " records were") +
                       " not logged: they could not be written to " + cfg_.LogFileName +
                       ". Here they are, each as its log line:\n";
    for (const std::string& line : lines)
        text += line + "\r\n";
    ReportMessage(RuntimeCaptionFor() + " ERROR!", text);
    exitStatus_ = 1;
}

void HeadlessRuntime::Exit() {
    if (exiting_)
        return;
    exiting_ = true;
    timer_.stop();
    StopDde();
    StopHotKeys();
    if (port_) {
        port_->FlushPendingOutput(state_.PendingOutput);
        if (dispatch_)
            ReportUnwrittenRecords();
        port_->ClosePort();
    }
    if (onFinished)
        onFinished(exitStatus_);
}

} // namespace app

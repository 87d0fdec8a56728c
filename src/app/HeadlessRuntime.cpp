#include "app/HeadlessRuntime.h"

#include "engine/ProcessLocale.h"
#include "serial/PortSettings.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace app {

namespace {

constexpr std::size_t MaxReadPerTick = 1 << 16;

} // namespace

HeadlessRuntime::HeadlessRuntime(config::MessageSink& messages)
    : messages_(messages),
      desktop_(
          messages, store_, clock_, [this] { return runtime_.StopRequested(); },
          [this] { return runtime_.Caption(); }),
      runtime_({*this, cfg_, messages, clock_, store_, clipboard_, engine::ReadProcessLocale(),
                HomeFolder()}) {}

HeadlessRuntime::~HeadlessRuntime() {
    if (stdinFlags_ >= 0)
        ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_);
}

bool HeadlessRuntime::Activate(const std::string& file, const RuntimeOptions& options) {
    desktop_.SetPortPath(options.portPath);
    desktop_.SetKeyboardBackend(options.keyboard);
    virtualDevice_ = options.virtualDevice;
    if (virtualDevice_) {
        stdinFlags_ = ::fcntl(STDIN_FILENO, F_GETFL);
        if (stdinFlags_ >= 0)
            ::fcntl(STDIN_FILENO, F_SETFL, stdinFlags_ | O_NONBLOCK);
    }
    if (!(virtualDevice_ ? runtime_.RunVirtual(file) : runtime_.RunNormal(file)))
        return false;
    broker_.Start(options.broker, virtualDevice_
                                      ? "virtual"
                                      : serial::DevicePathFor(cfg_, store_, options.portPath));
    // Without a window, nothing shows the suspension but this.
    if (runtime_.state().Suspended)
        messages_.Show({runtime_.SuspendedMessage(), runtime_.Caption(),
                        config::MessageIcon::Information, config::MessageButtons::Ok});
    QObject::connect(&timer_, &QTimer::timeout, [this] { Tick(); });
    timer_.start(50);
    arrivals_.Follow();
    if (virtualDevice_) {
        stdinNotifier_ = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(stdinNotifier_.get(), &QSocketNotifier::activated,
                         [this] { ReadStandardInput(); });
    }
    return true;
}

void HeadlessRuntime::Tick() {
    ReadStandardInput();
    runtime_.Tick();
    arrivals_.Follow();
    broker_.Tick();
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
            if (runtime_.Closing())
                return;
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            inputEnded_ = true;
            // The end stays "readable": no more looks.
            if (stdinNotifier_)
                stdinNotifier_->setEnabled(false);
            runtime_.EndOfVirtualInput();
            return;
        } else {
            return;
        }
    }
}

void HeadlessRuntime::VirtualDeviceOutput(const std::string& bytes) {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
}

void HeadlessRuntime::Closed(int exitStatus) {
    timer_.stop();
    arrivals_.Follow(); // the port is closed: nothing to watch
    if (stdinNotifier_)
        stdinNotifier_->setEnabled(false);
    broker_.Stop();
    if (onFinished)
        onFinished(exitStatus);
}

} // namespace app

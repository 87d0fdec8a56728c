#include "app/Headless.h"

#include "app/Commands.h"
#include "config/ConfigFile.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace app {

config::MessageAnswer StderrMessageSink::Show(const config::Message& message) {
    ReportMessage(message.title, message.text);
    switch (message.buttons) {
    case config::MessageButtons::RetryCancel:
        return config::MessageAnswer::Deferred;
    case config::MessageButtons::YesNo:
        return config::MessageAnswer::No;
    case config::MessageButtons::Ok:
        break;
    }
    return config::MessageAnswer::Ok;
}

void PumpEvents(int maxWaitMs) {
    QCoreApplication::processEvents();
    if (maxWaitMs <= 0)
        return;
    QEventLoop idle;
    QTimer::singleShot(maxWaitMs, &idle, [] {});
    idle.processEvents(QEventLoop::WaitForMoreEvents);
}

namespace {

// The write end of the self-pipe; a signal handler can only reach it through
// a static. It is set by the one SignalWatcher and cleared when it goes.
volatile int signalPipeWriteEnd = -1;

extern "C" void ForwardSignal(int signal) {
    int fd = signalPipeWriteEnd;
    if (fd >= 0) {
        unsigned char byte = static_cast<unsigned char>(signal);
        [[maybe_unused]] ssize_t n = ::write(fd, &byte, 1);
    }
}

} // namespace

SignalWatcher::SignalWatcher(std::function<void(int)> onSignal) : onSignal_(std::move(onSignal)) {
    if (::pipe2(fds_, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    signalPipeWriteEnd = fds_[1];
    notifier_ = std::make_unique<QSocketNotifier>(fds_[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        unsigned char byte = 0;
        while (::read(fds_[0], &byte, 1) == 1)
            onSignal_(byte);
    });
    struct sigaction action {};
    action.sa_handler = ForwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

SignalWatcher::~SignalWatcher() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    signalPipeWriteEnd = -1;
    notifier_.reset();
    for (int fd : fds_)
        if (fd >= 0)
            ::close(fd);
}

} // namespace app

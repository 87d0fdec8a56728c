#pragma once
// Pieces of the headless runtime: messages on standard error, waits that
// run the Qt event loop, and SIGINT / SIGTERM turned into an event of it.

#include "config/Config.h"
#include "config/MessageSink.h"

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <string>

namespace app {

// Without a window nobody can answer a question: messages are printed as
// "title: text" on standard error, a Retry/Cancel question answers Deferred
// (the caller keeps its work and tries again later) and beeps are silent.
class StderrMessageSink : public config::MessageSink {
public:
    config::MessageAnswer Show(const config::Message& message) override;
    void Beep(long) override {}
};

// A wait's pump on the Qt event loop: runs the events that are waiting, then
// sleeps until the next one arrives (a signal, a bus message, a timer) or
// maxWaitMs pass.
void PumpEvents(int maxWaitMs);

// Calls onSignal (once per signal received) from the event loop when SIGINT
// or SIGTERM arrives. One instance per process; the handlers are restored to
// their defaults when it is destroyed.
class SignalWatcher : public QObject {
public:
    explicit SignalWatcher(std::function<void(int)> onSignal);
    ~SignalWatcher() override;

private:
    std::function<void(int)> onSignal_;
    std::unique_ptr<QSocketNotifier> notifier_;
    int fds_[2] = {-1, -1};
};

} // namespace app

#pragma once
// The operations other programs, hot keys and the runtime window's menus use
// to steer a running runtime: queue output for the instrument, drive the
// serial lines, switch timed output, reset, suspend and resume input, and ask
// the runtime to exit. runtime::CoreRuntimeControl carries them out on the
// acquisition loop, its port and the runtime state; the tests record them
// with tests/support/FakeRuntimeControl.h.

#include <istream>
#include <memory>
#include <string_view>

namespace control {

class RuntimeControl {
public:
    virtual ~RuntimeControl() = default;

    // Appends bytes to PendingOutput; the next tick's flush sends them.
    virtual void QueueOutput(std::string_view bytes) = 0;
    // Queues a whole file behind them, sent a piece at a time as the port
    // takes it.
    virtual void QueueFile(std::unique_ptr<std::istream> file) = 0;

    // The serial lines. On the virtual device they do nothing.
    virtual bool IsVirtualDevice() const = 0;
    virtual void StartBreak() = 0; // released by the tick two ticks later
    virtual void PulseDTR() = 0;   // the "DTR~" toggle: low for 155 ms
    virtual void SetDTR(bool on) = 0;
    virtual void SetRTS(bool on) = 0;
    // False while the port is closed or its device has gone away.
    virtual bool PortIsOpen() const = 0;

    // Timed output, as the TOutCtrl menu entry switches it.
    virtual bool TimedOutputOn() const = 0;
    virtual void SetTimedOutput(bool on) = 0;
    // Whether the TOutCtrl entry can be chosen.
    virtual void SetTimedOutputAvailable(bool available) = 0;

    // MReset: purge the port and drop the record in progress.
    virtual void Reset() = 0;
    // SuspendMenu and Resume1; each does nothing when input already is in
    // the state asked for (Resume1 only acts while suspended).
    virtual void Suspend() = 0;
    virtual void Resume() = 0;
    virtual void ResumeForOneRecord() = 0;

    // The deferred exit: the tick runs the Exit action in the second tick
    // that finds the port empty, well after the caller has returned.
    virtual void RequestExit() = 0;
};

} // namespace control

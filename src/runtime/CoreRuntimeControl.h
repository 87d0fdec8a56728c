#pragma once
// The runtime control of a running runtime: each operation carried out on
// the acquisition loop, its port and the runtime state.

#include "control/RuntimeControl.h"
#include "engine/RuntimeState.h"
#include "runtime/Acquisition.h"
#include "serial/Port.h"

namespace runtime {

class CoreRuntimeControl : public control::RuntimeControl {
public:
    CoreRuntimeControl(engine::RuntimeState& state, Acquisition& acquisition, serial::Port& port)
        : state_(state), acquisition_(acquisition), port_(port) {}

    void QueueOutput(std::string_view bytes) override;
    void QueueFile(std::unique_ptr<std::istream> file) override;
    bool IsVirtualDevice() const override;
    void StartBreak() override;
    void PulseDTR() override;
    void SetDTR(bool on) override;
    void SetRTS(bool on) override;
    bool PortIsOpen() const override;
    bool TimedOutputOn() const override;
    void SetTimedOutput(bool on) override;
    void SetTimedOutputAvailable(bool available) override;
    void Reset() override;
    void Suspend() override;
    void Resume() override;
    void ResumeForOneRecord() override;
    void RequestExit() override;

private:
    engine::RuntimeState& state_;
    Acquisition& acquisition_;
    serial::Port& port_;
};

} // namespace runtime

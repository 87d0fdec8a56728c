#pragma once
// A runtime control for tests: queued output is kept, every other operation
// is logged by name ("BREAK", "pulse DTR", "DTR on", "timed output on",
// "reset", "suspend", "resume", "resume one", "exit", ...). Line operations
// on the virtual device are logged too: the virtual-device rule belongs to
// the real control.

#include "control/RuntimeControl.h"

#include <iterator>
#include <string>
#include <vector>

namespace control {

class FakeRuntimeControl : public RuntimeControl {
public:
    std::string output;
    std::vector<std::string> calls;
    bool virtualDevice = false;
    bool portOpen = true;
    bool timedOutput = false;
    bool timedOutputAvailable = true;

    void QueueOutput(std::string_view bytes) override { output.append(bytes); }
    // A file is sent a piece at a time by the real control; here at once.
    void QueueFile(std::unique_ptr<std::istream> file) override {
        output.append(std::istreambuf_iterator<char>(*file), std::istreambuf_iterator<char>());
    }
    bool IsVirtualDevice() const override { return virtualDevice; }
    void StartBreak() override { calls.push_back("BREAK"); }
    void PulseDTR() override { calls.push_back("pulse DTR"); }
    void SetDTR(bool on) override { calls.push_back(on ? "DTR on" : "DTR off"); }
    void SetRTS(bool on) override { calls.push_back(on ? "RTS on" : "RTS off"); }
    bool PortIsOpen() const override { return portOpen; }
    bool TimedOutputOn() const override { return timedOutput; }
    void SetTimedOutput(bool on) override {
        timedOutput = on;
        calls.push_back(on ? "timed output on" : "timed output off");
    }
    void SetTimedOutputAvailable(bool available) override {
        timedOutputAvailable = available;
        calls.push_back(available ? "timed output available" : "timed output unavailable");
    }
    void Reset() override { calls.push_back("reset"); }
    void Suspend() override { calls.push_back("suspend"); }
    void Resume() override { calls.push_back("resume"); }
    void ResumeForOneRecord() override { calls.push_back("resume one"); }
    void RequestExit() override { calls.push_back("exit"); }
};

} // namespace control

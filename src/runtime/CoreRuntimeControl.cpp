#include "runtime/CoreRuntimeControl.h"

#include "engine/OutputQueue.h"

namespace runtime {

void CoreRuntimeControl::QueueOutput(std::string_view bytes) {
    engine::QueueOutput(state_, bytes);
}

void CoreRuntimeControl::QueueFile(std::unique_ptr<std::istream> file) {
    engine::QueueFile(state_, std::move(file));
}

bool CoreRuntimeControl::IsVirtualDevice() const {
    return state_.RunMode == engine::VirtualDevice;
}

void CoreRuntimeControl::StartBreak() {
    if (!IsVirtualDevice())
        serial::StartBreak(port_, state_.BreakTicks);
}

void CoreRuntimeControl::PulseDTR() {
    if (!IsVirtualDevice())
        port_.PulseDTR();
}

void CoreRuntimeControl::SetDTR(bool on) {
    if (!IsVirtualDevice())
        port_.SetDTR(on);
}

void CoreRuntimeControl::SetRTS(bool on) {
    if (!IsVirtualDevice())
        port_.SetRTS(on);
}

bool CoreRuntimeControl::PortIsOpen() const {
    return !port_.IsLost();
}

bool CoreRuntimeControl::TimedOutputOn() const {
    return (state_.TimedOutputFlags & 1) != 0;
}

void CoreRuntimeControl::SetTimedOutput(bool on) {
    // The tick restarts the schedule when it finds the bit cleared.
    state_.TimedOutputFlags = on ? (state_.TimedOutputFlags | 1) : (state_.TimedOutputFlags & ~1);
}

void CoreRuntimeControl::SetTimedOutputAvailable(bool available) {
    state_.TimedOutputAvailable = available;
}

void CoreRuntimeControl::Reset() {
    acquisition_.Reset();
}

void CoreRuntimeControl::Suspend() {
    if (!state_.Suspended)
        acquisition_.ToggleSuspend();
}

void CoreRuntimeControl::Resume() {
    if (state_.Suspended)
        acquisition_.ToggleSuspend();
}

void CoreRuntimeControl::ResumeForOneRecord() {
    acquisition_.ResumeForOneRecord();
}

void CoreRuntimeControl::RequestExit() {
    state_.ExitCountdown = -1;
}

} // namespace runtime

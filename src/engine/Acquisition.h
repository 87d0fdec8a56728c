#pragma once
// The acquisition loop: one tick every 50 ms services deferred requests,
// counts down a BREAK, refreshes the date/time display, runs the timed output,
// flushes queued output, and then reads every byte the port holds, one at a
// time, through the pre-input translation and the framing rules that group
// bytes into records and fields. A complete record is processed and
// delivered at once.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "engine/Expression.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"
#include "output/RecordDispatch.h"
#include "serial/Port.h"

#include <array>
#include <functional>
#include <string>

namespace engine {

// Events the loop hands to the program around it.
struct AcquisitionHooks {
    std::function<void()> relinkCommand; // re-establish the command-source link
    std::function<void()> relinkOutput;  // re-establish the output-buffer link
    std::function<void()> exitAction;    // the runtime window's Exit action
    std::function<void()> dateTimeChanged;
    std::function<void()> suspendChanged;
};

class Acquisition {
public:
    Acquisition(config::Config& cfg, RuntimeState& state, serial::Port& port, Clock& clock,
                config::MessageSink& messages, const Locale& locale,
                output::RecordDispatch& dispatch);

    // At activation: the framing case and end characters, the output
    // translation, the timed-output flags, and the initial suspension.
    void Activate();

    // The tick.
    void Timer1_Timer();

    // One received byte through the handshake, the pre-input translation, the
    // start-of-record rule and the framing.
    void ProcessByte(std::uint8_t byte);
    void CompleteRecord();

    // Suspend/resume input; resuming restarts the timed-output schedule.
    void ToggleSuspend();
    // Resume for exactly one record, then suspend again.
    void ResumeForOneRecord();
    // Purge the port (on the virtual device: its unread input) and drop the
    // record in progress.
    void Reset();

    AcquisitionHooks hooks;

private:
    void TimedOutput();
    void Append(int field);
    void NextField(int cap);
    bool IsEndChar(std::uint8_t c) const;
    bool PassesStartRule(std::uint8_t c) const;
    void Frame();

    config::Config& cfg_;
    RuntimeState& state_;
    serial::Port& port_;
    Clock& clock_;
    config::MessageSink& messages_;
    const Locale& locale_;
    output::RecordDispatch& dispatch_;
    Evaluator evaluator_;
    // The pre-input table read once at activation: what each byte becomes.
    enum class PreInput : std::uint8_t { Replace, Ignore, Void };
    std::array<PreInput, 256> preInputKind_{};
    std::array<std::uint8_t, 256> preInputByte_{};
    // Bytes taken from the port and not framed yet; framing stays one byte
    // at a time, and what a suspension leaves here is framed when input
    // resumes (the reset discards it with the port's buffers).
    std::array<std::uint8_t, 4096> received_{};
    std::size_t receivedPos_ = 0, receivedLen_ = 0;
};

// The runtime window's caption: "Corvane - COM1", " (S)" while suspended,
// " (Virtual Device)" on the virtual device.
std::string RuntimeCaption(const config::Config& cfg, const RuntimeState& state);

} // namespace engine

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
#include "engine/FieldProcessing.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"
#include "output/RecordDispatch.h"
#include "serial/Port.h"

#include <array>
#include <functional>
#include <string>

namespace runtime {

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
    Acquisition(config::Config& cfg, engine::RuntimeState& state, serial::Port& port,
                engine::Clock& clock, config::MessageSink& messages, const engine::Locale& locale,
                output::RecordDispatch& dispatch);

    // At activation: the framing case and end characters, the output
    // translation, the timed-output flags, and the initial suspension.
    void Activate();

    // The tick.
    void Timer1_Timer();

    // Bytes have arrived between ticks: in the modes whose records end on a
    // byte (an end character, a byte count, the last delimited field) they
    // are read and framed now, so that a record is delivered as its last
    // byte arrives. Records that end on a pause are read by the tick, which
    // counts the pause. Nothing is read while input is suspended or a tick
    // (or a delivery that pumps events) is in progress.
    void InputArrived();
    // Whether InputArrived would read now.
    bool ReadsOnArrival() const;

    // One received byte through the handshake, the pre-input translation, the
    // start-of-record rule and the framing. The tick frames runs of ordinary
    // bytes at once, with exactly the result of this, byte after byte.
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
    void ResolveByteTables();
    // The byte loop: reads until the port holds nothing (true) or input is
    // suspended on the way (false).
    bool ReadAndFrame();
    void TimedOutput();
    // ProcessByte's work with the state and settings as parameters, so that
    // the per-byte path keeps them in registers (each one-byte store to the
    // state could otherwise alias this object and force them to be read
    // again).
    void FrameByte(engine::RuntimeState& state, const config::Config& cfg, std::uint8_t byte);
    void Frame(engine::RuntimeState& state, const config::Config& cfg, std::uint8_t c,
               std::uint8_t byteClass);
    // Frames at once the run of bytes at receivedPos_ that can be framed so
    // (see runClass_ and skipped_); false when the next byte must be framed
    // on its own.
    bool TakeRun();
    // Frames a run of plain bytes of an open record at once (see runClass_);
    // with closes, the run's last byte is the end character that completes
    // the record.
    void FrameRun(const std::uint8_t* begin, const std::uint8_t* end, bool closes);

    config::Config& cfg_;
    engine::RuntimeState& state_;
    serial::Port& port_;
    engine::Clock& clock_;
    config::MessageSink& messages_;
    const engine::Locale& locale_;
    output::RecordDispatch& dispatch_;
    engine::FieldProcessor fields_;
    // The pre-input table read once at activation: what each byte becomes.
    enum class PreInput : std::uint8_t { Replace, Ignore, Void };
    std::array<PreInput, 256> preInputKind_{};
    std::array<std::uint8_t, 256> preInputByte_{};
    // What each (translated) byte is to framing, also resolved at activation.
    enum ByteClass : std::uint8_t { StartsRecord = 1, EndsRecord = 2, Delimiter = 4 };
    std::array<std::uint8_t, 256> byteClass_{};
    // A plain byte needs no pre-input action, is not the Opto-RS carriage
    // return, and is neither a delimiter nor an end character once
    // translated. Inside an open record in the modes that append every byte
    // to the current field (0, 1, 2, 4), all a run of plain bytes does is add
    // to that field's text and set InChar, LastCharWasSpace (and IdleTicks):
    // such runs are framed at once, with exactly the result of framing them
    // byte by byte. In the modes ended by an end character (0, 2), an end
    // character that is otherwise plain closes the run and the record.
    enum RunClass : std::uint8_t { NotPlain = 0, Plain = 1, PlainEnd = 2 };
    std::array<std::uint8_t, 256> runClass_{};
    // While no record is open, a byte with no pre-input action (and not the
    // Opto-RS carriage return) that the start rule rejects only sets InChar
    // and LastCharWasSpace: runs of them are skipped at once.
    std::array<bool, 256> skipped_{};
    bool preInputIsIdentity_ = true;
    bool readsOnArrival_ = false;
    bool runsAppend_ = false;
    bool runsEndRecords_ = false;
    // Bytes taken from the port and not framed yet: what a suspension leaves
    // here is framed when input resumes (the reset discards it with the
    // port's buffers).
    std::array<std::uint8_t, 4096> received_{};
    std::size_t receivedPos_ = 0, receivedLen_ = 0;
};

// The runtime window's caption: "Corvane - COM1", " (S)" while suspended,
// " (Virtual Device)" on the virtual device.
std::string RuntimeCaption(const config::Config& cfg, const engine::RuntimeState& state);

} // namespace runtime

#include "runtime/Acquisition.h"

#include "engine/DateTimeTokens.h"
#include "engine/FieldProcessing.h"
#include "engine/OutputQueue.h"

#include <algorithm>
#include <cstdint>

namespace runtime {

using namespace engine;

namespace {

// Runs one step of the tick; a step that fails is skipped and the tick goes on.
template <typename F> void Step(F&& f) {
    try {
        f();
    } catch (...) {
    }
}

// Marks a tick in progress, so that a tick started from an event pumped
// during a long delivery is skipped instead of nesting.
struct TickGuard {
    bool& flag;
    explicit TickGuard(bool& f) : flag(f) { flag = true; }
    ~TickGuard() { flag = false; }
};

} // namespace

Acquisition::Acquisition(config::Config& cfg, RuntimeState& state, serial::Port& port, Clock& clock,
                         config::MessageSink& messages, const Locale& locale,
                         output::RecordDispatch& dispatch)
    : cfg_(cfg), state_(state), port_(port), clock_(clock), messages_(messages), locale_(locale),
      dispatch_(dispatch), fields_(locale) {}

void Acquisition::Activate() {
    state_.EndChars = config::ApplyActivationDerivations(cfg_);
    dispatch_.Activate();
    fields_.Activate(cfg_, state_);
    state_.TimedOutputFlags = cfg_.TimerEnabled;
    state_.CurField = 1;
    // Bytes read ahead and not framed yet (a reload after a suspension) are
    // framed under this configuration.
    ResolveByteTables();
    if (cfg_.ActivateSuspended)
        ToggleSuspend();
}

void Acquisition::ResolveByteTables() {
    const int delimiter =
        cfg_.DelimiterChar.empty() ? -1 : static_cast<unsigned char>(cfg_.DelimiterChar[0]);
    for (int i = 0; i < 256; ++i) {
        const auto b = static_cast<std::size_t>(i);
        const std::string& entry = cfg_.PreInputTranslation[b];
        preInputKind_[b] = entry == "Ignore"        ? PreInput::Ignore
                           : entry == "Void Record" ? PreInput::Void
                                                    : PreInput::Replace;
        // The voided byte is stored as the first digit of its own code, as it
        // always was; an empty entry leaves the byte as it is.
        preInputByte_[b] = preInputKind_[b] == PreInput::Void
                               ? static_cast<std::uint8_t>(std::to_string(i)[0])
                           : entry.empty() ? static_cast<std::uint8_t>(i)
                                           : static_cast<std::uint8_t>(entry[0]);
        const char c = static_cast<char>(i);
        bool starts = true;
        switch (cfg_.StartOfRecordEvent) {
        case 1:
            starts = i >= 32 && i <= 126;
            break;
        case 2:
            starts = c == locale_.DecimalSeparator || (c >= '0' && c <= '9') || c == '-';
            break;
        case 3:
            starts = cfg_.StartOfRecordChars.find(c) != std::string::npos;
            break;
        }
        byteClass_[b] = static_cast<std::uint8_t>(
            (starts ? StartsRecord : 0) |
            (state_.EndChars.find(c) != std::string::npos ? EndsRecord : 0) |
            (i == delimiter ? Delimiter : 0));
    }
    preInputIsIdentity_ = true;
    for (int i = 0; i < 256; ++i) {
        const auto b = static_cast<std::size_t>(i);
        preInputIsIdentity_ = preInputIsIdentity_ && preInputByte_[b] == b;
        const bool ordinary =
            preInputKind_[b] == PreInput::Replace && !(i == 13 && cfg_.FlowControl == 3);
        const std::uint8_t framing = byteClass_[preInputByte_[b]];
        runClass_[b] = !ordinary || (framing & Delimiter) ? NotPlain
                       : framing & EndsRecord             ? PlainEnd
                                                          : Plain;
        skipped_[b] = ordinary && !(framing & StartsRecord);
    }
    const int mode = cfg_.RecordMode;
    // A record that ends on a pause ends on a tick, counted from the tick
    // that read its last byte: those modes read on the tick only.
    readsOnArrival_ = mode != 1 && mode != 4 && mode != 5;
    runsAppend_ = mode == 0 || mode == 1 || mode == 2 || mode == 4;
    runsEndRecords_ = mode == 0 || mode == 2;
}

// Flattened: the byte loop is the hot path, and inlining what it calls (the
// string appends among them) keeps it free of calls for ordinary bytes.
[[gnu::flatten]] void Acquisition::Timer1_Timer() {
    if (state_.InTick)
        return;
    TickGuard guard(state_.InTick);
    Step([&] {
        if (state_.RelinkCommandPending) {
            state_.RelinkCommandPending = false;
            if (hooks.relinkCommand)
                hooks.relinkCommand();
        }
        if (state_.RelinkOutputPending) {
            state_.RelinkOutputPending = false;
            if (hooks.relinkOutput)
                hooks.relinkOutput();
        }
    });
    Step([&] { serial::BreakTimerTick(port_, state_.BreakTicks); });
    Step([&] {
        if (RefreshDateTimeDisplay(state_, cfg_, clock_, locale_) && hooks.dateTimeChanged)
            hooks.dateTimeChanged();
    });
    Step([&] { TimedOutput(); });
    Step([&] {
        TopUpPendingOutput(state_);
        port_.FlushPendingOutput(state_.PendingOutput);
    });
    Step([&] { dispatch_.RetryPendingLog(); });
    if (state_.Suspended)
        return;
    state_.IdleTicks = static_cast<std::uint8_t>(state_.IdleTicks + 1);
    if (!ReadAndFrame())
        return;
    Step([&] {
        if (cfg_.EndOfRecordEvent == 1 && state_.RecordActive &&
            state_.IdleTicks == cfg_.TimeDelayTicks) {
            state_.CurField = 1;
            state_.CharsInRecord = 0;
            state_.CharsInField = 0;
            CompleteRecord();
        }
    });
    if (state_.ExitCountdown != 0) {
        state_.ExitCountdown = static_cast<std::int16_t>(state_.ExitCountdown + 2);
        if (state_.ExitCountdown > 2) {
            state_.ExitCountdown = 0;
            state_.ExitRequested = true;
            if (hooks.exitAction)
                hooks.exitAction();
        }
    }
}

// Flattened like the tick, for the same reason.
[[gnu::flatten]] bool Acquisition::ReadAndFrame() {
    while (true) {
        if (receivedPos_ == receivedLen_) {
            receivedPos_ = 0;
            receivedLen_ = port_.Read(received_.data(), received_.size());
            if (receivedLen_ == 0)
                return true;
        }
        if (!TakeRun()) {
            const std::uint8_t byte = received_[receivedPos_++];
            Step([&] { FrameByte(state_, cfg_, byte); });
        }
        // A one-shot record or a cancelled log write suspends input: the
        // rest stays unread until input resumes.
        if (state_.Suspended)
            return false;
    }
}

bool Acquisition::ReadsOnArrival() const {
    return readsOnArrival_ && !state_.Suspended && !state_.InTick;
}

void Acquisition::InputArrived() {
    if (!ReadsOnArrival())
        return;
    // Marked as a tick: a tick that the timer starts while a record read
    // here is delivered (and events are pumped) is skipped.
    TickGuard guard(state_.InTick);
    ReadAndFrame();
    // The acknowledgement of a record goes out with it, not a tick later.
    if (!state_.PendingOutput.empty() || !state_.OutputFiles.empty())
        Step([&] {
            TopUpPendingOutput(state_);
            port_.FlushPendingOutput(state_.PendingOutput);
        });
}

void Acquisition::TimedOutput() {
    // An interval of 0 means no timed output, whatever the flags say.
    if (!(state_.TimedOutputFlags & 1) || cfg_.TimerInterval <= 0) {
        state_.NextTimedOutput = 0;
        return;
    }
    std::int32_t now = clock_.TickCount();
    if (state_.NextTimedOutput == 0) {
        state_.NextTimedOutput = now; // the first action comes one interval later
        return;
    }
    // Elapsed time survives the wrap-around of the tick count.
    std::int32_t elapsed = static_cast<std::int32_t>(
        static_cast<std::uint32_t>(now) - static_cast<std::uint32_t>(state_.NextTimedOutput));
    if (elapsed < 0 || elapsed < cfg_.TimerInterval)
        return;
    if (state_.TimedOutputFlags & 4)
        port_.PulseDTR();
    else if (state_.TimedOutputFlags & 8)
        serial::StartBreak(port_, state_.BreakTicks);
    else
        QueueOutput(state_, cfg_.TimerString);
    // Advance by exactly one interval, so a late tick catches up one action
    // per tick; an overflowing sum restarts the schedule.
    std::int64_t next = static_cast<std::int64_t>(state_.NextTimedOutput) + cfg_.TimerInterval;
    state_.NextTimedOutput =
        next > INT32_MAX || next < INT32_MIN ? 0 : static_cast<std::int32_t>(next);
}

void Acquisition::ProcessByte(std::uint8_t byte) {
    FrameByte(state_, cfg_, byte);
}

// The per-byte path: inlined into the byte loop.
[[gnu::always_inline]] inline void
Acquisition::FrameByte(RuntimeState& state, const config::Config& cfg, std::uint8_t byte) {
    state.InChar = byte;
    // A. The Opto-RS handshake: a prompt at every other carriage return; a
    // record in progress when the echo's carriage return arrives is spoiled.
    if (byte == 13 && cfg.FlowControl == 3) {
        if (state.OptoEchoPending) {
            if (state.RecordActive)
                state.VoidRecord = true;
            state.OptoEchoPending = false;
        } else {
            QueueOutput(state, "?\r");
            state.OptoEchoPending = true;
        }
    }
    // B. Pre-input translation.
    const PreInput kind = preInputKind_[byte];
    if (kind == PreInput::Ignore) {
        state.LastCharWasSpace = byte == 32;
        return;
    }
    if (kind == PreInput::Void && state.RecordActive)
        state.VoidRecord = true;
    const std::uint8_t c = preInputByte_[byte];
    state.InChar = c;
    const std::uint8_t byteClass = byteClass_[c];
    // C. Start of record.
    if (!state.RecordActive) {
        if (!(byteClass & StartsRecord)) {
            state.LastCharWasSpace = c == 32;
            return;
        }
        // D.
        state.RecordActive = true;
    }
    if (kind == PreInput::Void)
        state.VoidRecord = true;
    // E/F. Framing, completing the record where the framing says.
    Frame(state, cfg, c, byteClass);
    // G.
    state.LastCharWasSpace = c == 32;
}

[[gnu::always_inline]] inline void Acquisition::Frame(RuntimeState& state,
                                                      const config::Config& cfg, std::uint8_t c,
                                                      std::uint8_t byteClass) {
    const bool isDelimiter = byteClass & Delimiter;
    const bool isEnd = byteClass & EndsRecord;
    auto append = [&](int field) __attribute__((always_inline)) {
        fields_.AppendFiltered(field, c, state);
    };
    auto nextField = [&] {
        state.CurField = static_cast<std::int16_t>(std::min(state.CurField + 1, 41));
    };
    auto spaceRun = [&] { return c == ' ' && state.LastCharWasSpace; };
    auto fieldLengthReached = [&] {
        return state.CurField >= 1 && state.CurField <= config::MaxFields &&
               state.CharsInField == cfg.FieldLength[static_cast<std::size_t>(state.CurField)];
    };
    switch (cfg.RecordMode) {
    case 1:
        append(1);
        state.IdleTicks = 0;
        return;
    case 3:
        append(state.CurField);
        ++state.CharsInField;
        ++state.CharsInRecord;
        if (fieldLengthReached()) {
            nextField();
            state.CharsInField = 0;
        }
        if (state.CharsInRecord == cfg.RecordLength) {
            state.CurField = 1;
            state.CharsInRecord = 0;
            state.CharsInField = 0;
            CompleteRecord();
        }
        return;
    case 4:
        state.IdleTicks = 0;
        if (!isDelimiter)
            append(state.CurField);
        else if (!spaceRun())
            nextField();
        return;
    case 5:
    case 6:
        if (cfg.RecordMode == 5)
            state.IdleTicks = 0;
        append(state.CurField);
        ++state.CharsInField;
        if (fieldLengthReached()) {
            nextField();
            state.CharsInField = 0;
        }
        if (cfg.RecordMode == 6 && isEnd) {
            state.CharsInField = 0;
            state.CurField = 1;
            CompleteRecord();
        }
        return;
    default: // 0 and 2: ended by an end character
        if (!isDelimiter) {
            append(state.CurField);
            if (isEnd) {
                state.CurField = 1;
                CompleteRecord();
            }
            return;
        }
        if (cfg.NumFields < 2) {
            append(state.CurField);
        } else if (!spaceRun()) {
            nextField();
        }
        // A delimiter that is also the end character ends the record only
        // after the last field.
        if (state.CurField > cfg.NumFields && isEnd) {
            state.CurField = 1;
            CompleteRecord();
        }
    }
}

bool Acquisition::TakeRun() {
    const std::uint8_t* begin = received_.data() + receivedPos_;
    const std::uint8_t* end = received_.data() + receivedLen_;
    const std::uint8_t* p = begin;
    if (!state_.RecordActive) {
        while (p != end && skipped_[*p])
            ++p;
        if (p != begin) {
            receivedPos_ += static_cast<std::size_t>(p - begin);
            state_.InChar = preInputByte_[p[-1]];
            state_.LastCharWasSpace = state_.InChar == 32;
            return true;
        }
        // A plain byte that passes the start rule opens the record and
        // begins a run, as it would byte by byte.
        if (!runsAppend_ || runClass_[*p] != Plain ||
            !(byteClass_[preInputByte_[*p]] & StartsRecord))
            return false;
        state_.RecordActive = true;
    } else if (!runsAppend_) {
        return false;
    }
    while (p != end && runClass_[*p] == Plain)
        ++p;
    const bool closes = runsEndRecords_ && p != end && runClass_[*p] == PlainEnd;
    if (closes)
        ++p;
    if (p == begin)
        return false;
    receivedPos_ += static_cast<std::size_t>(p - begin);
    Step([&] { FrameRun(begin, p, closes); });
    return true;
}

void Acquisition::FrameRun(const std::uint8_t* begin, const std::uint8_t* end, bool closes) {
    const int mode = cfg_.RecordMode;
    fields_.AppendRun(mode == 1 ? 1 : state_.CurField, begin, end, preInputByte_,
                      preInputIsIdentity_, state_);
    const std::uint8_t last = preInputByte_[end[-1]];
    state_.InChar = last;
    state_.LastCharWasSpace = last == 32;
    if (mode == 1 || mode == 4)
        state_.IdleTicks = 0;
    if (closes) {
        state_.CurField = 1;
        CompleteRecord();
        state_.LastCharWasSpace = last == 32;
    }
}

void Acquisition::CompleteRecord() {
    state_.RecordActive = false;
    state_.LastCharWasSpace = false;
    if (!cfg_.AckString.empty())
        QueueOutput(state_, cfg_.AckString);
    if (cfg_.BeepOnInput)
        messages_.Beep(state_.SpecialBeep);
    const int n = std::clamp<int>(cfg_.NumFields, 1, config::MaxFields);
    if (state_.VoidRecord) {
        for (int i = 1; i <= n + 1; ++i)
            state_.FieldValue[static_cast<std::size_t>(i)] = Value::Text("");
        state_.VoidRecord = false;
        return;
    }
    Step([&] { fields_.ProcessFields(state_, cfg_); });
    Step([&] { dispatch_.Deliver(); });
    if (state_.OneShotRecord) {
        if (!state_.Suspended)
            ToggleSuspend();
        state_.OneShotRecord = false;
    }
}

void Acquisition::ToggleSuspend() {
    if (state_.Suspended) {
        state_.Suspended = false;
        state_.NextTimedOutput = 0;
    } else {
        state_.Suspended = true;
    }
    if (hooks.suspendChanged)
        hooks.suspendChanged();
}

void Acquisition::ResumeForOneRecord() {
    if (!state_.Suspended)
        return;
    state_.OneShotRecord = true;
    ToggleSuspend();
}

void Acquisition::Reset() {
    port_.PurgePort();
    receivedPos_ = receivedLen_ = 0;
    state_.RecordActive = false;
    state_.VoidRecord = false;
    state_.CurField = 1;
    state_.CharsInField = 0;
    state_.CharsInRecord = 0;
    const int n = std::clamp<int>(cfg_.NumFields, 1, config::MaxFields);
    for (int i = 1; i <= n + 1; ++i)
        state_.FieldValue[static_cast<std::size_t>(i)] = Value::Text("");
}

std::string RuntimeCaption(const config::Config& cfg, const RuntimeState& state) {
    std::string caption = "Corvane - " + config::PortName(cfg);
    if (state.Suspended)
        caption += " (S)";
    if (state.RunMode == VirtualDevice)
        caption += " (Virtual Device)";
    return caption;
}

} // namespace runtime

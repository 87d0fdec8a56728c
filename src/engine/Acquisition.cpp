#include "engine/Acquisition.h"

#include "engine/DateTimeTokens.h"
#include "engine/FieldProcessing.h"

#include <algorithm>
#include <cstdint>

namespace engine {

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
      dispatch_(dispatch), evaluator_(locale) {}

void Acquisition::Activate() {
    state_.EndChars = config::ApplyActivationDerivations(cfg_);
    dispatch_.BuildOutputTranslation();
    state_.TimedOutputFlags = cfg_.TimerEnabled;
    state_.CurField = 1;
    for (int i = 0; i < 256; ++i) {
        const std::string& entry = cfg_.PreInputTranslation[static_cast<std::size_t>(i)];
        auto& kind = preInputKind_[static_cast<std::size_t>(i)];
        auto& byte = preInputByte_[static_cast<std::size_t>(i)];
        kind = entry == "Ignore"        ? PreInput::Ignore
               : entry == "Void Record" ? PreInput::Void
                                        : PreInput::Replace;
        // The voided byte is stored as the first digit of its own code, as it
        // always was; an empty entry leaves the byte as it is.
        byte = kind == PreInput::Void ? static_cast<std::uint8_t>(std::to_string(i)[0])
               : entry.empty()        ? static_cast<std::uint8_t>(i)
                                      : static_cast<std::uint8_t>(entry[0]);
    }
    if (cfg_.ActivateSuspended)
        ToggleSuspend();
}

void Acquisition::Timer1_Timer() {
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
    Step([&] { port_.FlushPendingOutput(state_.PendingOutput); });
    Step([&] { dispatch_.RetryPendingLog(); });
    if (state_.Suspended)
        return;
    state_.IdleTicks = static_cast<std::uint8_t>(state_.IdleTicks + 1);
    while (true) {
        if (receivedPos_ == receivedLen_) {
            receivedPos_ = 0;
            receivedLen_ = port_.Read(received_.data(), received_.size());
            if (receivedLen_ == 0)
                break;
        }
        const std::uint8_t byte = received_[receivedPos_++];
        Step([&] { ProcessByte(byte); });
        // A one-shot record or a cancelled log write suspends input: the
        // rest stays unread until input resumes.
        if (state_.Suspended)
            return;
    }
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
        state_.PendingOutput += cfg_.TimerString;
    // Advance by exactly one interval, so a late tick catches up one action
    // per tick; an overflowing sum restarts the schedule.
    std::int64_t next = static_cast<std::int64_t>(state_.NextTimedOutput) + cfg_.TimerInterval;
    state_.NextTimedOutput =
        next > INT32_MAX || next < INT32_MIN ? 0 : static_cast<std::int32_t>(next);
}

bool Acquisition::IsEndChar(std::uint8_t c) const {
    return state_.EndChars.find(static_cast<char>(c)) != std::string::npos;
}

bool Acquisition::PassesStartRule(std::uint8_t c) const {
    switch (cfg_.StartOfRecordEvent) {
    case 1:
        return c >= 32 && c <= 126;
    case 2:
        return c == static_cast<std::uint8_t>(locale_.DecimalSeparator) || (c >= '0' && c <= '9') ||
               c == '-';
    case 3:
        return cfg_.StartOfRecordChars.find(static_cast<char>(c)) != std::string::npos;
    default:
        return true;
    }
}

void Acquisition::ProcessByte(std::uint8_t byte) {
    const std::uint8_t received = byte;
    state_.InChar = byte;
    // A. The Opto-RS handshake: a prompt at every other carriage return; a
    // record in progress when the echo's carriage return arrives is spoiled.
    if (byte == 13 && cfg_.FlowControl == 3) {
        if (state_.OptoEchoPending) {
            if (state_.RecordActive)
                state_.VoidRecord = true;
            state_.OptoEchoPending = false;
        } else {
            state_.PendingOutput += "?\r";
            state_.OptoEchoPending = true;
        }
    }
    // B. Pre-input translation.
    const PreInput kind = preInputKind_[state_.InChar];
    if (kind == PreInput::Ignore) {
        state_.LastCharWasSpace = received == 32;
        return;
    }
    const bool voidEntry = kind == PreInput::Void;
    if (voidEntry && state_.RecordActive)
        state_.VoidRecord = true;
    state_.InChar = preInputByte_[state_.InChar];
    // C. Start of record.
    if (!state_.RecordActive && !PassesStartRule(state_.InChar)) {
        state_.LastCharWasSpace = state_.InChar == 32;
        return;
    }
    // D.
    state_.RecordActive = true;
    if (voidEntry)
        state_.VoidRecord = true;
    // E/F. Framing, completing the record where the framing says.
    Frame();
    // G.
    state_.LastCharWasSpace = state_.InChar == 32;
}

void Acquisition::Append(int field) {
    AppendFiltered(field, cfg_, state_, locale_);
}

void Acquisition::NextField(int cap) {
    state_.CurField = static_cast<std::int16_t>(std::min(state_.CurField + 1, cap));
}

void Acquisition::Frame() {
    const std::uint8_t c = state_.InChar;
    const bool isDelimiter =
        !cfg_.DelimiterChar.empty() && c == static_cast<std::uint8_t>(cfg_.DelimiterChar[0]);
    const bool spaceRun = isDelimiter && c == ' ' && state_.LastCharWasSpace;
    auto fieldLengthReached = [&] {
        return state_.CurField >= 1 && state_.CurField <= config::MaxFields &&
               state_.CharsInField == cfg_.FieldLength[static_cast<std::size_t>(state_.CurField)];
    };
    switch (cfg_.RecordMode) {
    case 1:
        Append(1);
        state_.IdleTicks = 0;
        return;
    case 3:
        Append(state_.CurField);
        ++state_.CharsInField;
        ++state_.CharsInRecord;
        if (fieldLengthReached()) {
            NextField(41);
            state_.CharsInField = 0;
        }
        if (state_.CharsInRecord == cfg_.RecordLength) {
            state_.CurField = 1;
            state_.CharsInRecord = 0;
            state_.CharsInField = 0;
            CompleteRecord();
        }
        return;
    case 4:
        state_.IdleTicks = 0;
        if (!isDelimiter)
            Append(state_.CurField);
        else if (!spaceRun)
            NextField(41);
        return;
    case 5:
    case 6:
        if (cfg_.RecordMode == 5)
            state_.IdleTicks = 0;
        Append(state_.CurField);
        ++state_.CharsInField;
        if (fieldLengthReached()) {
            NextField(41);
            state_.CharsInField = 0;
        }
        if (cfg_.RecordMode == 6 && IsEndChar(c)) {
            state_.CharsInField = 0;
            state_.CurField = 1;
            CompleteRecord();
        }
        return;
    default: // 0 and 2: ended by an end character
        if (!isDelimiter) {
            Append(state_.CurField);
            if (IsEndChar(c)) {
                state_.CurField = 1;
                CompleteRecord();
            }
            return;
        }
        if (cfg_.NumFields < 2) {
            Append(state_.CurField);
        } else if (!spaceRun) {
            NextField(41);
        }
        // A delimiter that is also the end character ends the record only
        // after the last field.
        if (state_.CurField > cfg_.NumFields && IsEndChar(c)) {
            state_.CurField = 1;
            CompleteRecord();
        }
    }
}

void Acquisition::CompleteRecord() {
    state_.RecordActive = false;
    state_.LastCharWasSpace = false;
    state_.PendingOutput += cfg_.AckString;
    if (cfg_.BeepOnInput)
        messages_.Beep(state_.SpecialBeep);
    const int n = std::clamp<int>(cfg_.NumFields, 1, config::MaxFields);
    if (state_.VoidRecord) {
        for (int i = 1; i <= n + 1; ++i)
            state_.FieldValue[static_cast<std::size_t>(i)] = Value::Text("");
        state_.VoidRecord = false;
        return;
    }
    Step([&] { ProcessFields(state_, cfg_, evaluator_, locale_); });
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

} // namespace engine

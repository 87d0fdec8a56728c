#pragma once
// The runtime's program-wide state: everything the acquisition loop, field
// processing, output dispatch and the command handlers share while the
// runtime window (or the headless runtime) is active. Created at activation,
// passed by reference.

#include "engine/Clock.h"
#include "engine/RecordCounter.h"
#include "engine/Value.h"

#include <array>
#include <cstdint>
#include <deque>
#include <istream>
#include <memory>
#include <optional>
#include <string>

namespace engine {

enum RunModes : std::int16_t { Inactive = 0, Normal = 1, VirtualDevice = 2, PortTest = 3 };

// A file on its way to the instrument, read a piece at a time as the port
// takes it, and what was queued for the instrument after it.
struct QueuedFile {
    std::unique_ptr<std::istream> file;
    std::string after;
};

struct RuntimeState {
    // The current record's fields: 1..40 fields, 41 overflow, 0 unused.
    std::array<Value, 42> FieldValue{};
    std::uint8_t InChar = 0;
    // What waits to be written to the port. While files are being sent, it
    // holds the bytes queued before them and the next piece of the first
    // one; the rest waits in OutputFiles (see OutputQueue.h).
    std::string PendingOutput;
    std::deque<QueuedFile> OutputFiles;
    std::int16_t BreakTicks = 0;
    bool Suspended = false;
    bool OneShotRecord = false;
    std::int16_t RunMode = Inactive;
    std::int16_t ExitCountdown = 0;
    std::array<std::string, 256> OutputTranslation{};
    std::string EndChars = "\r";

    // Framing.
    std::int16_t CurField = 1;
    std::int16_t CharsInField = 0;
    std::int16_t CharsInRecord = 0;
    std::uint8_t IdleTicks = 0;
    bool RecordActive = false;
    bool VoidRecord = false;
    bool LastCharWasSpace = false;

    // Timed output and the Opto-RS handshake.
    int TimedOutputFlags = 0;
    std::int32_t NextTimedOutput = 0;
    bool OptoEchoPending = false;
    // Whether the runtime window's TOutCtrl entry can be chosen; an interval
    // of 0 set over DDE makes it unavailable.
    bool TimedOutputAvailable = true;

    // Date/time display.
    std::optional<DateTime> LastDateTime;

    // Deferred DDE link requests.
    bool RelinkCommandPending = false;
    bool RelinkOutputPending = false;

    // What the runtime window shows: the field boxes 1..40, the record
    // counter (kept as text, editable) and the date/time box.
    std::array<std::string, 41> FieldText{};
    RecordCounter RecordNumber;
    std::string DateTimeText;

    // The per-port "SpecialBeep" sound type read at activation; 0 = standard beep.
    long SpecialBeep = 0;

    // Set while a tick is running (or waiting inside a delivery), so that a
    // tick started from a pumped event is skipped instead of nesting.
    bool InTick = false;
    // Set by the exit action; the program's event loop ends the runtime.
    bool ExitRequested = false;
};

} // namespace engine

#pragma once
// The rules the setup dialogs apply before they store a value, and the
// settings that follow from others. The dialogs and the command line share
// these functions, so a value refused in one is refused in the other.

#include "config/Config.h"

#include <optional>
#include <string>

namespace config {

// A refused value: the message box's text and title, and whether it beeps.
struct Refusal {
    std::string text;
    std::string title;
    bool beep = false;
    bool operator==(const Refusal&) const = default;
};

using Check = std::optional<Refusal>;

// Serial Port Settings: each buffer size 128..131072.
Check CheckBufferSize(long size);
// Delimited Record: number of fields 2..40.
Check CheckDelimitedFieldCount(long numFields);
// Fixed Length Record: record length 1..32766.
Check CheckRecordLength(long length);
// Timed Input: ticks between records 1..255.
Check CheckTimeDelayTicks(long ticks);
// Input Record Definition Editor: each field length 1..32766.
Check CheckFieldLength(long length);
// With a fixed number of bytes per record the field lengths must add up to
// the record length.
Check CheckFieldLengthSum(const Config& cfg);
// Start and End Of Record Events: the special-character events need a text.
Check CheckStartEvent(int startEvent, const std::string& startChars);
Check CheckEndEvent(int endEvent, const std::string& endChars);
// Serial output strings: the timer interval must be below 100000000 ms.
Check CheckTimerInterval(long interval);
// Preferences: a chosen DDE topic must not be blank.
Check CheckDdeTopic(bool specifyTopic, const std::string& topic);

// Every rule above that applies to a whole record, in dialog order; the first
// refusal is returned. Used where a complete record arrives at once (the
// command line's "config build").
Check ValidateConfig(const Config& cfg);

// Numeric text as a sign-reserving number: " 20" for 20, "-3" for -3.
std::string SignedNumberText(long value);

// Choosing an end-of-record event: when it differs from the stored one, it is
// stored and the configuration marked changed, and changing to event 2 (a
// fixed number of bytes) forces fixed-length fields and 40 fields. Choosing
// the event already in force changes nothing, so the field count that the
// field definitions derived stays.
void ChooseEndOfRecordEvent(Config& cfg, Integer endEvent);
void ChooseStartOfRecordEvent(Config& cfg, Integer startEvent);

// With fixed-length fields, the number of fields is the count of leading
// fields with a non-zero length; when all 40 have one it stays as it was.
void DeriveFixedFieldCount(Config& cfg);

// The target application dialog's OK: stores the trimmed title and command
// and the delay (the text's value rounded to a whole number) when any of them
// differs, then derives ActivateTarget and marks the configuration changed.
// Returns true when something was stored.
bool ApplyTargetApplication(Config& cfg, const std::string& title, const std::string& command,
                            const std::string& delayText);

// The preferences' two check boxes (0 or 1 each) as ButtonDisplay.
Integer ButtonDisplayFrom(int dtrButton, int breakButton);

// Trims blanks (spaces and tabs) at both ends.
std::string Trim(const std::string& text);

} // namespace config

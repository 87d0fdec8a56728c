#include "config/Validation.h"

#include <cmath>
#include <cstdlib>

namespace config {

namespace {

const char* const InvalidInput = "Invalid Input";
const char* const FieldLengthError = "Field Length Error";

Refusal Refuse(std::string text, std::string title, bool beep = false) {
    return Refusal{std::move(text), std::move(title), beep};
}

} // namespace

std::string SignedNumberText(long value) {
    return value >= 0 ? " " + std::to_string(value) : std::to_string(value);
}

std::string Trim(const std::string& text) {
    std::size_t b = text.find_first_not_of(" \t");
    if (b == std::string::npos)
        return "";
    std::size_t e = text.find_last_not_of(" \t");
    return text.substr(b, e - b + 1);
}

Check CheckBufferSize(long size) {
    if (size < 128 || size > 131072)
        return Refuse("Buffer Size Must Be Between 128 and 131072", InvalidInput);
    return std::nullopt;
}

Check CheckDelimitedFieldCount(long numFields) {
    if (numFields < 2 || numFields > 40)
        return Refuse("Number of Fields Must Be Between 2 and 40", InvalidInput);
    return std::nullopt;
}

Check CheckRecordLength(long length) {
    if (length < 1 || length > 32766)
        return Refuse("Record Length Must Be Between 1 and 32766", InvalidInput);
    return std::nullopt;
}

Check CheckTimeDelayTicks(long ticks) {
    if (ticks < 1 || ticks > 255)
        return Refuse("Time between records must range between 1 and 255", InvalidInput);
    return std::nullopt;
}

Check CheckFieldLength(long length) {
    if (length < 1 || length > 32766)
        return Refuse("Field length must be between 1 and 32766.", FieldLengthError);
    return std::nullopt;
}

Check CheckFieldLengthSum(const Config& cfg) {
    if (cfg.EndOfRecordEvent != 2)
        return std::nullopt;
    long sum = 0;
    for (int i = 1; i <= MaxFields; ++i)
        sum += cfg.FieldLength[i];
    if (sum != cfg.RecordLength)
        return Refuse("Total sum of field lengths is not equal to the total record length. (" +
                          SignedNumberText(cfg.RecordLength) + ").",
                      FieldLengthError, true);
    return std::nullopt;
}

Check CheckStartEvent(int startEvent, const std::string& startChars) {
    if (startEvent == 3 && startChars.empty())
        return Refuse("Invalid Input - Special Character Must Be Specified!",
                      "Invalid Start of Record Event", true);
    return std::nullopt;
}

Check CheckEndEvent(int endEvent, const std::string& endChars) {
    if (endEvent == 3 && endChars.empty())
        return Refuse("Invalid Input - Special Character Must Be Specified!",
                      "Invalid End of Record Event", true);
    return std::nullopt;
}

Check CheckTimerInterval(long interval) {
    if (interval >= 100000000L)
        return Refuse("Timer interval must be less than 100000000 milliseconds.", "");
    return std::nullopt;
}

Check CheckDdeTopic(bool specifyTopic, const std::string& topic) {
    if (specifyTopic && Trim(topic).empty())
        return Refuse("DDE Topic value cannot be blank.\rPlease enter the text that you want to "
                      "use as the DDE Topic for Corvane.",
                      "Invalid DDE Topic", true);
    return std::nullopt;
}

Check ValidateConfig(const Config& cfg) {
    for (long size :
         {static_cast<long>(cfg.InputBufferSize), static_cast<long>(cfg.OutputBufferSize)})
        if (auto r = CheckBufferSize(size))
            return r;
    if (auto r = CheckStartEvent(cfg.StartOfRecordEvent, cfg.StartOfRecordChars))
        return r;
    if (auto r = CheckEndEvent(cfg.EndOfRecordEvent, cfg.EndOfRecordChars))
        return r;
    if (cfg.EndOfRecordEvent == 1)
        if (auto r = CheckTimeDelayTicks(cfg.TimeDelayTicks))
            return r;
    if (cfg.EndOfRecordEvent == 2)
        if (auto r = CheckRecordLength(cfg.RecordLength))
            return r;
    if (cfg.RecordStructure == 1)
        if (auto r = CheckDelimitedFieldCount(cfg.NumFields))
            return r;
    if (cfg.RecordStructure == 2) {
        for (int i = 1; i <= MaxFields; ++i)
            if (cfg.FieldLength[i] != 0)
                if (auto r = CheckFieldLength(cfg.FieldLength[i]))
                    return r;
        if (auto r = CheckFieldLengthSum(cfg))
            return r;
    }
    if (cfg.NumFields < 1 || cfg.NumFields > MaxFields)
        return Refuse("Number of Fields Must Be Between 2 and 40", InvalidInput);
    if (auto r = CheckTimerInterval(cfg.TimerInterval))
        return r;
    return std::nullopt;
}

void ChooseEndOfRecordEvent(Config& cfg, Integer endEvent) {
    if (endEvent == cfg.EndOfRecordEvent)
        return;
    cfg.ConfigChanged = True;
    cfg.EndOfRecordEvent = endEvent;
    if (endEvent == 2) {
        cfg.RecordStructure = 2;
        cfg.NumFields = MaxFields;
    }
}

void ChooseStartOfRecordEvent(Config& cfg, Integer startEvent) {
    if (startEvent != cfg.StartOfRecordEvent)
        cfg.ConfigChanged = True;
    cfg.StartOfRecordEvent = startEvent;
}

void DeriveFixedFieldCount(Config& cfg) {
    if (cfg.RecordStructure != 2)
        return;
    for (int i = 1; i <= MaxFields; ++i) {
        if (cfg.FieldLength[i] == 0) {
            cfg.NumFields = static_cast<Integer>(i - 1);
            return;
        }
    }
}

bool ApplyTargetApplication(Config& cfg, const std::string& title, const std::string& command,
                            const std::string& delayText) {
    // The delay box accepts digits only; its value is rounded to a whole number.
    double delay = std::strtod(delayText.c_str(), nullptr);
    if (!std::isfinite(delay) || delay < -2147483648.0 || delay > 2147483647.0)
        delay = 0;
    Long delayValue = static_cast<Long>(std::nearbyint(delay));
    std::string newTitle = Trim(title), newCommand = Trim(command);
    if (newTitle == cfg.TargetAppTitle && newCommand == cfg.TargetAppCommand &&
        delayValue == cfg.InterCharDelay)
        return false;
    cfg.TargetAppTitle = newTitle;
    cfg.TargetAppCommand = newCommand;
    cfg.InterCharDelay = delayValue;
    cfg.ActivateTarget = (!newCommand.empty() || !newTitle.empty()) ? True : False;
    cfg.ConfigChanged = True;
    return true;
}

Integer ButtonDisplayFrom(int dtrButton, int breakButton) {
    return static_cast<Integer>((dtrButton ? 1 : 0) + 2 * (breakButton ? 1 : 0));
}

} // namespace config

#pragma once
// Delivery of a finished record in the configured transfer mode: typed as
// keystrokes (through the KeystrokeDelivery hook), published as DDE items
// (through the DdeDelivery hook), or appended as one line to the log file.
// Also builds, at activation, the output translation of the mode.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"
#include "output/KeystrokeDelivery.h"

#include <functional>
#include <optional>
#include <string>

namespace output {

// Appends one line to a file, opening and closing it each time.
class LogWriter {
public:
    virtual ~LogWriter() = default;
    // Returns an empty text on success, else the system's description of the error.
    virtual std::string Append(const std::string& path, const std::string& line) = 0;
};

class FileLogWriter : public LogWriter {
public:
    std::string Append(const std::string& path, const std::string& line) override;
};

// The DDE Server mode as seen from the dispatcher: every field shown is an
// item other programs may follow, and a command goes to the target program
// after each record.
class DdeDelivery {
public:
    virtual ~DdeDelivery() = default;
    virtual void FieldChanged(int field, const std::string& text) = 0;
    virtual void ExecuteTargetCommand(const std::string& command) = 0;
};

// "C:\Corvane.Log" is home/Corvane.Log, "D:\data\a.txt" is home/data/a.txt;
// other names are used as they are.
std::string MapLogPath(const std::string& name, const std::string& home);

class RecordDispatch {
public:
    RecordDispatch(config::Config& cfg, engine::RuntimeState& state, engine::Clock& clock,
                   config::MessageSink& messages, const engine::Locale& locale, LogWriter& log,
                   std::string home);

    // Fills OutputTranslation from the translation table of the transfer mode.
    void BuildOutputTranslation();

    // Delivers the processed fields; on return FieldValue(1..NumFields + 1)
    // are empty.
    void Deliver();

    // True while a log line waits for a file that could not be written (no
    // one could answer the error message); input waits meanwhile.
    bool LogPending() const { return pendingLine_.has_value(); }
    // Retries the waiting line at most once a second.
    void RetryPendingLog();
    // The waiting line, if any (written elsewhere when the program ends).
    const std::optional<std::string>& PendingLine() const { return pendingLine_; }

    // The record counter: the text read as a number (0 when it is none) plus one.
    void IncreaseRecordNumber();

    KeystrokeDelivery* keystrokes = nullptr;
    DdeDelivery* dde = nullptr;
    // Cancel on the log error: reset the input and suspend it.
    std::function<void()> cancelLogAction;

private:
    std::string BuildRecordText();
    void ShowFields();
    void DeliverLog();
    // Writes the line, asking about errors; false when it is left pending.
    bool WriteLogLine(const std::string& line);

    config::Config& cfg_;
    engine::RuntimeState& state_;
    engine::Clock& clock_;
    config::MessageSink& messages_;
    const engine::Locale& locale_;
    LogWriter& log_;
    std::string home_;
    std::optional<std::string> pendingLine_;
    double counter_ = 0;
    std::string counterText_;
    std::int32_t lastRetry_ = 0;
};

} // namespace output

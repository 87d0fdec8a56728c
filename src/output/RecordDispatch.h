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

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace output {

// Appends one line to a file, opening and closing it each time.
class LogWriter {
public:
    virtual ~LogWriter() = default;
    // Appends text followed by a carriage return and a line feed. False
    // when that fails, with the system's description of the error in error.
    virtual bool AppendLine(const std::string& path, const std::string& text,
                            std::string& error) = 0;
};

class FileLogWriter : public LogWriter {
public:
    bool AppendLine(const std::string& path, const std::string& text, std::string& error) override;
};

// The DDE items as seen from the dispatcher: every field shown and the record
// counter are items other programs may follow, and in DDE Server mode a
// command goes to the target program after each record.
class DdeDelivery {
public:
    virtual ~DdeDelivery() = default;
    virtual void FieldChanged(int field, const std::string& text) = 0;
    virtual void RecordNumberChanged(const std::string& text) = 0;
    virtual void ExecuteTargetCommand(const std::string& command) = 0;
};

// A record as it was delivered, for the program's other readers (a network
// link, a trend window): the record counter's text after it, and each field
// 1..NumFields as its box shows it.
struct DeliveredRecord {
    std::string recordNumber;
    std::vector<std::string> fields; // fields[0] is field 1
};

// "C:\Corvane.Log" is home/Corvane.Log, "D:\data\a.txt" is home/data/a.txt;
// other names are used as they are.
std::string MapLogPath(const std::string& name, const std::string& home);

class RecordDispatch {
public:
    RecordDispatch(config::Config& cfg, engine::RuntimeState& state, engine::Clock& clock,
                   config::MessageSink& messages, const engine::Locale& locale, LogWriter& log,
                   std::string home);

    // At activation: the output translation of the transfer mode, and the
    // log file's path on this system.
    void Activate();

    // Fills OutputTranslation from the translation table of the transfer mode.
    void BuildOutputTranslation();

    // Delivers the processed fields; on return FieldValue(1..NumFields + 1)
    // are empty.
    void Deliver();

    // True while log lines wait for a file that could not be written: the
    // user has not answered the error message yet, or nobody can (headless).
    // Input goes on meanwhile; new lines queue behind the waiting ones, so
    // the log keeps the records' order.
    bool LogPending() const { return !pendingLines_.empty(); }
    // Once a tick: acts on the user's answer to the error message when it
    // has come (Retry writes the waiting lines now, or asks again; Cancel
    // drops them, resets and suspends input), and otherwise tries the
    // waiting lines again, at most once a second.
    void RetryPendingLog();
    // Tries the waiting lines at once (when the runtime closes) and gives
    // back those that still could not be written, without their line ends.
    std::deque<std::string> TakeUnwrittenLines();

    // The record counter: the text read as a number (0 when it is none) plus
    // one, in the general number format.
    void IncreaseRecordNumber();

    KeystrokeDelivery* keystrokes = nullptr;
    DdeDelivery* dde = nullptr;
    // Each record that was delivered (counted), in every transfer mode.
    std::function<void(const DeliveredRecord&)> delivered;
    // Cancel on the log error: reset the input and suspend it.
    std::function<void()> cancelLogAction;

private:
    // Builds the record text into recordText_ and empties the fields.
    void BuildRecordText();
    void ShowFields();
    // Delivers in the transfer mode; false when the record was not
    // delivered after all (a target that would not come to the front).
    bool DeliverInMode();
    bool DeliverKeystrokes();
    void DeliverDde();
    void DeliverLog();
    void DeliverLogFields();
    void Announce();
    // Shows field i in its box, tells the DDE items and returns the text
    // shown; ShowAndEmpty then empties the field.
    const std::string& Show(int i);
    const std::string& ShowAndEmpty(int i);
    // Writes the record text as a line, asking about errors; a line nobody
    // has decided on waits in pendingLines_.
    void WriteLogLine(const std::string& text);
    // The same once a write failed (with logError_) or lines wait.
    void WriteLogLineAfterError(const std::string& text);
    // The first waiting line could not be written: asks the user until the
    // answer settles it (written on Retry, dropped on Cancel) or comes later.
    void AskUntilSettled();
    config::MessageAnswer AskAboutLog();
    // Cancel: the waiting lines are abandoned, input reset and suspended.
    void CancelLog();
    // Writes waiting lines from the oldest on until one fails; true when
    // none is left.
    bool WritePendingLines();

    config::Config& cfg_;
    engine::RuntimeState& state_;
    engine::Clock& clock_;
    config::MessageSink& messages_;
    const engine::Locale& locale_;
    LogWriter& log_;
    std::string home_;
    std::deque<std::string> pendingLines_;
    std::int32_t lastRetry_ = 0;
    bool deferred_ = false;                       // the lines wait for an answer or a retry
    std::optional<config::Message> question_;     // shown, not answered yet
    std::optional<config::MessageAnswer> answer_; // given, not acted on yet
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); // for late answers
    std::string logPath_;    // LogFileName mapped to this system, at activation
    std::string recordText_; // reused record after record
    std::string logError_;   // the system's words for the last failed write
};

} // namespace output

#include "output/RecordDispatch.h"

#include "engine/DateTimeTokens.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

namespace output {

bool FileLogWriter::AppendLine(const std::string& path, const std::string& text,
                               std::string& error) {
    errno = 0;
    std::ofstream out(path, std::ios::binary | std::ios::app);
    if (!out) {
        error = errno ? std::strerror(errno) : "the file cannot be opened";
        return false;
    }
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.write("\r\n", 2);
    out.close();
    if (!out) {
        error = errno ? std::strerror(errno) : "the file cannot be written";
        return false;
    }
    return true;
}

std::string MapLogPath(const std::string& name, const std::string& home) {
    bool drive = name.size() >= 3 && std::isalpha(static_cast<unsigned char>(name[0])) &&
                 name[1] == ':' && (name[2] == '\\' || name[2] == '/');
    if (!drive)
        return name;
    std::string rest = name.substr(3);
    std::replace(rest.begin(), rest.end(), '\\', '/');
    return home + "/" + rest;
}

RecordDispatch::RecordDispatch(config::Config& cfg, engine::RuntimeState& state,
                               engine::Clock& clock, config::MessageSink& messages,
                               const engine::Locale& locale, LogWriter& log, std::string home)
    : cfg_(cfg), state_(state), clock_(clock), messages_(messages), locale_(locale), log_(log),
      home_(std::move(home)) {}

void RecordDispatch::Activate() {
    BuildOutputTranslation();
    logPath_ = MapLogPath(cfg_.LogFileName, home_);
}

void RecordDispatch::BuildOutputTranslation() {
    for (int i = 0; i < 256; ++i) {
        std::string& out = state_.OutputTranslation[static_cast<std::size_t>(i)];
        switch (cfg_.TransferMode) {
        case config::SendKeystrokes:
            out = cfg_.TranslationTable[static_cast<std::size_t>(i)];
            if (out == "NUL")
                out = std::string(1, '\0');
            break;
        case config::DdeServer:
            out = std::string(1, static_cast<std::size_t>(i) < cfg_.DdeTranslation.size()
                                     ? cfg_.DdeTranslation[static_cast<std::size_t>(i)]
                                     : static_cast<char>(i));
            break;
        default:
            out = std::string(1, static_cast<std::size_t>(i) < cfg_.LogTranslation.size()
                                     ? cfg_.LogTranslation[static_cast<std::size_t>(i)]
                                     : static_cast<char>(i));
        }
    }
}

namespace {

int FieldCount(const config::Config& cfg) {
    return std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
}

// Empties a field, keeping the storage of a text for the next record.
void EmptyField(engine::Value& field) {
    if (field.IsText())
        field.TextRef().clear();
    else
        field = engine::Value::Text("");
}

} // namespace

void RecordDispatch::IncreaseRecordNumber() {
    state_.RecordNumber.Increase(locale_);
    if (dde)
        dde->RecordNumberChanged(state_.RecordNumber);
}

void RecordDispatch::BuildRecordText() {
    recordText_.clear();
    if (!cfg_.RecordPreamble.empty())
        recordText_ = engine::ExpandDateTimeTokens(cfg_.RecordPreamble, clock_);
    const int n = FieldCount(cfg_);
    for (int i = 1; i <= n; ++i) {
        auto& field = state_.FieldValue[static_cast<std::size_t>(i)];
        if (field.IsText())
            recordText_ += field.AsText();
        else
            recordText_ += field.ToText(locale_);
        EmptyField(field);
        const std::string& postamble = cfg_.FieldPostamble[static_cast<std::size_t>(i)];
        if (!postamble.empty())
            recordText_ += engine::ExpandDateTimeTokens(postamble, clock_);
    }
    EmptyField(state_.FieldValue[static_cast<std::size_t>(n + 1)]);
}

void RecordDispatch::ShowFields() {
    const int n = FieldCount(cfg_);
    for (int i = 1; i <= n; ++i)
        Show(i);
}

inline bool RecordDispatch::DeliverInMode() {
    switch (cfg_.TransferMode) {
    case config::SendKeystrokes:
        return DeliverKeystrokes();
    case config::DdeServer:
        DeliverDde();
        return true;
    default:
        DeliverLog();
        return true;
    }
}

void RecordDispatch::Deliver() {
    // Without a reader of delivered records, the usual case, the delivery
    // of the mode is the last thing done here.
    if (delivered) [[unlikely]] {
        if (DeliverInMode())
            Announce();
        return;
    }
    DeliverInMode();
}

void RecordDispatch::Announce() {
    DeliveredRecord record;
    record.recordNumber = state_.RecordNumber;
    const int n = FieldCount(cfg_);
    record.fields.assign(state_.FieldText.begin() + 1, state_.FieldText.begin() + 1 + n);
    delivered(record);
}

bool RecordDispatch::DeliverKeystrokes() {
    ShowFields();
    const std::string before = state_.RecordNumber;
    IncreaseRecordNumber();
    const std::string counted = state_.RecordNumber;
    auto build = [this] {
        BuildRecordText();
        return recordText_;
    };
    if (!keystrokes) {
        build(); // nowhere to type: the fields are emptied all the same
    } else if (!keystrokes->DeliverRecord(build)) {
        // Not typed: the counter counts delivered records only. Unless
        // someone set it meanwhile, it goes back to what it was.
        if (state_.RecordNumber == counted) {
            state_.RecordNumber = before;
            if (dde)
                dde->RecordNumberChanged(before);
        }
        return false;
    }
    return true;
}

void RecordDispatch::DeliverDde() {
    ShowFields();
    const int n = FieldCount(cfg_);
    for (int i = 1; i <= n + 1; ++i)
        EmptyField(state_.FieldValue[static_cast<std::size_t>(i)]);
    IncreaseRecordNumber();
    if (dde && !cfg_.DdeCmdText.empty())
        dde->ExecuteTargetCommand(cfg_.DdeCmdText);
}

// A field that holds a number or another value is shown in the general
// format. Kept out of line: the fast path of the callers is the text field.
[[gnu::noinline]] static void ShowValue(const engine::Value& field, std::string& shown,
                                        const engine::Locale& locale) {
    shown = field.ToText(locale);
}

const std::string& RecordDispatch::Show(int i) {
    const auto& field = state_.FieldValue[static_cast<std::size_t>(i)];
    std::string& shown = state_.FieldText[static_cast<std::size_t>(i)];
    if (const std::string* text = field.TextIf())
        shown.assign(*text);
    else
        ShowValue(field, shown, locale_);
    if (dde)
        dde->FieldChanged(i, shown);
    return shown;
}

const std::string& RecordDispatch::ShowAndEmpty(int i) {
    const std::string& shown = Show(i);
    EmptyField(state_.FieldValue[static_cast<std::size_t>(i)]);
    return shown;
}

void RecordDispatch::DeliverLog() {
    // A single field without macros, the commonest record, is its own line.
    if (cfg_.NumFields <= 1 && cfg_.RecordPreamble.empty() && cfg_.FieldPostamble[1].empty()) {
        const std::string& line = ShowAndEmpty(1);
        EmptyField(state_.FieldValue[2]);
        IncreaseRecordNumber();
        WriteLogLine(line);
    } else {
        DeliverLogFields();
    }
}

void RecordDispatch::DeliverLogFields() {
    // Each field is shown, added to the line with its postamble and emptied.
    const int n = FieldCount(cfg_);
    recordText_.clear();
    if (!cfg_.RecordPreamble.empty())
        recordText_ = engine::ExpandDateTimeTokens(cfg_.RecordPreamble, clock_);
    for (int i = 1; i <= n; ++i) {
        recordText_ += ShowAndEmpty(i);
        const std::string& postamble = cfg_.FieldPostamble[static_cast<std::size_t>(i)];
        if (!postamble.empty())
            recordText_ += engine::ExpandDateTimeTokens(postamble, clock_);
    }
    EmptyField(state_.FieldValue[static_cast<std::size_t>(n + 1)]);
    IncreaseRecordNumber();
    WriteLogLine(recordText_);
}

void RecordDispatch::WriteLogLine(const std::string& text) {
    if (pendingLines_.empty() && log_.AppendLine(logPath_, text, logError_))
        return;
    WriteLogLineAfterError(text);
}

void RecordDispatch::WriteLogLineAfterError(const std::string& text) {
    // Later lines wait behind the first one that failed, so that the log
    // keeps the records' order; the failure was reported for that one.
    pendingLines_.push_back(text);
    if (pendingLines_.size() == 1)
        AskUntilSettled();
}

config::MessageAnswer RecordDispatch::AskAboutLog() {
    messages_.Beep();
    config::Message message{"File I/O Error Writing To: " + cfg_.LogFileName + "\r" + logError_,
                            "Corvane - COM" + std::to_string(cfg_.PortNumber + 1) + " ERROR!",
                            config::MessageIcon::Exclamation, config::MessageButtons::RetryCancel};
    // The answer may come later, from a box the runtime goes on reading
    // beside: it is acted on at the next tick.
    std::weak_ptr<bool> alive = alive_;
    const config::MessageAnswer answer =
        messages_.Ask(message, [this, alive](config::MessageAnswer given) {
            if (alive.lock())
                answer_ = given;
        });
    if (answer == config::MessageAnswer::Deferred)
        question_ = std::move(message);
    return answer;
}

void RecordDispatch::AskUntilSettled() {
    while (true) {
        switch (AskAboutLog()) {
        case config::MessageAnswer::Retry:
            if (WritePendingLines())
                return;
            continue;
        case config::MessageAnswer::Deferred:
            // Kept, and tried again once a second until the answer comes.
            deferred_ = true;
            lastRetry_ = clock_.TickCount();
            return;
        default:
            CancelLog();
            return;
        }
    }
}

void RecordDispatch::CancelLog() {
    pendingLines_.clear();
    deferred_ = false;
    if (cancelLogAction)
        cancelLogAction();
}

bool RecordDispatch::WritePendingLines() {
    std::size_t written = 0;
    while (!pendingLines_.empty() && log_.AppendLine(logPath_, pendingLines_.front(), logError_)) {
        pendingLines_.pop_front();
        ++written;
    }
    if (!pendingLines_.empty())
        return false;
    // The question no longer holds.
    if (question_) {
        messages_.Retract(*question_);
        question_.reset();
    }
    if (deferred_ && written > 0)
        messages_.Show({"The log file can be written again: " + std::to_string(written) +
                            (written == 1 ? " waiting record was" : " waiting records were") +
                            " written to " + cfg_.LogFileName + ".",
                        "Corvane - COM" + std::to_string(cfg_.PortNumber + 1),
                        config::MessageIcon::Information, config::MessageButtons::Ok});
    deferred_ = false;
    return true;
}

void RecordDispatch::RetryPendingLog() {
    if (answer_) {
        const config::MessageAnswer answer = *answer_;
        answer_.reset();
        question_.reset();
        // An answer that comes after the lines were written needs nothing.
        if (pendingLines_.empty())
            return;
        if (answer == config::MessageAnswer::Cancel)
            CancelLog();
        else if (!WritePendingLines())
            AskUntilSettled();
        return;
    }
    if (pendingLines_.empty())
        return;
    std::int32_t now = clock_.TickCount();
    std::int32_t since = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                                   static_cast<std::uint32_t>(lastRetry_));
    if (since >= 0 && since < 1000)
        return;
    lastRetry_ = now;
    WritePendingLines();
}

std::deque<std::string> RecordDispatch::TakeUnwrittenLines() {
    WritePendingLines();
    if (question_) {
        messages_.Retract(*question_);
        question_.reset();
    }
    answer_.reset();
    deferred_ = false;
    return std::exchange(pendingLines_, {});
}

} // namespace output

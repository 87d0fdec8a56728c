#include "output/RecordDispatch.h"

#include "engine/DateTimeTokens.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

namespace output {

std::string FileLogWriter::Append(const std::string& path, const std::string& line) {
    errno = 0;
    std::ofstream out(path, std::ios::binary | std::ios::app);
    if (!out)
        return errno ? std::strerror(errno) : "the file cannot be opened";
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
    out.close();
    if (!out)
        return errno ? std::strerror(errno) : "the file cannot be written";
    return "";
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

// Adds one to a plain decimal counter in place; false for any other text,
// and from 15 digits on, where the general number format takes over.
bool IncrementDigits(std::string& text) {
    if (text.empty() || text.size() >= 15 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    for (std::size_t i = text.size(); i-- > 0;) {
        if (text[i] != '9') {
            ++text[i];
            return true;
        }
        text[i] = '0';
    }
    text.insert(text.begin(), '1');
    return true;
}

} // namespace

void RecordDispatch::IncreaseRecordNumber() {
    // The counter is text that the user (or another program) may change; the
    // number is read from it again only when it differs from what was last
    // written.
    if (state_.RecordNumber != counterText_ || !IncrementDigits(counterText_)) {
        double counter = engine::LeadingNumber(state_.RecordNumber, locale_.DecimalSeparator) + 1;
        if (counter > -1e15 && counter < 1e15 &&
            counter == static_cast<double>(static_cast<long long>(counter)))
            counterText_ = std::to_string(static_cast<long long>(counter));
        else
            counterText_ = engine::GeneralNumber(counter, false, locale_);
    }
    state_.RecordNumber = counterText_;
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
    for (int i = 1; i <= n; ++i) {
        const auto& field = state_.FieldValue[static_cast<std::size_t>(i)];
        std::string& shown = state_.FieldText[static_cast<std::size_t>(i)];
        if (field.IsText())
            shown = field.AsText();
        else
            shown = field.ToText(locale_);
        if (dde && cfg_.TransferMode != config::SendKeystrokes)
            dde->FieldChanged(i, shown);
    }
}

void RecordDispatch::Deliver() {
    switch (cfg_.TransferMode) {
    case config::SendKeystrokes: {
        ShowFields();
        IncreaseRecordNumber();
        auto build = [this] {
            BuildRecordText();
            return recordText_;
        };
        if (keystrokes)
            keystrokes->DeliverRecord(build);
        else
            build(); // nowhere to type: the fields are emptied all the same
        break;
    }
    case config::DdeServer: {
        ShowFields();
        const int n = FieldCount(cfg_);
        for (int i = 1; i <= n + 1; ++i)
            EmptyField(state_.FieldValue[static_cast<std::size_t>(i)]);
        IncreaseRecordNumber();
        if (dde && !cfg_.DdeCmdText.empty())
            dde->ExecuteTargetCommand(cfg_.DdeCmdText);
        break;
    }
    default:
        DeliverLog();
    }
}

void RecordDispatch::DeliverLog() {
    ShowFields();
    BuildRecordText();
    recordText_ += "\r\n";
    IncreaseRecordNumber();
    WriteLogLine(recordText_);
}

const std::string& RecordDispatch::LogPath() {
    if (logName_ != cfg_.LogFileName || logPath_.empty()) {
        logName_ = cfg_.LogFileName;
        logPath_ = MapLogPath(logName_, home_);
    }
    return logPath_;
}

void RecordDispatch::WriteLogLine(const std::string& line) {
    if (!pendingLines_.empty()) {
        // The failure was reported when the first line had to wait; later
        // lines wait behind it so that the log keeps the records' order.
        pendingLines_.push_back(line);
        return;
    }
    while (true) {
        std::string error = log_.Append(LogPath(), line);
        if (error.empty())
            return;
        messages_.Beep();
        config::Message message{"File I/O Error Writing To: " + cfg_.LogFileName + "\r" + error,
                                "Corvane - COM" + std::to_string(cfg_.PortNumber + 1) + " ERROR!",
                                config::MessageIcon::Exclamation,
                                config::MessageButtons::RetryCancel};
        switch (messages_.Show(message)) {
        case config::MessageAnswer::Retry:
            continue;
        case config::MessageAnswer::Deferred:
            // Nobody can answer: keep the line and try again once a second.
            pendingLines_.push_back(line);
            lastRetry_ = clock_.TickCount();
            return;
        default:
            if (cancelLogAction)
                cancelLogAction();
            return; // the line is abandoned
        }
    }
}

void RecordDispatch::WritePendingLines() {
    std::size_t written = 0;
    while (!pendingLines_.empty() && log_.Append(LogPath(), pendingLines_.front()).empty()) {
        pendingLines_.pop_front();
        ++written;
    }
    if (written > 0 && pendingLines_.empty())
        messages_.Show({"The log file can be written again: " + std::to_string(written) +
                            (written == 1 ? " waiting record was" : " waiting records were") +
                            " written to " + cfg_.LogFileName + ".",
                        "Corvane - COM" + std::to_string(cfg_.PortNumber + 1),
                        config::MessageIcon::Information, config::MessageButtons::Ok});
}

void RecordDispatch::RetryPendingLog() {
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
    return std::exchange(pendingLines_, {});
}

} // namespace output

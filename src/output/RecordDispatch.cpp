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

// Plain decimal digits without a leading zero, short of the 15 digits from
// which the general number format takes over.
bool IsPlainCounter(const std::string& text) {
    return !text.empty() && text.size() < 15 && (text[0] != '0' || text.size() == 1) &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c - '0') <= 9; });
}

// Adds one to a plain counter in place.
void IncrementDigits(std::string& text) {
    std::size_t i = text.size();
    while (i > 0 && text[i - 1] == '9')
        text[--i] = '0';
    if (i == 0)
        text.insert(text.begin(), '1');
    else
        ++text[i - 1];
}

} // namespace

void RecordDispatch::IncreaseRecordNumber() {
    // The counter is text that the user (or another program) may change: it
    // is read as a number (text that is none counts as 0), increased and
    // written back in the general number format. Plain digits, which is what
    // it holds unless someone wrote something else, are counted in place.
    std::string& counter = state_.RecordNumber;
    if (IsPlainCounter(counter)) {
        IncrementDigits(counter);
    } else {
        const double next = engine::LeadingNumber(counter, locale_.DecimalSeparator) + 1;
        if (next > -1e15 && next < 1e15 &&
            next == static_cast<double>(static_cast<long long>(next)))
            counter = std::to_string(static_cast<long long>(next));
        else
            counter = engine::GeneralNumber(next, false, locale_);
    }
    if (dde)
        dde->RecordNumberChanged(counter);
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
        if (dde)
            dde->FieldChanged(i, shown);
    }
}

void RecordDispatch::Deliver() {
    switch (cfg_.TransferMode) {
    case config::SendKeystrokes: {
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
        } else if (!keystrokes->DeliverRecord(build) && state_.RecordNumber == counted) {
            // Not typed: the counter counts delivered records only. Unless
            // someone set it meanwhile, it goes back to what it was.
            state_.RecordNumber = before;
            if (dde)
                dde->RecordNumberChanged(before);
        }
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
    // In one pass: each field is shown, added to the line with its postamble
    // and emptied (keeping its storage for the next record).
    const int n = FieldCount(cfg_);
    bool macros = !cfg_.RecordPreamble.empty();
    recordText_.clear();
    if (macros)
        recordText_ = engine::ExpandDateTimeTokens(cfg_.RecordPreamble, clock_);
    for (int i = 1; i <= n; ++i) {
        auto& field = state_.FieldValue[static_cast<std::size_t>(i)];
        std::string& shown = state_.FieldText[static_cast<std::size_t>(i)];
        if (const std::string* text = field.TextIf())
            shown.assign(*text);
        else
            shown = field.ToText(locale_);
        EmptyField(field);
        if (dde)
            dde->FieldChanged(i, shown);
        const std::string& postamble = cfg_.FieldPostamble[static_cast<std::size_t>(i)];
        if (n == 1 && !macros && postamble.empty())
            break; // the line is the one field's text as shown
        recordText_ += shown;
        if (!postamble.empty()) {
            recordText_ += engine::ExpandDateTimeTokens(postamble, clock_);
            macros = true;
        }
    }
    EmptyField(state_.FieldValue[static_cast<std::size_t>(n + 1)]);
    IncreaseRecordNumber();
    WriteLogLine(n == 1 && !macros ? state_.FieldText[1] : recordText_);
}

void RecordDispatch::WriteLogLine(const std::string& text) {
    if (!pendingLines_.empty()) {
        // The failure was reported when the first line had to wait; later
        // lines wait behind it so that the log keeps the records' order.
        pendingLines_.push_back(text);
        return;
    }
    std::string error;
    while (true) {
        if (log_.AppendLine(logPath_, text, error))
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
            pendingLines_.push_back(text);
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
    std::string error;
    while (!pendingLines_.empty() && log_.AppendLine(logPath_, pendingLines_.front(), error)) {
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

#include "output/RecordDispatch.h"

#include "engine/DateTimeTokens.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

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

void RecordDispatch::IncreaseRecordNumber() {
    // The counter is text that the user (or another program) may change; it
    // is read back only when it differs from what was last written.
    if (state_.RecordNumber != counterText_)
        counter_ = engine::LeadingNumber(state_.RecordNumber, locale_.DecimalSeparator);
    counter_ += 1;
    if (counter_ >= 0 && counter_ < 1e15 &&
        counter_ == static_cast<double>(static_cast<long long>(counter_)))
        counterText_ = std::to_string(static_cast<long long>(counter_));
    else
        counterText_ = engine::GeneralNumber(counter_, false, locale_);
    state_.RecordNumber = counterText_;
}

namespace {
int FieldCount(const config::Config& cfg) {
    return std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
}
} // namespace

std::string RecordDispatch::BuildRecordText() {
    std::string text;
    if (!cfg_.RecordPreamble.empty())
        text = engine::ExpandDateTimeTokens(cfg_.RecordPreamble, clock_);
    const int n = FieldCount(cfg_);
    for (int i = 1; i <= n; ++i) {
        auto& field = state_.FieldValue[static_cast<std::size_t>(i)];
        text += field.ToText(locale_);
        const std::string& postamble = cfg_.FieldPostamble[static_cast<std::size_t>(i)];
        if (!postamble.empty())
            text += engine::ExpandDateTimeTokens(postamble, clock_);
        field = engine::Value::Text("");
    }
    state_.FieldValue[static_cast<std::size_t>(n + 1)] = engine::Value::Text("");
    return text;
}

void RecordDispatch::ShowFields() {
    const int n = FieldCount(cfg_);
    for (int i = 1; i <= n; ++i) {
        state_.FieldText[static_cast<std::size_t>(i)] =
            state_.FieldValue[static_cast<std::size_t>(i)].ToText(locale_);
        if (dde && cfg_.TransferMode != config::SendKeystrokes)
            dde->FieldChanged(i, state_.FieldText[static_cast<std::size_t>(i)]);
    }
}

void RecordDispatch::Deliver() {
    switch (cfg_.TransferMode) {
    case config::SendKeystrokes: {
        ShowFields();
        IncreaseRecordNumber();
        auto build = [this] { return BuildRecordText(); };
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
            state_.FieldValue[static_cast<std::size_t>(i)] = engine::Value::Text("");
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
    std::string line = BuildRecordText() + "\r\n";
    IncreaseRecordNumber();
    WriteLogLine(line);
}

bool RecordDispatch::WriteLogLine(const std::string& line) {
    const std::string path = MapLogPath(cfg_.LogFileName, home_);
    while (true) {
        std::string error = log_.Append(path, line);
        if (error.empty())
            return true;
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
            pendingLine_ = line;
            lastRetry_ = clock_.TickCount();
            return false;
        default:
            if (cancelLogAction)
                cancelLogAction();
            return true; // the line is abandoned
        }
    }
}

void RecordDispatch::RetryPendingLog() {
    if (!pendingLine_)
        return;
    std::int32_t now = clock_.TickCount();
    std::int32_t since = static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                                   static_cast<std::uint32_t>(lastRetry_));
    if (since >= 0 && since < 1000)
        return;
    lastRetry_ = now;
    if (log_.Append(MapLogPath(cfg_.LogFileName, home_), *pendingLine_).empty())
        pendingLine_.reset();
}

} // namespace output

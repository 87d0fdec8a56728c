#include "config/ConfigFile.h"

#include "config/DataFile.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fstream>
#include <optional>
#include <sstream>

namespace config {

const char* const BannerV300 =
    "Software Vardle Version 3.00 Settings File -- Serial Instrument Data Capture.";

namespace {

const char* const BannerV11 =
    "Software Vardle Version 1.1 Settings File -- Serial Instrument Data Capture.";
const char* const BannerV200 =
    "Software Vardle Version 2.00 Settings File -- Serial Instrument Data Capture.";
const char* const BannerPlain = "Software Vardle Settings File -- Serial Instrument Data Capture";

const char* const FileErrorTitle = "Corvane File Error";
// A configuration file holds a few kilobytes; anything far larger is read no
// further.
constexpr std::uintmax_t MaxConfigFileBytes = 1024 * 1024;

const char* const PreviousVersionTitle = "Corvane Version 3.0";
const char* const PreviousVersionText =
    "The selected configuration file was created with a previous version of Corvane. If you "
    "save it from this version of Corvane it will not be readable by your previous version.";

// A text line longer than this is cut; the rest of it is skipped. No valid
// line comes near it, and it keeps a hostile file from taking unbounded memory.
constexpr std::size_t MaxLineLength = 1 << 16;
// Lengths are read back as 16-bit Integers.
constexpr long MaxRawLength = 32767;

enum class Layout { V11, V200, V300 };

std::optional<Layout> LayoutOf(const std::string& banner) {
    if (banner == BannerV11)
        return Layout::V11;
    if (banner == BannerV200)
        return Layout::V200;
    if (banner == BannerV300 || banner == BannerPlain)
        return Layout::V300;
    return std::nullopt;
}

// Sequential reading of a configuration file. Every read either succeeds or
// marks the reader failed (end of file, a number out of range); once failed,
// every later read fails too, so the loader stops storing values. It reads
// the stream's buffer directly: a file is thousands of short lines, and the
// stream's per-character calls would cost more than the rest of the load.
// A file that cannot be read (a folder, a disk error) ends where reading
// failed, as the stream itself would take it.
class Reader {
public:
    explicit Reader(std::istream& in) : buf_(*in.rdbuf()) {}

    bool ok() const { return ok_; }
    bool AtEnd() { return Peek() == Eof; }
    void Fail() { ok_ = false; }

    // A line up to CR (a following LF is consumed) or a lone LF.
    std::optional<std::string> Line() {
        if (!ok_ || AtEnd()) {
            ok_ = false;
            return std::nullopt;
        }
        std::string line;
        for (int c = Take(); c != Eof; c = Take()) {
            if (c == '\r') {
                if (Peek() == '\n')
                    Take();
                break;
            }
            if (c == '\n')
                break;
            if (line.size() < MaxLineLength)
                line.push_back(static_cast<char>(c));
        }
        return line;
    }

    // A number on a line of its own: blanks around it are skipped, a fraction
    // is rounded, the rest of the line is ignored. Fails outside [lo, hi].
    // The decimal point is always '.', whatever the user's locale says.
    std::optional<long> Number(long lo, long hi) {
        auto line = Line();
        if (!line)
            return std::nullopt;
        const char* p = line->data();
        const char* const end = p + line->size();
        while (p < end && (*p == ' ' || *p == '\t'))
            ++p;
        const char* q = p < end && (*p == '-' || *p == '+') ? p + 1 : p;
        while (q < end && (std::isdigit(static_cast<unsigned char>(*q)) || *q == '.'))
            ++q;
        double v = 0;
        std::from_chars(p < q && *p == '+' ? p + 1 : p, std::min(q, p + 40), v);
        v = std::nearbyint(v);
        if (!(v >= static_cast<double>(lo) && v <= static_cast<double>(hi))) {
            ok_ = false;
            return std::nullopt;
        }
        return static_cast<long>(v);
    }

    // Exactly count raw bytes.
    std::optional<std::string> Raw(long count) {
        if (!ok_ || count < 0 || count > MaxRawLength) {
            ok_ = false;
            return std::nullopt;
        }
        std::string bytes(static_cast<std::size_t>(count), '\0');
        std::streamsize got = 0;
        try {
            got = buf_.sgetn(bytes.data(), count);
        } catch (const std::exception&) {
        }
        if (got != count) {
            ok_ = false;
            return std::nullopt;
        }
        return bytes;
    }

    // A length line followed immediately by that many bytes (older layouts).
    std::optional<std::string> CountedString() {
        auto n = Number(0, MaxRawLength);
        if (!n)
            return std::nullopt;
        return Raw(*n);
    }

private:
    static constexpr int Eof = std::char_traits<char>::eof();

    // The buffer throws when the system's read fails.
    int Peek() {
        try {
            return buf_.sgetc();
        } catch (const std::exception&) {
            return Eof;
        }
    }
    int Take() {
        try {
            return buf_.sbumpc();
        } catch (const std::exception&) {
            return Eof;
        }
    }

    std::streambuf& buf_;
    bool ok_ = true;
};

// Stores what a successful read gave; leaves the target alone otherwise.
void Put(Integer& target, std::optional<long> v) {
    if (v)
        target = static_cast<Integer>(*v);
}
void Put(Long& target, std::optional<long> v) {
    if (v)
        target = static_cast<Long>(*v);
}
void Put(std::string& target, std::optional<std::string> v) {
    if (v)
        target = std::move(*v);
}

std::optional<long> Int(Reader& r) {
    return r.Number(-32768, 32767);
}
std::optional<long> Lng(Reader& r) {
    return r.Number(-2147483647L - 1, 2147483647L);
}

// A translation string rebuilt from 256 code lines.
void ReadCodeString(Reader& r, std::string& target) {
    std::string built;
    for (int i = 0; i < 256; ++i) {
        auto code = r.Number(0, 255);
        if (!code)
            return;
        built.push_back(static_cast<char>(*code));
    }
    target = std::move(built);
}

void ReadPreInputEntry(Reader& r, std::string& target) {
    auto line = r.Line();
    if (!line)
        return;
    if (*line == "Ignore" || *line == "Void Record") {
        target = *line;
        return;
    }
    std::size_t i = line->find_first_not_of(" \t");
    double v = i == std::string::npos ? 0 : std::strtod(line->substr(i, 40).c_str(), nullptr);
    v = std::nearbyint(v);
    if (!(v >= 0 && v <= 255)) {
        r.Fail();
        return;
    }
    target = std::string(1, static_cast<char>(static_cast<int>(v)));
}

// The older layouts keep the delimiter itself on a line: its first character
// is the delimiter and the rest of the line is dropped; an empty line leaves
// the delimiter as it was. The record holds one character, as the current
// layout stores it, so that a save keeps what was read.
void ReadDelimiterLine(Reader& r, Config& cfg) {
    if (auto line = r.Line(); line && !line->empty())
        cfg.DelimiterChar = line->substr(0, 1);
}

void ReadPortAndRecordLines(Reader& r, Config& cfg, Layout layout) {
    Put(cfg.PortNumber, Int(r));
    Put(cfg.BaudRate, Int(r));
    Put(cfg.Parity, Int(r));
    Put(cfg.DataBits, Int(r));
    Put(cfg.StopBits, Int(r));
    Put(cfg.FlowControl, Int(r));
    Put(cfg.InputBufferSize, Lng(r));
    Put(cfg.OutputBufferSize, Lng(r));
    Put(cfg.BeepOnInput, Int(r));
    Put(cfg.TransferMode, Int(r));
    Put(cfg.TimeDelayTicks, Int(r));
    Put(cfg.StartOfRecordEvent, Int(r));
    Put(cfg.EndOfRecordEvent, Int(r));
    Put(cfg.RecordStructure, Int(r));
    Put(cfg.RecordLength, Int(r));
    Put(cfg.NumFields, Int(r));
    if (layout == Layout::V200) {
        ReadDelimiterLine(r, cfg);
    } else if (auto code = r.Number(0, 255)) {
        cfg.DelimiterChar = std::string(1, static_cast<char>(*code));
    }
    Put(cfg.TargetAppTitle, r.Line());
    Put(cfg.TargetAppCommand, r.Line());
    Put(cfg.ActivateTarget, Int(r));
    Put(cfg.DdeCmdApp, r.Line());
    Put(cfg.DdeCmdTopic, r.Line());
    Put(cfg.DdeCmdText, r.Line());
}

void ReadTables(Reader& r, Config& cfg) {
    for (auto& entry : cfg.TranslationTable)
        Put(entry, r.Line());
    for (auto& entry : cfg.PreInputTranslation)
        ReadPreInputEntry(r, entry);
    ReadCodeString(r, cfg.DdeTranslation);
    ReadCodeString(r, cfg.LogTranslation);
}

void ReadFieldGroups(Reader& r, Config& cfg, Layout layout) {
    for (int i = 1; i <= NumOutputStrings; ++i) {
        Put(cfg.OutputStringName[i], r.Line());
        if (layout == Layout::V200)
            Put(cfg.OutputString[i], r.CountedString());
        for (int f : {i, i + 20}) {
            Put(cfg.FieldFilter[f], r.Line());
            Put(cfg.FieldLength[f], Int(r));
            if (layout == Layout::V200)
                Put(cfg.FieldPostamble[f], r.CountedString());
        }
        Put(cfg.FieldFormat[i], r.Line());
        Put(cfg.FieldFormat[i + 20], r.Line());
    }
}

void ReadPreferences(Reader& r, Config& cfg) {
    Put(cfg.LogFileName, r.Line());
    Put(cfg.MinimizeOnActivation, Int(r));
    Put(cfg.CmdLinkApp, r.Line());
    Put(cfg.CmdLinkTopic, r.Line());
    Put(cfg.CmdLinkItem, r.Line());
    Put(cfg.CmdLinkAuto, Int(r));
    Put(cfg.OutLinkApp, r.Line());
    Put(cfg.OutLinkTopic, r.Line());
    Put(cfg.OutLinkItem, r.Line());
    Put(cfg.OutLinkAuto, Int(r));
    Put(cfg.StripOutputCrLf, Int(r));
    Put(cfg.DateTimeFormat, r.Line());
    Put(cfg.ShowDateTime, Int(r));
    Put(cfg.ButtonDisplay, Int(r));
}

// The 3.00 part after the preferences: timer, hot keys, expressions, the
// length lines and the raw block.
void ReadV300Tail(Reader& r, Config& cfg) {
    Put(cfg.TimerInterval, Lng(r));
    Put(cfg.TimerEnabled, Int(r));
    Put(cfg.ActivateSuspended, Int(r));
    Put(cfg.AlwaysOnTop, Int(r));
    for (int i = 0; i < NumHotKeys; ++i) {
        Put(cfg.HotKeyAction[i], Int(r));
        Put(cfg.HotKeyCode[i], Int(r));
    }
    for (int i = 1; i <= MaxFields; ++i)
        Put(cfg.FieldExpression[i], r.Line());

    // Lengths: acknowledgement, timer, preamble, start, end; then per group
    // output string i, postamble i, postamble i+20; then the hot-key texts.
    auto len = [&r] { return r.Number(-2147483647L - 1, 2147483647L); };
    auto ackLen = len(), timerLen = len(), preambleLen = len(), startLen = len(), endLen = len();
    std::array<std::optional<long>, NumOutputStrings + 1> outLen{};
    std::array<std::optional<long>, MaxFields + 1> postLen{};
    for (int i = 1; i <= NumOutputStrings; ++i) {
        outLen[i] = len();
        postLen[i] = len();
        postLen[i + 20] = len();
    }
    std::array<std::optional<long>, NumHotKeys> hotLen{};
    for (auto& l : hotLen)
        l = len();
    if (!r.ok())
        return;

    // The raw block keeps another order: start, end, acknowledgement, timer,
    // preamble, then the output strings, postambles 1..40 and hot-key texts.
    Put(cfg.StartOfRecordChars, r.Raw(*startLen));
    Put(cfg.EndOfRecordChars, r.Raw(*endLen));
    Put(cfg.AckString, r.Raw(*ackLen));
    Put(cfg.TimerString, r.Raw(*timerLen));
    Put(cfg.RecordPreamble, r.Raw(*preambleLen));
    for (int i = 1; i <= NumOutputStrings; ++i)
        Put(cfg.OutputString[i], r.Raw(*outLen[i]));
    for (int i = 1; i <= MaxFields; ++i)
        Put(cfg.FieldPostamble[i], r.Raw(*postLen[i]));
    for (int i = 0; i < NumHotKeys; ++i)
        Put(cfg.HotKeyData[i], r.Raw(*hotLen[i]));
}

// The two closing lines, both optional.
void ReadClosingLines(Reader& r, Config& cfg) {
    Put(cfg.DdeTopicName, r.Line());
    Put(cfg.InterCharDelay, Lng(r));
}

void ShowPreviousVersion(MessageSink& messages) {
    messages.Beep();
    messages.Show(
        {PreviousVersionText, PreviousVersionTitle, MessageIcon::Exclamation, MessageButtons::Ok});
}

LoadStatus LoadV11(Config& cfg, Reader& r, MessageSink& messages, bool duringStartup) {
    Put(cfg.PortNumber, Int(r));
    Put(cfg.BaudRate, Int(r));
    Put(cfg.Parity, Int(r));
    Put(cfg.DataBits, Int(r));
    Put(cfg.StopBits, Int(r));
    Put(cfg.FlowControl, Int(r));
    Put(cfg.InputBufferSize, Lng(r));
    Put(cfg.BeepOnInput, Int(r));
    Put(cfg.TransferMode, Int(r));
    Put(cfg.TimeDelayTicks, Int(r));
    Put(cfg.EndOfRecordEvent, Int(r));
    Put(cfg.RecordStructure, Int(r));
    Put(cfg.RecordLength, Int(r));
    Put(cfg.NumFields, Int(r));
    ReadDelimiterLine(r, cfg);
    Put(cfg.TargetAppTitle, r.Line());
    Put(cfg.TargetAppCommand, r.Line());
    Put(cfg.ActivateTarget, Int(r));
    Put(cfg.DdeCmdApp, r.Line());
    Put(cfg.DdeCmdTopic, r.Line());
    Put(cfg.DdeCmdText, r.Line());
    r.Line(); // a line this version no longer uses
    for (auto& entry : cfg.TranslationTable)
        Put(entry, r.Line());
    Put(cfg.AckString, r.CountedString());
    Put(cfg.RecordPreamble, r.Line());
    for (int i = 1; i <= NumOutputStrings; ++i) {
        Put(cfg.OutputStringName[i], r.Line());
        Put(cfg.OutputString[i], r.CountedString());
        for (int f : {i, i + 20}) {
            Put(cfg.FieldFilter[f], r.Line());
            Put(cfg.FieldLength[f], Int(r));
            Put(cfg.FieldPostamble[f], r.Line());
        }
    }
    Put(cfg.TimerString, r.CountedString());
    Put(cfg.TimerInterval, Lng(r));
    Put(cfg.TimerEnabled, Int(r));
    Put(cfg.ButtonDisplay, Int(r));
    Int(r); // a value this version no longer uses
    bool complete = r.ok();
    if (complete && !duringStartup && !r.AtEnd()) {
        if (auto extra = r.Line())
            messages.Show({*extra, "", MessageIcon::None, MessageButtons::Ok});
    }
    // A 1.x file kept one DDE command per field; this version has one per
    // record, so the last non-empty field postamble becomes the command.
    if (cfg.TransferMode == DdeServer) {
        int last = std::clamp<int>(cfg.NumFields, 0, MaxFields);
        for (int i = 1; i <= last; ++i)
            if (!cfg.FieldPostamble[i].empty())
                cfg.DdeCmdText = cfg.FieldPostamble[i];
    }
    cfg.ConfigLoaded = True;
    cfg.ConfigChanged = True;
    ShowPreviousVersion(messages);
    return complete ? LoadStatus::Complete : LoadStatus::EndedEarly;
}

std::string ToUpper(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

} // namespace

int CheckConfigFile(const std::string& path, MessageSink& messages) {
    if (path.empty())
        return -2;
    const FileBytes file = ReadDataFile(path, MaxConfigFileBytes);
    if (!file.bytes) {
        if (file.problem == FileBytes::Problem::Missing ||
            file.problem == FileBytes::Problem::Unreadable)
            return -3;
        // Something other than a configuration was named: a folder, a
        // device, a pipe, or a file far larger than any configuration.
        messages.Show({"File: " + path + " " + file.why +
                           (file.problem == FileBytes::Problem::TooLarge
                                ? ", far more than a configuration file holds."
                                : ": a configuration is read only from a regular file."),
                       FileErrorTitle, MessageIcon::Exclamation, MessageButtons::Ok});
        return -1;
    }
    std::istringstream in(*file.bytes);
    Reader r(in);
    auto banner = r.Line();
    if (!banner || !LayoutOf(*banner)) {
        messages.Show({"File: " + ToUpper(path) + " is not a valid configuration file.",
                       FileErrorTitle, MessageIcon::Question, MessageButtons::Ok});
        return -1;
    }
    auto port = Int(r);
    if (!port)
        return -4;
    return static_cast<int>(*port);
}

LoadStatus LoadConfigFile(Config& cfg, const std::string& path, MessageSink& messages,
                          bool duringStartup) {
    const FileBytes file = ReadDataFile(path, MaxConfigFileBytes);
    if (!file.bytes)
        return LoadStatus::NotOpened;
    std::istringstream in(*file.bytes);
    Reader r(in);
    auto banner = r.Line();
    Layout layout = banner ? LayoutOf(*banner).value_or(Layout::V300) : Layout::V300;
    if (layout == Layout::V11)
        return LoadV11(cfg, r, messages, duringStartup);

    ReadPortAndRecordLines(r, cfg, layout);
    ReadTables(r, cfg);
    if (layout == Layout::V200) {
        Put(cfg.AckString, r.CountedString());
        Put(cfg.TimerString, r.CountedString());
        Put(cfg.TimerInterval, Lng(r));
        Put(cfg.TimerEnabled, Int(r));
        Put(cfg.RecordPreamble, r.CountedString());
    }
    ReadFieldGroups(r, cfg, layout);
    ReadPreferences(r, cfg);
    if (layout == Layout::V200) {
        Put(cfg.StartOfRecordChars, r.CountedString());
        Put(cfg.EndOfRecordChars, r.CountedString());
    } else {
        ReadV300Tail(r, cfg);
    }
    bool complete = r.ok();
    if (complete)
        ReadClosingLines(r, cfg);

    cfg.ConfigLoaded = True;
    cfg.ConfigChanged = False;
    if (layout == Layout::V200) {
        ShowPreviousVersion(messages);
        cfg.ConfigChanged = True;
    }
    return complete ? LoadStatus::Complete : LoadStatus::EndedEarly;
}

namespace {

// Writing: numbers reserve a blank for the sign and are followed by one.
class Writer {
public:
    // A number as the older programs wrote it: a blank where a minus sign
    // would be, then a blank before the line ends. A file holds about two
    // thousand of them, so they are formatted in place.
    void Number(long v) {
        char text[24] = " ";
        char* const start = v >= 0 ? text + 1 : text;
        char* end = std::to_chars(start, text + sizeof text - 3, v).ptr;
        *end++ = ' ';
        *end++ = '\r';
        *end++ = '\n';
        out_.append(text, end);
    }
    void Line(const std::string& s) {
        out_ += s;
        out_ += "\r\n";
    }
    // A setting's text on a line of its own (index -1: not an array). A CR or
    // LF in it would end the line early and shift every later setting on
    // reading, and a line longer than a reader takes would be cut: the first
    // setting that cannot be kept so is remembered.
    void Text(const char* name, const std::string& s, int index = -1) {
        if (s.find_first_of("\r\n") != std::string::npos)
            Unkept(name, index,
                   " must not hold a carriage return or line feed: the file keeps it "
                   "on one line");
        else if (s.size() > MaxLineLength)
            Unkept(name, index,
                   " is longer than the " + std::to_string(MaxLineLength) +
                       " characters the file keeps on one line");
        Line(s);
    }
    // The length of a string of the raw block, read back as a 16-bit number.
    void Length(const char* name, const std::string& s, int index = -1) {
        if (s.size() > static_cast<std::size_t>(MaxRawLength))
            Unkept(name, index,
                   " is longer than the " + std::to_string(MaxRawLength) +
                       " characters the file keeps");
        Number(static_cast<long>(s.size()));
    }
    void Code(unsigned char c) {
        char text[8] = " ";
        char* end = std::to_chars(text + 1, text + 5, c).ptr;
        *end++ = '\r';
        *end++ = '\n';
        out_.append(text, end);
    }
    void Raw(const std::string& s) { out_ += s; }
    std::string Take() { return std::move(out_); }
    const std::string& Unkept() const { return unkept_; }

private:
    void Unkept(const char* name, int index, const std::string& why) {
        if (!unkept_.empty())
            return;
        unkept_ = name;
        if (index >= 0)
            unkept_ += "[" + std::to_string(index) + "]";
        unkept_ += why;
    }

    std::string out_;
    std::string unkept_;
};

unsigned char FirstByte(const std::string& s) {
    return s.empty() ? 0 : static_cast<unsigned char>(s[0]);
}

void WriteCodeString(Writer& w, const std::string& s) {
    for (std::size_t i = 0; i < 256; ++i)
        w.Number(i < s.size() ? static_cast<unsigned char>(s[i]) : 0);
}

// The current layout, setting by setting.
void Write(const Config& cfg, Writer& w) {
    w.Line(BannerV300);
    for (long v :
         {cfg.PortNumber, cfg.BaudRate, cfg.Parity, cfg.DataBits, cfg.StopBits, cfg.FlowControl})
        w.Number(v);
    w.Number(cfg.InputBufferSize);
    w.Number(cfg.OutputBufferSize);
    for (long v : {cfg.BeepOnInput, cfg.TransferMode, cfg.TimeDelayTicks, cfg.StartOfRecordEvent,
                   cfg.EndOfRecordEvent, cfg.RecordStructure, cfg.RecordLength, cfg.NumFields})
        w.Number(v);
    w.Number(FirstByte(cfg.DelimiterChar));
    w.Text("TargetAppTitle", cfg.TargetAppTitle);
    w.Text("TargetAppCommand", cfg.TargetAppCommand);
    w.Number(cfg.ActivateTarget);
    w.Text("DdeCmdApp", cfg.DdeCmdApp);
    w.Text("DdeCmdTopic", cfg.DdeCmdTopic);
    w.Text("DdeCmdText", cfg.DdeCmdText);
    for (int k = 0; k < 256; ++k)
        w.Text("TranslationTable", cfg.TranslationTable[k], k);
    for (const auto& entry : cfg.PreInputTranslation) {
        if (entry == "Ignore" || entry == "Void Record")
            w.Line(entry);
        else
            w.Code(FirstByte(entry));
    }
    WriteCodeString(w, cfg.DdeTranslation);
    WriteCodeString(w, cfg.LogTranslation);
    for (int i = 1; i <= NumOutputStrings; ++i) {
        w.Text("OutputStringName", cfg.OutputStringName[i], i);
        w.Text("FieldFilter", cfg.FieldFilter[i], i);
        w.Number(cfg.FieldLength[i]);
        w.Text("FieldFilter", cfg.FieldFilter[i + 20], i + 20);
        w.Number(cfg.FieldLength[i + 20]);
        w.Text("FieldFormat", cfg.FieldFormat[i], i);
        w.Text("FieldFormat", cfg.FieldFormat[i + 20], i + 20);
    }
    w.Text("LogFileName", cfg.LogFileName);
    w.Number(cfg.MinimizeOnActivation);
    w.Text("CmdLinkApp", cfg.CmdLinkApp);
    w.Text("CmdLinkTopic", cfg.CmdLinkTopic);
    w.Text("CmdLinkItem", cfg.CmdLinkItem);
    w.Number(cfg.CmdLinkAuto);
    w.Text("OutLinkApp", cfg.OutLinkApp);
    w.Text("OutLinkTopic", cfg.OutLinkTopic);
    w.Text("OutLinkItem", cfg.OutLinkItem);
    w.Number(cfg.OutLinkAuto);
    w.Number(cfg.StripOutputCrLf);
    w.Text("DateTimeFormat", cfg.DateTimeFormat);
    w.Number(cfg.ShowDateTime);
    w.Number(cfg.ButtonDisplay);
    w.Number(cfg.TimerInterval);
    w.Number(cfg.TimerEnabled);
    w.Number(cfg.ActivateSuspended);
    w.Number(cfg.AlwaysOnTop);
    for (int i = 0; i < NumHotKeys; ++i) {
        w.Number(cfg.HotKeyAction[i]);
        w.Number(cfg.HotKeyCode[i]);
    }
    for (int i = 1; i <= MaxFields; ++i)
        w.Text("FieldExpression", cfg.FieldExpression[i], i);
    w.Length("AckString", cfg.AckString);
    w.Length("TimerString", cfg.TimerString);
    w.Length("RecordPreamble", cfg.RecordPreamble);
    w.Length("StartOfRecordChars", cfg.StartOfRecordChars);
    w.Length("EndOfRecordChars", cfg.EndOfRecordChars);
    for (int i = 1; i <= NumOutputStrings; ++i) {
        w.Length("OutputString", cfg.OutputString[i], i);
        w.Length("FieldPostamble", cfg.FieldPostamble[i], i);
        w.Length("FieldPostamble", cfg.FieldPostamble[i + 20], i + 20);
    }
    for (int i = 0; i < NumHotKeys; ++i)
        w.Length("HotKeyData", cfg.HotKeyData[i], i);
    for (const std::string* s : {&cfg.StartOfRecordChars, &cfg.EndOfRecordChars, &cfg.AckString,
                                 &cfg.TimerString, &cfg.RecordPreamble})
        w.Raw(*s);
    for (int i = 1; i <= NumOutputStrings; ++i)
        w.Raw(cfg.OutputString[i]);
    for (int i = 1; i <= MaxFields; ++i)
        w.Raw(cfg.FieldPostamble[i]);
    for (const auto& s : cfg.HotKeyData)
        w.Raw(s);
    w.Text("DdeTopicName", cfg.DdeTopicName);
    w.Line(std::to_string(cfg.InterCharDelay));
}

} // namespace

std::string SerializeConfig(const Config& cfg, std::string* unkept) {
    Writer w;
    Write(cfg, w);
    if (unkept)
        *unkept = w.Unkept();
    return w.Take();
}

std::string SettingTheFileCannotKeep(const Config& cfg) {
    Writer w;
    Write(cfg, w);
    return w.Unkept();
}

bool SaveConfigFile(const Config& cfg) {
    if (cfg.ConfigFileName.empty())
        return false;
    Writer w;
    Write(cfg, w);
    if (!w.Unkept().empty())
        return false;
    std::ofstream out(cfg.ConfigFileName, std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    std::string bytes = w.Take();
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return static_cast<bool>(out);
}

void NewOrLoadAtStart(Config& cfg, const std::string& path, MessageSink& messages,
                      bool duringStartup) {
    int result = CheckConfigFile(path, messages);
    if (result < 0) {
        ResetToDefaults(cfg);
        cfg.ConfigFileName = result == -3 ? path : std::string();
        return;
    }
    LoadConfigFile(cfg, path, messages, duringStartup);
    cfg.ConfigFileName = path;
}

} // namespace config

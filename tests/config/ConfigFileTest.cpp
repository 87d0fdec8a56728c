#include "config/ConfigFile.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace config;

namespace {

struct TempFile {
    fs::path path;
    explicit TempFile(const std::string& name = "test.QX3") {
        char tmpl[] = "/tmp/corvane-cfg-XXXXXX";
        path = fs::path(mkdtemp(tmpl)) / name;
    }
    ~TempFile() { fs::remove_all(path.parent_path()); }
    void Write(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
    std::string Read() const {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
};

std::vector<std::string> Lines(const std::string& bytes) {
    std::vector<std::string> out;
    std::size_t start = 0, pos;
    while ((pos = bytes.find("\r\n", start)) != std::string::npos) {
        out.push_back(bytes.substr(start, pos - start));
        start = pos + 2;
    }
    return out;
}

// A record that differs from the defaults in every setting, with control
// characters inside the strings kept in the raw block.
Config Everywhere() {
    Config c;
    c.PortNumber = 3;
    c.BaudRate = 11;
    c.Parity = 0;
    c.DataBits = 3;
    c.StopBits = 2;
    c.FlowControl = 2;
    c.InputBufferSize = 4096;
    c.OutputBufferSize = 131072;
    c.TransferMode = LogToDisk;
    c.StartOfRecordEvent = 3;
    c.StartOfRecordChars = std::string("\x02\0S", 3);
    c.EndOfRecordEvent = 3;
    c.EndOfRecordChars = "\r\n\x03";
    c.TimeDelayTicks = 255;
    c.RecordStructure = 1;
    c.NumFields = 40;
    c.DelimiterChar = "\t";
    c.RecordLength = 32766;
    c.RecordPreamble = "{YEAR}\r{TAB}";
    for (int i = 1; i <= MaxFields; ++i) {
        c.FieldFilter[i] = std::string(1, "CINHOB"[i % 6]);
        c.FieldLength[i] = static_cast<Integer>(i * 3);
        c.FieldFormat[i] = "0.0" + std::to_string(i);
        c.FieldExpression[i] = "field(" + std::to_string(i) + ")*2";
        c.FieldPostamble[i] = std::string("\0\r\n", 3) + std::to_string(i);
    }
    c.PreInputTranslation[7] = "Ignore";
    c.PreInputTranslation[27] = "Void Record";
    c.PreInputTranslation[10] = "A";
    c.TranslationTable[65] = "{TAB 3}";
    c.DdeTranslation[65] = 'B';
    c.LogTranslation[0] = '\xff';
    for (int i = 1; i <= NumOutputStrings; ++i) {
        c.OutputStringName[i] = "Out " + std::to_string(i);
        c.OutputString[i] = std::string("\0\r", 2) + std::to_string(i) + "\n";
    }
    c.AckString = std::string("\x06\0", 2);
    c.TimerString = "P\r\n";
    c.TimerInterval = 99999999;
    c.TimerEnabled = 5;
    for (int i = 0; i < NumHotKeys; ++i) {
        c.HotKeyAction[i] = static_cast<Integer>(i % 14);
        c.HotKeyCode[i] = static_cast<Integer>(0x100 * (i % 8) + 112 + i % 16);
        c.HotKeyData[i] = std::string("\r\0", 2) + std::to_string(i);
    }
    c.TargetAppTitle = "Untitled - Editor";
    c.TargetAppCommand = "gedit --new-window";
    c.ActivateTarget = False;
    c.InterCharDelay = 25;
    c.DdeCmdApp = "LibreOffice";
    c.DdeCmdTopic = "Sheet1";
    c.DdeCmdText = "[Run(\"Macro\")]";
    c.CmdLinkApp = "A";
    c.CmdLinkTopic = "T";
    c.CmdLinkItem = "I";
    c.CmdLinkAuto = True;
    c.OutLinkApp = "B";
    c.OutLinkTopic = "U";
    c.OutLinkItem = "J";
    c.OutLinkAuto = True;
    c.StripOutputCrLf = False;
    c.DdeTopicName = "Balance";
    c.LogFileName = "/tmp/x.log";
    c.BeepOnInput = True;
    c.MinimizeOnActivation = True;
    c.ActivateSuspended = True;
    c.AlwaysOnTop = True;
    c.ButtonDisplay = 3;
    c.ShowDateTime = True;
    c.DateTimeFormat = "yyyy-mm-dd hh:nn:ss";
    return c;
}

Config Loaded(const TempFile& f, RecordingMessageSink& sink, Config start = Config{}) {
    start.ConfigFileName = f.path.string();
    LoadConfigFile(start, f.path.string(), sink);
    return start;
}

} // namespace

TEST(ConfigFile, DefaultsAndAFullyChangedRecordSurviveARoundTrip) {
    for (Config original : {Config{}, Everywhere()}) {
        TempFile f;
        original.ConfigFileName = f.path.string();
        ASSERT_TRUE(SaveConfigFile(original));
        RecordingMessageSink sink;
        Config back = Loaded(f, sink, Config{});
        original.ConfigLoaded = True;
        original.ConfigChanged = False;
        EXPECT_EQ(back, original);
        EXPECT_TRUE(sink.shown.empty());
        // The same record always gives the same bytes.
        EXPECT_EQ(SerializeConfig(back), f.Read());
    }
}

TEST(ConfigFile, AValueTheFileCannotKeepIsNamedAndNeverSaved) {
    TempFile f;
    Config good = Everywhere(); // its raw-block strings hold CR and LF
    good.ConfigFileName = f.path.string();
    EXPECT_EQ(SettingTheFileCannotKeep(good), "");
    ASSERT_TRUE(SaveConfigFile(good));
    const std::string saved = f.Read();
    struct Case {
        void (*set)(Config&);
        const char* named;
    } cases[] = {
        {[](Config& c) { c.TargetAppTitle = "Bal\r\nance"; }, "TargetAppTitle"},
        {[](Config& c) { c.DdeTopicName = "\nTopic"; }, "DdeTopicName"},
        {[](Config& c) { c.TranslationTable[13] = "{ENTER}\r"; }, "TranslationTable[13]"},
        {[](Config& c) { c.OutputStringName[20] = "\r"; }, "OutputStringName[20]"},
        {[](Config& c) { c.FieldFormat[23] = "0\n0"; }, "FieldFormat[23]"},
        {[](Config& c) {
             c.FieldExpression[40] = "field(1)\n";
             c.DdeTopicName = "\n";
         },
         "FieldExpression[40]"},
        {[](Config& c) { c.FieldFormat[2] = std::string(65537, '0'); }, "FieldFormat[2]"},
        {[](Config& c) { c.OutputString[20] = std::string(32768, 'x'); }, "OutputString[20]"},
        {[](Config& c) { c.HotKeyData[49] = std::string(40000, 'x'); }, "HotKeyData[49]"},
        {[](Config& c) { c.RecordPreamble = std::string(32768, 'x'); }, "RecordPreamble"},
    };
    for (const auto& c : cases) {
        Config bad = good;
        c.set(bad);
        EXPECT_EQ(SettingTheFileCannotKeep(bad).rfind(std::string(c.named) + " ", 0), 0u)
            << SettingTheFileCannotKeep(bad);
        EXPECT_FALSE(SaveConfigFile(bad)) << c.named;
        EXPECT_EQ(f.Read(), saved) << c.named; // the file on disk is left as it was
    }
    // The longest values the file keeps read back as they are.
    Config longest = good;
    longest.FieldFormat[2] = std::string(65536, '0');
    longest.OutputString[20] = std::string(32767, '\r');
    ASSERT_EQ(SettingTheFileCannotKeep(longest), "");
    ASSERT_TRUE(SaveConfigFile(longest));
    Config back;
    RecordingMessageSink messages;
    LoadConfigFile(back, f.path.string(), messages);
    EXPECT_EQ(back.FieldFormat[2], longest.FieldFormat[2]);
    EXPECT_EQ(back.OutputString[20], longest.OutputString[20]);
    EXPECT_EQ(back.FieldExpression[40], longest.FieldExpression[40]);
}

TEST(ConfigFile, WritesTheCurrentLayoutLineByLine) {
    Config c;
    c.PreInputTranslation[0] = "A";
    c.PreInputTranslation[1] = "Void Record";
    c.PreInputTranslation[2] = "Ignore";
    c.BeepOnInput = True;
    auto lines = Lines(SerializeConfig(c));
    EXPECT_EQ(lines[0], BannerV300);
    EXPECT_EQ(lines[1], " 0 ");    // PortNumber
    EXPECT_EQ(lines[2], " 6 ");    // BaudRate
    EXPECT_EQ(lines[7], " 1024 "); // InputBufferSize
    EXPECT_EQ(lines[9], "-1 ");    // BeepOnInput
    EXPECT_EQ(lines[10], " 0 ");   // TransferMode
    EXPECT_EQ(lines[17], " 44 ");  // the delimiter's code
    EXPECT_EQ(lines[20], "-1 ");   // ActivateTarget
    EXPECT_EQ(lines[21], "Excel");
    EXPECT_EQ(lines[24 + 13], "{ENTER}");
    EXPECT_EQ(lines[280], " 65");
    EXPECT_EQ(lines[281], "Void Record");
    EXPECT_EQ(lines[282], "Ignore");
    EXPECT_EQ(lines[280 + 66], " 66"); // an untouched entry is its own code
    EXPECT_EQ(lines[536 + 13], " 0 "); // control characters vanish from DDE data
    EXPECT_EQ(lines[536 + 65], " 65 ");
    EXPECT_EQ(lines[1048], "String1");
    EXPECT_EQ(lines[1049], "C");
    EXPECT_EQ(lines[1188], "C:\\Corvane.Log");
    EXPECT_EQ(lines[1201], " 0 "); // ButtonDisplay
    EXPECT_EQ(lines[1202], " 0 "); // TimerInterval
    ASSERT_EQ(lines.size(), 1463u);
    EXPECT_EQ(lines[1461], "");  // DdeTopicName
    EXPECT_EQ(lines[1462], "1"); // InterCharDelay without blanks
}

TEST(ConfigFile, RawBlockKeepsItsOwnOrder) {
    Config c;
    c.AckString = "a";
    c.TimerString = "t";
    c.RecordPreamble = "p";
    c.StartOfRecordChars = "s";
    c.EndOfRecordChars = "e";
    c.OutputString[1] = "O";
    c.FieldPostamble[1] = "1";
    c.FieldPostamble[21] = "X";
    c.FieldPostamble[2] = "2";
    c.HotKeyData[0] = "H";
    std::string bytes = SerializeConfig(c);
    auto lines = Lines(bytes);
    // Lengths: acknowledgement, timer, preamble, start, end; then out 1,
    // postamble 1, postamble 21.
    for (int i = 1346; i <= 1353; ++i)
        EXPECT_EQ(lines[i], " 1 ") << i;
    EXPECT_NE(bytes.find("\r\nseatpO12X"), std::string::npos);
    EXPECT_NE(bytes.find("XH\r\n"), std::string::npos);
}

TEST(ConfigFile, CheckTellsEmptyMissingForeignAndValidFiles) {
    RecordingMessageSink sink;
    EXPECT_EQ(CheckConfigFile("", sink), -2);
    EXPECT_EQ(CheckConfigFile("/nonexistent/dir/x.QX3", sink), -3);
    EXPECT_TRUE(sink.shown.empty());

    TempFile f("other.qx3");
    f.Write("Hello\r\n 3 \r\n");
    EXPECT_EQ(CheckConfigFile(f.path.string(), sink), -1);
    ASSERT_EQ(sink.shown.size(), 1u);
    std::string upper = f.path.string();
    for (char& ch : upper)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    EXPECT_EQ(sink.shown[0].text, "File: " + upper + " is not a valid configuration file.");
    EXPECT_EQ(sink.shown[0].title, "Corvane File Error");
    EXPECT_EQ(sink.shown[0].icon, MessageIcon::Question);

    f.Write("Software Vardle Settings File -- Serial Instrument Data Capture\r\n 3 \r\n");
    EXPECT_EQ(CheckConfigFile(f.path.string(), sink), 3);
    f.Write(std::string(BannerV300) + "\r\n");
    EXPECT_EQ(CheckConfigFile(f.path.string(), sink), -4);

    // A folder opens but cannot be read: it is no configuration file, and
    // loading it changes nothing (a command from another program can name
    // any path).
    const std::string folder = f.path.parent_path().string();
    EXPECT_EQ(CheckConfigFile(folder, sink), -1);
    Config cfg;
    cfg.BaudRate = 7;
    EXPECT_NE(LoadConfigFile(cfg, folder, sink), LoadStatus::Complete);
    EXPECT_EQ(cfg.BaudRate, 7);
}

TEST(ConfigFile, OnlyARegularFileOfAtMostAMegabyteIsRead) {
    TempFile f("fifo");
    std::filesystem::remove(f.path);
    ASSERT_EQ(::mkfifo(f.path.c_str(), 0600), 0);
    const struct {
        std::string path;
        std::string message;
    } refused[] = {
        {f.path.string(),
         "File: " + f.path.string() +
             " is a named pipe: a configuration is read only from a regular file."},
        {"/dev/zero",
         "File: /dev/zero is a device: a configuration is read only from a regular file."},
    };
    for (const auto& r : refused) {
        RecordingMessageSink sink;
        EXPECT_EQ(CheckConfigFile(r.path, sink), -1) << r.path;
        ASSERT_EQ(sink.shown.size(), 1u);
        EXPECT_EQ(sink.shown[0].text, r.message);
        EXPECT_EQ(sink.shown[0].title, "Corvane File Error");
        Config cfg;
        cfg.BaudRate = 7;
        EXPECT_EQ(LoadConfigFile(cfg, r.path, sink), LoadStatus::NotOpened);
        EXPECT_EQ(cfg.BaudRate, 7);
        // At start (and for Open) it is forgotten, as a foreign file is.
        NewOrLoadAtStart(cfg, r.path, sink, false);
        EXPECT_EQ(cfg.ConfigFileName, "");
    }

    // A configuration padded to a megabyte is still read; one byte more is not.
    Config padded = Everywhere();
    TempFile big("big.QX3");
    padded.ConfigFileName = big.path.string();
    ASSERT_TRUE(SaveConfigFile(padded));
    const auto size = std::filesystem::file_size(big.path);
    std::ofstream(big.path, std::ios::app) << std::string(1024 * 1024 - size, '\n');
    RecordingMessageSink sink;
    EXPECT_EQ(CheckConfigFile(big.path.string(), sink), padded.PortNumber);
    Config read;
    EXPECT_EQ(LoadConfigFile(read, big.path.string(), sink), LoadStatus::Complete);
    EXPECT_EQ(read.BaudRate, padded.BaudRate);
    std::ofstream(big.path, std::ios::app) << '\n';
    EXPECT_EQ(CheckConfigFile(big.path.string(), sink), -1);
    ASSERT_EQ(sink.shown.size(), 1u);
    EXPECT_EQ(sink.shown[0].text, "File: " + big.path.string() +
                                      " is larger than 1 MB, far more than a configuration file "
                                      "holds.");
    EXPECT_EQ(LoadConfigFile(read, big.path.string(), sink), LoadStatus::NotOpened);
}

TEST(ConfigFile, StartKeepsTheNameOnlyForAMissingFile) {
    RecordingMessageSink sink;
    Config c = Everywhere();
    NewOrLoadAtStart(c, "/nonexistent/new.QX3", sink, true);
    EXPECT_EQ(c.ConfigFileName, "/nonexistent/new.QX3");
    EXPECT_EQ(c.PortNumber, 0);
    TempFile f;
    f.Write("garbage\r\n");
    c = Everywhere();
    NewOrLoadAtStart(c, f.path.string(), sink, true);
    EXPECT_EQ(c.ConfigFileName, "");
    EXPECT_EQ(c.TransferMode, SendKeystrokes);
}

namespace {

// A 2.00 file built from its layout: the current layout's text part with the
// delimiter as a character, counted strings after the tables and in each
// field group, the start and end characters after the preferences, and no
// timer group, hot keys, expressions or raw block.
std::string Version200File(const Config& c) {
    auto lines = Lines(SerializeConfig(c));
    std::string out =
        "Software Vardle Version 2.00 Settings File -- Serial Instrument Data Capture.\r\n";
    for (int i = 1; i < 17; ++i)
        out += lines[i] + "\r\n";
    out += c.DelimiterChar + "junk\r\n";
    for (int i = 18; i < 1048; ++i)
        out += lines[i] + "\r\n";
    auto counted = [](const std::string& s) {
        return " " + std::to_string(s.size()) + " \r\n" + s;
    };
    out += counted(c.AckString) + counted(c.TimerString);
    out += " " + std::to_string(c.TimerInterval) + " \r\n " + std::to_string(c.TimerEnabled) +
           " \r\n" + counted(c.RecordPreamble);
    for (int i = 1; i <= 20; ++i) {
        out += c.OutputStringName[i] + "\r\n" + counted(c.OutputString[i]);
        for (int f : {i, i + 20})
            out += c.FieldFilter[f] + "\r\n " + std::to_string(c.FieldLength[f]) + " \r\n" +
                   counted(c.FieldPostamble[f]);
        out += c.FieldFormat[i] + "\r\n" + c.FieldFormat[i + 20] + "\r\n";
    }
    for (int i = 1188; i < 1202; ++i)
        out += lines[i] + "\r\n";
    out += counted(c.StartOfRecordChars) + counted(c.EndOfRecordChars);
    return out;
}

} // namespace

TEST(ConfigFile, Version200LoadsAndKeepsWhatItLacks) {
    Config written;
    written.PortNumber = 1;
    written.DelimiterChar = ";";
    written.AckString = "\x06";
    written.TimerInterval = 1500;
    written.TimerEnabled = 3;
    written.RecordPreamble = "P\r";
    written.OutputString[2] = "two\r\n";
    written.FieldPostamble[21] = "{TAB}";
    written.FieldLength[21] = 7;
    written.EndOfRecordChars = "\x03";
    TempFile f;
    f.Write(Version200File(written) + "MyTopic\r\n42\r\n");

    Config before = Everywhere(); // hot keys and expressions set before the load
    RecordingMessageSink sink;
    Config c = Loaded(f, sink, before);
    EXPECT_EQ(c.PortNumber, 1);
    EXPECT_EQ(c.DelimiterChar, ";");
    EXPECT_EQ(c.AckString, "\x06");
    EXPECT_EQ(c.TimerInterval, 1500);
    EXPECT_EQ(c.TimerEnabled, 3);
    EXPECT_EQ(c.RecordPreamble, "P\r");
    EXPECT_EQ(c.OutputString[2], "two\r\n");
    EXPECT_EQ(c.FieldPostamble[21], "{TAB}");
    EXPECT_EQ(c.FieldLength[21], 7);
    EXPECT_EQ(c.EndOfRecordChars, "\x03");
    EXPECT_EQ(c.DdeTopicName, "MyTopic");
    EXPECT_EQ(c.InterCharDelay, 42);
    EXPECT_EQ(c.HotKeyAction, before.HotKeyAction);
    EXPECT_EQ(c.HotKeyData, before.HotKeyData);
    EXPECT_EQ(c.FieldExpression, before.FieldExpression);
    EXPECT_EQ(c.ActivateSuspended, before.ActivateSuspended);
    EXPECT_EQ(c.ConfigChanged, True);
    EXPECT_EQ(c.ConfigLoaded, True);
    ASSERT_EQ(sink.shown.size(), 1u);
    EXPECT_EQ(sink.shown[0].title, "Corvane Version 3.0");
    EXPECT_EQ(sink.shown[0].text.substr(0, 40), "The selected configuration file was crea");
    EXPECT_EQ(sink.beeps.size(), 1u);

    // Without the two closing lines those settings keep their values.
    f.Write(Version200File(written));
    Config again = Loaded(f, sink, before);
    EXPECT_EQ(again.DdeTopicName, before.DdeTopicName);
    EXPECT_EQ(again.InterCharDelay, before.InterCharDelay);
}

namespace {

std::string Version11File(int transferMode, int numFields, const std::string& postamble2,
                          const std::string& extraLine) {
    std::string out =
        "Software Vardle Version 1.1 Settings File -- Serial Instrument Data Capture.\r\n";
    auto n = [&out](long v) { out += " " + std::to_string(v) + " \r\n"; };
    auto line = [&out](const std::string& s) { out += s + "\r\n"; };
    auto counted = [&out](const std::string& s) {
        out += " " + std::to_string(s.size()) + " \r\n" + s;
    };
    for (long v : {2L, 8L, 0L, 3L, 0L, 1L, 2048L})
        n(v);
    for (long v :
         {0L, static_cast<long>(transferMode), 4L, 0L, 1L, 0L, static_cast<long>(numFields)})
        n(v);
    line(";");
    line("Notepad");
    line("notepad.exe");
    n(-1);
    line("Excel");
    line("System");
    line("");
    line("ignored");
    for (int i = 0; i < 256; ++i)
        line(i == 65 ? "a" : std::string(1, static_cast<char>(i == 13 || i == 10 ? 'x' : i)));
    counted("ACK\r");
    line("PRE");
    for (int i = 1; i <= 20; ++i) {
        line("Name" + std::to_string(i));
        counted("S" + std::to_string(i));
        for (int f : {i, i + 20}) {
            line("N");
            n(f);
            line(f == 2 ? postamble2 : f == 1 ? "[first]" : "");
        }
    }
    counted("TIMER\r");
    n(2500);
    n(1);
    n(2);
    n(0);
    if (!extraLine.empty())
        line(extraLine);
    return out;
}

} // namespace

TEST(ConfigFile, Version1xLoadsAndMovesTheLastPostambleIntoTheDdeCommand) {
    TempFile f("old.QX1");
    f.Write(Version11File(DdeServer, 3, "[Fetch]", "Registered to the lab"));
    RecordingMessageSink sink;
    Config c = Loaded(f, sink);
    EXPECT_EQ(c.PortNumber, 2);
    EXPECT_EQ(c.BaudRate, 8);
    EXPECT_EQ(c.InputBufferSize, 2048);
    EXPECT_EQ(c.TransferMode, DdeServer);
    EXPECT_EQ(c.NumFields, 3);
    EXPECT_EQ(c.DelimiterChar, ";");
    EXPECT_EQ(c.TargetAppTitle, "Notepad");
    EXPECT_EQ(c.TranslationTable[65], "a");
    EXPECT_EQ(c.AckString, "ACK\r");
    EXPECT_EQ(c.RecordPreamble, "PRE");
    EXPECT_EQ(c.OutputStringName[20], "Name20");
    EXPECT_EQ(c.OutputString[7], "S7");
    EXPECT_EQ(c.FieldLength[33], 33);
    EXPECT_EQ(c.TimerString, "TIMER\r");
    EXPECT_EQ(c.TimerInterval, 2500);
    EXPECT_EQ(c.ButtonDisplay, 2);
    // Field 3's postamble is empty, so field 2's is the last non-empty one.
    EXPECT_EQ(c.DdeCmdText, "[Fetch]");
    EXPECT_EQ(c.ConfigChanged, True);
    ASSERT_EQ(sink.shown.size(), 2u);
    EXPECT_EQ(sink.shown[0].text, "Registered to the lab");
    EXPECT_EQ(sink.shown[0].title, "");
    EXPECT_EQ(sink.shown[1].title, "Corvane Version 3.0");

    // During start-up the extra line is not read.
    RecordingMessageSink quiet;
    Config s;
    LoadConfigFile(s, f.path.string(), quiet, true);
    ASSERT_EQ(quiet.shown.size(), 1u);
    EXPECT_EQ(quiet.shown[0].title, "Corvane Version 3.0");

    // Keystroke mode keeps the DDE command as it was.
    f.Write(Version11File(SendKeystrokes, 3, "[Fetch]", ""));
    Config k = Loaded(f, sink);
    EXPECT_EQ(k.DdeCmdText, "");
}

TEST(ConfigFile, OlderLayoutsKeepOneDelimiterCharacterSoThatASaveReadsBackTheSame) {
    TempFile f("old.QX1");
    for (const char* delimiterLine : {"; and more", ""}) {
        std::string bytes = Version11File(SendKeystrokes, 3, "", "");
        const std::size_t at = bytes.find("\r\n;\r\n");
        ASSERT_NE(at, std::string::npos);
        bytes.replace(at, 5, std::string("\r\n") + delimiterLine + "\r\n");
        f.Write(bytes);
        RecordingMessageSink sink;
        Config c = Loaded(f, sink);
        // The first character is the delimiter; an empty line keeps the default.
        EXPECT_EQ(c.DelimiterChar, *delimiterLine ? ";" : ",") << delimiterLine;

        TempFile saved;
        c.ConfigFileName = saved.path.string();
        ASSERT_TRUE(SaveConfigFile(c));
        Config back = Loaded(saved, sink);
        EXPECT_EQ(back.DelimiterChar, c.DelimiterChar) << delimiterLine;
    }
}

TEST(ConfigFile, FilesThatEndEarlyKeepTheRestOfTheRecord) {
    Config source = Everywhere();
    std::string bytes = SerializeConfig(source);
    TempFile f;
    // Cut inside the tables, inside the length lines and inside the raw block.
    for (std::size_t cut : {std::size_t(0), bytes.size() / 10, bytes.size() / 2, bytes.size() - 600,
                            bytes.size() - 20}) {
        f.Write(bytes.substr(0, cut));
        RecordingMessageSink sink;
        Config c;
        auto status = LoadConfigFile(c, f.path.string(), sink);
        EXPECT_EQ(status, LoadStatus::EndedEarly) << cut;
        if (cut > 100) {
            EXPECT_EQ(c.PortNumber, source.PortNumber) << cut;
        }
        EXPECT_EQ(c.InterCharDelay, Config{}.InterCharDelay) << cut;
    }
}

TEST(ConfigFile, RefusesRawLengthsAboveTheIntegerRange) {
    Config c;
    c.AckString = std::string(32767, 'a');
    TempFile f;
    f.Write(SerializeConfig(c));
    RecordingMessageSink sink;
    Config back;
    EXPECT_EQ(LoadConfigFile(back, f.path.string(), sink), LoadStatus::Complete);
    EXPECT_EQ(back.AckString.size(), 32767u);

    c.AckString.push_back('a');
    f.Write(SerializeConfig(c));
    Config refused;
    EXPECT_EQ(LoadConfigFile(refused, f.path.string(), sink), LoadStatus::EndedEarly);
    EXPECT_EQ(refused.AckString, "");
}

TEST(ConfigFile, HostileFilesNeverCrashOrGrowWithoutBound) {
    std::string good = SerializeConfig(Everywhere());
    std::mt19937 rng(12345);
    TempFile f;
    for (int round = 0; round < 200; ++round) {
        std::string bytes = good;
        int edits = 1 + static_cast<int>(rng() % 20);
        for (int e = 0; e < edits; ++e) {
            std::size_t at = rng() % bytes.size();
            switch (rng() % 4) {
            case 0:
                bytes[at] = static_cast<char>(rng());
                break;
            case 1:
                bytes.erase(at, rng() % 64);
                break;
            case 2:
                bytes.insert(at, std::to_string(static_cast<int>(rng())));
                break;
            default:
                bytes.insert(at, std::string(rng() % 5000, static_cast<char>(rng())));
            }
        }
        f.Write(bytes);
        RecordingMessageSink sink;
        Config c;
        LoadConfigFile(c, f.path.string(), sink);
        for (const auto& s : c.OutputString)
            ASSERT_LE(s.size(), 32767u);
        ASSERT_LE(c.TranslationTable[0].size(), 1u << 16);
    }
    // Empty and one-line files.
    for (std::string bytes : {std::string(), std::string("\r\n"), std::string(BannerV300)}) {
        f.Write(bytes);
        RecordingMessageSink sink;
        Config c;
        EXPECT_EQ(LoadConfigFile(c, f.path.string(), sink), LoadStatus::EndedEarly);
        EXPECT_EQ(c.TransferMode, SendKeystrokes);
    }
}

#pragma once
// The configuration record: every setting of one Corvane configuration, under
// the names the rest of the program uses. One record lives for the whole run
// and is passed by reference; nothing here is global.

#include <array>
#include <cstdint>
#include <string>

namespace config {

using Integer = std::int16_t; // signed 16-bit setting
using Long = std::int32_t;    // signed 32-bit setting
using Flag = std::int16_t;    // -1 true, 0 false; any non-zero value tests true

constexpr Flag True = -1;
constexpr Flag False = 0;

constexpr int MaxFields = 40;        // fields 1..40; arrays are 0..40, entry 0 unused
constexpr int NumOutputStrings = 20; // output strings 1..20; arrays are 0..20, entry 0 unused
constexpr int NumHotKeys = 50;       // hot keys 0..49

template <typename T> using FieldArray = std::array<T, MaxFields + 1>;
template <typename T> using OutputArray = std::array<T, NumOutputStrings + 1>;
template <typename T> using HotKeyArray = std::array<T, NumHotKeys>;
using ByteTable = std::array<std::string, 256>;

enum TransferModes : Integer { SendKeystrokes = 0, DdeServer = 1, LogToDisk = 2 };

// Strings hold device data: 8-bit bytes, NUL and control characters allowed.
struct Config {
    // Port settings.
    Integer PortNumber = 0;  // 0 = COM1
    Integer BaudRate = 6;    // list index, 6 = 9600
    Integer Parity = 2;      // 0 none, 1 odd, 2 even, 3 mark, 4 space
    Integer DataBits = 2;    // bits = DataBits + 5
    Integer StopBits = 0;    // 0 = 1, 1 = 1.5, 2 = 2
    Integer FlowControl = 0; // 0 None, 1 Xon/Xoff, 2 Hardware, 3 Opto-RS
    Long InputBufferSize = 1024;
    Long OutputBufferSize = 512;

    Integer TransferMode = SendKeystrokes;

    // Record structure.
    Integer StartOfRecordEvent = 0;
    std::string StartOfRecordChars;
    Integer EndOfRecordEvent = 0;
    std::string EndOfRecordChars;
    Integer TimeDelayTicks = 3;
    Integer RecordStructure = 0;
    Integer NumFields = 1;
    std::string DelimiterChar = ",";
    Integer RecordLength = 0;

    // Field definitions (index 1..40 used).
    std::string RecordPreamble;
    FieldArray<std::string> FieldFilter{};
    FieldArray<Integer> FieldLength{};
    FieldArray<std::string> FieldFormat{};
    FieldArray<std::string> FieldExpression{};
    FieldArray<std::string> FieldPostamble{};

    // Translation tables.
    ByteTable PreInputTranslation{};
    ByteTable TranslationTable{};
    std::string DdeTranslation; // exactly 256 characters
    std::string LogTranslation; // exactly 256 characters

    // Serial output strings (index 1..20 used).
    OutputArray<std::string> OutputStringName{};
    OutputArray<std::string> OutputString{};
    std::string AckString;
    std::string TimerString;
    Long TimerInterval = 0;
    Integer TimerEnabled = 0;

    // Hot keys 0..49.
    HotKeyArray<Integer> HotKeyAction{};
    HotKeyArray<Integer> HotKeyCode{};
    HotKeyArray<std::string> HotKeyData{};

    // Send Keystrokes target.
    std::string TargetAppTitle;
    std::string TargetAppCommand;
    Flag ActivateTarget = True;
    Long InterCharDelay = 1;

    // DDE settings.
    std::string DdeCmdApp = "Excel";
    std::string DdeCmdTopic = "System";
    std::string DdeCmdText;
    std::string CmdLinkApp, CmdLinkTopic, CmdLinkItem;
    Flag CmdLinkAuto = False;
    std::string OutLinkApp, OutLinkTopic, OutLinkItem;
    Flag OutLinkAuto = False;
    Flag StripOutputCrLf = True;
    std::string DdeTopicName;

    // Log file and display preferences.
    std::string LogFileName = "C:\\Corvane.Log";
    Flag BeepOnInput = False;
    Flag MinimizeOnActivation = False;
    Flag ActivateSuspended = False;
    Flag AlwaysOnTop = False;
    Integer ButtonDisplay = 0;
    Flag ShowDateTime = False;
    std::string DateTimeFormat;

    // Bookkeeping, never written to a file.
    std::string ConfigFileName;
    Flag ConfigChanged = False;
    Flag ConfigLoaded = False;
    Integer RecordMode = 0;

    Config() { ResetTables(); }
    bool operator==(const Config&) const = default;

private:
    void ResetTables();
    friend void ResetToDefaults(Config&);
};

// Puts every setting back to its default, rebuilds the four translation tables
// and clears ConfigLoaded and ConfigChanged. ConfigFileName is left alone: the
// caller decides whether the file name survives.
void ResetToDefaults(Config& cfg);

// The default keystroke translation: control characters dropped ("NUL"), tab,
// carriage return and backspace typed as their keys, and the characters that
// mean something in the keystroke notation wrapped in braces.
ByteTable BuildDefaultTranslation();

// Every control character maps to NUL so that it vanishes from DDE data.
std::string DefaultDdeTranslation();
std::string IdentityTranslation();

// "COM" followed by PortNumber + 1, as in "COM1".
std::string PortName(const Config& cfg);

// The program's own DDE topic: DdeTopicName, or the port name when it is empty.
std::string DdeTopic(const Config& cfg);

// Framing case 0..6 from the end-of-record event and the record structure.
Integer DeriveRecordMode(Integer endOfRecordEvent, Integer recordStructure);

// The set of record-ending characters: EndOfRecordChars for event 3, else CR.
std::string DeriveEndChars(const Config& cfg);

// Sets RecordMode from the current settings (done at activation) and returns
// the end-of-record character set.
std::string ApplyActivationDerivations(Config& cfg);

} // namespace config

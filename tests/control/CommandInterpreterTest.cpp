// The DDE command interpreter against a recording runtime: normalisation,
// every row of the command table, minimum lengths, raw and normalised
// arguments, refusals and the virtual-device rules.

#include "config/ConfigFile.h"
#include "control/DdeRig.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using namespace control;

using Rig = DdeRig;

TEST(DecodeOutputString, QuotesNumbersAndSeparators) {
    const struct {
        const char* text;
        std::string bytes;
    } cases[] = {
        {"'ABC'13,10", "ABC\r\n"},
        {"300", std::string(1, char(44))}, // 300 AND 255
        {"65 66,67;68", "ABCD"},
        {"'OK'13", "OK\r"},
        {"13'x'", "\rx"},       // a quote that opens ends the pending number
        {"'it''s'", "its"},     // the quote itself can never be written
        {"'a b, 7'", "a b, 7"}, // inside quotes everything is literal
        {"0", std::string(1, '\0')},
        {"", ""},
        {"'unclosed", "unclosed"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DecodeOutputString(c.text), c.bytes) << c.text;
    // Numbers longer than any integer type are still taken AND 255.
    EXPECT_EQ(DecodeOutputString("1000000000000000000000"), std::string(1, '\0'));
    EXPECT_EQ(DecodeOutputString("100000000000000000001"), "\x01");
}

TEST(NormaliseCommand, TrimsUpperCasesCutsAfterTheLastBracketAndTurnsEndBrackets) {
    const struct {
        const char* received;
        const char* normalised;
    } cases[] = {
        {"  {beep}  ", "{BEEP}"},          {"[BEEP]", "{BEEP}"},
        {"{BEEP}\r\n", "{BEEP}"},          {"{SEND(a]b)}", "{SEND(A]B)}"},
        {"{SEND(x) ] tail", "{SEND(X) }"}, {"[SEND(Hello)]", "{SEND(HELLO)}"},
        {"\t{BEEP}", "\t{BEEP}"}, // only blanks are trimmed
        {"no bracket", "NO BRACKET"},      {"   ", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NormaliseCommand(c.received), c.normalised) << c.received;
}

TEST(CommandInterpreter, EveryRuntimeCommandOfTheTableDoesWhatItsMenuDoes) {
    const struct {
        const char* command;
        const char* calls;
        bool timedOutputBefore = false;
    } cases[] = {
        {"{TIMER-OFF}", ""},
        {"{TIMER-OFF}", "timed output off", true},
        {"{TIMER-ON}", "timed output on"},
        {"{TIMER-ON}", "", true},
        {"{RESUME1}", "resume one"},
        {"{SUSPEND}", "suspend"},
        {"{RESUME}", "resume"},
        {"{BREAK}", "BREAK"},
        {"{TOGGLEDTR}", "pulse DTR"},
        {"{DTR=ON}", "DTR on"},
        {"{DTR=OFF}", "DTR off"},
        {"{RTS=ON}", "RTS on"},
        {"{RTS=OFF}", "RTS off"},
        {"{RESET}", "reset"},
        {"{APPEXIT}", "exit"},
        {"[appexit]", "exit"},
        {" {Reset}\r\n", "reset"},
    };
    for (const auto& c : cases) {
        Rig r;
        r.runtime.timedOutput = c.timedOutputBefore;
        EXPECT_TRUE(r.Exec(c.command)) << c.command;
        EXPECT_EQ(r.Calls(), c.calls) << c.command;
        EXPECT_EQ(r.runtime.output, "") << c.command;
    }
}

TEST(CommandInterpreter, BeepWindowAndStripCommands) {
    Rig r;
    EXPECT_TRUE(r.Exec("[BEEP]"));
    EXPECT_TRUE(r.Exec("  {beep}  "));
    EXPECT_EQ(r.messages.beeps.size(), 2u);
    EXPECT_FALSE(r.Exec("{BEEP}{BEEP}")); // one command per Execute
    EXPECT_EQ(r.messages.beeps.size(), 2u);

    EXPECT_TRUE(r.Exec("{APPNORMAL}"));
    EXPECT_TRUE(r.Exec("{APPMINIMIZE}"));
    EXPECT_EQ(r.host.calls, (std::vector<std::string>{"normal", "minimize"}));

    EXPECT_TRUE(r.Exec("{STRIPCRLF-OFF}"));
    EXPECT_EQ(r.cfg.StripOutputCrLf, config::False);
    EXPECT_TRUE(r.Exec("{STRIPCRLF-ON}"));
    EXPECT_EQ(r.cfg.StripOutputCrLf, config::True);
    EXPECT_TRUE(r.messages.shown.empty()) << "commands never show messages";
}

TEST(CommandInterpreter, EmptyAndUnknownStrings) {
    Rig r;
    EXPECT_TRUE(r.Exec(""));
    EXPECT_TRUE(r.Exec("    "));
    for (const char* refused : {"{NOPE}", "BEEP", "{BEEP", "{ BEEP}", "{BEEP}{RESET}", "\t{BEEP}"})
        EXPECT_FALSE(r.Exec(refused)) << refused;
    EXPECT_TRUE(r.runtime.calls.empty());
}

TEST(CommandInterpreter, SendCommandsQueueTheirRawArgument) {
    const struct {
        const char* command;
        bool accepted;
        std::string output;
    } cases[] = {
        {"{SEND(Hello)}", true, "Hello"}, // case kept
        {"[SEND(Hello)]", true, "Hello"},
        {"{send(a b)}\r\n", true, "a b"},
        {"{SEND(x)}", true, "x"},     // 9 characters: the minimum
        {"{SEND()}", false, ""},      // 8: too short, falls through
        {"  {SEND(Hi)}", true, "D("}, // leading blanks shift a raw argument
        {"{SEND(Hello", true, "Hel"}, // no bracket: the length still counts two
        {"{SENDOUT('OK'13)}", true, "OK\r"},
        {"{SENDOUT(7)}", true, "\x07"},
        {"{SENDOUT()}", false, ""},
        {"{SENDCODE(13)}", true, "\r"},
        {"{SENDCODE(0)}", true, std::string(1, '\0')},
        {"{SENDCODE(255)}", true, "\xff"},
        {"{SENDCODE( 65xyz)}", true, "A"}, // the leading-number rule
        {"{SENDCODE(65.6)}", true, "B"},   // rounded
        {"{SENDCODE(256)}", false, ""},
        {"{SENDCODE(-1)}", false, ""},
        {"{SENDCODE(1)}", true, "\x01"},
        {"{SENDCODE()}", false, ""}, // below the minimum of 13
        {"{SENDDATE(yyyy-mm-dd hh:nn:ss)}", true, "2026-11-15 14:05:09"},
        {"{SENDDATE(hh)}", true, "14"},
    };
    for (const auto& c : cases) {
        Rig r;
        EXPECT_EQ(r.Exec(c.command), c.accepted) << c.command;
        EXPECT_EQ(r.runtime.output, c.output) << c.command;
    }
}

TEST(CommandInterpreter, TimerStringAndIntervalNeedTwoCharactersBeforeTheBrace) {
    Rig r;
    r.cfg.TimerString = "old";
    EXPECT_FALSE(r.Exec("{TIMERSTRING=7}"));
    EXPECT_EQ(r.cfg.TimerString, "old");
    EXPECT_TRUE(r.Exec("{TimerString='p'13}"));
    EXPECT_EQ(r.cfg.TimerString, "p\r");

    r.runtime.timedOutput = true;
    EXPECT_FALSE(r.Exec("{TIMERINTERVAL=5}"));
    EXPECT_EQ(r.cfg.TimerInterval, 0);
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=05}"));
    EXPECT_EQ(r.cfg.TimerInterval, 5);
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=1000}"));
    EXPECT_EQ(r.cfg.TimerInterval, 1000);
    EXPECT_EQ(r.Calls(), "timed output available, timed output available");
    r.runtime.calls.clear();
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=00}"));
    EXPECT_EQ(r.cfg.TimerInterval, 0);
    EXPECT_EQ(r.Calls(), "timed output off, timed output unavailable");
    r.runtime.calls.clear();
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=-50}"));
    EXPECT_EQ(r.Calls(), "timed output unavailable"); // already off
    EXPECT_FALSE(r.Exec("{TIMERINTERVAL=99999999999}"));
}

TEST(CommandInterpreter, TimerIntervalMakesTheEntryAvailableOnlyWithSomethingToDo) {
    Rig r;
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=100}"));
    EXPECT_EQ(r.Calls(), "");   // no string, no line action
    r.cfg.TimerEnabled = 1 | 8; // Issue Break
    EXPECT_TRUE(r.Exec("{TIMERINTERVAL=100}"));
    EXPECT_EQ(r.Calls(), "timed output available");
}

TEST(CommandInterpreter, PushPressesLineButtonsAndOutputStringsByCaption) {
    Rig r;
    r.cfg.OutputStringName[3] = "Tare";
    r.cfg.OutputString[3] = "T\r";
    r.cfg.OutputStringName[4] = "TARE"; // the first equal caption wins
    r.cfg.OutputString[4] = "second";
    EXPECT_TRUE(r.Exec("{PUSH(tare)}"));
    EXPECT_EQ(r.runtime.output, "T\r");
    EXPECT_TRUE(r.Exec("{PUSH(String1)}")); // default captions, empty string
    EXPECT_EQ(r.runtime.output, "T\r");
    EXPECT_TRUE(r.Exec("{PUSH(DTR~)}"));
    EXPECT_TRUE(r.Exec("{push(break)}"));
    EXPECT_EQ(r.Calls(), "pulse DTR, BREAK");
    EXPECT_FALSE(r.Exec("{PUSH(Nothing)}"));
    EXPECT_FALSE(r.Exec("{PUSH()}"));
}

TEST(CommandInterpreter, OnTheVirtualDeviceLineButtonsAreRefusedAndLineCommandsAccepted) {
    Rig r;
    r.runtime.virtualDevice = true;
    EXPECT_FALSE(r.Exec("{PUSH(BREAK)}"));
    EXPECT_FALSE(r.Exec("{PUSH(DTR~)}"));
    EXPECT_TRUE(r.runtime.calls.empty());
    // Accepted; the runtime control does nothing with them on the device.
    for (const char* command : {"{BREAK}", "{TOGGLEDTR}", "{DTR=ON}", "{RTS=OFF}"})
        EXPECT_TRUE(r.Exec(command)) << command;
    r.cfg.OutputStringName[1] = "Go";
    r.cfg.OutputString[1] = "G";
    EXPECT_TRUE(r.Exec("{PUSH(GO)}"));
    EXPECT_EQ(r.runtime.output, "G");
}

TEST(CommandInterpreter, SendFileSendsTheBytesAsTheyAreAndRefusesWhatItCannotSend) {
    testsupport::TempDir dir;
    const std::string bytes("A\0B\r\n\xff", 6);
    std::ofstream(dir.path / "Data.bin", std::ios::binary) << bytes;
    Rig r;
    EXPECT_TRUE(r.Exec("{SENDFILE(" + (dir.path / "Data.bin").string() + ")}"));
    EXPECT_EQ(r.runtime.output, bytes);
    // The name keeps its case: this system's file names are case-sensitive.
    EXPECT_FALSE(r.Exec("{SENDFILE(" + (dir.path / "DATA.BIN").string() + ")}"));
    EXPECT_FALSE(r.Exec("{SENDFILE(" + dir.path.string() + ")}"));
    r.runtime.portOpen = false;
    EXPECT_FALSE(r.Exec("{SENDFILE(" + (dir.path / "Data.bin").string() + ")}"));
    EXPECT_EQ(r.runtime.output, bytes);
}

TEST(CommandInterpreter, ConfigReloadsOnlyAFileForThePortInUse) {
    testsupport::TempDir dir;
    config::Config other;
    other.PortNumber = 1;
    other.ConfigFileName = (dir.path / "Com2.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(other));
    config::Config same;
    same.ConfigFileName = (dir.path / "Com1.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(same));
    std::ofstream(dir.path / "junk.QX3") << "not a configuration\r\n";

    Rig r;
    EXPECT_FALSE(r.Exec("{CONFIG(" + other.ConfigFileName + ")}"));
    EXPECT_FALSE(r.Exec("{CONFIG(" + (dir.path / "junk.QX3").string() + ")}"));
    EXPECT_FALSE(r.Exec("{CONFIG(" + (dir.path / "missing.QX3").string() + ")}"));
    EXPECT_TRUE(r.host.calls.empty());
    EXPECT_TRUE(r.messages.shown.empty()) << "a refusal is never a message";
    EXPECT_TRUE(r.Exec("{Config(" + same.ConfigFileName + ")}"));
    EXPECT_EQ(r.host.calls, (std::vector<std::string>{"reload " + same.ConfigFileName}));

    Rig onDevice;
    onDevice.runtime.virtualDevice = true;
    EXPECT_FALSE(onDevice.Exec("{CONFIG(" + same.ConfigFileName + ")}"));
    EXPECT_TRUE(onDevice.host.calls.empty());
}

TEST(CommandInterpreter, FilesThatAreNoRegularFilesAreRefusedWithTheReason) {
    testsupport::TempDir dir;
    const std::string fifo = (dir.path / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // Over a megabyte that starts as a configuration for COM1.
    config::Config big;
    big.ConfigFileName = (dir.path / "big.QX3").string();
    ASSERT_TRUE(config::SaveConfigFile(big));
    std::ofstream(big.ConfigFileName, std::ios::app) << std::string(1024 * 1024, 'x');

    Rig r;
    const struct {
        std::string command;
        std::string reason;
    } cases[] = {
        {"{SENDFILE(" + fifo + ")}", fifo + " is a named pipe: only a regular file is sent"},
        {"{SENDFILE(/dev/zero)}", "/dev/zero is a device: only a regular file is sent"},
        {"{SENDFILE(" + dir.path.string() + ")}",
         dir.path.string() + " is a folder: only a regular file is sent"},
        {"{CONFIG(" + fifo + ")}",
         "File: " + fifo + " is a named pipe: a configuration is read only from a regular file."},
        {"{CONFIG(/dev/zero)}",
         "File: /dev/zero is a device: a configuration is read only from a regular file."},
        {"{CONFIG(" + big.ConfigFileName + ")}",
         "File: " + big.ConfigFileName +
             " is larger than 1 MB, far more than a configuration file holds."},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(r.Exec(c.command)) << c.command;
        EXPECT_EQ(r.dde.RefusalReason(), c.reason);
    }
    EXPECT_TRUE(r.runtime.output.empty());
    EXPECT_TRUE(r.host.calls.empty());
    EXPECT_TRUE(r.messages.shown.empty());
    // An accepted command leaves no reason behind.
    EXPECT_TRUE(r.Exec("{BEEP}"));
    EXPECT_EQ(r.dde.RefusalReason(), "");
}

TEST(CommandInterpreter, ClearEmptiesEveryFieldItem) {
    Rig r;
    r.cfg.NumFields = 2;
    r.state.FieldText[1] = "1.5";
    r.state.FieldText[2] = "g";
    r.state.FieldText[3] = "beyond";
    EXPECT_TRUE(r.Exec("{CLEAR}"));
    EXPECT_EQ(r.state.FieldText[1], "");
    EXPECT_EQ(r.state.FieldText[2], "");
    EXPECT_EQ(r.state.FieldText[3], "beyond");
    EXPECT_EQ(r.changes, (std::vector<std::string>{"Field(1)=", "Field(2)="}));
}

TEST(CommandInterpreter, CopyCommandsPutALinkAndTheItemsTextOnTheClipboard) {
    Rig r;
    r.cfg.NumFields = 1;
    r.cfg.DdeTopicName = "Scale";
    r.state.DateTimeText = "11/15/2026";
    r.state.RecordNumber = "42";
    r.state.FieldText[1] = std::string("12.5\0tail", 9);
    EXPECT_TRUE(r.Exec("{COPYDATE}"));
    EXPECT_EQ(r.clipboard.link, "Corvane|Scale!DateTime");
    EXPECT_EQ(r.clipboard.text, "11/15/2026");
    EXPECT_TRUE(r.Exec("{COPYRECNUM}"));
    EXPECT_EQ(r.clipboard.link, "Corvane|Scale!RecordNumber");
    EXPECT_EQ(r.clipboard.text, "42");
    EXPECT_TRUE(r.Exec("{COPYFIELD(1)}"));
    EXPECT_EQ(r.clipboard.link, "Corvane|Scale!Field(1)");
    EXPECT_EQ(r.clipboard.text, "12.5");
    EXPECT_FALSE(r.Exec("{COPYFIELD(0)}"));
    EXPECT_FALSE(r.Exec("{COPYFIELD(2)}"));
    EXPECT_FALSE(r.Exec("{COPYFIELD()}")); // 13 characters: below the minimum
    EXPECT_EQ(r.clipboard.link, "Corvane|Scale!Field(1)");
}

TEST(CommandInterpreter, LinkCommandsActOnlyWhenTheirMenuEntryCanBeChosen) {
    Rig r;
    // Nothing on the clipboard, no link settings, no link: all accepted, nothing done.
    for (const char* command : {"{PASTE-COMMAND}", "{REFRESH-COMMAND}", "{TERMINATE-COMMAND}",
                                "{PASTE-BUFFER}", "{REFRESH-BUFFER}", "{TERMINATE-BUFFER}"})
        EXPECT_TRUE(r.Exec(command)) << command;
    EXPECT_FALSE(r.state.RelinkCommandPending);
    EXPECT_FALSE(r.state.RelinkOutputPending);

    r.clipboard.link = "Excel|Sheet1!R1C1";
    EXPECT_TRUE(r.Exec("{PASTE-COMMAND}"));
    EXPECT_EQ(r.cfg.CmdLinkApp, "Excel");
    EXPECT_EQ(r.cfg.CmdLinkTopic, "Sheet1");
    EXPECT_EQ(r.cfg.CmdLinkItem, "R1C1");
    EXPECT_TRUE(r.state.RelinkCommandPending);
    r.clipboard.link = "Lab|Results"; // no "!": the item is empty
    EXPECT_TRUE(r.Exec("{PASTE-BUFFER}"));
    EXPECT_EQ(r.cfg.OutLinkApp, "Lab");
    EXPECT_EQ(r.cfg.OutLinkTopic, "Results");
    EXPECT_EQ(r.cfg.OutLinkItem, "");
    EXPECT_TRUE(r.state.RelinkOutputPending);

    r.state.RelinkCommandPending = false;
    EXPECT_TRUE(r.Exec("{REFRESH-COMMAND}"));
    EXPECT_TRUE(r.state.RelinkCommandPending);

    r.dde.RelinkCommand();
    ASSERT_TRUE(r.dde.links().Active(LinkKind::Command));
    EXPECT_TRUE(r.Exec("{TERMINATE-COMMAND}"));
    EXPECT_FALSE(r.dde.links().Active(LinkKind::Command));
    EXPECT_TRUE(r.client.links.begin()->second.ended);
}

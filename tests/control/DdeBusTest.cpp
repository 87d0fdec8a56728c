// Headless runtimes on real pseudo-terminals, serving their DDE items on a
// private session bus started by each test: items and Changed signals after
// records, commands reaching the port, one runtime commanding and following
// another, the reload command, and a runtime without its server.

#include "support/PrivateBus.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::RunResult;
using testsupport::TempDir;
using testsupport::WaitFor;

namespace {

RunResult Dde(const std::vector<std::string>& args) {
    std::vector<std::string> argv{CORVANE_BINARY, "dde"};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProgram(argv, "", 20s);
}

bool Serves(const std::string& topic) {
    return Dde({"request", "Corvane", topic, "RecordNumber"}).exitCode == 0;
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (std::size_t p = text.find(part); p != std::string::npos; p = text.find(part, p + 1))
        ++n;
    return n;
}

// A headless runtime on its own pseudo-terminal.
struct Runtime {
    testsupport::PseudoTerminal pty;
    std::unique_ptr<ChildProcess> child;

    void Start(const fs::path& qx3) {
        child = std::make_unique<ChildProcess>(std::vector<std::string>{
            CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    }
    // Starts and waits until the runtime serves topic.
    bool StartServing(const fs::path& qx3, const std::string& topic) {
        Start(qx3);
        return WaitFor(10s, [&] { return Serves(topic); });
    }
    std::string Stderr() const { return child ? child->Stderr() : ""; }
};

// Two comma-delimited fields per CR LF line, published in DDE Server mode.
std::string DdeJson(const std::string& topic, const std::string& extra = "") {
    return R"j({"TransferMode": 1, "RecordStructure": 1, "NumFields": 2, "StartOfRecordEvent": 1,
               "DdeTopicName": ")j" +
           topic + "\"" + extra + "}";
}

std::string LogJson(const TempDir& dir, const std::string& log, const std::string& extra = "") {
    return R"j({"TransferMode": 2, "StartOfRecordEvent": 1, "LogFileName": ")j" +
           (dir.path / log).string() + "\"" + extra + "}";
}

} // namespace

TEST(DdeBus, ItemsAndChangedSignalsFollowEachRecord) {
    testsupport::PrivateBus bus;
    TempDir dir;
    Runtime scale;
    ASSERT_TRUE(
        scale.StartServing(testsupport::BuildConfigFile(dir, "scale", DdeJson("Scale")), "Scale"))
        << scale.Stderr();
    ChildProcess unitWatch({CORVANE_BINARY, "dde", "watch", "Corvane", "Scale", "field(2)"});
    ChildProcess counterWatch({CORVANE_BINARY, "dde", "watch", "Corvane", "Scale", "RecordNumber"});
    // Each watch prints the current text first: then it follows.
    ASSERT_TRUE(WaitFor(10s, [&] {
        return unitWatch.Stdout() == "\n" && counterWatch.Stdout() == "\n";
    })) << unitWatch.Stderr();

    // The line feed is no start character; the carriage return becomes NUL
    // in the default DDE translation and ends the item's text.
    ASSERT_TRUE(scale.pty.Write("12.5,g\r\n13.25,kg\r\n7,\xb5g\r\n"));
    ASSERT_TRUE(WaitFor(10s, [&] { return counterWatch.Stdout() == "\n1\n2\n3\n"; }))
        << counterWatch.Stdout();
    ASSERT_TRUE(WaitFor(10s, [&] { return unitWatch.Stdout() == "\ng\nkg\n\xb5g\n"; }))
        << unitWatch.Stdout();

    auto field1 = Dde({"request", "Corvane", "Scale", "Field(1)"});
    EXPECT_EQ(field1.exitCode, 0) << field1.err;
    EXPECT_EQ(field1.out, "7\n");
    // Other programs see byte n as character n: 0xB5 is the micro sign.
    auto gdbus = RunProgram({GDBUS, "call", "--session", "--dest", "org.corvane.Corvane.Scale",
                             "--object-path", "/org/corvane/Dde", "--method",
                             "org.corvane.Dde1.Request", "Field(2)"});
    EXPECT_EQ(gdbus.exitCode, 0) << gdbus.err;
    EXPECT_EQ(gdbus.out, "('\xc2\xb5g',)\n");

    auto unknown = Dde({"request", "Corvane", "Scale", "Field(3)"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.err, "corvane dde: org.corvane.Corvane.Scale has no item Field(3)\n");

    // A poke sets an item, and its followers hear of it.
    EXPECT_EQ(Dde({"poke", "Corvane", "Scale", "RecordNumber", "100"}).exitCode, 0);
    EXPECT_TRUE(WaitFor(10s, [&] { return counterWatch.Stdout() == "\n1\n2\n3\n100\n"; }))
        << counterWatch.Stdout();
    ASSERT_TRUE(scale.pty.Write("1,g\r\n"));
    EXPECT_TRUE(WaitFor(10s, [&] { return counterWatch.Stdout() == "\n1\n2\n3\n100\n101\n"; }))
        << counterWatch.Stdout();

    // The runtime ending ends the watch.
    scale.child->Signal(SIGTERM);
    EXPECT_EQ(scale.child->WaitExit(10s), 0);
    EXPECT_EQ(unitWatch.WaitExit(10s), 1);
    EXPECT_EQ(unitWatch.Stderr(), "corvane dde: org.corvane.Corvane.Scale went away\n");
}

TEST(DdeBus, CommandsReachThePort) {
    testsupport::PrivateBus bus;
    TempDir dir;
    Runtime meter;
    ASSERT_TRUE(
        meter.StartServing(testsupport::BuildConfigFile(
                               dir, "meter", LogJson(dir, "meter.log", R"j(, "PortNumber": 2)j")),
                           "COM3"))
        << meter.Stderr();

    auto sent = Dde({"execute", "Corvane", "COM3", "{SEND(Hi)}"});
    EXPECT_EQ(sent.exitCode, 0) << sent.err;
    EXPECT_EQ(meter.pty.ReadFor(5s, 2), "Hi");
    EXPECT_EQ(Dde({"execute", "Corvane", "COM3", "[sendout('OK'13,10)]\r\n"}).exitCode, 0);
    EXPECT_EQ(meter.pty.ReadFor(5s, 4), "OK\r\n");
    EXPECT_EQ(Dde({"execute", "Corvane", "COM3", "{SEND(\xe9)}"}).exitCode, 0);
    EXPECT_EQ(meter.pty.ReadFor(5s, 1), "\xe9");
    EXPECT_EQ(Dde({"poke", "Corvane", "COM3", "CommandBuffer", "{SENDCODE(65)}"}).exitCode, 0);
    EXPECT_EQ(meter.pty.ReadFor(5s, 1), "A");
    auto gdbus = RunProgram({GDBUS, "call", "--session", "--dest", "org.corvane.Corvane.COM3",
                             "--object-path", "/org/corvane/Dde", "--method",
                             "org.corvane.Dde1.Execute", "{SEND(G)}"});
    EXPECT_EQ(gdbus.exitCode, 0) << gdbus.err;
    EXPECT_EQ(meter.pty.ReadFor(5s, 1), "G");

    auto refused = Dde({"execute", "Corvane", "COM3", "{BEEP}{BEEP}"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err,
              "corvane dde: org.corvane.Corvane.COM3 refused the command {BEEP}{BEEP}\n");
    auto refusedPoke = Dde({"poke", "Corvane", "COM3", "CommandBuffer", "{SENDCODE(256)}"});
    EXPECT_EQ(refusedPoke.exitCode, 1);
    auto nobody = Dde({"execute", "Corvane", "COM4", "{BEEP}"});
    EXPECT_EQ(nobody.exitCode, 1);
    EXPECT_EQ(nobody.err,
              "corvane dde: nobody serves org.corvane.Corvane.COM4 on the session bus\n");
    EXPECT_EQ(Dde({"execute", "Corvane", "COM3"}).exitCode, 2);
    EXPECT_EQ(Dde({"shout", "Corvane", "COM3", "x"}).exitCode, 2);
    EXPECT_EQ(meter.pty.ReadFor(300ms, 1), "") << "refused commands sent something";

    // "{APPEXIT}" ends the runtime in order, after the answer.
    EXPECT_EQ(Dde({"execute", "Corvane", "COM3", "{APPEXIT}"}).exitCode, 0);
    EXPECT_EQ(meter.child->WaitExit(10s), 0) << meter.Stderr();
    EXPECT_EQ(meter.Stderr(), "");
}

TEST(DdeBus, OneRuntimesTargetCommandAndLinksReachAnother) {
    testsupport::PrivateBus bus;
    TempDir dir;
    // The balance publishes its fields and, after each record, commands the LIMS.
    Runtime balance;
    ASSERT_TRUE(balance.StartServing(
        testsupport::BuildConfigFile(
            dir, "balance",
            DdeJson(
                "Balance",
                R"j(, "DdeCmdApp": "Corvane", "DdeCmdTopic": "Lims", "DdeCmdText": "{SEND(T)}")j")),
        "Balance"))
        << balance.Stderr();
    // The LIMS runtime runs field 1 of the balance as a command and sends
    // field 2 to its own instrument.
    const fs::path limsFile =
        testsupport::BuildConfigFile(dir, "lims",
                                     LogJson(dir, "lims.log",
                                             R"j(, "PortNumber": 1, "DdeTopicName": "Lims",
                   "CmdLinkApp": "Corvane", "CmdLinkTopic": "Balance", "CmdLinkItem": "Field(1)",
                   "CmdLinkAuto": -1,
                   "OutLinkApp": "Corvane", "OutLinkTopic": "Balance", "OutLinkItem": "Field(2)",
                   "OutLinkAuto": -1)j"));
    Runtime lims;
    ASSERT_TRUE(lims.StartServing(limsFile, "Lims")) << lims.Stderr();

    ASSERT_TRUE(balance.pty.Write("{SEND(C)},hello\r\n"));
    EXPECT_EQ(lims.pty.ReadFor(10s, 7), "ChelloT");

    // The LIMS goes away: the balance goes on, and its next record after the
    // LIMS is back connects again.
    lims.child->Signal(SIGTERM);
    ASSERT_EQ(lims.child->WaitExit(10s), 0);
    ASSERT_TRUE(balance.pty.Write("{SEND(X)},lost\r\n"));
    ASSERT_TRUE(WaitFor(10s, [&] {
        return Dde({"request", "Corvane", "Balance", "Field(2)"}).out == "lost\n";
    }));
    ASSERT_TRUE(lims.StartServing(limsFile, "Lims")) << lims.Stderr();
    // Established anew, the links start with the items' current texts.
    EXPECT_EQ(lims.pty.ReadFor(10s, 5), "Xlost");
    ASSERT_TRUE(balance.pty.Write("{SEND(D)},again\r\n"));
    EXPECT_EQ(lims.pty.ReadFor(10s, 7), "DagainT");
    EXPECT_EQ(balance.Stderr(), "");
    EXPECT_EQ(lims.Stderr(), "");
}

TEST(DdeBus, ALinkToNobodyIsReportedWithItsMessage) {
    testsupport::PrivateBus bus;
    TempDir dir;
    Runtime lims;
    lims.Start(testsupport::BuildConfigFile(
        dir, "lims",
        LogJson(dir, "lims.log",
                R"j(, "CmdLinkApp": "Excel", "CmdLinkTopic": "Sheet1", "CmdLinkItem": "R1C1",
                   "CmdLinkAuto": -1)j")));
    EXPECT_TRUE(WaitFor(10s, [&] {
        return lims.Stderr() == "Cannot Establish DDE Command Link With: Excel,Sheet1,R1C1\n";
    })) << lims.Stderr();
}

TEST(DdeBus, ConfigReloadsAFileForTheSamePortAndRecordsKeepFlowing) {
    testsupport::PrivateBus bus;
    TempDir dir;
    const fs::path first = testsupport::BuildConfigFile(dir, "first", LogJson(dir, "first.log"));
    const fs::path second = testsupport::BuildConfigFile(
        dir, "second",
        LogJson(dir, "second.log", R"j(, "BaudRate": 8, "DdeTopicName": "Reloaded")j"));
    const fs::path otherPort =
        testsupport::BuildConfigFile(dir, "other", LogJson(dir, "x.log", R"j(, "PortNumber": 1)j"));
    Runtime r;
    ASSERT_TRUE(r.StartServing(first, "COM1")) << r.Stderr();
    ASSERT_TRUE(r.pty.Write("1\r"));
    ASSERT_TRUE(WaitFor(
        10s, [&] { return testsupport::ReadFileBytes(dir.path / "first.log") == "1\r\r\n"; }));

    auto refused = Dde({"execute", "Corvane", "COM1", "{CONFIG(" + otherPort.string() + ")}"});
    EXPECT_EQ(refused.exitCode, 1);
    auto reload = Dde({"execute", "Corvane", "COM1", "{CONFIG(" + second.string() + ")}"});
    EXPECT_EQ(reload.exitCode, 0) << reload.err;
    // The new topic is served once the runtime has started again.
    ASSERT_TRUE(WaitFor(10s, [&] { return Serves("Reloaded"); }));
    EXPECT_FALSE(Serves("COM1"));
    ASSERT_TRUE(r.pty.Write("2\r"));
    EXPECT_TRUE(WaitFor(10s, [&] {
        return testsupport::ReadFileBytes(dir.path / "second.log") == "2\r\r\n";
    })) << testsupport::ReadFileBytes(dir.path / "second.log");
    EXPECT_EQ(testsupport::ReadFileBytes(dir.path / "first.log"), "1\r\r\n");
    // The counter goes on across the reload.
    EXPECT_EQ(Dde({"request", "Corvane", "Reloaded", "RecordNumber"}).out, "2\n");
    EXPECT_EQ(r.Stderr(), "");
}

TEST(DdeBus, AReloadWithTheSameLineSettingsLosesNothingSentRightAfterTheAnswer) {
    testsupport::PrivateBus bus;
    TempDir dir;
    // One field per line, then two comma-delimited fields (logged one after
    // the other), at the same line settings.
    const fs::path first = testsupport::BuildConfigFile(dir, "first", LogJson(dir, "first.log"));
    const fs::path second = testsupport::BuildConfigFile(
        dir, "second",
        LogJson(dir, "second.log",
                R"j(, "RecordStructure": 1, "NumFields": 2, "DelimiterChar": ",")j"));
    Runtime r;
    ASSERT_TRUE(r.StartServing(first, "COM1")) << r.Stderr();
    const struct {
        const fs::path& file;
        const char* sent;
        fs::path log;
        const char* logged;
    } rounds[] = {
        {second, "0.5,0\r", dir.path / "second.log", "0.50\r\r\n"},
        {first, "1.5,1\r", dir.path / "first.log", "1.5,1\r\r\n"},
        {second, "2.5,2\r", dir.path / "second.log", "0.50\r\r\n2.52\r\r\n"},
    };
    for (const auto& round : rounds) {
        auto reload = Dde({"execute", "Corvane", "COM1", "{CONFIG(" + round.file.string() + ")}"});
        ASSERT_EQ(reload.exitCode, 0) << reload.err;
        // At once, before the runtime's next tick has loaded the file.
        ASSERT_TRUE(r.pty.Write(round.sent));
        EXPECT_TRUE(
            WaitFor(10s, [&] { return testsupport::ReadFileBytes(round.log) == round.logged; }))
            << round.sent << ": " << testsupport::ReadFileBytes(round.log);
    }
    EXPECT_EQ(r.Stderr(), "");
}

TEST(DdeBus, NoFileNamedByACommandStopsTheRuntimeFromReadingOrEnding) {
    testsupport::PrivateBus bus;
    TempDir dir;
    const std::string fifo = (dir.path / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    Runtime r;
    ASSERT_TRUE(
        r.StartServing(testsupport::BuildConfigFile(dir, "log", LogJson(dir, "out.log")), "COM1"))
        << r.Stderr();
    // Each is refused at once, with its reason for the caller.
    for (const std::string& file : {fifo, std::string("/dev/zero")})
        for (const char* command : {"{CONFIG(", "{SENDFILE("}) {
            const auto start = std::chrono::steady_clock::now();
            const auto refused = RunProgram(
                {CORVANE_BINARY, "dde", "execute", "Corvane", "COM1", command + file + ")}"}, "",
                5s);
            EXPECT_EQ(refused.exitCode, 1) << command << file << ": " << refused.err;
            EXPECT_NE(refused.err.find(file + " is a "), std::string::npos) << refused.err;
            EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
        }
    // The runtime goes on reading, and a signal ends it.
    ASSERT_TRUE(r.pty.Write("7\r"));
    EXPECT_TRUE(WaitFor(
        10s, [&] { return testsupport::ReadFileBytes(dir.path / "out.log") == "7\r\r\n"; }));
    r.child->Signal(SIGTERM);
    const auto status = r.child->WaitExit(10s);
    ASSERT_TRUE(status.has_value()) << "SIGTERM did not end the runtime";
    EXPECT_EQ(*status, 0) << r.Stderr();
}

TEST(DdeBus, TheHotkeyCommandPressesASlotOfTheRuntimeThatServesTheTopic) {
    testsupport::PrivateBus bus;
    TempDir dir;
    // Slot 2: CTRL+F5 sends "T" CR LF to the instrument.
    std::string codes = "[0, 0, 628", actions = "[0, 0, 1", texts = R"(["", "", "T\r\n")";
    for (int i = 3; i < 50; ++i) {
        codes += ", 0";
        actions += ", 0";
        texts += ", \"\"";
    }
    Runtime r;
    ASSERT_TRUE(r.StartServing(
        testsupport::BuildConfigFile(
            dir, "keys",
            LogJson(dir, "keys.log",
                    ", \"DdeTopicName\": \"Bench 1\", \"HotKeyCode\": " + codes +
                        "], \"HotKeyAction\": " + actions + "], \"HotKeyData\": " + texts + "]")),
        "Bench 1"))
        << r.Stderr();
    auto hotkey = [](const std::vector<std::string>& args) {
        std::vector<std::string> argv{CORVANE_BINARY, "hotkey"};
        argv.insert(argv.end(), args.begin(), args.end());
        return RunProgram(argv, "", 20s);
    };
    const auto pressed = hotkey({"Bench 1", "2"});
    EXPECT_EQ(pressed.exitCode, 0) << pressed.err;
    EXPECT_EQ(r.pty.ReadFor(5s, 3), "T\r\n");
    const auto unused = hotkey({"Bench 1", "7"});
    EXPECT_EQ(unused.exitCode, 1);
    EXPECT_EQ(unused.err, "corvane hotkey: org.corvane.Corvane.Bench_1: hot key slot 7 has no key "
                          "and no action\n");
    const auto nobody = hotkey({"COM9", "2"});
    EXPECT_EQ(nobody.exitCode, 1);
    EXPECT_EQ(nobody.err, "corvane hotkey: nobody serves org.corvane.Corvane.COM9 on the session "
                          "bus\n");
    EXPECT_EQ(hotkey({"Bench 1", "two"}).exitCode, 2);
    EXPECT_EQ(hotkey({"Bench 1"}).exitCode, 2);
    // Without an X display the runtime names the command at start.
    EXPECT_NE(r.Stderr().find("press one with the command: corvane hotkey Bench 1 SLOT"),
              std::string::npos)
        << r.Stderr();
}

TEST(DdeBus, ATakenNameIsReportedOnceAndTheRuntimeGoesOnWithoutItsServer) {
    testsupport::PrivateBus bus;
    TempDir dir;
    Runtime first;
    ASSERT_TRUE(
        first.StartServing(testsupport::BuildConfigFile(
                               dir, "a", LogJson(dir, "a.log", R"j(, "DdeTopicName": "Same")j")),
                           "Same"));
    Runtime second;
    second.Start(testsupport::BuildConfigFile(
        dir, "b", LogJson(dir, "b.log", R"j(, "PortNumber": 1, "DdeTopicName": "Same")j")));
    ASSERT_TRUE(WaitFor(10s, [&] { return !second.Stderr().empty(); }));
    ASSERT_TRUE(second.pty.Write("5\r"));
    ASSERT_TRUE(
        WaitFor(10s, [&] { return testsupport::ReadFileBytes(dir.path / "b.log") == "5\r\r\n"; }));
    EXPECT_EQ(second.Stderr(),
              "Corvane - COM2: The DDE name org.corvane.Corvane.Same is already taken by another "
              "program on the session bus: this runtime goes on without its DDE server.\n");
    // The name still leads to the first runtime.
    EXPECT_EQ(Dde({"request", "Corvane", "Same", "RecordNumber"}).out, "\n");
}

TEST(DdeBus, WithoutASessionBusTheRuntimeSaysSoOnceAndLogsAllTheSame) {
    TempDir dir; // no PrivateBus: the address names no bus
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "log", LogJson(dir, "out.log"));
    auto result =
        RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()}, "1\r2\r", 20s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(testsupport::ReadFileBytes(dir.path / "out.log"), "1\r\r\n2\r\r\n");
    EXPECT_EQ(Count(result.err, "No D-Bus session bus can be reached"), 1u) << result.err;
    auto nobus = Dde({"request", "Corvane", "COM1", "RecordNumber"});
    EXPECT_EQ(nobus.exitCode, 1);
    EXPECT_EQ(nobus.err, "corvane dde: no D-Bus session bus can be reached\n");
}

TEST(DdeBus, SuspendAndResumeCommandsHoldAndReleaseInput) {
    testsupport::PrivateBus bus;
    TempDir dir;
    const fs::path log = dir.path / "out.log";
    Runtime r;
    // It starts suspended and says how to resume it.
    ASSERT_TRUE(
        r.StartServing(testsupport::BuildConfigFile(
                           dir, "s", LogJson(dir, "out.log", R"j(, "ActivateSuspended": -1)j")),
                       "COM1"));
    ASSERT_TRUE(r.pty.Write("1\r2\r"));
    ASSERT_EQ(Dde({"execute", "Corvane", "COM1", "{RESUME1}"}).exitCode, 0);
    ASSERT_TRUE(WaitFor(10s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n"; }));
    // One record only: then input is held again.
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(testsupport::ReadFileBytes(log), "1\r\r\n");
    EXPECT_EQ(Dde({"execute", "Corvane", "COM1", "{RESUME}"}).exitCode, 0);
    EXPECT_TRUE(WaitFor(10s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n2\r\r\n"; }))
        << testsupport::ReadFileBytes(log);
    EXPECT_NE(r.Stderr().find("corvane dde execute Corvane COM1 \"{RESUME}\""), std::string::npos)
        << r.Stderr();
}

TEST(DdeBus, TheExampleScriptsFollowTheWeightAndTareTheBalance) {
    testsupport::PrivateBus bus;
    TempDir dir;
    const fs::path examples = fs::path(CORVANE_SOURCE_DIR) / "examples";
    const fs::path qx3 = dir.path / "balance-dde.QX3";
    ASSERT_EQ(RunProgram({CORVANE_BINARY, "config", "build",
                          (examples / "balance-dde.json").string(), qx3.string()})
                  .exitCode,
              0);
    Runtime balance;
    ASSERT_TRUE(balance.StartServing(qx3, "COM1")) << balance.Stderr();
    ChildProcess follow({(examples / "follow-weight.py").string()});
    ASSERT_TRUE(WaitFor(10s, [&] { return follow.Stdout() == "\n"; })) << follow.Stderr();
    ASSERT_TRUE(balance.pty.Write(testsupport::ReadFileBytes(examples / "balance-data.txt")));
    EXPECT_TRUE(WaitFor(
        10s,
        [&] { return follow.Stdout() == "\n12.345\n12.351\n-0.120\n100.004\n99.998\n0.000\n"; }))
        << follow.Stdout() << follow.Stderr();

    auto tare = RunProgram({(examples / "send-command.sh").string()});
    EXPECT_EQ(tare.exitCode, 0) << tare.err;
    EXPECT_EQ(balance.pty.ReadFor(5s, 3), "T\r\n");
    EXPECT_NE(RunProgram({(examples / "send-command.sh").string(), "COM1", "{NOPE}"}).exitCode, 0);
}

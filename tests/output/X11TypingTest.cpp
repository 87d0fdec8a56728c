// Typing into a real X client under a private Xvfb.

#include "output/X11Keyboard.h"
#include "support/BalanceRecords.h"
#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::TempDir;
using testsupport::WaitFor;

namespace {

// Typing under a private X server, gone with the fixture.
class X11Typing : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testsupport::PrivateXServer::Available())
            GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
        xserver = std::make_unique<testsupport::PrivateXServer>();
        ASSERT_TRUE(xserver->started()) << "no Xvfb could be started";
    }
    void TearDown() override {
        front.reset();
        recorder.reset();
        windowManager.reset();
        xserver.reset();
    }
    // Starts a recording client into file and waits until its window is mapped.
    static std::unique_ptr<ChildProcess> Recorder(const std::string& title, const fs::path& file,
                                                  bool strict) {
        std::vector<std::string> argv{KEY_RECORDER, title, file.string()};
        if (strict)
            argv.push_back("--strict");
        auto child = std::make_unique<ChildProcess>(argv);
        EXPECT_TRUE(WaitFor(10s, [&] { return testsupport::ReadFileBytes(file) == "<ready>"; }))
            << title << ": " << testsupport::ReadFileBytes(file);
        return child;
    }
    // The recording client that the tests type into, as typed.
    void StartRecorder(const std::string& title, bool strict = false) {
        typed = dir.path / "typed.txt";
        recorder = Recorder(title, typed, strict);
    }
    // Starts openbox and waits until it manages the screen.
    void StartWindowManager() {
        windowManager =
            std::make_unique<ChildProcess>(std::vector<std::string>{"/usr/bin/openbox"});
        ASSERT_TRUE(WaitFor(10s, [] {
            auto r = RunProgram({"/usr/bin/xprop", "-root", "_NET_SUPPORTING_WM_CHECK"});
            return r.out.find("window id") != std::string::npos;
        })) << windowManager->Stderr();
    }
    // The caption of the window with the input focus.
    static std::string Focused() {
        auto r = RunProgram({"/usr/bin/xdotool", "getwindowfocus", "getwindowname"});
        return r.out.substr(0, r.out.find('\n'));
    }
    std::string Typed() const {
        std::string s = testsupport::ReadFileBytes(typed);
        return s.substr(std::min<std::size_t>(7, s.size()));
    }
    testsupport::RunResult Keys(const std::string& text, const std::string& title) {
        return RunProgram({CORVANE_BINARY, "keys", "--delay", "0", "--window", title, text});
    }
    // Builds the configuration as dir/name.QX3 and runs it headless on pty.
    std::unique_ptr<ChildProcess> RunOnPty(const nlohmann::json& cfg, const std::string& name,
                                           const testsupport::PseudoTerminal& pty) {
        fs::path qx3 = testsupport::BuildConfigFile(dir, name, cfg.dump());
        return std::make_unique<ChildProcess>(std::vector<std::string>{
            CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    }

    std::unique_ptr<testsupport::PrivateXServer> xserver;
    std::unique_ptr<ChildProcess> windowManager;
    std::unique_ptr<ChildProcess> recorder;
    std::unique_ptr<ChildProcess> front; // a window the user works in
    TempDir dir;
    fs::path typed;
};

} // namespace

TEST_F(X11Typing, TypesTextShiftedCharactersAndKeysIntoTheWindowFoundByTitle) {
    StartRecorder("Corvane Key Recorder");
    auto r = Keys("Hello, World!{TAB}a+b{ENTER}{}}{{}{~}{+}{%}{^}(x)~", "key recorder");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    const std::string expected = "Hello, World!\taB\n}{~+%^x\n";
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed() == expected; })) << Typed();

    auto missing = Keys("x", "no such window");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("no such window"), std::string::npos);
}

TEST_F(X11Typing, NoTwoPressesOfOneKeyShareAServerMillisecond) {
    // Without a pause between keys a client that drops same-millisecond
    // repeats would lose every doubled character here.
    StartRecorder("Strict Recorder", true);
    const std::string text = "1111 2222 aaAA 100.00 11.11 ((~~))";
    auto r = Keys(text, "strict recorder");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed() == "1111 2222 aaAA 100.00 11.11 \n\n"; }))
        << Typed();
}

TEST_F(X11Typing, CapsLockIsTurnedOffForTheSendAndBackOnAfter) {
    StartRecorder("Caps Recorder");
    ASSERT_EQ(RunProgram({"/usr/bin/xdotool", "key", "Caps_Lock"}).exitCode, 0);
    auto r = Keys("abc", "Caps Recorder");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed() == "abc"; })) << Typed();
    auto state = RunProgram({"/usr/bin/xset", "q"});
    EXPECT_NE(state.out.find("Caps Lock:   on"), std::string::npos) << state.out;
}

TEST_F(X11Typing, GermanLayoutTypesYZAndAt) {
    StartRecorder("German Recorder");
    ASSERT_EQ(RunProgram({"/usr/bin/setxkbmap", "de"}).exitCode, 0);
    auto r = Keys("yz@Y", "German Recorder");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed() == "yz@Y"; })) << Typed();
}

TEST_F(X11Typing, RecordsArrivingOnAPortAreTypedIntoTheTargetWindow) {
    StartRecorder("Pty Recorder");
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "pty recorder";
    cfg["InterCharDelay"] = 0;
    std::vector<std::string> postambles(41, "");
    postambles[1] = "{TAB}x~";
    cfg["FieldPostamble"] = postambles;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "keys", pty);
    // Every special entry of the default translation table, upper case and
    // shifted characters; the carriage return ends the record and is typed
    // as Enter, the line feed is dropped.
    const std::string record = "Ab+%()[]{}~^ 7\t\xa0x\x08\x7f\x01\r\n";
    ASSERT_TRUE(pty.Write(record));
    const std::string expected = "Ab+%()[]{}~^ 7\t x<BS><DEL>\n\tx\n";
    EXPECT_TRUE(WaitFor(10s, [&] { return Typed() == expected; })) << Typed() << "\n"
                                                                   << runtime->Stderr();
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value());
}

TEST_F(X11Typing, AMissingTargetIsStartedAndFoundByItsCaptionAfterwards) {
    typed = dir.path / "launched.txt";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Launched";
    cfg["TargetAppCommand"] =
        std::string(KEY_RECORDER) + " \"Launched Recorder\" " + typed.string();
    cfg["InterCharDelay"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "launch", pty);
    ASSERT_TRUE(pty.Write("one\r"));
    EXPECT_TRUE(WaitFor(15s, [&] { return Typed() == "one\n"; })) << Typed() << "\n"
                                                                  << runtime->Stderr();
    // The second record finds the started window by its caption: no second start.
    ASSERT_TRUE(pty.Write("two\r"));
    EXPECT_TRUE(WaitFor(10s, [&] { return Typed() == "one\ntwo\n"; })) << Typed();
    EXPECT_EQ(testsupport::ReadFileBytes(typed).rfind("<ready>"), 0u);
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value());
    // The started recorder ends with its X server.
}

TEST_F(X11Typing, SigtermEndsTheWaitForAStartedProgramsWindow) {
    // The started program never opens a window: the runtime waits for one
    // until it is told to stop.
    const fs::path pidFile = dir.path / "target.pid";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Never Shown";
    cfg["TargetAppCommand"] = "/bin/sh -c \"echo $$ > " + pidFile.string() + "; exec sleep 60\"";
    cfg["StartOfRecordEvent"] = 1;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "windowless", pty);
    ASSERT_TRUE(pty.Write("one\r"));
    ASSERT_TRUE(WaitFor(10s, [&] { return fs::exists(pidFile); })) << runtime->Stderr();
    const int target = std::atoi(testsupport::ReadFileBytes(pidFile).c_str());
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value()) << runtime->Stderr();
    if (target > 0)
        ::kill(target, SIGTERM);
}

TEST_F(X11Typing, AppExitEndsTheWaitForAWindowThatASingleQuotedScriptNeverOpens) {
    testsupport::PrivateBus bus;
    const fs::path pidFile = dir.path / "script.pid";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Never Shown";
    cfg["TargetAppCommand"] = "sh -c 'echo $$ > \"$0\"; exec sleep 60' '" + pidFile.string() + "'";
    cfg["StartOfRecordEvent"] = 1;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "script", pty);
    ASSERT_TRUE(pty.Write("one\r"));
    ASSERT_TRUE(WaitFor(10s, [&] { return fs::exists(pidFile); })) << runtime->Stderr();
    const int target = std::atoi(testsupport::ReadFileBytes(pidFile).c_str());
    // The wait pumps events: the command is answered and ends it.
    const auto exec =
        RunProgram({CORVANE_BINARY, "dde", "execute", "Corvane", "COM1", "{APPEXIT}"}, "", 10s);
    EXPECT_EQ(exec.exitCode, 0) << exec.err;
    const auto status = runtime->WaitExit(5s);
    ASSERT_TRUE(status.has_value()) << runtime->Stderr();
    EXPECT_EQ(*status, 0) << runtime->Stderr();
    if (target > 0)
        ::kill(target, SIGTERM);
}

TEST_F(X11Typing, AProgramThatEndsWithoutAWindowIsSaidOnceAndTheRunGoesOn) {
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Nothing Like This";
    cfg["TargetAppCommand"] = "sh -c 'exit 3'";
    cfg["StartOfRecordEvent"] = 1;
    fs::path qx3 = testsupport::BuildConfigFile(dir, "ends", cfg.dump());
    const auto start = std::chrono::steady_clock::now();
    auto r = RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()},
                        "one\rtwo\r", 30s);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    // Each record waits 2 s after the program's end, no more.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    const std::string said =
        "Cannot Run Program: sh -c 'exit 3'\rThe program ended (exit status 3) "
        "without opening a window.\n";
    EXPECT_NE(r.err.find(said), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find(said), r.err.rfind(said)) << r.err;
}

TEST_F(X11Typing, AStartedTargetNeverSharesCorvanesStandardStreams) {
    // On the virtual device, standard input and output are the instrument's
    // data stream: a started program must neither read nor write them, nor
    // keep the caller's pipes open after the run.
    typed = dir.path / "detached.txt";
    const fs::path stolen = dir.path / "stdin.txt";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Detached";
    cfg["TargetAppCommand"] = "/bin/sh -c \"echo TARGET-OUT; echo TARGET-ERR >&2; cat > " +
                              stolen.string() + "; exec " + KEY_RECORDER + " 'Detached Recorder' " +
                              typed.string() + "\"";
    cfg["InterCharDelay"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    fs::path qx3 = testsupport::BuildConfigFile(dir, "detached", cfg.dump());
    auto start = std::chrono::steady_clock::now();
    auto r =
        RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()}, "one\r", 30s);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    EXPECT_EQ(r.out.find("TARGET-OUT"), std::string::npos) << r.out;
    EXPECT_EQ(r.err.find("TARGET-ERR"), std::string::npos) << r.err;
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed() == "one\n"; })) << Typed();
    EXPECT_EQ(testsupport::ReadFileBytes(stolen), "");
}

TEST_F(X11Typing, ACommandThatCannotStartIsReported) {
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Nothing Like This";
    cfg["TargetAppCommand"] = "/nonexistent/program --flag";
    fs::path qx3 = testsupport::BuildConfigFile(dir, "bad", cfg.dump());
    auto r =
        RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()}, "x\r", 20s);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.err.find("Cannot Run Program: /nonexistent/program --flag"), std::string::npos)
        << r.err;
}

TEST_F(X11Typing, VirtualKeysMapToKeycodesAndBack) {
    auto keyboard = output::X11Keyboard::Open();
    ASSERT_TRUE(keyboard);
    for (int vk : {65, 90, 48, 57, 9, 13, 27, 32, 37, 46, 112, 123, 16, 17, 18}) {
        unsigned keycode = keyboard->KeycodeFor(vk);
        ASSERT_NE(keycode, 0u) << vk;
        EXPECT_EQ(keyboard->VirtualKeyFor(keycode), vk) << vk;
    }
    int at = keyboard->VkKeyScan('@') & 0xFF;
    EXPECT_EQ(keyboard->VirtualKeyFor(keyboard->KeycodeFor(at)), at);
}

TEST_F(X11Typing, RecordsGoOnlyIntoTheTargetAndTheUsersWindowGetsTheFocusBack) {
    // A spreadsheet-like target that drops same-millisecond repeats, and the
    // user's own window in front when the records start to arrive.
    StartWindowManager();
    StartRecorder("Sheet Recorder", true);
    const fs::path frontTyped = dir.path / "front.txt";
    front = Recorder("Mail Recorder", frontTyped, false);
    ASSERT_TRUE(WaitFor(5s, [] { return Focused() == "Mail Recorder"; })) << Focused();

    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "sheet recorder";
    cfg["InterCharDelay"] = 0;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "sheet", pty);
    const testsupport::BalanceRecords records = testsupport::DoubledDigitRecords(200);
    const std::string& expected = records.typed;
    ASSERT_TRUE(pty.Write(records.sent));
    EXPECT_TRUE(WaitFor(60s, [&] { return Typed().size() >= expected.size(); }));
    EXPECT_EQ(Typed(), expected) << runtime->Stderr();
    EXPECT_EQ(testsupport::ReadFileBytes(frontTyped), "<ready>");
    EXPECT_TRUE(WaitFor(3s, [] { return Focused() == "Mail Recorder"; })) << Focused();
    EXPECT_EQ(runtime->Stderr().find("Cannot Activate"), std::string::npos) << runtime->Stderr();
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value());
}

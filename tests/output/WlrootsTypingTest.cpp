// Typing into real Wayland clients under a private headless sway: the Qt
// recorder of the tests (strict about keys that share a millisecond) and
// foot running cat.

#include "output/WlrootsConnection.h"
#include "output/WlrootsWindowSystem.h"
#include "support/BalanceRecords.h"
#include "support/PrivateBus.h"
#include "support/PrivateCompositor.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <QLibraryInfo>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::WaitFor;

namespace {

class WlrootsTyping : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::string missing = testsupport::PrivateCompositor::Missing(); !missing.empty())
            GTEST_SKIP() << missing;
        const std::string plugin = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString() +
                                   "/platforms/libqwayland-generic.so";
        if (!fs::exists(plugin))
            GTEST_SKIP() << "Qt's wayland platform (" << plugin
                         << ") is not installed: qt6-wayland (scripts/setup installs it)";
        compositor = std::make_unique<testsupport::PrivateCompositor>(UsesXWayland());
        ASSERT_TRUE(compositor->started()) << compositor->Failure();
    }
    void TearDown() override {
        windows.reset();
        connection.reset();
        clients.clear();
        compositor.reset();
    }
    virtual bool UsesXWayland() const { return false; }

    // Starts the recording client titled title, typing into file, and waits
    // until it has the focus.
    void StartRecorder(const std::string& title, const fs::path& file, bool strict = false) {
        std::vector<std::string> argv{WAYLAND_KEY_RECORDER, title, file.string()};
        if (strict)
            argv.push_back("--strict");
        clients.push_back(std::make_unique<ChildProcess>(argv));
        ASSERT_TRUE(WaitFor(10s, [&] { return testsupport::ReadFileBytes(file) == "<ready>"; }))
            << title << ": " << testsupport::ReadFileBytes(file) << clients.back()->Stderr();
    }
    static std::string Typed(const fs::path& file) {
        const std::string s = testsupport::ReadFileBytes(file);
        return s.substr(std::min<std::size_t>(7, s.size()));
    }
    // The compositor's window list, as this test sees it.
    output::WlrootsWindowSystem& Windows() {
        if (!windows) {
            std::string why;
            connection = output::WlrootsConnection::Open(why);
            EXPECT_TRUE(connection) << why;
            windows = std::make_unique<output::WlrootsWindowSystem>(*connection);
        }
        return *windows;
    }
    std::string Focused() {
        output::WlrootsWindowSystem& list = Windows();
        return list.Caption(list.ForegroundWindow());
    }
    bool HasWindow(const std::string& title) { return Windows().FindByTitle(title) != 0; }
    std::unique_ptr<ChildProcess> RunOnPty(const nlohmann::json& cfg, const std::string& name,
                                           const testsupport::PseudoTerminal& pty) {
        const fs::path qx3 = testsupport::BuildConfigFile(dir, name, cfg.dump());
        return std::make_unique<ChildProcess>(std::vector<std::string>{
            CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    }

    std::unique_ptr<testsupport::PrivateCompositor> compositor;
    std::unique_ptr<output::WlrootsConnection> connection;
    std::unique_ptr<output::WlrootsWindowSystem> windows;
    std::vector<std::unique_ptr<ChildProcess>> clients;
    testsupport::TempDir dir;
};

} // namespace

TEST_F(WlrootsTyping, DoubledDigitsAtDelayZeroAllArriveInTheTargetAndTheWindowInFrontGetsNothing) {
    // A strict client as the target, and the user's own window in front
    // when the records start to arrive.
    const fs::path sheet = dir.path / "sheet.txt", mail = dir.path / "mail.txt";
    StartRecorder("Sheet Recorder", sheet, true);
    StartRecorder("Mail Recorder", mail);
    ASSERT_TRUE(WaitFor(5s, [&] { return Focused() == "Mail Recorder"; })) << Focused();

    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "sheet recorder";
    cfg["InterCharDelay"] = 0;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "sheet", pty);
    const testsupport::BalanceRecords records = testsupport::DoubledDigitRecords(200);
    const std::string& expected = records.typed;
    ASSERT_TRUE(pty.Write(records.sent));
    EXPECT_TRUE(WaitFor(60s, [&] { return Typed(sheet).size() >= expected.size(); }))
        << Typed(sheet) << runtime->Stderr();
    EXPECT_EQ(Typed(sheet), expected) << runtime->Stderr();
    EXPECT_EQ(testsupport::ReadFileBytes(mail), "<ready>");
    EXPECT_TRUE(WaitFor(3s, [&] { return Focused() == "Mail Recorder"; })) << Focused();
    EXPECT_EQ(runtime->Stderr().find("Cannot Activate"), std::string::npos) << runtime->Stderr();
    EXPECT_EQ(runtime->Stderr().find("Keystrokes"), std::string::npos) << runtime->Stderr();
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value());
}

TEST_F(WlrootsTyping, CharactersBeyondTheUsLayoutModifiersAndLocksArriveInFoot) {
    // More characters beyond US ASCII than the keymap has spare keys, so
    // that spare keys are given new characters while typing.
    const fs::path typed = dir.path / "foot.txt";
    clients.push_back(std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/foot", "--title", "Foot Target", "/bin/sh", "-c",
                                 "exec cat > '" + typed.string() + "'"}));
    ASSERT_TRUE(WaitFor(10s, [&] { return HasWindow("Foot Target"); })) << compositor->Log();
    const std::string text = "é ß µ ° àáâãäåæçèêëìíîïðñòóôõöøùúûüýþÿ ÀÉ Ø";
    auto r = RunProgram({CORVANE_BINARY, "keys", "--delay", "0", "--window", "foot target",
                         text + " +(abc){CAPSLOCK}abc{CAPSLOCK}x{NUMPAD1}{TAB}~"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    const std::string expected = text + " ABCABCx1\t\n";
    EXPECT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(typed) == expected; }))
        << testsupport::ReadFileBytes(typed);
}

TEST_F(WlrootsTyping, ModifiersBreakAndTheKeyNamesOfTheNotationArriveAsMeant) {
    const fs::path typed = dir.path / "keys.txt";
    StartRecorder("Keys Recorder", typed);
    // {BREAK} holds Ctrl until the next one; ^ holds it over one unit; then
    // named keys and Shift+Tab.
    auto r = RunProgram({CORVANE_BINARY, "keys", "--delay", "0", "--window", "keys recorder",
                         "{BREAK}a{BREAK}b^(cd)e+{TAB}{F5}{F12}{ESC}x{BS}{DEL}{ENTER}"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    const std::string expected = "<C-a>b<C-c><C-d>e<BT><F5><F12><ESC>x<BS><DEL>\n";
    EXPECT_TRUE(WaitFor(5s, [&] { return Typed(typed) == expected; })) << Typed(typed);
}

TEST_F(WlrootsTyping, AMissingTargetIsStartedAndFoundByItsTitleAfterwards) {
    const fs::path launched = dir.path / "launched.txt";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Launched";
    cfg["TargetAppCommand"] =
        std::string(WAYLAND_KEY_RECORDER) + " \"Launched Recorder\" " + launched.string();
    cfg["InterCharDelay"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    testsupport::PseudoTerminal pty;
    auto runtime = RunOnPty(cfg, "launch", pty);
    ASSERT_TRUE(pty.Write("one\r"));
    EXPECT_TRUE(WaitFor(15s, [&] { return Typed(launched) == "one\n"; }))
        << Typed(launched) << runtime->Stderr();
    ASSERT_TRUE(pty.Write("two\r"));
    EXPECT_TRUE(WaitFor(10s, [&] { return Typed(launched) == "one\ntwo\n"; })) << Typed(launched);
    // Found by its title the second time: started once.
    EXPECT_EQ(testsupport::ReadFileBytes(launched).rfind("<ready>"), 0u);
    runtime->Signal(SIGTERM);
    EXPECT_TRUE(runtime->WaitExit(5s).has_value());
}

TEST_F(WlrootsTyping, DoctorAndTheRuntimeSayWhatTheSessionOffers) {
    {
        testsupport::PrivateBus bus;
        auto doctor = RunProgram({CORVANE_BINARY, "doctor"});
        EXPECT_EQ(doctor.exitCode, 0) << doctor.out << doctor.err;
        EXPECT_NE(doctor.out.find("session:        Wayland, without XWayland"), std::string::npos)
            << doctor.out;
        EXPECT_NE(doctor.out.find("keystrokes:     wlroots: "), std::string::npos) << doctor.out;
        EXPECT_NE(doctor.out.find("hot keys:       none: hot keys need an X display"),
                  std::string::npos)
            << doctor.out;
    }
    // Without a bus the doctor fails: the DDE server could not run.
    auto noBus = RunProgram({CORVANE_BINARY, "doctor"});
    EXPECT_EQ(noBus.exitCode, 1) << noBus.out;
    EXPECT_NE(noBus.out.find("session bus:    not reachable"), std::string::npos) << noBus.out;

    // X11 forced where there is no X display: nothing types, said once, and
    // the run goes on.
    auto keys = RunProgram({CORVANE_BINARY, "keys", "--keyboard", "x11", "abc"});
    EXPECT_EQ(keys.exitCode, 1);
    EXPECT_NE(keys.err.find("DISPLAY is not set"), std::string::npos) << keys.err;
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "forced", cfg.dump());
    auto run = RunProgram(
        {CORVANE_BINARY, "run", "--headless", "--virtual", "--keyboard", "x11", qx3.string()},
        "one\rtwo\r", 20s);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::string said = "Keystrokes cannot be typed in this session: DISPLAY is not set";
    EXPECT_NE(run.err.find(said), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find(said), run.err.rfind(said)) << run.err;
    EXPECT_EQ(RunProgram({CORVANE_BINARY, "run", "--keyboard", "gnome", qx3.string()}).exitCode, 2);
}

TEST_F(WlrootsTyping, ATargetThatNeverComesToTheFrontGetsNothingAndIsReportedOnce) {
    // A full-screen window keeps the focus on its workspace: sway does not
    // activate another window there.
    const fs::path sheet = dir.path / "sheet.txt", movie = dir.path / "movie.txt";
    StartRecorder("Sheet Recorder", sheet);
    StartRecorder("Movie Recorder", movie);
    compositor->SwayMsg("[title=\"Movie Recorder\"] fullscreen enable");
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "sheet recorder";
    cfg["InterCharDelay"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "refused", cfg.dump());
    auto run = RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()},
                          "one\rtwo\r", 30s);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::string said = "Cannot Activate Window: Sheet Recorder\rThe window did not come to "
                             "the front within 2 seconds, so nothing was typed into it.";
    EXPECT_NE(run.err.find(said), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find(said), run.err.rfind(said)) << run.err;
    EXPECT_EQ(testsupport::ReadFileBytes(sheet), "<ready>");
    EXPECT_EQ(testsupport::ReadFileBytes(movie), "<ready>");
}

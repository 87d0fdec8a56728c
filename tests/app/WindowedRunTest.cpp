// corvane run with its window, under a private Xvfb with openbox and a
// private session bus: records arrive in the window's boxes and the log;
// the start-up flags are what the window manager sees; messages never stop
// the reading; and closing the window through the window manager, a signal
// or "{APPEXIT}" closes the runtime in order and ends the program with
// status 0.

#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::WaitFor;

// A desktop of the test's own: Xvfb, a session bus and openbox.
class WindowedRun : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testsupport::PrivateXServer::Available())
            GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
        xserver = std::make_unique<testsupport::PrivateXServer>();
        ASSERT_TRUE(xserver->started());
        bus = std::make_unique<testsupport::PrivateBus>();
        openbox = std::make_unique<ChildProcess>(std::vector<std::string>{"/usr/bin/openbox"});
        ASSERT_TRUE(WaitFor(10s, [] {
            return RunProgram({"/usr/bin/xprop", "-root", "_NET_SUPPORTING_WM_CHECK"})
                       .out.find("window id") != std::string::npos;
        }));
    }
    void TearDown() override {
        // The window manager goes before its server.
        openbox.reset();
        bus.reset();
        xserver.reset();
    }

    std::unique_ptr<testsupport::PrivateXServer> xserver;
    std::unique_ptr<testsupport::PrivateBus> bus;
    std::unique_ptr<ChildProcess> openbox;
};

TEST_F(WindowedRun, RecordsArriveAndTheWindowManagersCloseEndsTheProgram) {

    testsupport::TempDir dir;
    nlohmann::json cfg;
    cfg["TransferMode"] = 2;
    cfg["LogFileName"] = (dir.path / "window.log").string();
    const auto qx3 = testsupport::BuildConfigFile(dir, "window", cfg.dump());
    testsupport::PseudoTerminal pty;
    ChildProcess runtime({CORVANE_BINARY, "run", "--port", pty.slaveName(), qx3.string()});
    auto windowShown = [] {
        return RunProgram({"/usr/bin/xdotool", "search", "--name", "^Corvane - COM1$"}).exitCode ==
               0;
    };
    ASSERT_TRUE(WaitFor(15s, windowShown)) << runtime.Stderr();
    ASSERT_TRUE(pty.Write("12.5\r7\r"));
    // Each record is a line of the log (its own carriage return included).
    const auto log = dir.path / "window.log";
    ASSERT_TRUE(WaitFor(5s, [&] {
        const std::string text = testsupport::ReadFileBytes(log);
        return text.rfind("12.5", 0) == 0 && text.find("\n7") != std::string::npos;
    })) << testsupport::ReadFileBytes(log);

    // As the user clicks the close box: the window manager asks the window.
    ASSERT_EQ(RunProgram({"/usr/bin/wmctrl", "-c", "Corvane - COM1"}).exitCode, 0);
    auto status = runtime.WaitExit(10s);
    ASSERT_TRUE(status.has_value()) << "the program did not end";
    EXPECT_EQ(*status, 0) << runtime.Stderr();
    EXPECT_FALSE(windowShown());
}

namespace {

// The titles of the windows the window manager manages, minimised ones too.
std::multiset<std::string> ManagedTitles() {
    std::multiset<std::string> titles;
    std::istringstream lines(RunProgram({"/usr/bin/wmctrl", "-l"}).out);
    // "0x00400011  0 host Title with blanks"
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id, desktop, host;
        fields >> id >> desktop >> host;
        std::string title;
        std::getline(fields, title);
        titles.insert(title.empty() ? title : title.substr(1));
    }
    return titles;
}

std::string WindowNamed(const std::string& title) {
    const std::string ids = RunProgram({"/usr/bin/xdotool", "search", "--name", title}).out;
    return ids.substr(0, ids.find('\n'));
}

std::string Property(const std::string& window, const char* name) {
    return RunProgram({"/usr/bin/xprop", "-id", window, name}).out;
}

void Execute(const std::string& command) {
    const auto r = RunProgram({CORVANE_BINARY, "dde", "execute", "Corvane", "COM1", command});
    EXPECT_EQ(r.exitCode, 0) << command << ": " << r.err;
}

} // namespace

TEST_F(WindowedRun, EveryStartUpFlagIsWhatTheWindowManagerSeesAndAppExitEndsWithStatusZero) {
    struct Run {
        bool virtualDevice, suspended, onTop, minimized, dateTime;
        int buttons, fields, strings;
    };
    const Run runs[] = {
        {false, true, true, true, true, 3, 40, 20}, {true, true, false, false, false, 1, 1, 0},
        {true, false, true, true, true, 2, 3, 1},   {false, false, false, false, false, 0, 12, 7},
        {false, true, false, true, false, 1, 2, 3}, {true, false, true, false, true, 3, 40, 20},
    };
    for (const Run& run : runs) {
        SCOPED_TRACE(testing::Message()
                     << (run.virtualDevice ? "virtual" : "port") << " suspended " << run.suspended
                     << " on top " << run.onTop << " minimised " << run.minimized << " date/time "
                     << run.dateTime << " buttons " << run.buttons << " fields " << run.fields
                     << " strings " << run.strings);
        testsupport::TempDir dir;
        nlohmann::json cfg;
        cfg["TransferMode"] = 2;
        cfg["LogFileName"] = (dir.path / "flags.log").string();
        cfg["ActivateSuspended"] = run.suspended ? -1 : 0;
        cfg["AlwaysOnTop"] = run.onTop ? -1 : 0;
        cfg["MinimizeOnActivation"] = run.minimized ? -1 : 0;
        cfg["ShowDateTime"] = run.dateTime ? -1 : 0;
        cfg["ButtonDisplay"] = run.buttons;
        cfg["RecordStructure"] = run.fields > 1 ? 1 : 0;
        cfg["NumFields"] = run.fields;
        cfg["DelimiterChar"] = ",";
        cfg["OutputString"] = nlohmann::json::array();
        cfg["OutputStringName"] = nlohmann::json::array();
        for (int i = 1; i <= 20; ++i) {
            cfg["OutputString"].push_back(i <= run.strings ? "S" + std::to_string(i) : "");
            cfg["OutputStringName"].push_back("String" + std::to_string(i));
        }
        const auto qx3 = testsupport::BuildConfigFile(dir, "flags", cfg.dump());
        testsupport::PseudoTerminal pty;
        std::vector<std::string> argv = {CORVANE_BINARY, "run"};
        if (run.virtualDevice)
            argv.push_back("--virtual");
        else
            argv.insert(argv.end(), {"--port", pty.slaveName()});
        argv.push_back(qx3.string());
        ChildProcess runtime(argv);

        const std::string caption = std::string("Corvane - COM1") + (run.suspended ? " (S)" : "") +
                                    (run.virtualDevice ? " (Virtual Device)" : "");
        std::multiset<std::string> expected = {caption};
        if (run.virtualDevice)
            expected.insert("Virtual Serial Device");
        std::string window;
        // Minimised and on top once the window manager has it on the screen.
        ASSERT_TRUE(WaitFor(
            15s,
            [&] {
                window = WindowNamed("^" + caption.substr(0, 14));
                return !window.empty() && ManagedTitles() == expected &&
                       Property(window, "WM_STATE").find(run.minimized ? "Iconic" : "Normal") !=
                           std::string::npos;
            }))
            << runtime.Stderr() << "\nwindows: " << RunProgram({"/usr/bin/wmctrl", "-l"}).out
            << Property(window, "WM_STATE");
        EXPECT_EQ(Property(window, "_NET_WM_STATE").find("_NET_WM_STATE_ABOVE") !=
                      std::string::npos,
                  run.onTop);
        // No box came up on the way (a box would be a managed window).
        EXPECT_EQ(ManagedTitles(), expected);

        // "{APPEXIT}" waits while input is suspended: resumed first.
        if (run.suspended)
            Execute("{RESUME}");
        Execute("{APPEXIT}");
        const auto status = runtime.WaitExit(10s);
        ASSERT_TRUE(status.has_value()) << "the program did not end";
        EXPECT_EQ(*status, 0) << runtime.Stderr();
    }
}

TEST_F(WindowedRun, APortThatGoesAndComesBackWhileNobodyClicksLosesNoRecordSentAfterItsReturn) {
    testsupport::TempDir dir;
    nlohmann::json cfg;
    cfg["TransferMode"] = 2;
    cfg["LogFileName"] = (dir.path / "back.log").string();
    const auto qx3 = testsupport::BuildConfigFile(dir, "back", cfg.dump());
    // The runtime opens a link to the pseudo-terminal, as it would open
    // /dev/serial/by-id/... of a USB adapter.
    auto pty = std::make_unique<testsupport::PseudoTerminal>();
    const std::filesystem::path link = dir.path / "adapter";
    std::filesystem::create_symlink(pty->slaveName(), link);
    // No session bus: its notice (titled as the window) comes up first and
    // stays up.
    bus.reset();
    ChildProcess runtime({CORVANE_BINARY, "run", "--port", link.string(), qx3.string()});
    const auto log = dir.path / "back.log";
    ASSERT_TRUE(WaitFor(15s, [] { return ManagedTitles().count("Corvane - COM1") == 2; }))
        << runtime.Stderr() << RunProgram({"/usr/bin/wmctrl", "-l"}).out;
    ASSERT_TRUE(pty->Write("1\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n"; }))
        << testsupport::ReadFileBytes(log);

    // Unplugged: the loss is said in a box nobody answers. The name goes
    // with the adapter (another test's terminal may take the old number).
    pty.reset();
    std::filesystem::remove(link);
    ASSERT_TRUE(WaitFor(10s, [] { return ManagedTitles().count("Device Error") == 1; }))
        << RunProgram({"/usr/bin/wmctrl", "-l"}).out;
    // Plugged back in 1.5 s later, under the same name.
    std::this_thread::sleep_for(1500ms);
    pty = std::make_unique<testsupport::PseudoTerminal>();
    std::filesystem::create_symlink(pty->slaveName(), link);
    // The runtime opens it again within about a second.
    const std::filesystem::path fds = "/proc/" + std::to_string(runtime.pid()) + "/fd";
    ASSERT_TRUE(WaitFor(10s, [&] {
        std::error_code ec;
        for (const auto& fd : std::filesystem::directory_iterator(fds, ec))
            if (std::filesystem::read_symlink(fd.path(), ec) == pty->slaveName())
                return true;
        return false;
    }));
    ASSERT_TRUE(pty->Write("2\r3\r"));
    std::this_thread::sleep_for(500ms);
    ASSERT_TRUE(pty->Write("4\r"));
    EXPECT_TRUE(WaitFor(5s, [&] {
        return testsupport::ReadFileBytes(log) == "1\r\r\n2\r\r\n3\r\r\n4\r\r\n";
    })) << testsupport::ReadFileBytes(log);
    // The boxes are still up: nobody has clicked anything. The loss no
    // longer holds: its box has given way to the one that says so.
    EXPECT_EQ(ManagedTitles().count("Corvane - COM1"), 2u);
    EXPECT_EQ(ManagedTitles().count("Device Error"), 1u);

    runtime.Signal(SIGTERM);
    const auto status = runtime.WaitExit(10s);
    ASSERT_TRUE(status.has_value()) << "the program did not end";
    EXPECT_EQ(*status, 0) << runtime.Stderr();
}

TEST_F(WindowedRun, ATermSignalEndsTheSetupWindowFromADialogWithChangesUnsaved) {
    ChildProcess setup({CORVANE_BINARY});
    auto shown = [](const char* title) {
        return RunProgram({"/usr/bin/xdotool", "search", "--name", title}).exitCode == 0;
    };
    ASSERT_TRUE(WaitFor(15s, [&] { return shown("^Corvane Setup \\(Untitled\\)$"); }))
        << setup.Stderr();
    const std::string window =
        RunProgram({"/usr/bin/xdotool", "search", "--name", "^Corvane Setup"}).out;
    RunProgram(
        {"/usr/bin/xdotool", "windowactivate", "--sync", window.substr(0, window.find('\n'))});
    // Mode > DDE Server changes the configuration and opens the DDE dialog.
    ASSERT_TRUE(WaitFor(10s, [&] {
        RunProgram({"/usr/bin/xdotool", "key", "alt+m", "d"});
        return WaitFor(1s, [&] { return shown("^Target Application DDE Command$"); });
    }));
    EXPECT_TRUE(shown("^Corvane Setup \\(Untitled\\) \\*$"));

    setup.Signal(SIGTERM);
    auto status = setup.WaitExit(5s);
    ASSERT_TRUE(status.has_value()) << "the program waited instead of ending";
    EXPECT_EQ(*status, 0) << setup.Stderr();
}

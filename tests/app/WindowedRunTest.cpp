// corvane run with its window, under a private Xvfb with openbox and a
// private session bus: records arrive in the window's boxes and the log, and
// closing the window through the window manager closes the runtime in order
// and ends the program with status 0.

#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <memory>

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

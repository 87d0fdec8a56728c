// The headless runtime as users start it: `corvane run --headless ...` on the
// virtual device (standard input and output) and on real pseudo-terminals.

#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::TempDir;
using testsupport::WaitFor;

namespace {

// A log-mode configuration: single numeric field ending at CR, the log in dir.
fs::path MakeLogConfig(const TempDir& dir, const std::string& extraJson = "") {
    return testsupport::BuildConfigFile(
        dir, "test",
        R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" +
            (dir.path / "out.log").string() + "\"" + extraJson + "}");
}

// A pseudo-terminal whose slave is reached through a symlink, as a USB
// adapter is through /dev/serial/by-id; reopening it repoints the link.
struct LinkedPty : testsupport::PseudoTerminal {
    fs::path link;

    explicit LinkedPty(fs::path linkPath) : link(std::move(linkPath)) { Relink(); }
    void Reopen() {
        Open();
        Relink();
    }
    void Relink() {
        fs::remove(link);
        fs::create_symlink(slaveName(), link);
    }
};

} // namespace

TEST(RunCommand, VirtualDeviceLogsEveryRecordAndExitsAtEndOfInput) {
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir, R"(, "AckString": "OK\r")");
    auto result = RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()},
                             "12.5\r\n13.0\r\n-0.25\r\n", 20s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(testsupport::ReadFileBytes(dir.path / "out.log"), "12.5\r\r\n13.0\r\r\n-0.25\r\r\n");
    // The acknowledgement goes back to the instrument once per record.
    EXPECT_EQ(result.out, "OK\rOK\rOK\r");
}

TEST(RunCommand, RefusesAMissingConfigurationFile) {
    TempDir dir;
    auto result = RunProgram(
        {CORVANE_BINARY, "run", "--headless", "--virtual", (dir.path / "none.QX3").string()}, "",
        10s);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(result.err.empty());
}

TEST(RunCommand, PseudoTerminalBytesBecomeLogLinesAndTheAckComesBack) {
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir, R"(, "AckString": "ACK")");
    LinkedPty pty(dir.path / "ttyLINK");
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.link.string(), qx3.string()});
    ASSERT_TRUE(pty.Write("  42.125 g\r\n"));
    EXPECT_EQ(pty.ReadFor(5s, 3), "ACK");
    fs::path log = dir.path / "out.log";
    EXPECT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "42.125 g\r\r\n"; }))
        << testsupport::ReadFileBytes(log);

    // SIGTERM ends the runtime promptly and cleanly.
    auto start = std::chrono::steady_clock::now();
    child.Signal(SIGTERM);
    auto status = child.WaitExit(5s);
    ASSERT_TRUE(status.has_value()) << "still running after SIGTERM";
    EXPECT_EQ(*status, 0) << child.Stderr();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST(RunCommand, ADeviceThatDisappearsIsPickedUpAgain) {
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir);
    LinkedPty pty(dir.path / "ttyUSBLINK");
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.link.string(), qx3.string()});
    fs::path log = dir.path / "out.log";
    ASSERT_TRUE(pty.Write("1\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n"; }))
        << testsupport::ReadFileBytes(log);

    // Unplug: the master goes away, so the open slave hangs up.
    pty.Close();
    ASSERT_TRUE(WaitFor(5s, [&] { return !child.Stderr().empty(); }))
        << "the loss of the device was not reported";
    pty.Reopen();
    // The program reopens the same path at most once a second.
    ASSERT_TRUE(WaitFor(10s, [&] {
        pty.Write("2\r");
        std::this_thread::sleep_for(300ms);
        return testsupport::ReadFileBytes(log).find("2\r\r\n") != std::string::npos;
    })) << testsupport::ReadFileBytes(log);
    child.Signal(SIGTERM);
    EXPECT_TRUE(child.WaitExit(5s).has_value());
}

// The headless runtime as users start it: `corvane run --headless ...` on the
// virtual device (standard input and output) and on real pseudo-terminals.

#include "support/PrivateBus.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
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

// Counts the occurrences of text in haystack.
std::size_t Count(const std::string& haystack, const std::string& text) {
    std::size_t n = 0;
    for (auto at = haystack.find(text); at != std::string::npos; at = haystack.find(text, at + 1))
        ++n;
    return n;
}

TEST(RunCommand, AQuietPortStaysOpenAndRawUntilRecordsCome) {
    // A bus of its own, so that the runtime has nothing to say about the bus either.
    testsupport::PrivateBus bus;
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir);
    // The system's default settings (echo, line editing) show at once if the
    // program ever lets the terminal go.
    testsupport::PseudoTerminal pty(testsupport::PseudoTerminal::Mode::Cooked);
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    ASSERT_TRUE(WaitFor(5s, [&] { return pty.IsRaw(); })) << child.Stderr();
    // Several seconds of silence: the terminal stays raw, nothing is reported.
    const auto quietUntil = std::chrono::steady_clock::now() + 3500ms;
    while (std::chrono::steady_clock::now() < quietUntil) {
        ASSERT_TRUE(pty.IsRaw()) << "the terminal left raw mode while the port was quiet";
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_EQ(child.Stderr(), "");
    ASSERT_TRUE(pty.Write("1\r2\r"));
    fs::path log = dir.path / "out.log";
    EXPECT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n2\r\r\n"; }))
        << testsupport::ReadFileBytes(log);
    EXPECT_EQ(pty.ReadFor(200ms, 1), "") << "the terminal echoed the instrument's bytes";
    child.Signal(SIGTERM);
    EXPECT_EQ(child.WaitExit(5s), 0);
    EXPECT_EQ(child.Stderr(), "");
}

TEST(RunCommand, AHungUpOrVanishedDeviceIsReportedOnceAndPickedUpAgain) {
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir);
    LinkedPty pty(dir.path / "ttyUSBLINK");
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.link.string(), qx3.string()});
    fs::path log = dir.path / "out.log";
    ASSERT_TRUE(pty.Write("1\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n"; }))
        << testsupport::ReadFileBytes(log);

    // Unplugged: the master goes away, so the open slave hangs up, and the
    // device's name is gone for a while; the program tries it once a second.
    pty.Close();
    fs::remove(pty.link);
    ASSERT_TRUE(WaitFor(5s, [&] { return Count(child.Stderr(), "was disconnected") == 1; }))
        << child.Stderr();
    std::this_thread::sleep_for(2500ms);
    EXPECT_EQ(Count(child.Stderr(), "was disconnected"), 1u) << child.Stderr();
    pty.Reopen();
    ASSERT_TRUE(WaitFor(10s, [&] { return Count(child.Stderr(), "is back") == 1; }))
        << child.Stderr();
    ASSERT_TRUE(pty.Write("2\r"));
    EXPECT_TRUE(WaitFor(5s, [&] { return testsupport::ReadFileBytes(log) == "1\r\r\n2\r\r\n"; }))
        << testsupport::ReadFileBytes(log);
    EXPECT_EQ(Count(child.Stderr(), "was disconnected"), 1u) << child.Stderr();
    child.Signal(SIGTERM);
    EXPECT_EQ(child.WaitExit(5s), 0);
}

TEST(RunCommand, RecordsWaitInOrderForALogThatCannotBeWrittenAndGoToStderrAtTheEnd) {
    TempDir dir;
    // The log's folder does not exist yet: every write fails.
    fs::path folder = dir.path / "logs";
    fs::path qx3 = testsupport::BuildConfigFile(
        dir, "test",
        R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" +
            (folder / "out.log").string() + "\"}");
    testsupport::PseudoTerminal pty;
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    ASSERT_TRUE(pty.Write("1\r2\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return Count(child.Stderr(), "File I/O Error") == 1; }))
        << child.Stderr();
    ASSERT_TRUE(pty.Write("3\r"));
    std::this_thread::sleep_for(1500ms); // retried in vain, not reported again
    EXPECT_EQ(Count(child.Stderr(), "File I/O Error"), 1u) << child.Stderr();

    // Once the folder exists, the waiting records are written in order.
    fs::create_directory(folder);
    fs::path log = folder / "out.log";
    EXPECT_TRUE(WaitFor(5s, [&] {
        return testsupport::ReadFileBytes(log) == "1\r\r\n2\r\r\n3\r\r\n";
    })) << testsupport::ReadFileBytes(log);

    // It fails again; the runtime stops with those records unwritten.
    fs::rename(folder, dir.path / "gone");
    ASSERT_TRUE(pty.Write("4\r5\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return Count(child.Stderr(), "File I/O Error") == 2; }))
        << child.Stderr();
    child.Signal(SIGTERM);
    EXPECT_EQ(child.WaitExit(5s), 1);
    const std::string err = child.Stderr();
    EXPECT_NE(err.find("2 records were not logged"), std::string::npos) << err;
    EXPECT_NE(err.find("4\r\r\n5\r\r\n"), std::string::npos) << err;
}

TEST(RunCommand, VirtualInputThatCannotBeLoggedEndsTheRunAfterAFewRetries) {
    TempDir dir;
    fs::path qx3 = testsupport::BuildConfigFile(
        dir, "test",
        R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" +
            (dir.path / "missing" / "out.log").string() + "\"}");
    auto start = std::chrono::steady_clock::now();
    auto result = RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()},
                             "12.5\r\n13.0\r\n", 20s);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 8s);
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_EQ(Count(result.err, "File I/O Error Writing To: "), 1u) << result.err;
    const std::string notLogged = "2 records were not logged";
    ASSERT_NE(result.err.find(notLogged), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("12.5\r\r\n13.0\r\r\n", result.err.find(notLogged)),
              std::string::npos)
        << result.err;
}

TEST(RunCommand, AConfigurationThatStartsSuspendedSaysSoOnceAndReadsNothing) {
    testsupport::PrivateBus bus; // the message names the DDE command only while it is served
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir, R"(, "ActivateSuspended": -1, "DdeTopicName": "Bench2")");
    testsupport::PseudoTerminal pty;
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    ASSERT_TRUE(pty.Write("1\r"));
    ASSERT_TRUE(WaitFor(5s, [&] { return !child.Stderr().empty(); }));
    std::this_thread::sleep_for(300ms);
    const std::string err = child.Stderr();
    EXPECT_EQ(Count(err, "Input is suspended"), 1u) << err;
    EXPECT_EQ(err.rfind("Corvane - COM1 (S): ", 0), 0u) << err;
    EXPECT_NE(err.find("corvane dde execute Corvane Bench2 \"{RESUME}\""), std::string::npos)
        << err;
    EXPECT_FALSE(fs::exists(dir.path / "out.log"));
    child.Signal(SIGTERM);
    EXPECT_EQ(child.WaitExit(5s), 0);
}

TEST(RunCommand, ARecordEndingOnACharacterIsLoggedAsItsLastByteArrives) {
    // Records written at random moments fall anywhere between two ticks, 50
    // ms apart: read on the tick alone, about a third would be logged within
    // 15 ms. Read as they arrive, nearly all are, even on a busy machine.
    TempDir dir;
    fs::path qx3 = MakeLogConfig(dir);
    testsupport::PseudoTerminal pty;
    ChildProcess child(
        {CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    const fs::path log = dir.path / "out.log";
    ASSERT_TRUE(pty.Write("0\r"));
    ASSERT_TRUE(WaitFor(10s, [&] { return fs::exists(log); })) << child.Stderr();
    std::mt19937 random(7);
    int quick = 0;
    for (int i = 1; i <= 20; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 50));
        const std::string record = std::to_string(i) + "\r";
        const auto size = fs::file_size(log);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(pty.Write(record));
        // Looked at every millisecond, for at most 2 s.
        while (fs::file_size(log) < size + record.size() + 2 &&
               std::chrono::steady_clock::now() - start < 2s)
            std::this_thread::sleep_for(1ms);
        const auto took = std::chrono::steady_clock::now() - start;
        ASSERT_LT(took, 2s) << "record " << i << " was not logged";
        quick += took < 15ms;
    }
    EXPECT_GE(quick, 17) << "records logged within 15 ms of their last byte, of 20";
    child.Signal(SIGTERM);
    EXPECT_EQ(child.WaitExit(5s), 0);
}

// `corvane analyze` on a pseudo-terminal standing in for the instrument.

#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::TempDir;
using testsupport::WaitFor;

namespace {

// Starts `corvane analyze` for one second on the pseudo-terminal and returns
// once it listens.
std::unique_ptr<ChildProcess> StartAnalyze(const testsupport::PseudoTerminal& pty,
                                           const std::vector<std::string>& more) {
    std::vector<std::string> argv = {CORVANE_BINARY, "analyze", "--port", pty.slaveName(),
                                     "--seconds", "1"};
    argv.insert(argv.end(), more.begin(), more.end());
    auto run = std::make_unique<ChildProcess>(argv);
    EXPECT_TRUE(WaitFor(10s, [&] { return run->Stderr().find("Listening") != std::string::npos; }))
        << run->Stderr();
    return run;
}

} // namespace

TEST(AnalyzeCommand, ProposesAndWritesTheRecordStructureIntoANewFile) {
    TempDir dir;
    testsupport::PseudoTerminal pty;
    const fs::path qx3 = dir.path / "balance.QX3";
    auto run = StartAnalyze(pty, {"--apply", qx3.string()});
    ASSERT_TRUE(pty.Write("12.5,g,ST\r\n12.6,g,ST\r\n"));
    ASSERT_EQ(run->WaitExit(10s), 0) << run->Stderr();
    EXPECT_EQ(run->Stdout(),
              "Comma delimited records with  3 fields and Cr or CrLf at end of record.\n");

    auto dump = RunProgram({CORVANE_BINARY, "config", "dump", qx3.string()});
    ASSERT_EQ(dump.exitCode, 0) << dump.err;
    for (const char* setting : {"\"EndOfRecordEvent\": 0", "\"RecordStructure\": 1",
                                "\"NumFields\": 3", "\"RecordLength\": 10",
                                "\"DelimiterChar\": \",\""})
        EXPECT_NE(dump.out.find(setting), std::string::npos) << setting << "\n" << dump.out;

    // Applied to an existing file, the proposal replaces only what it says.
    run = StartAnalyze(pty, {"--apply", qx3.string()});
    ASSERT_TRUE(pty.Write("0012345"));
    ASSERT_EQ(run->WaitExit(10s), 0) << run->Stderr();
    EXPECT_EQ(run->Stdout(), "Single Field Records with time delay between records.\n");
    dump = RunProgram({CORVANE_BINARY, "config", "dump", qx3.string()});
    for (const char* setting : {"\"EndOfRecordEvent\": 1", "\"RecordStructure\": 0",
                                "\"NumFields\": 1", "\"RecordLength\": 7",
                                "\"DelimiterChar\": \",\""})
        EXPECT_NE(dump.out.find(setting), std::string::npos) << setting << "\n" << dump.out;
}

TEST(AnalyzeCommand, NothingReceivedOrNoConfigurationChangesNothing) {
    TempDir dir;
    testsupport::PseudoTerminal pty;
    const fs::path qx3 = dir.path / "new.QX3";
    auto run = StartAnalyze(pty, {"--apply", qx3.string()});
    ASSERT_EQ(run->WaitExit(10s), 1);
    EXPECT_NE(run->Stderr().find("nothing was received from " + pty.slaveName() + " in 1 second"),
              std::string::npos)
        << run->Stderr();
    EXPECT_EQ(run->Stdout(), "");
    EXPECT_FALSE(fs::exists(qx3));

    // A file that holds something else is never replaced.
    const fs::path notes = dir.path / "notes.txt";
    std::ofstream(notes) << "my notes\n";
    auto refused = RunProgram({CORVANE_BINARY, "analyze", "--port", pty.slaveName(), "--seconds",
                               "1", "--apply", notes.string()});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(testsupport::ReadFileBytes(notes), "my notes\n");

    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--seconds", "2"}, {"--port"}, {"--port", "x", "--seconds", "0"},
          {"--port", "x", "--seconds", "2s"}, {"--port", "x", "--loud", "1"}}) {
        std::vector<std::string> argv = {CORVANE_BINARY, "analyze"};
        argv.insert(argv.end(), args.begin(), args.end());
        EXPECT_EQ(RunProgram(argv).exitCode, 2) << args.back();
    }
}

TEST(PortTestCommand, TheWindowOpensOnThePortAndATermSignalClosesIt) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    TempDir dir;
    testsupport::PseudoTerminal pty;
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "test", R"({"TransferMode": 2})");
    ChildProcess window({CORVANE_BINARY, "run", "--test", "--port", pty.slaveName(), qx3.string()});
    auto holdsPort = [&] {
        std::error_code ec;
        for (const auto& fd : fs::directory_iterator("/proc/" + std::to_string(window.pid()) + "/fd", ec))
            if (fs::read_symlink(fd.path(), ec) == pty.slaveName())
                return true;
        return false;
    };
    ASSERT_TRUE(WaitFor(10s, holdsPort)) << window.Stderr();
    window.Signal(SIGTERM);
    EXPECT_EQ(window.WaitExit(10s), 0) << window.Stderr();

    auto headless = RunProgram({CORVANE_BINARY, "run", "--test", "--headless", qx3.string()});
    EXPECT_EQ(headless.exitCode, 2);
    EXPECT_NE(headless.err.find("corvane analyze"), std::string::npos) << headless.err;
    ::unsetenv("QT_QPA_PLATFORM");
}

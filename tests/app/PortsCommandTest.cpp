// `corvane ports` and `corvane ports map`, with the settings store in a
// folder of the test's own.

#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;
using testsupport::RunProgram;

namespace {

class PortsCommand : public ::testing::Test {
protected:
    void SetUp() override { ::setenv("XDG_CONFIG_HOME", config.path.c_str(), 1); }
    void TearDown() override { ::unsetenv("XDG_CONFIG_HOME"); }
    testsupport::TempDir config;
};

} // namespace

TEST_F(PortsCommand, AMappedDeviceIsListedWithItsComNameAndOpensUnderIt) {
    testsupport::PseudoTerminal pty;
    auto mapped = RunProgram({CORVANE_BINARY, "ports", "map", "com7", pty.slaveName()});
    ASSERT_EQ(mapped.exitCode, 0) << mapped.err;
    EXPECT_EQ(mapped.out, "COM7 opens " + pty.slaveName() + "\n");
    EXPECT_EQ(mapped.err, "");
    auto gone = RunProgram({CORVANE_BINARY, "ports", "map", "COM12", "/dev/ttyUSB-unplugged"});
    ASSERT_EQ(gone.exitCode, 0) << gone.err;
    EXPECT_EQ(gone.err, "corvane: /dev/ttyUSB-unplugged does not exist now; COM12 opens it once "
                        "it does.\n");

    // A pseudo-terminal is no serial device of this machine, so its COM name
    // is listed after the devices; the unplugged one is said to be absent.
    auto list = RunProgram({CORVANE_BINARY, "ports"});
    ASSERT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("COM names of devices not listed above:\nCOM7  " + pty.slaveName() +
                            "\nCOM12  /dev/ttyUSB-unplugged (not present)\n"),
              std::string::npos)
        << list.out;

    // A runtime on COM7 opens the pseudo-terminal: its records are logged.
    const fs::path qx3 = testsupport::BuildConfigFile(
        config, "com7",
        R"({"PortNumber": 6, "TransferMode": 2, "StartOfRecordEvent": 1, "LogFileName": ")" +
            (config.path / "com7.log").string() + "\"}");
    testsupport::ChildProcess runtime({CORVANE_BINARY, "run", "--headless", qx3.string()});
    ASSERT_TRUE(pty.Write("42\r"));
    EXPECT_TRUE(testsupport::WaitFor(std::chrono::seconds(10), [&] {
        return testsupport::ReadFileBytes(config.path / "com7.log") == "42\r\r\n";
    })) << runtime.Stderr();
}

TEST_F(PortsCommand, WhatIsNotAComNameOrACommandIsAUsageError) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"map", "COM0", "/dev/ttyS0"}, {"map", "LPT1", "/dev/ttyS0"},
          {"map", "COM1", ""}, {"map", "COM1"}, {"list"}}) {
        std::vector<std::string> argv = {CORVANE_BINARY, "ports"};
        argv.insert(argv.end(), args.begin(), args.end());
        auto r = RunProgram(argv);
        EXPECT_EQ(r.exitCode, 2) << args[0];
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err, "");
    }
    EXPECT_FALSE(fs::exists(config.path / "Corvane" / "Corvane.ini")) << "nothing is written";
}

TEST_F(PortsCommand, ARuntimeThatCannotOpenItsDeviceSaysWhy) {
    const fs::path qx3 = testsupport::BuildConfigFile(config, "missing", R"({"TransferMode": 2})");
    auto r = RunProgram({CORVANE_BINARY, "run", "--headless", "--port", "/dev/ttyUSB-unplugged",
                         qx3.string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("Device COM1 Not Available.\n/dev/ttyUSB-unplugged does not exist"),
              std::string::npos)
        << r.err;
}

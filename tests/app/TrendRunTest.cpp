// corvane run --trend under a private Xvfb with openbox and a private
// session bus: the trend window opens with the runtime window, its title
// follows the runtime's caption, and the run ends as usual.

#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::WaitFor;

namespace {

bool TrendTitled(const std::string& pattern) {
    return RunProgram({"/usr/bin/xdotool", "search", "--name", pattern}).exitCode == 0;
}

void TrendExecute(const std::string& command) {
    const auto r = RunProgram({CORVANE_BINARY, "dde", "execute", "Corvane", "COM1", command});
    EXPECT_EQ(r.exitCode, 0) << command << ": " << r.err;
}

} // namespace

TEST(TrendRun, TheTrendWindowOpensAtTheStartAndItsTitleFollowsTheSuspension) {
    if (!testsupport::PrivateXServer::Available())
        GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
    testsupport::PrivateXServer xserver;
    ASSERT_TRUE(xserver.started());
    testsupport::PrivateBus bus;
    ChildProcess openbox({"/usr/bin/openbox"});
    ASSERT_TRUE(WaitFor(10s, [] {
        return RunProgram({"/usr/bin/xprop", "-root", "_NET_SUPPORTING_WM_CHECK"})
                   .out.find("window id") != std::string::npos;
    }));

    testsupport::TempDir dir;
    nlohmann::json cfg;
    cfg["TransferMode"] = 2;
    cfg["LogFileName"] = (dir.path / "trend.log").string();
    const auto qx3 = testsupport::BuildConfigFile(dir, "trend", cfg.dump());
    testsupport::PseudoTerminal pty;
    ChildProcess runtime(
        {CORVANE_BINARY, "run", "--trend", "--port", pty.slaveName(), qx3.string()});
    ASSERT_TRUE(WaitFor(15s, [] { return TrendTitled("^Corvane - COM1 - Trend$"); }))
        << runtime.Stderr();
    ASSERT_TRUE(pty.Write("12.5\r13\r"));
    ASSERT_TRUE(WaitFor(5s, [&] {
        return testsupport::ReadFileBytes(dir.path / "trend.log").find("13") != std::string::npos;
    }));
    TrendExecute("{SUSPEND}");
    EXPECT_TRUE(WaitFor(5s, [] { return TrendTitled(R"(^Corvane - COM1 \(S\) - Trend$)"); }));
    TrendExecute("{RESUME}");
    TrendExecute("{APPEXIT}");
    const auto status = runtime.WaitExit(10s);
    ASSERT_TRUE(status.has_value()) << "the program did not end";
    EXPECT_EQ(*status, 0) << runtime.Stderr();
}

TEST(TrendRun, HasNoHeadlessFormNorOneBesideThePortTest) {
    testsupport::TempDir dir;
    const auto qx3 = testsupport::BuildConfigFile(dir, "trend", "{}");
    const auto headless =
        RunProgram({CORVANE_BINARY, "run", "--headless", "--trend", qx3.string()});
    EXPECT_EQ(headless.exitCode, 2);
    EXPECT_NE(headless.err.find("--trend"), std::string::npos) << headless.err;
    EXPECT_EQ(RunProgram({CORVANE_BINARY, "run", "--test", "--trend", qx3.string()}).exitCode, 2);
}

// Corvane's own windows in a Wayland session, under a private headless sway:
// through XWayland when the session has it, natively when it has not
// (WindowPlatform.cpp says why). In both the setup window and the runtime
// window open, and the runtime's windows take keys: a reading typed into
// the Virtual Serial Device window, by Corvane's own wlroots keyboard,
// reaches the log.

#include "support/PrivateBus.h"
#include "support/PrivateCompositor.h"
#include "support/ProcessRunner.h"

#include <QLibraryInfo>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <functional>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::WaitFor;

namespace {

// The shell ("xwayland" or "xdg_shell") of the window titled title in
// sway's tree, empty while there is none.
std::string ShellOf(const nlohmann::json& node, const std::string& title) {
    if (node.value("name", nlohmann::json()).is_string() && node["name"] == title &&
        node.contains("shell"))
        return node["shell"].get<std::string>();
    for (const char* children : {"nodes", "floating_nodes"})
        if (node.contains(children))
            for (const auto& child : node[children])
                if (std::string shell = ShellOf(child, title); !shell.empty())
                    return shell;
    return "";
}

class WlrootsWindows : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (std::string missing = testsupport::PrivateCompositor::Missing(); !missing.empty())
            GTEST_SKIP() << missing;
        if (GetParam() && !fs::exists("/usr/bin/Xwayland"))
            GTEST_SKIP() << "XWayland is not installed: xwayland (scripts/setup installs it)";
        const std::string plugin = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString() +
                                   "/platforms/libqwayland-generic.so";
        if (!GetParam() && !fs::exists(plugin)) {
            GTEST_SKIP() << "Qt's wayland platform (" << plugin
                         << ") is not installed: qt6-wayland (scripts/setup installs it)";
        }
        compositor = std::make_unique<testsupport::PrivateCompositor>(GetParam());
        ASSERT_TRUE(compositor->started()) << compositor->Failure();
        if (GetParam()) {
            ASSERT_TRUE(compositor->WaitForXWayland()) << compositor->Log();
        }
        bus = std::make_unique<testsupport::PrivateBus>();
    }
    void TearDown() override {
        bus.reset();
        compositor.reset();
    }
    std::string Shell(const std::string& title) {
        const std::string tree = compositor->SwayMsg("-t get_tree");
        const auto json = nlohmann::json::parse(tree, nullptr, false);
        return json.is_discarded() ? "" : ShellOf(json, title);
    }
    std::string Expected() const { return GetParam() ? "xwayland" : "xdg_shell"; }

    std::unique_ptr<testsupport::PrivateCompositor> compositor;
    std::unique_ptr<testsupport::PrivateBus> bus;
    testsupport::TempDir dir;
};

} // namespace

TEST_P(WlrootsWindows, TheRuntimeAndSetupWindowsOpenAndTakeKeys) {
    const fs::path log = dir.path / "weights.log";
    nlohmann::json cfg;
    cfg["TransferMode"] = 2;
    cfg["LogFileName"] = log.string();
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "windows", cfg.dump());

    ChildProcess runtime({CORVANE_BINARY, "run", "--virtual", qx3.string()});
    const std::string caption = "Corvane - COM1 (Virtual Device)";
    EXPECT_TRUE(WaitFor(15s,
                        [&] {
                            return Shell(caption) == Expected() &&
                                   Shell("Virtual Serial Device") == Expected();
                        }))
        << Shell(caption) << runtime.Stderr() << compositor->Log();
    // A reading typed into the virtual device's line, with Enter.
    auto keys = RunProgram(
        {CORVANE_BINARY, "keys", "--delay", "0", "--window", "Virtual Serial Device", "12.5~"});
    EXPECT_EQ(keys.exitCode, 0) << keys.err;
    EXPECT_TRUE(WaitFor(
        10s, [&] { return testsupport::ReadFileBytes(log).find("12.5") != std::string::npos; }))
        << testsupport::ReadFileBytes(log) << runtime.Stderr();
    runtime.Signal(SIGTERM);
    EXPECT_EQ(runtime.WaitExit(10s), 0) << runtime.Stderr();

    ChildProcess setup({CORVANE_BINARY, qx3.string()});
    EXPECT_TRUE(WaitFor(15s, [&] { return Shell("Corvane Setup - windows.QX3") == Expected(); }))
        << compositor->SwayMsg("-t get_tree") << setup.Stderr();
}

INSTANTIATE_TEST_SUITE_P(XWaylandOrNative, WlrootsWindows, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "XWayland" : "Native"; });

TEST_P(WlrootsWindows, TheWindowedRuntimeStartsItsTargetAndTypesIntoIt) {
    // A reading typed into the Virtual Serial Device window makes a record;
    // its target is not open, so its command line starts it, with the
    // environment of the user's session, not the platform Corvane chose for
    // its own windows.
    const fs::path typed = dir.path / "typed.txt", environment = dir.path / "env.txt";
    nlohmann::json cfg;
    cfg["TransferMode"] = 0;
    cfg["TargetAppTitle"] = "Launched Recorder";
    cfg["TargetAppCommand"] = "/bin/sh -c \"env > " + environment.string() + "; exec " +
                              WAYLAND_KEY_RECORDER + " 'Launched Recorder' " + typed.string() +
                              "\"";
    cfg["InterCharDelay"] = 0;
    cfg["StartOfRecordEvent"] = 1;
    const fs::path qx3 = testsupport::BuildConfigFile(dir, "target", cfg.dump());
    ChildProcess runtime({CORVANE_BINARY, "run", "--virtual", qx3.string()});
    ASSERT_TRUE(WaitFor(15s, [&] { return Shell("Virtual Serial Device") == Expected(); }))
        << runtime.Stderr();
    auto keys = RunProgram(
        {CORVANE_BINARY, "keys", "--delay", "0", "--window", "Virtual Serial Device", "12.5~"});
    EXPECT_EQ(keys.exitCode, 0) << keys.err;
    EXPECT_TRUE(WaitFor(15s, [&] { return testsupport::ReadFileBytes(typed) == "<ready>12.5\n"; }))
        << testsupport::ReadFileBytes(typed) << runtime.Stderr();
    EXPECT_EQ(testsupport::ReadFileBytes(environment).find("QT_QPA_PLATFORM="), std::string::npos);
    runtime.Signal(SIGTERM);
    EXPECT_EQ(runtime.WaitExit(10s), 0) << runtime.Stderr();
}

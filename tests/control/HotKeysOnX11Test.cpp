// Hot keys on a private Xvfb: the X11 backend in this process, and headless
// runtimes on pseudo-terminals steered by key combinations that XTest
// presses, with the lock keys lit and not, beside another client that holds
// a combination first, and across a reload.

#include "control/HotKeyNames.h"
#include "control/HotKeys.h"
#include "control/X11HotKeys.h"
#include "output/X11Keyboard.h"
#include "support/PrivateBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/PseudoTerminal.h"
#include "support/XTestClient.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::RunProgram;
using testsupport::TempDir;
using testsupport::WaitFor;

namespace {

struct Slot {
    int slot;
    int code; // HotKeyCode
    int action;
    std::string text;
};

// A log-mode configuration (records start at a letter or digit and end at a
// carriage return) with the given hot keys.
fs::path HotKeyConfig(const TempDir& dir, const std::string& name, const std::vector<Slot>& hotKeys,
                      nlohmann::json cfg = nlohmann::json::object()) {
    cfg["TransferMode"] = 2;
    cfg["StartOfRecordEvent"] = 1;
    cfg["LogFileName"] = (dir.path / (name + ".log")).string();
    std::vector<int> codes(50, 0), actions(50, 0);
    std::vector<std::string> texts(50);
    for (const Slot& s : hotKeys) {
        codes[static_cast<std::size_t>(s.slot)] = s.code;
        actions[static_cast<std::size_t>(s.slot)] = s.action;
        texts[static_cast<std::size_t>(s.slot)] = s.text;
    }
    cfg["HotKeyCode"] = codes;
    cfg["HotKeyAction"] = actions;
    cfg["HotKeyData"] = texts;
    return testsupport::BuildConfigFile(dir, name, cfg.dump());
}

class HotKeysOnX11 : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testsupport::PrivateXServer::Available())
            GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
        xserver = std::make_unique<testsupport::PrivateXServer>();
        ASSERT_TRUE(xserver->started()) << "no Xvfb could be started";
        keys = std::make_unique<testsupport::XTestClient>();
        ASSERT_TRUE(keys->connected());
        alt = keys->ModifierMask("Alt_L");
        shift = keys->ModifierMask("Shift_L");
        ctrl = keys->ModifierMask("Control_L");
    }
    void TearDown() override {
        if (runtime) {
            runtime->Signal(SIGTERM);
            runtime->WaitExit(5s);
        }
        runtime.reset();
        keys.reset();
        xserver.reset();
    }
    void StartRuntime(const fs::path& qx3) {
        runtime = std::make_unique<ChildProcess>(std::vector<std::string>{
            CORVANE_BINARY, "run", "--headless", "--port", pty.slaveName(), qx3.string()});
    }
    // Presses the combination of a "Transmit String" hot key and waits for
    // its one-byte string at the port. Once it is there, every press made
    // before has been handled, and the tick that sent it has read what the
    // port held before the press.
    ::testing::AssertionResult Transmits(const std::vector<std::string>& combination,
                                         const std::string& byte) {
        keys->Press(combination);
        const std::string got = pty.ReadFor(5s, 1);
        if (got == byte)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "the port got \"" << got << "\", not " << byte;
    }
    // Two such rounds: the tick that read the port has also ended, so every
    // record the port held before is in the log unless input was suspended.
    ::testing::AssertionResult AllReadIsLogged(const std::vector<std::string>& transmitKey,
                                               const std::string& byte) {
        auto first = Transmits(transmitKey, byte);
        return first ? Transmits(transmitKey, byte) : first;
    }
    std::string Log(const std::string& name) const {
        return testsupport::ReadFileBytes(dir.path / (name + ".log"));
    }

    std::unique_ptr<testsupport::PrivateXServer> xserver;
    std::unique_ptr<testsupport::XTestClient> keys;
    unsigned alt = 0, shift = 0, ctrl = 0;
    TempDir dir;
    testsupport::PseudoTerminal pty;
    std::unique_ptr<ChildProcess> runtime;
};

const std::vector<std::string> AltShiftF5 = {"Alt_L", "Shift_L", "F5"};
const std::vector<std::string> CtrlF6 = {"Control_L", "F6"};
const std::vector<std::string> CtrlF7 = {"Control_L", "F7"};
const std::vector<std::string> AltF8 = {"Alt_L", "F8"};

} // namespace

TEST_F(HotKeysOnX11, PressesComeBackWithTheirIdForTheirExactModifiersOnly) {
    int argc = 1;
    char name[] = "control_tests";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    auto hotKeys = control::X11HotKeys::Open();
    ASSERT_TRUE(hotKeys);
    std::vector<int> presses;
    hotKeys->pressed = [&](int id) { presses.push_back(id); };
    auto pressesAfter = [&](const std::vector<std::string>& combination, std::size_t count) {
        keys->Press(combination);
        WaitFor(5s, [&] {
            QCoreApplication::processEvents();
            return presses.size() >= count;
        });
        return presses;
    };

    EXPECT_TRUE(hotKeys->RegisterHotKey(3, control::ModAlt | control::ModShift, 116));
    EXPECT_TRUE(hotKeys->RegisterHotKey(4, control::ModControl, 116));
    EXPECT_FALSE(hotKeys->RegisterHotKey(5, control::ModControl, 116))
        << "one slot per combination";
    EXPECT_FALSE(hotKeys->RegisterHotKey(6, 0, 7)) << "no key has virtual key 7";
    EXPECT_FALSE(keys->Grab("F5", alt | shift)) << "another client took ALT+SHIFT+F5";

    EXPECT_EQ(pressesAfter(AltShiftF5, 1), std::vector<int>({3}));
    // ALT+F5 is no hot key: the next press is the next one counted.
    keys->Press({"Alt_L", "F5"});
    EXPECT_EQ(pressesAfter({"Control_L", "F5"}, 2), std::vector<int>({3, 4}));
    ASSERT_TRUE(keys->SetLock("Num_Lock", true));
    ASSERT_TRUE(keys->SetLock("Caps_Lock", true));
    EXPECT_EQ(pressesAfter(AltShiftF5, 3), std::vector<int>({3, 4, 3}));

    hotKeys->UnregisterHotKey(3);
    EXPECT_TRUE(keys->Grab("F5", alt | shift)) << "given back";
    EXPECT_FALSE(keys->Grab("F5", ctrl)) << "still taken";
}

TEST_F(HotKeysOnX11, EveryKeyOfThePickerIsAKeyOfTheKeyboard) {
    auto keyboard = output::X11Keyboard::Open();
    ASSERT_TRUE(keyboard);
    for (const control::HotKeyKey& key : control::HotKeyKeyList()) {
        if (key.virtualKey == 0)
            continue; // "None"
        EXPECT_NE(keyboard->KeycodeFor(key.virtualKey), 0u) << key.name;
    }
}

TEST_F(HotKeysOnX11, ARuntimeSendsSuspendsAndResumesWithTheLockKeysOffAndOn) {
    testsupport::PrivateBus bus;
    StartRuntime(HotKeyConfig(dir, "run",
                              {{0, 0x0574, control::TransmitString, "T"},
                               {1, 0x0275, control::SuspendInput, ""},
                               {2, 0x0276, control::ResumeInput, ""},
                               {3, 0x0477, control::ResumeForOneRecord, ""}},
                              {{"ActivateSuspended", -1}}));
    // The runtime says how to resume it once its hot keys are registered.
    const std::string suspended =
        "Corvane - COM1 (S): Input is suspended (the configuration activates suspended); nothing "
        "is read from the instrument until it is resumed with: corvane dde execute Corvane COM1 "
        "\"{RESUME}\", or with the hot key CTRL+F7, or for one record with the hot key ALT+F8\n";
    ASSERT_TRUE(WaitFor(10s, [&] {
        return runtime->Stderr().find(suspended) != std::string::npos;
    })) << runtime->Stderr();

    ASSERT_TRUE(pty.Write("1\r2\r"));
    ASSERT_TRUE(AllReadIsLogged(AltShiftF5, "T"));
    EXPECT_EQ(Log("run"), "") << "read while suspended";

    keys->Press(AltF8);
    EXPECT_TRUE(WaitFor(10s, [&] { return Log("run") == "1\r\r\n"; })) << Log("run");
    ASSERT_TRUE(AllReadIsLogged(AltShiftF5, "T"));
    EXPECT_EQ(Log("run"), "1\r\r\n") << "more than one record";

    ASSERT_TRUE(keys->SetLock("Num_Lock", true));
    keys->Press(CtrlF7);
    EXPECT_TRUE(WaitFor(10s, [&] { return Log("run") == "1\r\r\n2\r\r\n"; })) << Log("run");

    ASSERT_TRUE(keys->SetLock("Caps_Lock", true));
    keys->Press(CtrlF6);
    ASSERT_TRUE(Transmits(AltShiftF5, "T")); // the suspension came first
    ASSERT_TRUE(pty.Write("3\r"));
    ASSERT_TRUE(AllReadIsLogged(AltShiftF5, "T"));
    EXPECT_EQ(Log("run"), "1\r\r\n2\r\r\n") << "read while suspended";

    ASSERT_TRUE(keys->SetLock("Num_Lock", false));
    keys->Press(CtrlF7);
    EXPECT_TRUE(WaitFor(10s, [&] { return Log("run") == "1\r\r\n2\r\r\n3\r\r\n"; })) << Log("run");

    runtime->Signal(SIGTERM);
    EXPECT_EQ(runtime->WaitExit(10s), 0);
}

TEST_F(HotKeysOnX11, ACombinationAnotherClientHoldsStaysItsAndTheRuntimeGoesOn) {
    testsupport::PrivateBus bus;
    // Another program holds ALT+SHIFT+F5 and CTRL+F7, without the lock keys.
    ASSERT_TRUE(keys->Grab("F5", alt | shift));
    ASSERT_TRUE(keys->Grab("F7", ctrl));
    StartRuntime(HotKeyConfig(dir, "held",
                              {{0, 0x0574, control::TransmitString, "A"},
                               {1, 0x0278, control::TransmitString, "B"},
                               {2, 0x0276, control::ResumeInput, ""},
                               {3, 0x0279, control::ResumeInput, ""}},
                              {{"ActivateSuspended", -1}}));
    // Only what the runtime could take is offered for resuming.
    EXPECT_TRUE(WaitFor(10s, [&] {
        return runtime->Stderr().find("\"{RESUME}\", or with the hot key CTRL+F10\n") !=
               std::string::npos;
    })) << runtime->Stderr();

    // The holder gets its combination; the runtime sends nothing for it.
    keys->Press(AltShiftF5);
    EXPECT_TRUE(keys->WaitGrabbedPress(5s));
    EXPECT_TRUE(Transmits({"Control_L", "F9"}, "B"));
    // The runtime kept none of the lock variants of what it could not take
    // whole: the holder can add them all, and then has it with the lock
    // keys lit too.
    const unsigned num = keys->ModifierMask("Num_Lock"), caps = keys->ModifierMask("Caps_Lock");
    EXPECT_TRUE(keys->Grab("F5", alt | shift | num));
    EXPECT_TRUE(keys->Grab("F5", alt | shift | caps));
    EXPECT_TRUE(keys->Grab("F5", alt | shift | num | caps));
    ASSERT_TRUE(keys->SetLock("Num_Lock", true));
    keys->Press(AltShiftF5);
    EXPECT_TRUE(keys->WaitGrabbedPress(5s));
    EXPECT_TRUE(Transmits({"Control_L", "F9"}, "B"));

    ASSERT_TRUE(pty.Write("5\r"));
    keys->Press({"Control_L", "F10"});
    EXPECT_TRUE(WaitFor(10s, [&] { return Log("held") == "5\r\r\n"; })) << Log("held");
    EXPECT_FALSE(runtime->WaitExit(0ms).has_value());
    runtime->Signal(SIGTERM);
    EXPECT_EQ(runtime->WaitExit(10s), 0);
    EXPECT_EQ(runtime->Stderr().find("X Error"), std::string::npos) << runtime->Stderr();
}

TEST_F(HotKeysOnX11, AReloadGivesBackTheOldHotKeysAndTakesTheNewOnes) {
    testsupport::PrivateBus bus;
    const fs::path second = HotKeyConfig(dir, "second", {{5, 0x0279, control::TransmitString, "N"}},
                                         {{"DdeTopicName", "Reloaded"}});
    StartRuntime(HotKeyConfig(dir, "first", {{0, 0x0278, control::TransmitString, "O"}}));
    auto serves = [](const std::string& topic) {
        return RunProgram({CORVANE_BINARY, "dde", "request", "Corvane", topic, "RecordNumber"})
                   .exitCode == 0;
    };
    // A runtime answers on the bus only once its start-up, hot keys
    // included, is over; so does a reloaded one.
    ASSERT_TRUE(WaitFor(10s, [&] { return serves("COM1"); })) << runtime->Stderr();
    EXPECT_TRUE(Transmits({"Control_L", "F9"}, "O"));
    EXPECT_FALSE(keys->Grab("F9", ctrl));

    auto reload = RunProgram(
        {CORVANE_BINARY, "dde", "execute", "Corvane", "COM1", "{CONFIG(" + second.string() + ")}"});
    ASSERT_EQ(reload.exitCode, 0) << reload.err;
    ASSERT_TRUE(WaitFor(10s, [&] { return serves("Reloaded"); })) << runtime->Stderr();
    EXPECT_TRUE(Transmits({"Control_L", "F10"}, "N"));
    EXPECT_TRUE(keys->Grab("F9", ctrl)) << "the old hot key was not given back";
    EXPECT_FALSE(keys->Grab("F10", ctrl));
    EXPECT_EQ(runtime->Stderr(), "");
}

TEST(HotKeysWithoutX, TheRuntimeSaysOnceThatHotKeysNeedAnXDisplayAndGoesOn) {
    TempDir dir;
    const fs::path qx3 = HotKeyConfig(dir, "nox", {{0, 0x0574, control::TransmitString, "T"}});
    auto r =
        RunProgram({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()}, "1\r2\r", 20s);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(testsupport::ReadFileBytes(dir.path / "nox.log"), "1\r\r\n2\r\r\n");
    const std::string said = "Corvane - COM1 (Virtual Device): Hot keys need an X display, and "
                             "none can be opened: this runtime goes on without its hot keys.\n";
    const std::size_t at = r.err.find(said);
    EXPECT_NE(at, std::string::npos) << r.err;
    EXPECT_EQ(r.err.find(said, at + 1), std::string::npos) << r.err;
}

TEST(HotKeysWithoutX, ARuntimeThatStartsSuspendedOffersNoWayItDoesNotHave) {
    // No X display and no session bus: neither a hot key nor the DDE
    // command can resume it, and it does not pretend they could.
    TempDir dir;
    const fs::path qx3 = HotKeyConfig(dir, "stuck", {{0, 0x0276, control::ResumeInput, ""}},
                                      {{"ActivateSuspended", -1}});
    ChildProcess runtime({CORVANE_BINARY, "run", "--headless", "--virtual", qx3.string()});
    const std::string said = "Input is suspended (the configuration activates suspended); this "
                             "runtime has no D-Bus server and no resume hot key, so nothing will "
                             "be read from the instrument until it is stopped.\n";
    EXPECT_TRUE(WaitFor(10s, [&] { return runtime.Stderr().find(said) != std::string::npos; }))
        << runtime.Stderr();
    EXPECT_EQ(runtime.Stderr().find("{RESUME}"), std::string::npos) << runtime.Stderr();
    runtime.Signal(SIGTERM);
    EXPECT_EQ(runtime.WaitExit(10s), 0);
}

TEST_F(HotKeysOnX11, TheFootSwitchExampleTaresAsksPausesAndGoesOn) {
    testsupport::PrivateBus bus;
    // A foot switch sends F13, which layouts give a launcher symbol: the hot
    // key is on the physical key all the same.
    const fs::path qx3 = dir.path / "footswitch.QX3";
    auto built = RunProgram({CORVANE_BINARY, "config", "build",
                             (fs::path(CORVANE_SOURCE_DIR) / "examples/balance-footswitch.json").string(),
                             qx3.string()});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    runtime = std::make_unique<ChildProcess>(std::vector<std::string>{
        "/bin/sh", "-c",
        "cd '" + dir.path.string() + "' && exec " + CORVANE_BINARY +
            " run --headless --port " + pty.slaveName() + " footswitch.QX3"});
    const fs::path log = dir.path / "balance-footswitch.log";

    // The runtime answers on the bus once its hot keys are taken.
    ASSERT_TRUE(WaitFor(10s, [&] {
        return RunProgram({CORVANE_BINARY, "dde", "request", "Corvane", "COM1", "RecordNumber"})
                   .exitCode == 0;
    })) << runtime->Stderr();
    keys->Press({"<FK13>"});
    EXPECT_EQ(pty.ReadFor(5s, 3), "T\r\n");
    keys->Press({"Control_L", "F5"});
    EXPECT_EQ(pty.ReadFor(5s, 3), "P\r\n");

    keys->Press({"Control_L", "F6"});
    keys->Press({"Control_L", "F5"});
    ASSERT_EQ(pty.ReadFor(5s, 3), "P\r\n"); // the suspension has been handled
    ASSERT_TRUE(pty.Write("   12.345 g\r\n"));
    keys->Press({"Control_L", "F5"});
    ASSERT_EQ(pty.ReadFor(5s, 3), "P\r\n");
    keys->Press({"Control_L", "F5"});
    ASSERT_EQ(pty.ReadFor(5s, 3), "P\r\n");
    EXPECT_EQ(testsupport::ReadFileBytes(log), "") << "read while suspended";

    keys->Press({"Control_L", "F7"});
    EXPECT_TRUE(WaitFor(10s, [&] {
        return testsupport::ReadFileBytes(log).find(";12345.0 mg") != std::string::npos;
    })) << testsupport::ReadFileBytes(log) << runtime->Stderr();
}

// Hot keys on a private Xvfb: the X11 backend in this process, pressed
// through XTest with the lock keys lit and not, beside another client.

#include "control/HotKeyNames.h"
#include "control/HotKeys.h"
#include "control/X11HotKeys.h"
#include "output/X11Keyboard.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRunner.h"
#include "support/XTestClient.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <memory>

using namespace std::chrono_literals;
using testsupport::WaitFor;

namespace {

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
        keys.reset();
        xserver.reset();
    }

    std::unique_ptr<testsupport::PrivateXServer> xserver;
    std::unique_ptr<testsupport::XTestClient> keys;
    unsigned alt = 0, shift = 0, ctrl = 0;
};

const std::vector<std::string> AltShiftF5 = {"Alt_L", "Shift_L", "F5"};

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

// Hot keys in the core: registration and release against the recording
// platform, every action through a press, the virtual device's rule, and the
// names the hot-key editor shows.

#include "control/HotKeys.h"
#include "control/HotKeyNames.h"
#include "support/FakeHotKeyPlatform.h"
#include "support/FakeRuntimeControl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace control;

namespace {

struct HotKeyRig {
    config::Config cfg;
    FakeRuntimeControl runtime;
    FakeHotKeyPlatform platform;
    HotKeys hotKeys{cfg, runtime, platform};

    void Set(int slot, int code, int action, const std::string& text = "") {
        cfg.HotKeyCode[static_cast<std::size_t>(slot)] = static_cast<config::Integer>(code);
        cfg.HotKeyAction[static_cast<std::size_t>(slot)] = static_cast<config::Integer>(action);
        cfg.HotKeyData[static_cast<std::size_t>(slot)] = text;
    }
    std::string Joined(const std::vector<std::string>& list) const {
        std::string all;
        for (const auto& item : list)
            all += (all.empty() ? "" : ", ") + item;
        return all;
    }
};

} // namespace

TEST(HotKeys, OnlySlotsWithAKeyAreRegisteredAndOnlyThoseTakenAreReleased) {
    HotKeyRig rig;
    rig.Set(0, 0x0000, TransmitString, "x"); // no key: unused, whatever its action
    rig.Set(1, 0x0700, SuspendInput);        // modifiers alone are no key either
    rig.Set(2, 0x0574, TransmitString, "T"); // ALT+SHIFT+F5
    rig.Set(7, 0x0275, SuspendInput);        // CTRL+F6, held by another program
    rig.Set(49, 0x0141, ResumeInput);        // SHIFT+A in the last slot
    rig.platform.taken.insert({ModControl, 0x75});

    rig.hotKeys.Register();
    EXPECT_EQ(rig.Joined(rig.platform.calls),
              "register 2 mods 5 key 116, register 7 mods 2 key 117, register 49 mods 4 key 65");
    std::array<bool, config::NumHotKeys> expected{};
    expected[2] = expected[49] = true;
    EXPECT_EQ(rig.hotKeys.HotKeyRegistered, expected);

    // A press of a slot that is not registered does nothing.
    rig.platform.Press(7);
    rig.platform.Press(0);
    EXPECT_TRUE(rig.runtime.calls.empty());

    rig.platform.calls.clear();
    rig.hotKeys.Release();
    EXPECT_EQ(rig.Joined(rig.platform.calls), "unregister 2, unregister 49");
    EXPECT_EQ(rig.hotKeys.HotKeyRegistered, (std::array<bool, config::NumHotKeys>{}));
    // Released, a press that was on its way runs nothing, and releasing
    // again gives back nothing.
    rig.platform.Press(2);
    EXPECT_EQ(rig.runtime.output, "");
    rig.platform.calls.clear();
    rig.hotKeys.Release();
    EXPECT_TRUE(rig.platform.calls.empty());
}

TEST(HotKeys, RegisteringAgainAfterAReloadTakesTheNewConfigurationsKeys) {
    HotKeyRig rig;
    rig.Set(3, 0x0274, TransmitString, "old");
    rig.hotKeys.Register();
    rig.Set(3, 0, NoAction);
    rig.Set(4, 0x0478, TransmitString, "new");
    rig.platform.calls.clear();
    rig.hotKeys.Register();
    EXPECT_EQ(rig.Joined(rig.platform.calls), "unregister 3, register 4 mods 1 key 120");
    rig.platform.Press(4);
    EXPECT_EQ(rig.runtime.output, "new");
}

TEST(HotKeys, ModifiersOfTheHighByteBecomeThePlatformsBits) {
    struct Case {
        int code;
        int modifiers;
    };
    const Case cases[] = {
        {0x0074, 0},
        {0x0174, ModShift},
        {0x0274, ModControl},
        {0x0474, ModAlt},
        {0x0574, ModAlt | ModShift}, // ALT+SHIFT gives 5
        {0x0374, ModControl | ModShift},
        {0x0674, ModAlt | ModControl},
        {0x0774, ModAlt | ModControl | ModShift},
        {0x0F74, ModAlt | ModControl | ModShift},                  // unknown bits are ignored
        {static_cast<config::Integer>(0x8574), ModAlt | ModShift}, // a negative Integer
    };
    for (const Case& c : cases) {
        EXPECT_EQ(PlatformModifiers(c.code), c.modifiers) << std::hex << c.code;
        HotKeyRig rig;
        rig.Set(0, c.code, TransmitString);
        const std::vector<HotKey> table = HotKeyTable(rig.cfg);
        ASSERT_EQ(table.size(), 1u);
        EXPECT_EQ(table[0].virtualKey, 0x74);
        EXPECT_EQ(table[0].modifiers, c.modifiers) << std::hex << c.code;
    }
}

TEST(HotKeys, EveryActionOnAPortAndOnTheVirtualDevice) {
    struct Case {
        int action;
        const char* onPort; // the runtime control's calls
        const char* virtualDevice;
    };
    const Case cases[] = {
        {NoAction, "", ""},
        {TransmitString, "", ""}, // queues the slot's string, below
        {IssueBreak, "BREAK", ""},
        {ToggleDtr, "pulse DTR", ""},
        {EnableTimer, "timed output on", "timed output on"},
        {DisableTimer, "timed output off", "timed output off"},
        {RaiseDtr, "DTR on", ""},
        {LowerDtr, "DTR off", ""},
        {RaiseRts, "RTS on", ""},
        {LowerRts, "RTS off", ""},
        {ResetInput, "reset", "reset"},
        {SuspendInput, "suspend", "suspend"},
        {ResumeInput, "resume", "resume"},
        {ResumeForOneRecord, "resume one", "resume one"},
        {14, "", ""},
        {-1, "", ""},
    };
    const std::string text("\r\nT\0", 4);
    for (bool virtualDevice : {false, true})
        for (const Case& c : cases) {
            HotKeyRig rig;
            rig.runtime.virtualDevice = virtualDevice;
            rig.Set(9, 0x0670, c.action, text);
            rig.hotKeys.Register();
            rig.platform.Press(9);
            const std::string where = virtualDevice ? " on the virtual device" : " on a port";
            EXPECT_EQ(rig.Joined(rig.runtime.calls), virtualDevice ? c.virtualDevice : c.onPort)
                << "action " << c.action << where;
            EXPECT_EQ(rig.runtime.output, c.action == TransmitString ? text : "")
                << "action " << c.action << where;
        }
}

TEST(HotKeys, TheNamesOfRegisteredSlotsWithAnAction) {
    HotKeyRig rig;
    rig.Set(0, 0x0276, ResumeInput);
    rig.Set(1, 0x0477, ResumeForOneRecord);
    rig.Set(2, 0x0078, ResumeInput);
    rig.Set(3, 0x0279, ResumeInput); // held elsewhere: not named
    rig.platform.taken.insert({ModControl, 0x79});
    rig.hotKeys.Register();
    EXPECT_EQ(rig.Joined(rig.hotKeys.RegisteredNames(ResumeInput)), "CTRL+F7, F9");
    EXPECT_EQ(rig.Joined(rig.hotKeys.RegisteredNames(ResumeForOneRecord)), "ALT+F8");
    EXPECT_TRUE(rig.hotKeys.RegisteredNames(SuspendInput).empty());
}

TEST(HotKeyNames, DisplayNamesPutAltCtrlShiftInThatOrderBeforeTheKey) {
    const std::pair<int, const char*> cases[] = {
        {0x0674, "ALT+CTRL+F5"},
        {0x0774, "ALT+CTRL+SHIFT+F5"},
        {0x0574, "ALT+SHIFT+F5"},
        {0x0120, "SHIFT+SPACE"},
        {0x0013, "BREAK"},
        {0x0260, "CTRL+NumPad 0"},
        {0x006A, "Gray *"},
        {0x006F, "Gray /"},
        {0x0441, "ALT+A"},
        {0x0239, "CTRL+9"},
        {0x00BA, ";"},
        {0x0007, "Key 7"},
        {0x0000, "None"},
        {0x0700, "None"},
    };
    for (const auto& [code, name] : cases)
        EXPECT_EQ(HotKeyDisplayName(code), name) << std::hex << code;
}

TEST(HotKeyNames, CtrlAltWithF1ToF12IsTheConsoleSwitchAndIsNamedAsTheDialogWritesIt) {
    const std::pair<int, bool> cases[] = {
        {0x0670, true},  // ALT+CTRL+F1
        {0x0674, true},  // ALT+CTRL+F5
        {0x067B, true},  // ALT+CTRL+F12
        {0x067C, false}, // ALT+CTRL+F13
        {0x0774, false}, // ALT+CTRL+SHIFT+F5: the keyboard map gives plain F5
        {0x0274, false}, // CTRL+F5
        {0x0474, false}, // ALT+F5
        {0x0E74, true},  // with a bit the platform never sees
        {0x0641, false}, // ALT+CTRL+A
    };
    for (const auto& [code, console] : cases)
        EXPECT_EQ(IsConsoleSwitchKey(code), console) << std::hex << code;
    EXPECT_EQ(ConsoleSwitchWarning({"ALT+CTRL+F5"}),
              "ALT+CTRL+F5 switches the desktop to a text console on Linux: the desktop takes it "
              "before any program sees it, so this hot key will not reach Corvane.");
    EXPECT_EQ(ConsoleSwitchWarning({"ALT+CTRL+F1", "ALT+CTRL+F2", "ALT+CTRL+F3"}),
              "ALT+CTRL+F1, ALT+CTRL+F2 and ALT+CTRL+F3 switch the desktop to a text console on "
              "Linux: the desktop takes them before any program sees them, so these hot keys will "
              "not reach Corvane.");
}

TEST(HotKeyNames, ThePickerListsItsKeysInOrderEachUnderItsOwnName) {
    const std::vector<HotKeyKey>& keys = HotKeyKeyList();
    const char* const first[] = {
        "None",     "SPACE",    "ENTER",    "BACKSPACE", "TAB",      "INSERT",   "DELETE",
        "UP",       "DOWN",     "RIGHT",    "LEFT",      "HOME",     "END",      "PGDN",
        "PGUP",     "ESCAPE",   "BREAK",    "CLEAR",     "CAPSLOCK", "NUMLOCK",  "SCROLLOCK",
        "PRTSC",    "F1",       "F2",       "F3",        "F4",       "F5",       "F6",
        "F7",       "F8",       "F9",       "F10",       "F11",      "F12",      "F13",
        "F14",      "F15",      "F16",      "NumPad 0",  "NumPad 1", "NumPad 2", "NumPad 3",
        "NumPad 4", "NumPad 5", "NumPad 6", "NumPad 7",  "NumPad 8", "NumPad 9", "Gray *",
        "Gray +",   "Gray -",   "Gray .",   "Gray /"};
    ASSERT_EQ(keys.size(), std::size(first));
    for (std::size_t i = 0; i < std::size(first); ++i)
        EXPECT_EQ(keys[i].name, first[i]) << i;
    EXPECT_EQ(keys[0].virtualKey, 0);
    // Every other entry is a distinct key, and a hot key on it is shown
    // under the entry's name.
    for (std::size_t i = 1; i < keys.size(); ++i) {
        EXPECT_EQ(HotKeyDisplayName(keys[i].virtualKey), keys[i].name) << keys[i].name;
        EXPECT_EQ(HotKeyDisplayName(0x0400 | keys[i].virtualKey),
                  "ALT+" + std::string(keys[i].name));
    }
    const std::pair<const char*, int> known[] = {{"F1", 112},     {"F16", 127},
                                                 {"PGDN", 34},    {"NumPad 9", 105},
                                                 {"Gray -", 109}, {"NUMLOCK", 144}};
    for (const auto& [name, vk] : known)
        EXPECT_EQ(HotKeyKeyName(vk), name);
}

TEST(HotKeyNames, TheActionCaptionsKeepTheirDoubleBlanks) {
    const auto& captions = HotKeyActionCaptions();
    EXPECT_EQ(captions[NoAction], "None");
    EXPECT_EQ(captions[ToggleDtr], "Toggle DTR for 100ms");
    EXPECT_EQ(captions[EnableTimer], "Enable  Timer");
    EXPECT_EQ(captions[ResumeInput], "Enable  Corvane");
    EXPECT_EQ(captions[ResumeForOneRecord], "Enable For 1 Data Record");
}

TEST(HotKeys, ADuplicateIsTheSameKeyWithTheSameModifiersInTwoUsedSlots) {
    config::HotKeyArray<config::Integer> codes{};
    EXPECT_FALSE(FindDuplicateHotKey(codes)); // fifty unused slots share code 0
    codes[4] = 0x0674;                        // ALT+CTRL+F5
    codes[7] = 0x0274;                        // CTRL+F5: other modifiers
    codes[9] = 0x0675;                        // ALT+CTRL+F6: other key
    codes[12] = 0x0600;                       // modifiers without a key: unused
    codes[13] = 0x0600;
    EXPECT_FALSE(FindDuplicateHotKey(codes));
    codes[30] = 0x0E74; // ALT+CTRL+F5 with a bit the platform never sees
    EXPECT_EQ(FindDuplicateHotKey(codes), (DuplicateHotKey{4, 30}));
    codes[20] = 0x0274;
    EXPECT_EQ(FindDuplicateHotKey(codes), (DuplicateHotKey{7, 20})); // the first in slot order
}

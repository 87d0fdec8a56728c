// The shared runtime on a recording platform: start-up and closing in their
// order, the end of the virtual device's input, a runtime without bus or
// display, and the reload that "{CONFIG(" asks for.

#include "runtime/Runtime.h"

#include "config/ConfigFile.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/ProcessRunner.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

using namespace runtime;
using testsupport::RecordingPlatform;

namespace {

constexpr int F13 = 0x7C;

struct RuntimeRig {
    testsupport::TempDir dir;
    RecordingPlatform platform;
    config::RecordingMessageSink messages;
    engine::ManualClock clock;
    config::MemorySettingsStore store;
    control::RecordingClipboard clipboard;
    Runtime runtime{{platform, messages, clock, store, clipboard, engine::Locale{},
                     dir.path.string()}};

    // A logging configuration with one hot key (F13 sends "T"), saved as name.
    std::string Save(const std::string& name, void (*change)(config::Config&) = nullptr) {
        config::Config cfg;
        cfg.TransferMode = config::LogToDisk;
        cfg.LogFileName = (dir.path / "records.log").string();
        cfg.HotKeyCode[0] = F13;
        cfg.HotKeyAction[0] = 1;
        cfg.HotKeyData[0] = "T";
        if (change)
            change(cfg);
        cfg.ConfigFileName = (dir.path / name).string();
        EXPECT_TRUE(config::SaveConfigFile(cfg));
        return cfg.ConfigFileName;
    }
    // Ticks every 50 ms until the runtime has closed, at most n times.
    void TickUntilClosed(int n = 400) {
        for (int i = 0; i < n && !platform.closed; ++i) {
            clock.Advance(50);
            runtime.Tick();
        }
    }
    std::size_t Index(const std::string& call) const {
        auto it = std::find(platform.calls.begin(), platform.calls.end(), call);
        return static_cast<std::size_t>(it - platform.calls.begin());
    }
};

} // namespace

TEST(Runtime, AVirtualRunDeliversItsInputThenClosesInOrderOnce) {
    RuntimeRig r;
    ASSERT_TRUE(r.runtime.RunVirtual(r.Save("virtual.QX3")));
    EXPECT_EQ(r.platform.calls, (std::vector<std::string>{"bus start org.corvane.Corvane.COM1"}));
    ASSERT_NE(r.platform.hotKeys, nullptr);
    EXPECT_EQ(r.platform.hotKeys->calls.size(), 1u); // F13 taken
    EXPECT_EQ(r.runtime.Caption(), "Corvane - COM1 (Virtual Device)");

    // The hot key acts on the virtual device: what it sends is its output.
    r.platform.hotKeys->Press(0);
    r.runtime.VirtualInput("12.5\r7\r");
    r.runtime.EndOfVirtualInput();
    r.TickUntilClosed();
    ASSERT_EQ(r.platform.closed, 0);
    EXPECT_EQ(r.platform.deviceOutput, "T");
    const std::string log = testsupport::ReadFileBytes(r.dir.path / "records.log");
    EXPECT_NE(log.find("12.5"), std::string::npos) << log;
    EXPECT_NE(log.find("7"), std::string::npos) << log;
    EXPECT_TRUE(std::find(r.platform.changes.begin(), r.platform.changes.end(),
                          "RecordNumber=2") != r.platform.changes.end());
    // Bus and hot keys are given back before the platform hears of the close.
    EXPECT_LT(r.Index("bus stop"), r.Index("closed 0"));
    EXPECT_EQ(r.platform.hotKeys->calls.back(), "unregister 0");
    r.runtime.Exit();
    r.runtime.Tick();
    EXPECT_EQ(std::count(r.platform.calls.begin(), r.platform.calls.end(), "closed 0"), 1);
    EXPECT_TRUE(r.messages.shown.empty());
}

TEST(Runtime, WithoutBusOrDisplayItSaysSoOnceAndStartsSuspendedAsAsked) {
    RuntimeRig r;
    r.platform.bus = false;
    r.platform.display = false;
    ASSERT_TRUE(r.runtime.RunVirtual(
        r.Save("quiet.QX3", [](config::Config& c) { c.ActivateSuspended = config::True; })));
    ASSERT_EQ(r.messages.shown.size(), 3u);
    EXPECT_NE(r.messages.shown[0].text.find("No D-Bus session bus"), std::string::npos);
    EXPECT_NE(r.messages.shown[1].text.find("Hot keys need an X display"), std::string::npos);
    // Nothing could resume it, and the message says so instead of naming ways.
    EXPECT_NE(r.messages.shown[2].text.find("no D-Bus server and no resume hot key"),
              std::string::npos);
    EXPECT_TRUE(r.runtime.state().Suspended);
    r.runtime.ToggleSuspend();
    EXPECT_FALSE(r.runtime.state().Suspended);
}

TEST(Runtime, APortThatCannotOpenStartsNothing) {
    RuntimeRig r;
    r.platform.portOpens = false;
    EXPECT_FALSE(r.runtime.RunNormal(r.Save("normal.QX3")));
    EXPECT_EQ(r.platform.calls, (std::vector<std::string>{"open COM1"}));
    EXPECT_EQ(r.platform.hotKeys, nullptr);
    r.runtime.Tick(); // harmless
    EXPECT_FALSE(r.runtime.RunNormal((r.dir.path / "missing.QX3").string()));
}

TEST(Runtime, AReloadRunsAtTheNextTickWithTheNewFilesHotKeysAndTopic) {
    RuntimeRig r;
    ASSERT_TRUE(r.runtime.RunNormal(r.Save("first.QX3")));
    const std::string second = r.Save("second.QX3", [](config::Config& c) {
        c.DdeTopicName = "Scale";
        c.HotKeyCode[0] = 0; // F13 no more
        c.HotKeyCode[1] = 0x74 + 2 * 256; // CTRL+F5
        c.HotKeyAction[1] = 11;          // suspends input
    });
    ASSERT_NE(r.runtime.dde(), nullptr);
    EXPECT_TRUE(r.runtime.dde()->Execute("{CONFIG(" + second + ")}"));
    EXPECT_EQ(r.platform.hotKeys->calls.size(), 1u); // nothing happens inside the command
    r.clock.Advance(50);
    r.runtime.Tick();
    EXPECT_EQ(r.platform.hotKeys->calls,
              (std::vector<std::string>{"register 0 mods 0 key 124", "unregister 0",
                                        "register 1 mods 2 key 116"}));
    // The port opens again (with the new file's line settings) before the
    // server takes the new topic's name.
    EXPECT_LT(r.Index("reopen"), r.Index("bus start org.corvane.Corvane.Scale"));
    EXPECT_EQ(r.platform.calls.back(), "bus start org.corvane.Corvane.Scale");
    EXPECT_EQ(r.runtime.cfg().ConfigFileName, second);
    r.platform.hotKeys->Press(1);
    EXPECT_TRUE(r.runtime.state().Suspended);
}

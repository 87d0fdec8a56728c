// The shared runtime on a recording platform: start-up and closing in their
// order, the end of the virtual device's input, a runtime without bus or
// display, and the reload that "{CONFIG(" asks for.

#include "runtime/Runtime.h"

#include "config/ConfigFile.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/ProcessRunner.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingMessageSink.h"
#include "support/RecordingPlatform.h"
#include "support/FakePort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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
    config::Config record; // the program's configuration record
    Runtime runtime{
        {platform, record, messages, clock, store, clipboard, engine::Locale{}, dir.path.string()}};

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
    EXPECT_TRUE(std::find(r.platform.changes.begin(), r.platform.changes.end(), "RecordNumber=2") !=
                r.platform.changes.end());
    // Bus and hot keys are given back before the platform hears of the close.
    EXPECT_LT(r.Index("bus stop"), r.Index("closed 0"));
    EXPECT_EQ(r.platform.hotKeys->calls.back(), "unregister 0");
    r.runtime.Exit();
    r.runtime.Tick();
    EXPECT_EQ(std::count(r.platform.calls.begin(), r.platform.calls.end(), "closed 0"), 1);
    EXPECT_TRUE(r.messages.shown.empty());
}

namespace {

// A delivery that pumps events while it types, as the real one does: the
// runtime's timer fires inside it.
struct PumpingDelivery : output::KeystrokeDelivery {
    std::function<void()> pumped;
    std::vector<std::string> typed;
    bool DeliverRecord(const std::function<std::string()>& build) override {
        for (int i = 0; i < 5; ++i)
            pumped();
        typed.push_back(build());
        return true;
    }
};

} // namespace

TEST(Runtime, StopsAndTheEndOfInputWaitForTheRecordBeingDelivered) {
    for (bool stopInside : {false, true}) {
        RuntimeRig r;
        PumpingDelivery delivery;
        r.platform.keystrokeDelivery = &delivery;
        std::vector<bool> stopping;
        delivery.pumped = [&] {
            if (stopInside)
                r.runtime.RequestStop(); // a signal or the close box
            r.clock.Advance(50);
            r.runtime.Tick();
            stopping.push_back(r.runtime.StopRequested());
        };
        ASSERT_TRUE(r.runtime.RunVirtual(r.Save(
            "typed.QX3", [](config::Config& c) { c.TransferMode = config::SendKeystrokes; })));
        r.runtime.VirtualInput("1\r2\r");
        r.runtime.EndOfVirtualInput();
        r.clock.Advance(50);
        r.runtime.Tick();
        if (stopInside) {
            // The waits end at once; the runtime closes once the tick is over.
            EXPECT_EQ(stopping, std::vector<bool>(10, true));
            EXPECT_EQ(delivery.typed.size(), 2u);
            EXPECT_EQ(r.platform.closed, 0);
            continue;
        }
        // Both records are delivered in full before the end of the input
        // counts: nothing asks the waits to end.
        EXPECT_EQ(stopping, std::vector<bool>(10, false));
        EXPECT_EQ(delivery.typed, (std::vector<std::string>{"1{ENTER}", "2{ENTER}"}));
        EXPECT_FALSE(r.platform.closed.has_value());
        r.TickUntilClosed();
        EXPECT_EQ(r.platform.closed, 0);
    }
}

TEST(Runtime, EveryDeliveredRecordIsHandedOnWithItsNumberAndFieldsAsShown) {
    // Logged: every record, also one whose log line must wait.
    RuntimeRig r;
    std::vector<std::string> seen;
    r.runtime.OnRecordDelivered([&](const output::DeliveredRecord& record) {
        std::string text = record.recordNumber + ":";
        for (const std::string& field : record.fields)
            text += "[" + field + "]";
        seen.push_back(text);
    });
    ASSERT_TRUE(r.runtime.RunVirtual(r.Save("fields.QX3", [](config::Config& c) {
        c.RecordStructure = 1;
        c.NumFields = 2;
        c.DelimiterChar = ",";
        c.FieldFormat[1] = "0.00";
    })));
    r.runtime.VirtualInput("1.5,a\r2,b\r");
    r.clock.Advance(50);
    r.runtime.Tick();
    EXPECT_EQ(seen, (std::vector<std::string>{"1:[1.50][a\r]", "2:[2.00][b\r]"}));

    // Typed: a record that could not be typed is not counted, nor handed on.
    RuntimeRig typed;
    struct Refusing : output::KeystrokeDelivery {
        int calls = 0;
        bool DeliverRecord(const std::function<std::string()>& build) override {
            build();
            return ++calls % 2 == 0;
        }
    } delivery;
    typed.platform.keystrokeDelivery = &delivery;
    std::vector<std::string> numbers;
    ASSERT_TRUE(typed.runtime.RunVirtual(typed.Save(
        "typed.QX3", [](config::Config& c) { c.TransferMode = config::SendKeystrokes; })));
    typed.runtime.OnRecordDelivered(
        [&](const output::DeliveredRecord& record) { numbers.push_back(record.recordNumber); });
    typed.runtime.VirtualInput("1\r2\r3\r4\r");
    typed.clock.Advance(50);
    typed.runtime.Tick();
    EXPECT_EQ(numbers, (std::vector<std::string>{"1", "2"}));
}

TEST(Runtime, VirtualInputIsFramedAsItComesAndTheHandleToWatchFollowsTheMode) {
    RuntimeRig r;
    ASSERT_TRUE(r.runtime.RunVirtual(r.Save("virtual.QX3")));
    r.runtime.VirtualInput("12.5\r");
    EXPECT_EQ(testsupport::ReadFileBytes(r.dir.path / "records.log"), "12.5\r\r\n");
    EXPECT_EQ(r.runtime.ArrivalHandle(), -1); // the virtual device has nothing to watch

    // A port's handle is watched while records end on a byte and input runs.
    RuntimeRig normal;
    ASSERT_TRUE(normal.runtime.RunNormal(normal.Save("normal.QX3")));
    normal.platform.port->arrivalHandle = 7;
    EXPECT_EQ(normal.runtime.ArrivalHandle(), 7);
    normal.platform.port->Feed("3\r");
    normal.runtime.InputArrived();
    EXPECT_EQ(testsupport::ReadFileBytes(normal.dir.path / "records.log"), "3\r\r\n");
    normal.runtime.ToggleSuspend();
    EXPECT_EQ(normal.runtime.ArrivalHandle(), -1);
    normal.runtime.ToggleSuspend();
    // A reload asked for comes before the bytes that arrive after it: they
    // are framed under the new configuration (a pause ends its records,
    // and those are read on the tick).
    const std::string timed =
        normal.Save("timed.QX3", [](config::Config& c) { c.EndOfRecordEvent = 1; });
    ASSERT_TRUE(normal.runtime.dde()->Execute("{CONFIG(" + timed + ")}"));
    normal.platform.port->Feed("4\r");
    normal.runtime.InputArrived();
    EXPECT_EQ(normal.runtime.cfg().EndOfRecordEvent, 1);
    EXPECT_EQ(normal.runtime.ArrivalHandle(), -1);
    EXPECT_EQ(normal.platform.port->input.size(), 2u);
    normal.runtime.Exit();
    EXPECT_EQ(normal.runtime.ArrivalHandle(), -1);
}

TEST(Runtime, WithoutBusOrDisplayItSaysSoOnceAndStartsSuspendedAsAsked) {
    RuntimeRig r;
    r.platform.bus = false;
    r.platform.display = false;
    ASSERT_TRUE(r.runtime.RunVirtual(
        r.Save("quiet.QX3", [](config::Config& c) { c.ActivateSuspended = config::True; })));
    ASSERT_EQ(r.messages.shown.size(), 2u);
    EXPECT_NE(r.messages.shown[0].text.find("No D-Bus session bus"), std::string::npos);
    EXPECT_NE(r.messages.shown[1].text.find("Hot keys need an X display"), std::string::npos);
    // Nothing could resume it: what a headless run says of it names no way.
    EXPECT_NE(r.runtime.SuspendedMessage().find("no D-Bus server and no resume hot key"),
              std::string::npos);
    EXPECT_TRUE(r.runtime.state().Suspended);
    EXPECT_EQ(r.runtime.Caption(), "Corvane - COM1 (S) (Virtual Device)");
    r.runtime.ToggleSuspend();
    EXPECT_FALSE(r.runtime.state().Suspended);
}

TEST(Runtime, ConsoleSwitchHotKeysAreNamedOnceAtStartAndNotAgainAtAReload) {
    RuntimeRig r;
    auto consoleKeys = [](config::Config& c) {
        c.HotKeyCode[3] = 0x0678; // ALT+CTRL+F9
        c.HotKeyAction[3] = 11;
        c.HotKeyCode[4] = 0x0674; // ALT+CTRL+F5
        c.HotKeyAction[4] = 12;
        c.HotKeyCode[5] = 0x0774; // ALT+CTRL+SHIFT+F5: no console switch
        c.HotKeyAction[5] = 12;
    };
    const std::string file = r.Save("console.QX3", consoleKeys);
    ASSERT_TRUE(r.runtime.RunNormal(file));
    ASSERT_EQ(r.messages.shown.size(), 1u);
    EXPECT_EQ(r.messages.shown[0].text,
              "ALT+CTRL+F9 and ALT+CTRL+F5 switch the desktop to a text console on Linux: the "
              "desktop takes them before any program sees them, so these hot keys will not reach "
              "Corvane. Choose another combination in Settings > Hot Keys.");
    EXPECT_EQ(r.messages.shown[0].title, "Corvane - COM1");
    // Still registered: the desktop decides, not Corvane.
    EXPECT_EQ(r.platform.hotKeys->calls.size(), 4u);

    EXPECT_TRUE(r.runtime.dde()->Execute("{CONFIG(" + file + ")}"));
    r.clock.Advance(50);
    r.runtime.Tick();
    EXPECT_EQ(r.messages.shown.size(), 1u);

    // Without a display there are no hot keys to warn about.
    RuntimeRig headless;
    headless.platform.display = false;
    ASSERT_TRUE(headless.runtime.RunNormal(headless.Save("console.QX3", consoleKeys)));
    ASSERT_EQ(headless.messages.shown.size(), 1u);
    EXPECT_NE(headless.messages.shown[0].text.find("Hot keys need an X display"),
              std::string::npos);
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
    serial::FakePort* const port = r.platform.port;
    // The same line settings, two comma-delimited fields logged as "a|b".
    const std::string second = r.Save("second.QX3", [](config::Config& c) {
        c.DdeTopicName = "Scale";
        c.HotKeyCode[0] = 0;              // F13 no more
        c.HotKeyCode[1] = 0x74 + 2 * 256; // CTRL+F5
        c.HotKeyAction[1] = 11;           // suspends input
        c.RecordStructure = 1;
        c.NumFields = 2;
        c.DelimiterChar = ",";
        c.FieldPostamble[1] = "|";
    });
    ASSERT_NE(r.runtime.dde(), nullptr);
    EXPECT_TRUE(r.runtime.dde()->Execute("{CONFIG(" + second + ")}"));
    EXPECT_EQ(r.platform.hotKeys->calls.size(), 1u); // nothing happens inside the command
    // The instrument sends right after the command was answered: the port
    // stays open, and the record is framed under the new configuration.
    port->Feed("1.5,2.5\r");
    r.clock.Advance(50);
    r.runtime.Tick();
    EXPECT_EQ(r.platform.hotKeys->calls,
              (std::vector<std::string>{"register 0 mods 0 key 124", "unregister 0",
                                        "register 1 mods 2 key 116"}));
    EXPECT_EQ(r.platform.port, port);
    EXPECT_EQ(std::count(r.platform.calls.begin(), r.platform.calls.end(), "reopen"), 0);
    EXPECT_TRUE(port->calls.empty()) << port->calls.front(); // no purge, no close
    EXPECT_EQ(testsupport::ReadFileBytes(r.dir.path / "records.log"), "1.5|2.5\r\r\n");
    // What shows the runtime hears of the reload once everything is started.
    EXPECT_EQ(r.Index("bus start org.corvane.Corvane.Scale") + 1, r.Index("reloaded"));
    EXPECT_EQ(r.platform.calls.back(), "reloaded");
    // The program's one configuration record holds the new file.
    EXPECT_EQ(r.record.ConfigFileName, second);
    EXPECT_EQ(r.record.NumFields, 2);
    r.platform.hotKeys->Press(1);
    EXPECT_TRUE(r.runtime.state().Suspended);

    // Other line settings: the port opens again with them, before the
    // server takes the new topic's name.
    const std::string third = r.Save("third.QX3", [](config::Config& c) {
        c.BaudRate = 11; // 115200
        c.DdeTopicName = "Fast";
    });
    EXPECT_TRUE(r.runtime.dde()->Execute("{CONFIG(" + third + ")}"));
    r.clock.Advance(50);
    r.runtime.Tick();
    EXPECT_LT(r.Index("reopen"), r.Index("bus start org.corvane.Corvane.Fast"));
    EXPECT_EQ(r.record.BaudRate, 11);
    EXPECT_FALSE(r.runtime.state().Suspended);
}

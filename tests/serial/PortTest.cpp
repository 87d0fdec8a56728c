#include "engine/PosixClock.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "serial/ReconnectingPort.h"
#include "serial/VirtualPort.h"
#include "support/FakePort.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/PseudoTerminal.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <thread>
#include <unistd.h>

using namespace serial;

TEST(PortSettings, MapsEverySettingOfTheConfiguration) {
    const long rates[] = {110,   300,   600,   1200,  2400,   4800,   9600,
                          14400, 19200, 38400, 57600, 115200, 128000, 256000};
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(BaudRateFor(i), rates[i]) << i;
    EXPECT_EQ(BaudRateFor(-1), 9600);
    EXPECT_EQ(BaudRateFor(14), 9600);

    config::Config cfg;
    EXPECT_EQ(MapSettings(cfg),
              (LineSettings{9600, 7, Parity::Even, StopBits::One, FlowControl::None}));
    cfg.BaudRate = 13;
    cfg.DataBits = 3;
    cfg.Parity = 3;
    cfg.StopBits = 1;
    cfg.FlowControl = 3;
    EXPECT_EQ(MapSettings(cfg),
              (LineSettings{256000, 8, Parity::Mark, StopBits::OneAndHalf, FlowControl::OptoRs}));
    cfg.Parity = 4;
    cfg.StopBits = 2;
    cfg.FlowControl = 2;
    EXPECT_EQ(MapSettings(cfg).parity, Parity::Space);
    EXPECT_EQ(MapSettings(cfg).stopBits, StopBits::Two);
    EXPECT_EQ(MapSettings(cfg).flow, FlowControl::Hardware);
}

TEST(PortSettings, ComNamesMapToDevices) {
    config::Config cfg;
    config::MemorySettingsStore store;
    cfg.PortNumber = 8;
    EXPECT_EQ(config::PortName(cfg), "COM9");
    EXPECT_EQ(DevicePathFor(cfg, store, std::nullopt), "/dev/ttyS8");
    store.Set("Corvane", "Ports", "COM9", "/dev/ttyUSB0");
    EXPECT_EQ(DevicePathFor(cfg, store, std::nullopt), "/dev/ttyUSB0");
    EXPECT_EQ(DevicePathFor(cfg, store, std::string("/dev/pts/7")), "/dev/pts/7");
}

TEST(PortLines, BreakEndsOnTheSecondTickAndNeverOnTheVirtualDevice) {
    FakePort port;
    std::int16_t ticks = 0;
    StartBreak(port, ticks);
    EXPECT_EQ(ticks, 2);
    BreakTimerTick(port, ticks);
    EXPECT_EQ(port.calls, std::vector<std::string>{"BREAK on"});
    BreakTimerTick(port, ticks);
    EXPECT_EQ(port.calls, (std::vector<std::string>{"BREAK on", "BREAK off"}));
    BreakTimerTick(port, ticks);
    EXPECT_EQ(port.calls.size(), 2u);

    VirtualPort virt(nullptr);
    std::int16_t vticks = 0;
    StartBreak(virt, vticks);
    EXPECT_EQ(vticks, 0);
}

TEST(PortLines, ShortWriteKeepsTheUnsentTail) {
    FakePort port;
    port.acceptPerWrite = 3;
    std::string pending = "0123456789";
    port.FlushPendingOutput(pending);
    EXPECT_EQ(pending, "3456789");
    EXPECT_EQ(port.written, "012");
}

TEST(VirtualDevice, ReadsTypedBytesOneByOneAndShowsNulAs255) {
    std::string shown;
    VirtualPort port([&](const std::string& s) { shown += ShowableText(s); });
    port.VirtualInput = "ab";
    std::uint8_t b = 0;
    EXPECT_EQ(port.ReadOneByte(b), 1);
    EXPECT_EQ(b, 'a');
    EXPECT_EQ(port.ReadOneByte(b), 1);
    EXPECT_EQ(b, 'b');
    EXPECT_EQ(port.ReadOneByte(b), 0);
    std::string out("O\0K", 3);
    port.FlushPendingOutput(out);
    EXPECT_EQ(out, "");
    EXPECT_EQ(shown, "O\xffK");
    EXPECT_FALSE(port.IsRealPort());

    // The reset empties what was typed and not read yet.
    port.VirtualInput = "xyz";
    EXPECT_EQ(port.ReadOneByte(b), 1);
    port.PurgePort();
    EXPECT_EQ(port.Unread(), 0u);
    EXPECT_EQ(port.ReadOneByte(b), 0);
}

TEST(Reconnection, LossIsReportedOnceAndTheDeviceIsTriedOnceASecond) {
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    auto first = std::make_unique<FakePort>();
    FakePort* firstRaw = first.get();
    int attempts = 0;
    std::unique_ptr<FakePort> next;
    ReconnectingPort port(
        std::move(first),
        [&]() -> std::unique_ptr<Port> {
            ++attempts;
            return std::move(next);
        },
        "COM1", messages, clock);
    firstRaw->Feed("x");
    std::uint8_t b;
    EXPECT_EQ(port.ReadOneByte(b), 1);
    firstRaw->lost = true;
    EXPECT_EQ(port.ReadOneByte(b), 0);
    EXPECT_EQ(port.ReadOneByte(b), 0);
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_NE(messages.shown[0].text.find("COM1"), std::string::npos);
    EXPECT_EQ(attempts, 0);
    clock.Advance(999);
    port.ReadOneByte(b);
    EXPECT_EQ(attempts, 0);
    clock.Advance(1);
    port.ReadOneByte(b);
    EXPECT_EQ(attempts, 1); // nothing there yet
    next = std::make_unique<FakePort>();
    next->Feed("y");
    clock.Advance(1000);
    EXPECT_EQ(port.ReadOneByte(b), 1);
    EXPECT_EQ(b, 'y');
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(messages.shown.size(), 2u); // and that it is back
}

namespace {

std::string ReadPort(Port& port, std::size_t want) {
    std::string got;
    for (int i = 0; i < 200 && got.size() < want; ++i) {
        std::uint8_t b;
        if (port.ReadOneByte(b) == 1)
            got.push_back(static_cast<char>(b));
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return got;
}

} // namespace

TEST(PosixPort, BytesFlowBothWaysOnAPseudoTerminal) {
    testsupport::PseudoTerminal pty;
    config::Config cfg;
    cfg.BaudRate = 12; // 128000: no B constant, set through termios2
    config::RecordingMessageSink messages;
    engine::PosixClock clock;
    auto port = OpenPosixPort(cfg, pty.slaveName(), messages, clock);
    ASSERT_TRUE(port) << (messages.shown.empty() ? "" : messages.shown[0].text);
    ASSERT_EQ(::write(pty.master(), "hello\0\xff", 7), 7);
    EXPECT_EQ(ReadPort(*port, 7), std::string("hello\0\xff", 7));
    std::string pending = "ACK\r";
    port->FlushPendingOutput(pending);
    EXPECT_EQ(pending, "");
    EXPECT_EQ(pty.ReadFor(std::chrono::seconds(2), 4), "ACK\r");

    // A second open of the same device is refused with the user's message.
    auto second = OpenPosixPort(cfg, pty.slaveName(), messages, clock);
    EXPECT_FALSE(second);
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text,
              "Device COM1 Not Available.\n" + pty.slaveName() + " is in use by another program.");
    EXPECT_EQ(messages.shown[0].title, "Device Error");

    // Purge drops what was received and not read.
    ASSERT_TRUE(pty.Write("old"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    port->PurgePort();
    ASSERT_TRUE(pty.Write("new"));
    EXPECT_EQ(ReadPort(*port, 3), "new");
    port->ClosePort();
}

TEST(PosixPort, MissingDevicesAndNonTerminalsAreRefused) {
    config::Config cfg;
    cfg.PortNumber = 9;
    config::RecordingMessageSink messages;
    engine::PosixClock clock;
    EXPECT_FALSE(OpenPosixPort(cfg, "/dev/nonexistent-tty", messages, clock));
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text,
              "Device COM10 Not Available.\n/dev/nonexistent-tty does not exist: is the "
              "instrument's adapter plugged in? \"corvane ports\" lists the serial devices "
              "present.");
    EXPECT_EQ(messages.shown[0].icon, config::MessageIcon::Exclamation);
    EXPECT_FALSE(OpenPosixPort(cfg, "/dev/null", messages, clock));
    EXPECT_EQ(messages.shown.back().text, "GetComState failed");
}

TEST(PosixPort, AQuietPortIsNotLostButAClosedOtherEndIs) {
    testsupport::PseudoTerminal pty;
    config::Config cfg;
    config::RecordingMessageSink messages;
    engine::PosixClock clock;
    auto port = OpenPosixPort(cfg, pty.slaveName(), messages, clock);
    ASSERT_TRUE(port);
    std::uint8_t b;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(port->ReadOneByte(b), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_FALSE(port->IsLost());
    ASSERT_TRUE(pty.Write("z"));
    EXPECT_EQ(ReadPort(*port, 1), "z");
    pty.Close();
    for (int i = 0; i < 100 && !port->IsLost(); ++i) {
        port->ReadOneByte(b);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(port->IsLost());
}

TEST(PosixPort, ADtrPulseWaitsAsleep) {
    testsupport::PseudoTerminal pty;
    config::Config cfg;
    config::RecordingMessageSink messages;
    engine::PosixClock clock;
    auto port = OpenPosixPort(cfg, pty.slaveName(), messages, clock);
    ASSERT_TRUE(port);
    // The pulse holds DTR low for 155 ms by the clock; the processor time it
    // takes shows whether it slept or spun through them.
    const std::clock_t cpuBefore = std::clock();
    const std::int32_t before = clock.TickCount();
    port->PulseDTR();
    EXPECT_GE(clock.TickCount() - before, 155);
    EXPECT_LT(std::clock() - cpuBefore, CLOCKS_PER_SEC / 20) << "the pulse spun";
    port->ClosePort();
}

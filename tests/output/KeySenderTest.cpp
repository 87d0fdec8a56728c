#include "output/KeySender.h"
#include "output/PumpedClock.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

using namespace output;

namespace {

std::vector<std::uint16_t> Queue(const std::string& text, int expectedCode = KeysOk) {
    UsKeyboard kb;
    std::vector<std::uint16_t> q;
    EXPECT_EQ(ParseKeyString(text, kb, q), expectedCode) << text;
    return q;
}

// Types text with the US layout and returns "+vk"/"-vk" per event.
std::string Typed(const std::string& text, UsKeyboard& kb) {
    engine::ManualClock clock;
    KeySender sender(kb, clock, [&](int) {
        clock.Advance(1);
        if (clock.ticks % 1000 == 0)
            ++clock.now.Second;
        return true;
    });
    sender.SimSendKeys(text, 0);
    std::string out;
    for (const auto& e : kb.events)
        out += (e.release ? "-" : "+") + std::to_string(e.vk) + " ";
    return out;
}

std::string Typed(const std::string& text) {
    UsKeyboard kb;
    return Typed(text, kb);
}

} // namespace

TEST(KeyParser, UnitsBecomeQueueItems) {
    using Q = std::vector<std::uint16_t>;
    EXPECT_EQ(Queue(""), Q{});
    EXPECT_EQ(Queue("ab"), (Q{65, 66}));
    EXPECT_EQ(Queue("A"), (Q{16, 65, 16}));
    EXPECT_EQ(Queue("~"), Q{13});
    EXPECT_EQ(Queue("{TAB 3}"), (Q{9, 9, 9}));
    EXPECT_EQ(Queue("{tab}"), Q{9});
    EXPECT_EQ(Queue("{TAB 2.6}"), (Q{9, 9, 9}));
    EXPECT_EQ(Queue("{}}"), (Q{16, 221, 16}));
    EXPECT_EQ(Queue("{} 2}"), (Q{16, 221, 221, 16}));
    EXPECT_EQ(Queue("{{}"), (Q{16, 219, 16}));
    EXPECT_EQ(Queue("{~}{+}"), (Q{16, 192, 16, 16, 187, 16}));
    EXPECT_EQ(Queue("{a}{A}"), (Q{65, 16, 65, 16}));
    EXPECT_EQ(Queue("+(abc)"), (Q{16, 65, 66, 67, 16}));
    EXPECT_EQ(Queue("+ab"), (Q{16, 65, 16, 66}));
    EXPECT_EQ(Queue("^+a"), (Q{17, 16, 65, 16, 17}));
    EXPECT_EQ(Queue("%{F4}"), (Q{18, 115, 18}));
    EXPECT_EQ(Queue("+"), (Q{16, 16}));
    EXPECT_EQ(Queue("{BREAK}a{BREAK}"), (Q{17, 65, 17}));
    EXPECT_EQ(Queue("\x80"), (Q{16, 255, 16})); // no key types it
    EXPECT_EQ(Queue("{TAB 3 and more"), (Q{9, 9, 9}));
}

TEST(KeyParser, ErrorsTypeNothing) {
    Queue("{TAB", UnterminatedBrace);
    Queue("{FOO}", UnknownKeyName);
    Queue("{ TAB }", UnknownKeyName);
    Queue("(abc", UnclosedParenthesis);
    Queue("{TAB 0}", BadRepeatCount);
    Queue("{TAB x}", BadRepeatCount);
    Queue("{TAB -1}", TooManyKeys);
    Queue(std::string(100000, '('), UnclosedParenthesis);
    UsKeyboard kb;
    engine::ManualClock clock;
    KeySender sender(kb, clock, nullptr);
    EXPECT_EQ(sender.SimSendKeys("ab{FOO}", 0), UnknownKeyName);
    EXPECT_TRUE(kb.events.empty());
}

TEST(KeyParser, QueueHolds4096Items) {
    Queue(std::string(4096, 'a'));
    Queue(std::string(4097, 'a'), TooManyKeys);
    Queue(std::string(1365, 'A'));
    Queue(std::string(1366, 'A'), TooManyKeys);
}

TEST(KeySender, EveryKeyIsReleasedBeforeTheNextAndModifiersSpanTheirUnit) {
    EXPECT_EQ(Typed("aB"), "+65 -65 +16 +66 -66 -16 ");
    EXPECT_EQ(Typed("^+a"), "+17 +16 +65 -65 -16 -17 ");
    EXPECT_EQ(Typed("{BREAK}a{BREAK}"), "+17 +65 -65 -17 ");
}

TEST(KeySender, AModifierStillDownAtTheEndIsReleasedLastPressedFirst) {
    EXPECT_EQ(Typed("{BREAK}"), "+17 -17 ");
    EXPECT_EQ(Typed("{BREAK}a"), "+17 +65 -65 -17 ");
    EXPECT_EQ(Typed("{BREAK 3}x"), "+17 -17 +17 +88 -88 -17 ");
    EXPECT_EQ(Typed("+{BREAK}B"), "+16 +17 +66 -66 -16 -17 ");
    // The parser leaves only Ctrl unpaired; the player releases any modifier.
    const std::vector<std::uint16_t> queue = {VkShift, VkControl, VkMenu, 65};
    KeyEventSource source(queue);
    std::string events;
    int vk = 0;
    bool release = false;
    while (source.NextKeyEvent(vk, release))
        events += (release ? "-" : "+") + std::to_string(vk) + " ";
    EXPECT_EQ(events, "+16 +17 +18 +65 -65 -18 -17 -16 ");
}

TEST(KeySender, WithoutPausesShiftStaysDownBetweenCapitals) {
    EXPECT_EQ(Typed("ABc"), "+16 +65 -65 +66 -66 -16 +67 -67 ");
    EXPECT_EQ(Typed("A+(b)C"), "+16 +65 -65 +66 -66 +67 -67 -16 ");
    // Ctrl taps are kept; with pauses every toggle is played as it stands.
    EXPECT_EQ(Typed("{BREAK 2}"), "+17 -17 ");
    UsKeyboard kb;
    engine::ManualClock clock;
    KeySender sender(kb, clock, [&](int) {
        clock.Advance(1);
        return true;
    });
    sender.SimSendKeys("AB", 1);
    EXPECT_EQ(kb.events.size(), 8u);
}

TEST(KeySender, CapsLockIsOffDuringTheSendAndOnAgainAfter) {
    UsKeyboard kb;
    kb.capsLock = true;
    EXPECT_EQ(Typed("abc", kb), "+65 -65 +66 -66 +67 -67 ");
    EXPECT_EQ(kb.capsChanges, (std::vector<bool>{false, true}));
    EXPECT_TRUE(kb.capsLock);
}

TEST(KeySender, PausesAfterEveryEventAndSettlesAfterAlt) {
    UsKeyboard kb;
    engine::ManualClock clock;
    clock.ticks = INT32_MAX - 3; // the pause survives the wrap-around
    int pumps = 0;
    KeySender sender(kb, clock, [&](int) {
        ++pumps;
        clock.Advance(1);
        if (clock.ticks % 500 == 0)
            ++clock.now.Second;
        return true;
    });
    sender.SimSendKeys("ab", 5);
    EXPECT_EQ(pumps, 4 * 5);
    pumps = 0;
    sender.SimSendKeys("%f", 0);
    // Press Alt, F, release F, release Alt: then about two seconds of settle.
    EXPECT_GE(pumps, 500);
}

TEST(KeySender, ASendFromAPumpedEventWaitsForTheOneInProgress) {
    UsKeyboard kb;
    engine::ManualClock clock;
    KeySender* self = nullptr;
    bool nested = false;
    KeySender sender(kb, clock, [&](int) {
        clock.Advance(1);
        if (!nested) {
            nested = true;
            EXPECT_EQ(self->SimSendKeys("z", 1), KeysOk);
        }
        return true;
    });
    self = &sender;
    sender.SimSendKeys("ab", 1);
    std::string order;
    for (const auto& e : kb.events)
        if (!e.release)
            order += static_cast<char>(e.vk);
    EXPECT_EQ(order, "ABZ");
}

TEST(KeySender, PausesSleepInThePumpAndEndOnTime) {
    UsKeyboard kb;
    PumpedClock clock;
    KeySender sender(kb, clock, clock.Pump());
    sender.SimSendKeys("ab", 30);
    // Four events, each followed by exactly 30 ms, looked at no more than
    // once per 10 ms.
    EXPECT_EQ(clock.ticks, 4 * 30);
    EXPECT_LE(clock.pumps, 4 * 4);
    clock.pumps = 0;
    sender.SimSendKeys("%f", 0);
    // The two-second settle after Alt, at the same rate.
    EXPECT_GE(clock.ticks, 4 * 30 + 1000);
    EXPECT_LE(clock.pumps, 2 * 100 + 1);
}

TEST(KeySender, ClosingDropsTheRestOfTheSendAndReleasesWhatIsDown) {
    UsKeyboard kb;
    PumpedClock clock;
    clock.closingAt = 4; // during the pause after "a" goes down
    KeySender sender(kb, clock, clock.Pump());
    clock.onPump = [&] {
        if (clock.pumps == 1)
            sender.SimSendKeys("z", 0); // waits for the send in progress
    };
    sender.SimSendKeys("{BREAK}ab", 30);
    std::string events;
    for (const auto& e : kb.events)
        events += (e.release ? "-" : "+") + std::to_string(e.vk) + " ";
    EXPECT_EQ(events, "+17 +65 -65 -17 ");
}

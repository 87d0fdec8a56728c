#include "output/KeystrokeDispatch.h"
#include "output/PumpedClock.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

using namespace output;

namespace {

// Windows in stacking order; activation brings a window to the top and, as a
// window manager does, restores it when it was minimised. The focus follows
// the top window, focusLag looks at it after the activation, or never with
// refuseFocus.
class FakeWindows : public WindowSystem {
public:
    struct Win {
        WindowId id;
        std::string caption;
        bool iconic = false;
    };
    std::vector<Win> stack; // top first
    std::vector<std::string> calls;
    int foregroundLooks = 0;
    WindowId focus = 0; // 0: the top window holds the focus
    int focusLag = 0;
    bool refuseFocus = false;

    WindowId Front() const { return focus ? focus : (stack.empty() ? 0 : stack.front().id); }

    std::vector<WindowId> TopLevelWindows() override {
        std::vector<WindowId> ids;
        for (const auto& w : stack)
            ids.push_back(w.id);
        return ids;
    }
    std::string Caption(WindowId w) override { return Find(w).caption; }
    WindowId ForegroundWindow() override {
        ++foregroundLooks;
        return Front();
    }
    bool FocusIsIn(WindowId w) override {
        if (pending_ && --lagLeft_ <= 0) {
            focus = 0;
            pending_ = 0;
        }
        return Front() == w;
    }
    bool Activate(WindowId w) override {
        calls.push_back("activate " + std::to_string(w));
        if (refuseFocus || focusLag > 0) {
            focus = Front();
            pending_ = refuseFocus ? 0 : w;
            lagLeft_ = focusLag;
        } else {
            focus = 0;
        }
        for (std::size_t i = 0; i < stack.size(); ++i)
            if (stack[i].id == w) {
                Win win = stack[i];
                win.iconic = false;
                stack.erase(stack.begin() + static_cast<long>(i));
                stack.insert(stack.begin(), win);
            }
        return true;
    }
    bool IsIconic(WindowId w) override { return Find(w).iconic; }
    void Restore(WindowId w) override { calls.push_back("restore " + std::to_string(w)); }
    void Show(WindowId w) override { calls.push_back("show " + std::to_string(w)); }
    void Minimize(WindowId w) override {
        calls.push_back("minimize " + std::to_string(w));
        Find(w).iconic = true;
    }

private:
    WindowId pending_ = 0;
    int lagLeft_ = 0;
    Win& Find(WindowId w) {
        for (auto& win : stack)
            if (win.id == w)
                return win;
        static Win none{0, "", false};
        return none;
    }
};

// Starts nothing: records the command lines, and says the program has ended
// once ended is set.
class FakeLauncher : public ProgramLauncher {
public:
    std::vector<std::string> started;
    std::string startError = "No such file or directory";
    bool ended = false;

    StartedProgram Start(const std::string& commandLine) override {
        started.push_back(commandLine);
        if (!startError.empty())
            return {0, startError};
        return {4242, ""};
    }
    bool Ended(ProgramId id, std::string& how) override {
        EXPECT_EQ(id, 4242);
        if (ended)
            how = "exit status 1";
        return ended;
    }
};

// Records which window had the focus at each key event.
struct WatchedKeyboard : UsKeyboard {
    explicit WatchedKeyboard(FakeWindows& w) : windows(w) {}
    void KeyEvent(int vk, bool release) override {
        UsKeyboard::KeyEvent(vk, release);
        into.push_back(windows.Front());
    }
    FakeWindows& windows;
    std::vector<WindowId> into;
};

} // namespace

TEST(TargetApplication, SearchesCaptionsUpperCasedAndLeavesTheFrontWindowAlone) {
    FakeWindows windows;
    windows.stack = {{1, "Terminal"}, {2, "Lab Data - Sheet"}, {3, "lab data - other"}};
    EXPECT_EQ(ActivateTargetApp("  lab DATA ", windows).window, 2u);
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"activate 2", "show 2"}));
    windows.calls.clear();
    EXPECT_EQ(ActivateTargetApp("lab data", windows).window, 2u); // now in front: left alone
    EXPECT_TRUE(windows.calls.empty());
    EXPECT_EQ(ActivateTargetApp("missing", windows).window, 0u);
    EXPECT_EQ(ActivateTargetApp("", windows).window, 0u);
}

TEST(TargetApplication, AMinimisedTargetIsRestoredTypedIntoAndMinimisedAgain) {
    FakeWindows windows;
    FakeLauncher launcher;
    windows.stack = {{1, "Terminal"}, {2, "Balance Log", true}};
    config::Config cfg;
    cfg.TargetAppTitle = "balance";
    cfg.InterCharDelay = 0;
    UsKeyboard keyboard;
    engine::ManualClock clock;
    KeySender sender(keyboard, clock, nullptr);
    config::RecordingMessageSink messages;
    KeystrokeDispatch dispatch(cfg, windows, launcher, sender, messages, clock, nullptr);
    dispatch.DeliverRecord([] { return std::string("1"); });
    EXPECT_EQ(windows.calls,
              (std::vector<std::string>{"activate 2", "restore 2", "minimize 2", "activate 1"}));
    EXPECT_EQ(keyboard.events.size(), 2u);
}

TEST(TargetApplication, AProgramThatCannotStartIsReportedAndNothingIsTyped) {
    FakeWindows windows;
    FakeLauncher launcher;
    windows.stack = {{1, "Terminal"}};
    config::Config cfg;
    cfg.TargetAppTitle = "Editor";
    cfg.TargetAppCommand = "editor --new";
    UsKeyboard keyboard;
    engine::ManualClock clock;
    KeySender sender(keyboard, clock, nullptr);
    config::RecordingMessageSink messages;
    KeystrokeDispatch dispatch(cfg, windows, launcher, sender, messages, clock, nullptr);
    bool built = false;
    dispatch.DeliverRecord([&] {
        built = true;
        return std::string("x");
    });
    EXPECT_TRUE(built); // the fields are emptied all the same
    EXPECT_TRUE(keyboard.events.empty());
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text,
              "Cannot Run Program: editor --new\rNo such file or directory");
    EXPECT_EQ(messages.shown[0].icon, config::MessageIcon::Exclamation);
}

namespace {

// A configuration whose target is not running and is started by command.
config::Config StartedTarget() {
    config::Config cfg;
    cfg.TargetAppTitle = "Editor";
    cfg.TargetAppCommand = "editor --new";
    cfg.InterCharDelay = 0;
    return cfg;
}

} // namespace

TEST(TargetApplication, TheWaitForAStartedProgramSleepsBetweenLooksAtTheWindows) {
    FakeWindows windows;
    FakeLauncher launcher;
    windows.stack = {{1, "Terminal"}};
    launcher.startError = "";
    config::Config cfg = StartedTarget();
    UsKeyboard keyboard;
    PumpedClock clock;
    // The program's window comes up five seconds after the start.
    clock.onPump = [&] {
        if (clock.ticks >= 5000 && windows.stack.front().id == 1)
            windows.stack.insert(windows.stack.begin(), {2, "Untitled - Editor"});
    };
    KeySender sender(keyboard, clock, clock.Pump());
    config::RecordingMessageSink messages;
    KeystrokeDispatch dispatch(cfg, windows, launcher, sender, messages, clock, clock.Pump());
    dispatch.DeliverRecord([] { return std::string("1"); });
    EXPECT_EQ(launcher.started, std::vector<std::string>{"editor --new"});
    EXPECT_EQ(keyboard.events.size(), 2u); // typed once the window is ready
    // Five seconds until the window, one more to settle: looked at no more
    // than once per 10 ms.
    EXPECT_LE(windows.foregroundLooks, 6 * 100 + 5);
}

TEST(TargetApplication, ClosingEndsTheWaitForAStartedProgram) {
    for (int closingAt : {1, 30}) {
        FakeWindows windows;
        FakeLauncher launcher;
        windows.stack = {{1, "Terminal"}};
        launcher.startError = ""; // started, its window comes only much later
        config::Config cfg = StartedTarget();
        UsKeyboard keyboard;
        PumpedClock clock;
        clock.closingAt = closingAt;
        clock.onPump = [&] {
            if (clock.pumps == 100000)
                windows.stack.insert(windows.stack.begin(), {2, "Editor"});
        };
        KeySender sender(keyboard, clock, clock.Pump());
        config::RecordingMessageSink messages;
        KeystrokeDispatch dispatch(cfg, windows, launcher, sender, messages, clock, clock.Pump());
        bool built = false;
        dispatch.DeliverRecord([&] {
            built = true;
            return std::string("x");
        });
        EXPECT_EQ(clock.pumps, closingAt);
        EXPECT_TRUE(built);
        EXPECT_TRUE(keyboard.events.empty());
    }
}

TEST(TargetApplication, AStartedProgramThatEndsGetsAWindowSwitchsTimeForItsWindow) {
    // Ends 300 ms after its start, and its window (opened by a copy already
    // running) comes at windowAt, or never.
    for (int windowAt : {1500, -1}) {
        FakeWindows windows;
        FakeLauncher launcher;
        windows.stack = {{1, "Terminal"}};
        launcher.startError = "";
        config::Config cfg = StartedTarget();
        UsKeyboard keyboard;
        PumpedClock clock;
        clock.onPump = [&] {
            launcher.ended = clock.ticks >= 300;
            if (windowAt >= 0 && clock.ticks >= windowAt && windows.stack.front().id == 1)
                windows.stack.insert(windows.stack.begin(), {2, "Untitled - Editor"});
        };
        KeySender sender(keyboard, clock, clock.Pump());
        config::RecordingMessageSink messages;
        KeystrokeDispatch dispatch(cfg, windows, launcher, sender, messages, clock, clock.Pump());
        if (windowAt >= 0) {
            dispatch.DeliverRecord([] { return std::string("1"); });
            EXPECT_EQ(keyboard.events.size(), 2u);
            EXPECT_TRUE(messages.shown.empty());
            continue;
        }
        // No window: the wait ends FrontWaitMs after the end, for each
        // record, and that is said once.
        for (int record = 0; record < 2; ++record) {
            const std::int32_t from = record == 0 ? 300 : clock.ticks;
            dispatch.DeliverRecord([] { return std::string("1"); });
            EXPECT_GE(clock.ticks - from, FrontWaitMs);
            EXPECT_LE(clock.ticks - from, FrontWaitMs + 2 * WaitPollMs);
        }
        EXPECT_EQ(launcher.started.size(), 2u);
        EXPECT_TRUE(keyboard.events.empty());
        ASSERT_EQ(messages.shown.size(), 1u);
        EXPECT_EQ(messages.shown[0].text, "Cannot Run Program: editor --new\rThe program ended "
                                          "(exit status 1) without opening a window.");
    }
}

// The user's "Mail" in front of the target "Balance Log", a keyboard that
// notes which window each key goes to, and a dispatch that types into the
// target through them.
struct FocusRig {
    FakeWindows windows;
    FakeLauncher launcher;
    config::Config cfg;
    WatchedKeyboard keyboard{windows};
    PumpedClock clock;
    KeySender sender{keyboard, clock, clock.Pump()};
    config::RecordingMessageSink messages;
    KeystrokeDispatch dispatch{cfg, windows, launcher, sender, messages, clock, clock.Pump()};
    FocusRig() {
        windows.stack = {{1, "Mail"}, {2, "Balance Log"}};
        cfg.TargetAppTitle = "balance";
    }
};

TEST(TargetApplication, KeysWaitUntilTheTargetHoldsTheFocusAndTheUsersWindowGetsItBack) {
    FocusRig rig;
    auto& [windows, launcher, cfg, keyboard, clock, sender, messages, dispatch] = rig;
    windows.focusLag = 5;
    for (int record = 0; record < 2; ++record) {
        EXPECT_TRUE(dispatch.DeliverRecord([] { return std::string("12"); }));
        EXPECT_EQ(windows.Front(), 1u) << "the switch back is complete before the next record";
    }
    EXPECT_EQ(keyboard.into, std::vector<WindowId>(8, 2));
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"activate 2", "show 2", "activate 1",
                                                       "activate 2", "show 2", "activate 1"}));
    EXPECT_TRUE(messages.shown.empty());

    // A target on top of the stack without the focus is asked for as well.
    windows.calls.clear();
    windows.stack = {{2, "Balance Log"}, {1, "Mail"}};
    windows.focus = 1;
    EXPECT_TRUE(dispatch.DeliverRecord([] { return std::string("3"); }));
    EXPECT_EQ(keyboard.into.back(), 2u);
    EXPECT_EQ(windows.calls.front(), "activate 2");
}

TEST(TargetApplication, NothingIsTypedWhileAnyWindowOfTheRuntimeIsInFront) {
    // Without a target title the keys go to the window in front; when that
    // is one of the runtime's own (here the virtual device's, whose input
    // the keys would become), the record is counted and nothing is typed.
    FocusRig rig;
    auto& [windows, launcher, cfg, keyboard, clock, sender, messages, dispatch] = rig;
    cfg.TargetAppTitle.clear();
    cfg.ActivateTarget = 0;
    windows.stack = {{7, "Virtual Serial Device"}, {1, "Mail"}};
    dispatch.ownWindow = [](WindowId w) { return w == 6 || w == 7; };
    EXPECT_TRUE(dispatch.DeliverRecord([] { return std::string("1"); }));
    EXPECT_TRUE(keyboard.into.empty());
    windows.stack = {{1, "Mail"}, {7, "Virtual Serial Device"}};
    EXPECT_TRUE(dispatch.DeliverRecord([] { return std::string("2"); }));
    EXPECT_EQ(keyboard.into, std::vector<WindowId>(2, 1));
}

TEST(TargetApplication, ATargetThatNeverGetsTheFocusGetsNothingAndIsReportedOnce) {
    FocusRig rig;
    auto& [windows, launcher, cfg, keyboard, clock, sender, messages, dispatch] = rig;
    windows.refuseFocus = true;
    bool built = false;
    for (int record = 0; record < 3; ++record)
        EXPECT_FALSE(dispatch.DeliverRecord([&] {
            built = true;
            return std::string("1");
        }));
    EXPECT_TRUE(built); // the fields are emptied all the same
    EXPECT_TRUE(keyboard.into.empty());
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0].text.rfind("Cannot Activate Window: Balance Log\r", 0), 0u)
        << messages.shown[0].text;
    // Each record gave up after the bound, not sooner and not much later.
    EXPECT_GE(clock.ticks, 3 * FrontWaitMs);
    EXPECT_LE(clock.ticks, 3 * FrontWaitMs + 100);
    EXPECT_EQ(windows.Front(), 1u);

    // Closing ends the wait at once, and that is no failure to report.
    FakeWindows other;
    other.stack = {{1, "Mail"}, {3, "Balance Log"}};
    other.refuseFocus = true;
    PumpedClock closing;
    closing.closingAt = 3;
    config::RecordingMessageSink quiet;
    KeystrokeDispatch closingDispatch(cfg, other, launcher, sender, quiet, closing, closing.Pump());
    EXPECT_FALSE(closingDispatch.DeliverRecord([] { return std::string("1"); }));
    EXPECT_EQ(closing.pumps, 3);
    EXPECT_TRUE(quiet.shown.empty());
}

// The runtime control on the real acquisition loop and a fake port: the line
// operations and the virtual-device rule, suspension, timed output and exit.

#include "runtime/CoreRuntimeControl.h"
#include "support/FakePort.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageSink.h"

#include <gtest/gtest.h>

using namespace runtime;

namespace {

// The real runtime control on a fake port.
struct ControlRig {
    config::Config cfg;
    engine::RuntimeState state;
    serial::FakePort port;
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    engine::Locale locale;
    output::FileLogWriter log;
    output::RecordDispatch dispatch{cfg, state, clock, messages, locale, log, "/"};
    Acquisition acquisition{cfg, state, port, clock, messages, locale, dispatch};
    CoreRuntimeControl control{state, acquisition, port};
};

} // namespace

TEST(CoreRuntimeControl, LineOperationsDoNothingOnTheVirtualDevice) {
    for (auto mode : {engine::Normal, engine::VirtualDevice}) {
        ControlRig r;
        r.state.RunMode = mode;
        r.control.StartBreak();
        r.control.PulseDTR();
        r.control.SetDTR(false);
        r.control.SetRTS(true);
        r.control.QueueOutput("x");
        if (mode == engine::Normal) {
            EXPECT_EQ(r.port.calls,
                      (std::vector<std::string>{"BREAK on", "pulse", "DTR off", "RTS on"}));
            EXPECT_EQ(r.state.BreakTicks, 2);
        } else {
            EXPECT_TRUE(r.port.calls.empty());
            EXPECT_EQ(r.state.BreakTicks, 0);
        }
        EXPECT_EQ(r.state.PendingOutput, "x");
    }
}

TEST(CoreRuntimeControl, SuspendResumeTimedOutputAndExit) {
    ControlRig r;
    auto& control = r.control;
    auto& state = r.state;
    control.Resume(); // not suspended: nothing
    EXPECT_FALSE(state.Suspended);
    control.Suspend();
    control.Suspend();
    EXPECT_TRUE(state.Suspended);
    control.ResumeForOneRecord();
    EXPECT_FALSE(state.Suspended);
    EXPECT_TRUE(state.OneShotRecord);
    control.Suspend();
    control.Resume();
    EXPECT_FALSE(state.Suspended);

    state.TimedOutputFlags = 8;
    control.SetTimedOutput(true);
    EXPECT_EQ(state.TimedOutputFlags, 9);
    EXPECT_TRUE(control.TimedOutputOn());
    control.SetTimedOutput(false);
    EXPECT_EQ(state.TimedOutputFlags, 8);

    control.RequestExit();
    EXPECT_EQ(state.ExitCountdown, -1);
    r.port.lost = true;
    EXPECT_FALSE(control.PortIsOpen());
}

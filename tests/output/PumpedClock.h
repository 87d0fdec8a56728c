#pragma once
// A manual clock that a fake event pump moves on, for the tests of waits. A
// pump allowed to sleep passes the whole time it may wait; one asked not to
// wait stands for a busy look at the clock, which costs 10 microseconds. The
// time of day moves with the tick count.

#include "engine/Clock.h"
#include "output/KeySender.h"
#include "support/ManualClock.h"

#include <functional>

struct PumpedClock : engine::ManualClock {
    int pumps = 0;
    // From this pump on (counted from 1) the pump answers that the program
    // is closing; 0 for never.
    int closingAt = 0;
    // Runs after each pump, as an event would.
    std::function<void()> onPump;

    output::EventPump Pump() {
        return [this](int maxWaitMs) {
            ++pumps;
            micros_ += maxWaitMs > 0 ? maxWaitMs * 1000L : 10;
            for (; micros_ >= 1000; micros_ -= 1000) {
                Advance(1);
                if (ticks % 1000 == 0)
                    ++now.Second;
            }
            if (onPump)
                onPump();
            return closingAt == 0 || pumps < closingAt;
        };
    }

private:
    long micros_ = 0;
};

#pragma once
// A clock for tests, driven by hand: the tick count moves only when told
// (wrapping as the real one does) and the date and time stay as set.

#include "engine/Clock.h"

#include <cstdint>

namespace engine {

class ManualClock : public Clock {
public:
    std::int32_t ticks = 0;
    DateTime now{2026, 11, 15, 14, 5, 9};
    std::int32_t TickCount() override { return ticks; }
    DateTime Now() override { return now; }
    void Advance(std::int32_t ms) {
        ticks = static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks) +
                                          static_cast<std::uint32_t>(ms));
    }
};

} // namespace engine

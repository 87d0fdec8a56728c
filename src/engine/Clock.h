#pragma once
// Time as the runtime sees it: a millisecond tick count (GetTickCount, may
// wrap) and the local date and time, behind an interface so that tests can
// drive time by hand.

#include <cstdint>

namespace engine {

struct DateTime {
    int Year = 1899, Month = 12, Day = 30; // the zero date
    int Hour = 0, Minute = 0, Second = 0;
    bool operator==(const DateTime&) const = default;
};

class Clock {
public:
    virtual ~Clock() = default;
    // Milliseconds from an arbitrary origin, as a signed 32-bit count that
    // wraps around; callers compare with wrap-around in mind.
    virtual std::int32_t TickCount() = 0;
    // The local date and time, to the second.
    virtual DateTime Now() = 0;
};

} // namespace engine

#pragma once
// The wall clock of the trend: when a record was delivered, and the local
// time of day that exports write. PosixWallClock reads the system's clock
// and time zone; tests drive a ManualWallClock.

#include <cstdint>

namespace trend {

class WallClock {
public:
    virtual ~WallClock() = default;
    // Milliseconds since 1970-01-01 00:00 UTC.
    virtual std::int64_t NowMs() = 0;
    // Local time minus UTC at that moment, in seconds (daylight saving
    // included). Safe to call from another thread.
    virtual int UtcOffsetSeconds(std::int64_t ms) const = 0;
};

class ManualWallClock : public WallClock {
public:
    std::int64_t now = 1'795'000'000'000; // 2026-11-18 11:06:40 UTC
    int offsetSeconds = 0;
    std::int64_t NowMs() override { return now; }
    int UtcOffsetSeconds(std::int64_t) const override { return offsetSeconds; }
    void Advance(std::int64_t ms) { now += ms; }
};

} // namespace trend

#pragma once
// The system's wall clock and time zone (localtime_r).

#include "trend/WallClock.h"

namespace trend {

class PosixWallClock : public WallClock {
public:
    std::int64_t NowMs() override;
    int UtcOffsetSeconds(std::int64_t ms) const override;
};

} // namespace trend

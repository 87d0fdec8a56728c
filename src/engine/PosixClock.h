#pragma once
// The real clock: a monotonic millisecond count and the local time.

#include "engine/Clock.h"

namespace engine {

class PosixClock : public Clock {
public:
    std::int32_t TickCount() override;
    DateTime Now() override;
};

} // namespace engine

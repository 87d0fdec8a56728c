#include "trend/PosixWallClock.h"

#include <chrono>
#include <ctime>

namespace trend {

std::int64_t PosixWallClock::NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

int PosixWallClock::UtcOffsetSeconds(std::int64_t ms) const {
    // Whole seconds, rounded down, so that a moment before 1970 still falls
    // into its own second.
    std::time_t seconds = static_cast<std::time_t>(ms >= 0 ? ms / 1000 : (ms - 999) / 1000);
    std::tm local{};
    if (!localtime_r(&seconds, &local))
        return 0;
    return static_cast<int>(local.tm_gmtoff);
}

} // namespace trend

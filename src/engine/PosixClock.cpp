#include "engine/PosixClock.h"

#include <chrono>
#include <ctime>

namespace engine {

std::int32_t PosixClock::TickCount() {
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                  std::chrono::steady_clock::now().time_since_epoch())
                  .count();
    // A 32-bit count that wraps, as every caller expects.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(ms)));
}

DateTime PosixClock::Now() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     local.tm_sec};
}

} // namespace engine

#include "output/KeyPacing.h"

namespace output {

namespace {

// a is later than b on a 32-bit millisecond clock that wraps around.
bool Later(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b) > 0;
}

} // namespace

std::uint32_t KeyStamps::Stamp(unsigned key, bool press, std::uint32_t nowMs) {
    key &= 0xFF;
    std::uint32_t stamp = nowMs;
    // The clock of one keyboard never goes back, even when the real one is
    // behind the stamps already given.
    if (any_ && Later(latest_, stamp))
        stamp = latest_;
    if (press && seen_[key] && !Later(stamp, last_[key]))
        stamp = last_[key] + 1;
    last_[key] = stamp;
    seen_[key] = true;
    if (!any_ || Later(stamp, latest_))
        latest_ = stamp;
    any_ = true;
    return stamp;
}

std::uint32_t KeyStamps::WaitBefore(std::uint32_t stamp, std::uint32_t nowMs) {
    const auto lead = static_cast<std::int32_t>(stamp - nowMs);
    return lead > static_cast<std::int32_t>(MaxLeadMs)
               ? static_cast<std::uint32_t>(lead) - MaxLeadMs
               : 0;
}

} // namespace output

#pragma once
// The pacing rule of typed keys: no press of a key may share a millisecond of
// the desktop's clock with an earlier event of that key. Some programs (the
// plain X11 backend of LibreOffice, Wayland clients that filter repeats by
// time) take two events of one key in one millisecond for one and drop the
// second press of "11". On X11 the server stamps events, so the sender waits
// for its clock to move on (X11Keyboard). A Wayland virtual keyboard stamps
// its own events: KeyStamps gives each event its time so that the rule holds
// without waiting, while staying close to the real clock.

#include <array>
#include <cstdint>

namespace output {

class KeyStamps {
public:
    // Stamps may run this far ahead of the real clock: a record's doubled
    // digits never wait, and a long text waits only as much as it takes to
    // keep the stamps within a few milliseconds of the truth.
    static constexpr std::uint32_t MaxLeadMs = 20;

    // The time of an event of key (0..255) at the real time nowMs: nowMs,
    // unless that is not later than the key's last event and the event is a
    // press; then one millisecond after that event. Stamps never go back.
    std::uint32_t Stamp(unsigned key, bool press, std::uint32_t nowMs);

    // How many milliseconds the sender should let pass before it sends an
    // event stamped stamp at nowMs: 0 while the stamp is within MaxLeadMs.
    static std::uint32_t WaitBefore(std::uint32_t stamp, std::uint32_t nowMs);

private:
    std::array<std::uint32_t, 256> last_{};
    std::array<bool, 256> seen_{};
    std::uint32_t latest_ = 0;
    bool any_ = false;
};

} // namespace output

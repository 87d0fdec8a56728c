#include "serial/Port.h"

namespace serial {

void StartBreak(Port& port, std::int16_t& breakTicks) {
    if (!port.IsRealPort())
        return;
    port.SetCommBreak();
    breakTicks = 2;
}

void BreakTimerTick(Port& port, std::int16_t& breakTicks) {
    if (breakTicks == 0)
        return;
    if (--breakTicks == 0)
        port.ClearCommBreak();
}

} // namespace serial

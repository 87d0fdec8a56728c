#pragma once
// The open serial port as the runtime uses it. Implementations: PosixPort (a
// real termios device), VirtualPort (the virtual serial device: no hardware,
// input from a text buffer, output to a sink); the tests use
// tests/support/FakePort.h, which records every call.

#include <cstddef>
#include <cstdint>
#include <string>

namespace serial {

class Port {
public:
    virtual ~Port() = default;
    // Takes up to size bytes that have already arrived; returns how many (0
    // when none). Never waits.
    virtual std::size_t Read(std::uint8_t* buffer, std::size_t size) = 0;
    // One byte if one has arrived: returns 1 and sets byte, else 0. Never waits.
    int ReadOneByte(std::uint8_t& byte) { return Read(&byte, 1) == 1 ? 1 : 0; }
    // Writes pendingOutput and keeps the part that was not accepted.
    virtual void FlushPendingOutput(std::string& pendingOutput) = 0;
    // Discards what was received and not read and what waits to be sent: the
    // driver's buffers of a real port, the unread input of the virtual device.
    virtual void PurgePort() = 0;
    virtual void SetDTR(bool on) = 0;
    virtual void SetRTS(bool on) = 0;
    // DTR low for 155 ms, then high again; blocks the caller.
    virtual void PulseDTR() = 0;
    virtual void SetCommBreak() = 0;
    virtual void ClearCommBreak() = 0;
    // Lowers DTR and RTS and closes the device.
    virtual void ClosePort() = 0;
    // False on the virtual device: line operations then do nothing.
    virtual bool IsRealPort() const { return true; }
    // True while the device has gone away (adapter unplugged); reads give no
    // byte until it is back.
    virtual bool IsLost() const { return false; }
    // A handle the platform can watch for arriving bytes (a file descriptor
    // on POSIX), or -1 when there is none to watch (a closed or lost port,
    // the virtual device). It changes when the port is opened again.
    virtual int ArrivalHandle() const { return -1; }
};

// BREAK bookkeeping shared by every caller: StartBreak sets BREAK and
// breakTicks = 2; BreakTimerTick (once per tick) clears it on the second tick.
void StartBreak(Port& port, std::int16_t& breakTicks);
void BreakTimerTick(Port& port, std::int16_t& breakTicks);

} // namespace serial

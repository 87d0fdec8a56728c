#pragma once
// Baud rates that have no B constant in <termios.h> (14400, 128000, 256000)
// are set through the kernel's termios2 with BOTHER. The kernel header and
// glibc's <termios.h> cannot meet in one file, so this is a file of its own.

namespace serial {

// Sets input and output speed of the open terminal fd to baud. Returns false
// (errno set) when the driver refuses it.
bool SetCustomBaudRate(int fd, long baud);

} // namespace serial

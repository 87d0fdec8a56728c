#include "serial/PosixTermios2.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

namespace serial {

bool SetCustomBaudRate(int fd, long baud) {
    struct termios2 tio {};
    if (ioctl(fd, TCGETS2, &tio) != 0)
        return false;
    tio.c_cflag &= ~CBAUD;
    tio.c_cflag |= BOTHER;
    tio.c_ispeed = static_cast<speed_t>(baud);
    tio.c_ospeed = static_cast<speed_t>(baud);
    tio.c_cflag &= ~(CBAUD << IBSHIFT);
    tio.c_cflag |= BOTHER << IBSHIFT;
    return ioctl(fd, TCSETS2, &tio) == 0;
}

} // namespace serial

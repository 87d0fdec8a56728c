#pragma once
// A real serial device through POSIX termios: raw mode, non-blocking reads,
// an exclusive open, and the modem lines through ioctl.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "serial/Port.h"
#include "serial/PortList.h"

#include <memory>
#include <string>

namespace serial {

// Opens device with the configuration's line settings. On failure the
// message ("Device COM1 Not Available.", "GetComState failed", ...) goes to
// messages and the result is null; nothing stays open. "Not Available" is
// followed by a second line that says why and what the user can do.
std::unique_ptr<Port> OpenPosixPort(const config::Config& cfg, const std::string& device,
                                    config::MessageSink& messages, engine::Clock& clock);

// Why device could not be opened (error: errno of open(), or EWOULDBLOCK
// for the lock), with the group that owns the node and this user's place in it.
OpenFailure DescribeOpenFailure(const std::string& device, int error);

} // namespace serial

#pragma once
// A real serial device through POSIX termios: raw mode, non-blocking reads,
// an exclusive open, and the modem lines through ioctl.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "serial/Port.h"

#include <memory>
#include <string>

namespace serial {

// Opens device with the configuration's line settings. On failure the
// message ("Device COM1 Not Available.", "GetComState failed", ...) goes to
// messages and the result is null; nothing stays open.
std::unique_ptr<Port> OpenPosixPort(const config::Config& cfg, const std::string& device,
                                    config::MessageSink& messages, engine::Clock& clock);

} // namespace serial

#pragma once
// What only the program around the runtime can do for a DDE command: show or
// minimise the runtime window and reload the configuration in place. The
// runtime window implements it with its window; the headless runtime has no
// window, so there the window commands are accepted and do nothing.

#include <string>

namespace control {

class RuntimeHost {
public:
    virtual ~RuntimeHost() = default;
    // "{APPNORMAL}": the window in its normal size, not activated.
    virtual void ShowNormal() = 0;
    // "{APPMINIMIZE}".
    virtual void Minimize() = 0;
    // "{CONFIG(": file has been checked to be a configuration for the port in
    // use. Stops the runtime (port closed, DDE links ended, hot keys
    // released), loads file in place and starts the runtime again with it,
    // reopening the port with the file's line settings. The host may do this
    // right after the command returns, but never inside a tick.
    virtual void ReloadConfiguration(const std::string& file) = 0;
};

} // namespace control

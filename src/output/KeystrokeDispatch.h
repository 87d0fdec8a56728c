#pragma once
// The Send Keystrokes delivery: remember the window in front, find (or start)
// the target application, type the record, minimise the target again if it
// had to be restored, and bring the first window back.
//
// A window manager switches windows some time after it is asked to, so each
// switch is waited for (at most FrontWaitMs) before anything is typed: keys
// typed too early land in whatever the user is working on. A target that
// never gets the focus gets nothing; that is reported once per target
// window, and the record is not counted.
//
// A missing target is started with its command line and waited for as long
// as the program runs, as a program may take long to start. The wait ends
// when the program has ended without a window (said once per command line),
// and when the runtime is to close (the pump says so); the record is then
// not typed.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "output/KeySender.h"
#include "output/KeystrokeDelivery.h"
#include "output/ProgramLauncher.h"
#include "output/WindowSystem.h"

#include <functional>
#include <set>
#include <string>

namespace output {

class KeystrokeDispatch : public KeystrokeDelivery {
public:
    KeystrokeDispatch(config::Config& cfg, WindowSystem& windows, ProgramLauncher& launcher,
                      KeySender& sender, config::MessageSink& messages, engine::Clock& clock,
                      EventPump pump);

    bool DeliverRecord(const std::function<std::string()>& buildRecordText) override;

    // The runtime's own window, looked up for each record (it may open after
    // the delivery is made); nothing is typed while it is in front.
    std::function<WindowId()> ownWindow;

private:
    bool Launch(WindowId& target, WindowId& returnWindow);
    // Brings w back to the front, waiting for the switch when asked to (after
    // a switch to the target: the next record reads the front window again).
    void Return(WindowId w, bool wait);

    config::Config& cfg_;
    WindowSystem& windows_;
    ProgramLauncher& launcher_;
    KeySender& sender_;
    config::MessageSink& messages_;
    engine::Clock& clock_;
    EventPump pump_;
    std::set<WindowId> reportedTargets_; // told once that they could not be brought to the front
    std::set<std::string> reportedCommands_; // told once that they ended without a window
};

} // namespace output

#pragma once
// The Send Keystrokes delivery: remember the window in front, find (or start)
// the target application, type the record, minimise the target again if it
// had to be restored, and bring the first window back.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "output/KeySender.h"
#include "output/KeystrokeDelivery.h"
#include "output/WindowSystem.h"

#include <functional>

namespace output {

class KeystrokeDispatch : public KeystrokeDelivery {
public:
    KeystrokeDispatch(config::Config& cfg, WindowSystem& windows, KeySender& sender,
                      config::MessageSink& messages, engine::Clock& clock, EventPump pump);

    void DeliverRecord(const std::function<std::string()>& buildRecordText) override;

    // The runtime's own window; nothing is typed while it is in front.
    WindowId ownWindow = 0;

private:
    bool Launch(WindowId& target, WindowId& returnWindow);

    config::Config& cfg_;
    WindowSystem& windows_;
    KeySender& sender_;
    config::MessageSink& messages_;
    engine::Clock& clock_;
    EventPump pump_;
};

} // namespace output

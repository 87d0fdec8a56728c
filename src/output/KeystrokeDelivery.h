#pragma once
// The Send Keystrokes delivery seen from the record dispatcher. The dispatcher
// shows the fields and counts the record, then hands over to this hook, which
// remembers the return window, activates or launches the target, builds the
// record text by calling buildRecordText (which also empties the fields) and
// types it. It returns false when the target could not be brought to the
// front: nothing was typed, and the dispatcher takes the record off the
// counter again.

#include <functional>
#include <string>

namespace output {

class KeystrokeDelivery {
public:
    virtual ~KeystrokeDelivery() = default;
    virtual bool DeliverRecord(const std::function<std::string()>& buildRecordText) = 0;
};

} // namespace output

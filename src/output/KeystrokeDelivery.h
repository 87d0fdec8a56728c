#pragma once
// The Send Keystrokes delivery seen from the record dispatcher. The dispatcher
// shows the fields and counts the record, then hands over to this hook, which
// remembers the return window, activates or launches the target, builds the
// record text by calling buildRecordText (which also empties the fields) and
// types it.

#include <functional>
#include <string>

namespace output {

class KeystrokeDelivery {
public:
    virtual ~KeystrokeDelivery() = default;
    virtual void DeliverRecord(const std::function<std::string()>& buildRecordText) = 0;
};

} // namespace output

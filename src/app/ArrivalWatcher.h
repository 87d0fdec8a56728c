#pragma once
// Watches the runtime's port for arriving bytes, so that a record is framed
// and delivered as its last byte arrives rather than at the next 50 ms tick.
// The handle to watch changes when the device is lost and opened again, and
// there is none while the runtime reads on its ticks only (records that end
// on a pause, input suspended): Follow, called after every tick and every
// arrival, keeps the notifier on the handle of the moment.

#include "runtime/Runtime.h"

#include <QSocketNotifier>

namespace app {

class ArrivalWatcher {
public:
    explicit ArrivalWatcher(runtime::Runtime& runtime) : runtime_(runtime) {}
    ~ArrivalWatcher();
    ArrivalWatcher(const ArrivalWatcher&) = delete;
    ArrivalWatcher& operator=(const ArrivalWatcher&) = delete;

    void Follow();

private:
    void Drop();

    runtime::Runtime& runtime_;
    QSocketNotifier* notifier_ = nullptr; // deleted later: it may be the one signalling
};

} // namespace app

#include "app/ArrivalWatcher.h"

namespace app {

ArrivalWatcher::~ArrivalWatcher() {
    delete notifier_;
}

void ArrivalWatcher::Drop() {
    if (!notifier_)
        return;
    notifier_->setEnabled(false);
    notifier_->deleteLater();
    notifier_ = nullptr;
}

void ArrivalWatcher::Follow() {
    const int handle = runtime_.ArrivalHandle();
    if (notifier_ && notifier_->socket() == handle)
        return;
    Drop();
    if (handle < 0)
        return;
    notifier_ = new QSocketNotifier(handle, QSocketNotifier::Read);
    QObject::connect(notifier_, &QSocketNotifier::activated, notifier_, [this] {
        runtime_.InputArrived();
        Follow();
    });
}

} // namespace app

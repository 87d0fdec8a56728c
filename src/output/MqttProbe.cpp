#include "output/MqttProbe.h"

#include <unistd.h>

namespace output {

MqttProbe::MqttProbe() {
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        Finish(false,
               "it did not answer within " + std::to_string(timer_.interval() / 1000) + " seconds");
    });
    link_.events.connected = [this] { Finish(true, ""); };
    link_.events.disconnected = [this](const std::string& why) { Finish(false, why); };
}

void MqttProbe::Start(const BrokerConnection& connection, int limitMs,
                      std::function<void(bool, const std::string&)> done) {
    done_ = std::move(done);
    timer_.start(limitMs);
    link_.Connect(connection, BrokerWill{}, "corvane-check-" + std::to_string(::getpid()));
}

void MqttProbe::Cancel() {
    timer_.stop();
    done_ = nullptr;
    link_.Disconnect();
}

void MqttProbe::Finish(bool ok, const std::string& why) {
    timer_.stop();
    link_.Disconnect();
    auto done = std::move(done_);
    done_ = nullptr;
    if (done)
        done(ok, why);
}

} // namespace output

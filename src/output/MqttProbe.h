#pragma once
// One connection to a broker to see whether it can be reached with the given
// settings, for `corvane mqtt-check` and the Network page's "Test
// Connection": connects (without a will), reports once, and goes. Runs on
// the Qt event loop of the thread that made it.

#include "output/BrokerSettings.h"
#include "output/MqttLink.h"

#include <QTimer>

#include <functional>
#include <string>

namespace output {

class MqttProbe {
public:
    MqttProbe();
    // Starts the attempt; done is called once with whether the broker took
    // the connection and, when it did not, why. limitMs bounds the wait.
    void Start(const BrokerConnection& connection, int limitMs,
               std::function<void(bool ok, const std::string& why)> done);
    // Ends an attempt under way; done is not called then.
    void Cancel();

private:
    void Finish(bool ok, const std::string& why);

    MqttLink link_;
    QTimer timer_;
    std::function<void(bool, const std::string&)> done_;
};

} // namespace output

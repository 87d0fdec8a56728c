#pragma once
// A real MQTT broker for one test: Debian's mosquitto, started by the test on
// free ports of the loopback interface with a configuration file of its own
// (never the system's), stopped and started again at will, ended with the
// test. And a subscriber on libmosquitto that collects what arrives.

#include "support/ProcessRunner.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct mosquitto;

namespace testsupport {

// The mosquitto program, or empty when it is not installed.
std::string MosquittoProgram();

// A port of 127.0.0.1 that nothing listens on just now.
int FreePort();

class MqttBroker {
public:
    // listeners: the configuration's text after the plain, anonymous
    // listener on port(), e.g. further listeners with TLS or passwords;
    // {DIR} in it stands for the broker's folder.
    explicit MqttBroker(const std::string& listeners = "");
    ~MqttBroker();
    MqttBroker(const MqttBroker&) = delete;
    MqttBroker& operator=(const MqttBroker&) = delete;

    // Starts the broker and waits until it takes connections on every port
    // of ports(); false when it does not within a few seconds.
    bool Start();
    // Ends it as a service stop does (SIGTERM); its persistent state is kept.
    void Stop();

    int port() const { return port_; }
    const std::filesystem::path& folder() const { return dir_.path; }
    std::string Log() const;
    // Ports of further listeners, reserved for the configuration.
    int extraPort(std::size_t i) const { return extraPorts_.at(i); }

private:
    TempDir dir_;
    int port_;
    std::vector<int> extraPorts_;
    std::unique_ptr<ChildProcess> process_;
};

// A subscriber to one topic filter at QoS 1 with a session the broker keeps
// (it gets what was published while it, or the broker, was away), that
// reconnects by itself.
class MqttSubscriber {
public:
    struct Message {
        std::string topic, payload;
        bool retained;
    };
    MqttSubscriber(int port, const std::string& filter, const std::string& clientId = "");
    ~MqttSubscriber();

    // Waits until the broker has confirmed the subscription.
    bool WaitSubscribed();
    std::vector<Message> Messages();
    // The payloads on topic so far.
    std::vector<std::string> Payloads(const std::string& topic);

private:
    mosquitto* client_;
    std::string filter_;
    std::mutex mutex_;
    std::vector<Message> messages_;
    bool subscribed_ = false;
};

} // namespace testsupport

#pragma once
// The broker link on libmosquitto. Each connection attempt runs on a thread
// of its own: it resolves the host, connects, does the TLS handshake and then
// runs the client's network loop, so that nothing of it ever blocks the
// runtime's thread. A new attempt gets a new client: nothing the library
// still held from a lost connection is sent again behind the delivery's back
// (the delivery publishes again, in order, what was not acknowledged).
//
// Events cross to the thread that made the link (the runtime's, with a Qt
// event loop) as queued calls; an event of an attempt that has been ended is
// dropped there.

#include "output/BrokerLink.h"

#include <memory>
#include <vector>

class QObject;

namespace output {

class MqttLink : public BrokerLink {
public:
    MqttLink();
    ~MqttLink() override;
    MqttLink(const MqttLink&) = delete;
    MqttLink& operator=(const MqttLink&) = delete;

    void Connect(const BrokerConnection& connection, const BrokerWill& will,
                 const std::string& clientId) override;
    int Publish(const std::string& topic, const std::string& payload, int qos,
                bool retain) override;
    bool Subscribe(const std::string& topic, int qos) override;
    void Disconnect() override;

    struct Attempt; // shared by this link and the attempt's thread

private:
    void Retire();

    std::unique_ptr<QObject> context_; // receives the queued events
    std::shared_ptr<Attempt> attempt_;
    std::vector<std::shared_ptr<Attempt>> retired_; // ended, their threads finishing
    unsigned generation_ = 0;
};

} // namespace output

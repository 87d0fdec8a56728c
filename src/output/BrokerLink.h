#pragma once
// The connection to an MQTT broker, as the record delivery sees it: one
// connection attempt at a time, started and ended by the delivery, which
// also decides when to try again. MqttLink is the backend (libmosquitto on a
// thread of its own); the tests have a recording fake (tests/support).
//
// The link never blocks its caller, and reports every event on the caller's
// thread (the runtime's), never from inside one of its own calls.

#include "output/BrokerSettings.h"

#include <functional>
#include <string>

namespace output {

// What the broker publishes for a runtime whose connection is lost without
// a goodbye (the program killed, the network gone): its last will.
struct BrokerWill {
    std::string topic, payload;
    int qos = 1;
    bool retain = true;
};

struct BrokerLinkEvents {
    // The broker accepted the connection.
    std::function<void()> connected;
    // The attempt failed, or the connection ended: why, in words a user can
    // act on ("the broker refused the user name or password", "the TLS
    // handshake failed: certificate verify failed").
    std::function<void(const std::string& why)> disconnected;
    // Message id has reached the broker (QoS 1 and 2) or left for it (QoS 0).
    std::function<void(int id)> published;
    // A message on a subscribed topic.
    std::function<void(const std::string& topic, const std::string& payload)> message;
};

class BrokerLink {
public:
    virtual ~BrokerLink() = default;
    // Starts one connection attempt; the events tell how it goes. An
    // attempt or connection still under way is ended first.
    virtual void Connect(const BrokerConnection& connection, const BrokerWill& will,
                         const std::string& clientId) = 0;
    // Hands a message to the connected broker: its id, or -1 when it cannot
    // be taken now (no connection).
    virtual int Publish(const std::string& topic, const std::string& payload, int qos,
                        bool retain) = 0;
    virtual bool Subscribe(const std::string& topic, int qos) = 0;
    // Ends the connection with a goodbye (the will is not published) or the
    // attempt; no event of it comes after this.
    virtual void Disconnect() = 0;

    BrokerLinkEvents events;
};

} // namespace output

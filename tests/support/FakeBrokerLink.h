#pragma once
// A broker link for the tests: records every call, and lets the test play the
// broker's side (accept, refuse, acknowledge, drop, send a message).

#include "output/BrokerLink.h"

#include <vector>

namespace output {

class FakeBrokerLink : public BrokerLink {
public:
    struct Published {
        int id;
        std::string topic, payload;
        int qos;
        bool retain;
    };
    int connects = 0;
    int disconnects = 0;
    bool up = false; // connected, as far as the link knows
    BrokerConnection lastConnection;
    BrokerWill lastWill;
    std::string lastClientId;
    std::vector<Published> published;
    std::vector<std::string> subscribed;

    void Connect(const BrokerConnection& c, const BrokerWill& will,
                 const std::string& clientId) override {
        ++connects;
        up = false;
        lastConnection = c;
        lastWill = will;
        lastClientId = clientId;
    }
    int Publish(const std::string& topic, const std::string& payload, int qos,
                bool retain) override {
        if (!up)
            return -1;
        published.push_back({nextId_, topic, payload, qos, retain});
        return nextId_++;
    }
    bool Subscribe(const std::string& topic, int) override {
        subscribed.push_back(topic);
        return up;
    }
    void Disconnect() override {
        ++disconnects;
        up = false;
    }

    // The broker's side.
    void Accept() {
        up = true;
        events.connected();
    }
    void Drop(const std::string& why) {
        up = false;
        events.disconnected(why);
    }
    void Acknowledge(int id) { events.published(id); }
    // Every message published so far, acknowledged in order.
    void AcknowledgeAll() {
        for (std::size_t i = acknowledged_; i < published.size(); ++i)
            events.published(published[i].id);
        acknowledged_ = published.size();
    }
    void Deliver(const std::string& topic, const std::string& payload) {
        events.message(topic, payload);
    }

private:
    int nextId_ = 1;
    std::size_t acknowledged_ = 0;
};

} // namespace output

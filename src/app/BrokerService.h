#pragma once
// A runtime's link to an MQTT broker, beside its transfer mode: the settings
// (the configuration's balance.mqtt.ini, with what the command line gives
// winning), the queue under the user's state folder, the libmosquitto link
// and the delivery, wired to the runtime: every delivered record is
// published, commands from the network run by the runtime's DDE command
// interpreter (naming files only inside the folder set for them), a reload
// that changes the topic or the settings starts the link anew, and closing
// waits a moment for the broker to take what is in flight.

#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "output/BrokerDelivery.h"
#include "output/BrokerSettings.h"
#include "output/MqttLink.h"
#include "output/PosixQueueStorage.h"
#include "output/RecordQueue.h"
#include "runtime/Runtime.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace app {

class BrokerService {
public:
    BrokerService(runtime::Runtime& runtime, config::MessageSink& messages, engine::Clock& clock);
    ~BrokerService();

    // After the runtime has started: the settings of its configuration with
    // the overrides applied; publishing starts when they enable it. port is
    // the device path, or "virtual". Settings that cannot be used are said,
    // and the runtime goes on without the broker.
    void Start(const output::BrokerOverrides& overrides, const std::string& port);
    // Every tick of the runtime, after it (never inside it).
    void Tick();
    // The runtime loaded another configuration: its topic or settings may
    // differ. Looked at in the next Tick, since a reload happens inside the
    // runtime's tick and starting anew waits a moment for the broker.
    void Reloaded() { reloaded_ = true; }
    // The runtime has closed: queued records and the "offline" status get a
    // few seconds to reach the broker (the event loop runs meanwhile); what
    // still waits stays queued on disk, and is said.
    void Stop();

private:
    struct Active; // the parts of one started link
    void StartWith(const output::BrokerConnection& connection, const std::string& busTopic);
    void Restart();
    std::optional<output::BrokerConnection> Settings(std::string& why) const;
    void StopActive(int waitMs);

    runtime::Runtime& runtime_;
    config::MessageSink& messages_;
    engine::Clock& clock_;
    output::BrokerOverrides overrides_;
    std::string port_;
    std::string run_;
    std::uint64_t lastSeq_ = 0; // of the links that ran before in this run
    std::unique_ptr<Active> active_;
    std::string activeTopic_;
    std::optional<output::BrokerConnection> activeConnection_;
    bool reloaded_ = false;
};

// The runtime's DDE topic as its D-Bus name shows it: "COM1", "Line_2".
std::string BusTopic(const config::Config& cfg);

} // namespace app

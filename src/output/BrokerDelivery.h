#pragma once
// Delivery of records to an MQTT broker, beside the configured transfer mode:
// every delivered record becomes a JSON message on PREFIX/TOPIC/record
// (retained, so the broker keeps the last), numbered within the run. Every
// record goes through the queue (on disk) first and leaves it when the broker
// has it, so that nothing is lost while the broker or the network is away;
// after a lost connection everything not acknowledged is published again, in
// order, and a consumer drops what it has seen by run and seq.
//
// PREFIX/TOPIC/status is "online" (retained) while the runtime runs, and
// "offline" once it has stopped or died (the broker's last will). With
// commands enabled, a message on PREFIX/TOPIC/execute is run as a DDE command
// and its outcome published on PREFIX/TOPIC/execute/result.
//
// Everything runs on the runtime's thread: the link reports its events there,
// and the tick retries a lost connection with a growing pause.

#include "config/MessageSink.h"
#include "engine/Clock.h"
#include "output/BrokerLink.h"
#include "output/BrokerPayload.h"
#include "output/BrokerSettings.h"
#include "output/RecordDispatch.h"
#include "output/RecordQueue.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace output {

struct BrokerDeliveryParts {
    BrokerLink& link;
    RecordQueue& queue;
    engine::Clock& clock;
    config::MessageSink& messages;
    BrokerConnection connection;
    BrokerTopics topics;
    std::string run;      // the id of this run
    std::string clientId; // unique among the broker's clients
    std::string port;     // the device path, or "virtual"
    // The seq of the run's last record: a link started anew within the run
    // (another configuration loaded) goes on counting.
    std::uint64_t lastSeq = 0;
};

// Pauses between connection attempts: 1 s, doubled after each failure, 30 s
// at most; an attempt without an answer is given up after 20 s.
inline constexpr std::int32_t FirstRetryMs = 1000;
inline constexpr std::int32_t LastRetryMs = 30000;
inline constexpr std::int32_t AttemptLimitMs = 20000;
// Messages handed to the link and not acknowledged yet, at most.
inline constexpr std::size_t MaxInFlight = 1000;

class BrokerDelivery {
public:
    explicit BrokerDelivery(BrokerDeliveryParts parts);
    BrokerDelivery(const BrokerDelivery&) = delete;
    BrokerDelivery& operator=(const BrokerDelivery&) = delete;

    // The first connection attempt; records queued by earlier runs go first.
    void Start();
    // One delivered record, at the time given (ISO 8601).
    void Deliver(const DeliveredRecord& record, const std::string& time);
    // Every tick: a new attempt when its pause is over, the queue made
    // durable.
    void Tick();

    // Closing: "offline" is published; Stopped() once the broker has it (or
    // there is no connection to say it on). Stop then ends the connection
    // and says what still waits for the broker.
    void BeginStop();
    bool Stopped() const;
    void Stop();

    // Runs a command from the network; its outcome and the words for it.
    std::function<std::pair<bool, std::string>(const std::string& command)> execute;
    // The title of messages (the runtime's caption).
    std::function<std::string()> title;

    bool Connected() const { return state_ == State::Connected; }
    std::size_t Waiting() const { return queue_.Waiting(); }
    const BrokerTopics& topics() const { return topics_; }
    std::uint64_t LastSeq() const { return seq_; }

private:
    enum class State { Idle, Connecting, Connected, Waiting, Stopped };

    void Attempt();
    void OnConnected();
    void OnLost(const std::string& why);
    void OnPublished(int id);
    void OnMessage(const std::string& topic, const std::string& payload);
    void Pump();
    void Say(const std::string& text, config::MessageIcon icon);
    std::string Url() const;

    BrokerLink& link_;
    RecordQueue& queue_;
    engine::Clock& clock_;
    config::MessageSink& messages_;
    BrokerConnection connection_;
    BrokerTopics topics_;
    std::string run_, clientId_, port_;
    State state_ = State::Idle;
    std::int32_t since_ = 0; // when the attempt started, or the pause
    std::int32_t pause_ = 0;
    std::uint64_t seq_ = 0;
    std::map<int, std::uint64_t> inFlight_; // link id -> queue id
    std::optional<int> offlineId_;
    bool offlineAcknowledged_ = false;
    std::optional<config::Message> outage_; // the message of the outage, while it lasts
    bool saidFull_ = false, saidDropping_ = false;
};

} // namespace output

#include "output/BrokerDelivery.h"

#include <algorithm>
#include <tuple>

namespace output {

namespace {

std::int32_t Elapsed(std::int32_t now, std::int32_t since) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(now) -
                                     static_cast<std::uint32_t>(since));
}

std::string Records(std::size_t n) {
    return std::to_string(n) + (n == 1 ? " record" : " records");
}

} // namespace

BrokerDelivery::BrokerDelivery(BrokerDeliveryParts p)
    : link_(p.link), queue_(p.queue), clock_(p.clock), messages_(p.messages),
      connection_(std::move(p.connection)), topics_(std::move(p.topics)), run_(std::move(p.run)),
      clientId_(std::move(p.clientId)), port_(std::move(p.port)), seq_(p.lastSeq) {
    link_.events.connected = [this] { OnConnected(); };
    link_.events.disconnected = [this](const std::string& why) { OnLost(why); };
    link_.events.published = [this](int id) { OnPublished(id); };
    link_.events.message = [this](const std::string& topic, const std::string& payload) {
        OnMessage(topic, payload);
    };
}

std::string BrokerDelivery::Url() const {
    return BrokerUrl(connection_.address);
}

void BrokerDelivery::Say(const std::string& text, config::MessageIcon icon) {
    messages_.Show(
        {text, title ? title() : std::string("Corvane"), icon, config::MessageButtons::Ok});
}

void BrokerDelivery::Start() {
    std::string why;
    if (!queue_.Open(why))
        Say("The records for the MQTT broker cannot be queued on disk (" + why +
                "): while the broker cannot be reached they wait in memory only, and are lost "
                "if this runtime stops before it is back.",
            config::MessageIcon::Exclamation);
    Attempt();
}

void BrokerDelivery::Attempt() {
    state_ = State::Connecting;
    since_ = clock_.TickCount();
    link_.Connect(connection_, BrokerWill{topics_.status, "offline", 1, true}, clientId_);
}

void BrokerDelivery::Tick() {
    const std::int32_t now = clock_.TickCount();
    if (state_ == State::Waiting && Elapsed(now, since_) >= pause_) {
        Attempt();
    } else if (state_ == State::Connecting && Elapsed(now, since_) >= AttemptLimitMs) {
        link_.Disconnect();
        OnLost("it did not answer within " + std::to_string(AttemptLimitMs / 1000) + " seconds");
    }
    queue_.Sync();
}

void BrokerDelivery::OnConnected() {
    if (state_ == State::Stopped)
        return;
    state_ = State::Connected;
    pause_ = 0;
    if (outage_) {
        messages_.Retract(*outage_);
        outage_.reset();
    }
    link_.Publish(topics_.status, "online", 1, true);
    link_.Subscribe(topics_.execute, 1);
    Pump();
}

void BrokerDelivery::OnLost(const std::string& why) {
    if (state_ == State::Stopped)
        return;
    // Whatever was handed out and not acknowledged goes out again, in order.
    inFlight_.clear();
    queue_.Rewind();
    state_ = State::Waiting;
    since_ = clock_.TickCount();
    pause_ = pause_ == 0 ? FirstRetryMs : std::min(pause_ * 2, LastRetryMs);
    if (!outage_) {
        outage_ = config::Message{
            "Records cannot be published to the MQTT broker " + Url() + ": " + why +
                ". They wait in order in " + queue_.Where() +
                " and are published when the broker can be reached; Corvane tries again in the "
                "background, and reading the instrument goes on.",
            title ? title() : std::string("Corvane"), config::MessageIcon::Exclamation,
            config::MessageButtons::Ok};
        messages_.Show(*outage_);
    }
}

void BrokerDelivery::Deliver(const DeliveredRecord& record, const std::string& time) {
    RecordMessage m{run_, ++seq_, record.recordNumber, time, port_, record.fields};
    const RecordQueue::Pushed pushed =
        queue_.Push({topics_.record, RecordPayload(m), connection_.qos, true});
    if (queue_.InMemoryOnly() == 0)
        saidFull_ = saidDropping_ = false;
    if (pushed != RecordQueue::Pushed::OnDisk && !saidFull_) {
        saidFull_ = true;
        Say("The queue of records for the MQTT broker is full (" +
                std::to_string(std::max<std::uint64_t>(1, connection_.queueLimitBytes >> 20)) +
                " MB in " + queue_.Where() +
                "): newer records wait in memory until the broker has taken the queued ones, "
                "and are lost if this runtime stops before. Reading the instrument goes on.",
            config::MessageIcon::Exclamation);
    }
    if (pushed == RecordQueue::Pushed::DroppedOldest && !saidDropping_) {
        saidDropping_ = true;
        Say("The room in memory for records waiting for the MQTT broker is full too: the "
            "oldest of them are dropped to keep the newest (" +
                std::to_string(queue_.Dropped()) + " so far).",
            config::MessageIcon::Exclamation);
    }
    Pump();
}

void BrokerDelivery::Pump() {
    while (state_ == State::Connected && inFlight_.size() < MaxInFlight) {
        const auto item = queue_.Next();
        if (!item)
            return;
        const QueuedMessage& m = *item->message;
        const int id = link_.Publish(m.topic, m.payload, m.qos, m.retain);
        if (id < 0) {
            // The connection is going; its event comes and rewinds.
            queue_.Rewind();
            return;
        }
        inFlight_[id] = item->id;
    }
}

void BrokerDelivery::OnPublished(int id) {
    if (offlineId_ && id == *offlineId_) {
        offlineAcknowledged_ = true;
        return;
    }
    const auto it = inFlight_.find(id);
    if (it == inFlight_.end())
        return; // the status or a command's result
    queue_.Acknowledge(it->second);
    inFlight_.erase(it);
    Pump();
}

void BrokerDelivery::OnMessage(const std::string& topic, const std::string& payload) {
    if (topic != topics_.execute || state_ != State::Connected)
        return;
    bool ok = false;
    std::string text;
    if (!connection_.commands) {
        text = "Commands from the network are off for this runtime: they are taken with "
               "--mqtt-commands, or on the Network page of Preferences.";
    } else if (execute) {
        std::tie(ok, text) = execute(Latin1FromUtf8(payload));
    }
    link_.Publish(topics_.result, ResultPayload(ok, text), 1, false);
}

void BrokerDelivery::BeginStop() {
    if (state_ == State::Connected && !offlineId_) {
        const int id = link_.Publish(topics_.status, "offline", 1, true);
        if (id >= 0)
            offlineId_ = id;
    }
}

bool BrokerDelivery::Stopped() const {
    return state_ != State::Connected || !offlineId_ || offlineAcknowledged_;
}

void BrokerDelivery::Stop() {
    if (state_ == State::Stopped)
        return;
    link_.Disconnect();
    state_ = State::Stopped;
    if (outage_) {
        messages_.Retract(*outage_);
        outage_.reset();
    }
    queue_.Sync();
    const std::size_t lost = queue_.InMemoryOnly();
    const std::size_t kept = queue_.Waiting() - lost;
    if (kept > 0)
        Say(Records(kept) + (kept == 1 ? " waits" : " wait") + " for the MQTT broker " + Url() +
                " in " + queue_.Where() +
                ": they are published first when a runtime with this broker and topic runs "
                "again.",
            config::MessageIcon::Information);
    if (lost > 0)
        Say(Records(lost) + " for the MQTT broker " + Url() + (lost == 1 ? " was" : " were") +
                " waiting in memory only (the queue on disk was full) and " +
                (lost == 1 ? "is" : "are") + " lost.",
            config::MessageIcon::Exclamation);
}

} // namespace output

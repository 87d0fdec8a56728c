#include "app/BrokerService.h"

#include "control/DdeNames.h"
#include "control/FileScope.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <random>
#include <unistd.h>

namespace app {

namespace {

// How long a closing runtime waits for the broker to take what is in flight.
constexpr int StopWaitMs = 5000;
// How long a reload waits before the link starts anew.
constexpr int ReloadWaitMs = 1000;

// A random id for this run, in the form of a UUID (version 4).
std::string NewRunId() {
    std::random_device random;
    std::uniform_int_distribution<int> nibble(0, 15);
    static const char hex[] = "0123456789abcdef";
    std::string id = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    for (char& c : id) {
        if (c == 'x')
            c = hex[nibble(random)];
        else if (c == 'y')
            c = hex[8 + nibble(random) % 4];
    }
    return id;
}

// Now, in ISO 8601 with milliseconds and the local UTC offset.
std::string NowIso() {
    using namespace std::chrono;
    const auto ms = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    return output::IsoTime(ms, static_cast<int>(local.tm_gmtoff / 60));
}

std::string HostName() {
    char name[256] = {};
    if (::gethostname(name, sizeof name - 1) != 0 || !name[0])
        return "host";
    return name;
}

} // namespace

std::string BusTopic(const config::Config& cfg) {
    const std::string name = control::DdeBusName(control::DdeServerApp, config::DdeTopic(cfg));
    return name.substr(name.rfind('.') + 1);
}

struct BrokerService::Active {
    output::MqttLink link;
    output::PosixQueueStorage storage;
    output::RecordQueue queue;
    output::BrokerDelivery delivery;

    Active(const output::BrokerConnection& c, const std::string& busTopic, const std::string& run,
           const std::string& port, std::uint64_t lastSeq, engine::Clock& clock,
           config::MessageSink& messages)
        : storage(output::QueueRoot() + "/" + output::QueueFolderName(c.address, busTopic)),
          queue(storage, c.queueLimitBytes),
          delivery({link, queue, clock, messages, c, output::TopicsFor(c.address.prefix, busTopic),
                    run, "corvane-" + HostName() + "-" + std::to_string(::getpid()), port,
                    lastSeq}) {}
};

BrokerService::BrokerService(runtime::Runtime& runtime, config::MessageSink& messages,
                             engine::Clock& clock)
    : runtime_(runtime), messages_(messages), clock_(clock), run_(NewRunId()) {}

BrokerService::~BrokerService() {
    runtime_.OnRecordDelivered(nullptr);
}

std::optional<output::BrokerConnection> BrokerService::Settings(std::string& why) const {
    output::BrokerSettings settings;
    const std::string& file = runtime_.cfg().ConfigFileName;
    if (!file.empty()) {
        auto read = output::ReadBrokerSettings(output::BrokerSettingsPath(file), why);
        if (!read)
            return std::nullopt;
        settings = *read;
    }
    settings = output::Overridden(settings, overrides_);
    if (!settings.enabled)
        return std::nullopt;
    return output::ResolveBrokerSettings(settings, output::ProcessEnvironment, why);
}

void BrokerService::Start(const output::BrokerOverrides& overrides, const std::string& port) {
    overrides_ = overrides;
    port_ = port;
    std::string why;
    const auto connection = Settings(why);
    if (!connection) {
        if (!why.empty())
            messages_.Show({"Records are not published to an MQTT broker: " + why,
                            runtime_.Caption(), config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
        return;
    }
    StartWith(*connection, BusTopic(runtime_.cfg()));
}

void BrokerService::StartWith(const output::BrokerConnection& connection,
                              const std::string& busTopic) {
    active_ =
        std::make_unique<Active>(connection, busTopic, run_, port_, lastSeq_, clock_, messages_);
    activeConnection_ = connection;
    activeTopic_ = busTopic;
    output::BrokerDelivery& delivery = active_->delivery;
    delivery.title = [this] { return runtime_.Caption(); };
    const control::FileScope scope = control::FileScope::Inside(connection.commandFolder);
    delivery.execute = [this, scope](const std::string& command) -> std::pair<bool, std::string> {
        control::DdeRuntime* dde = runtime_.dde();
        if (!dde || runtime_.Closing())
            return {false, "the runtime is closing"};
        if (dde->ExecuteFrom(command, scope))
            return {true, "done"};
        const std::string reason = dde->RefusalReason();
        return {false, reason.empty() ? "refused: not a command of this runtime, or it cannot "
                                        "be carried out now"
                                      : "refused: " + reason};
    };
    runtime_.OnRecordDelivered([this](const output::DeliveredRecord& record) {
        if (active_)
            active_->delivery.Deliver(record, NowIso());
    });
    delivery.Start();
}

void BrokerService::Tick() {
    if (reloaded_) {
        reloaded_ = false;
        Restart();
    }
    if (active_)
        active_->delivery.Tick();
}

void BrokerService::Restart() {
    std::string why;
    const auto connection = Settings(why);
    const std::string topic = BusTopic(runtime_.cfg());
    if (connection == activeConnection_ && topic == activeTopic_)
        return;
    StopActive(ReloadWaitMs);
    activeConnection_.reset();
    if (connection)
        StartWith(*connection, topic);
    else if (!why.empty())
        messages_.Show({"Records are not published to an MQTT broker: " + why, runtime_.Caption(),
                        config::MessageIcon::Exclamation, config::MessageButtons::Ok});
}

void BrokerService::Stop() {
    StopActive(StopWaitMs);
}

void BrokerService::StopActive(int waitMs) {
    if (!active_)
        return;
    runtime_.OnRecordDelivered(nullptr);
    output::BrokerDelivery& delivery = active_->delivery;
    // The records first, then "offline" after them; the event loop brings
    // the broker's acknowledgements.
    QElapsedTimer waited;
    waited.start();
    auto waitFor = [&](const auto& done) {
        while (!done() && delivery.Connected() && waited.elapsed() < waitMs) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
            delivery.Tick();
        }
    };
    waitFor([&] { return delivery.Waiting() == 0; });
    delivery.BeginStop();
    waitFor([&] { return delivery.Stopped(); });
    delivery.Stop();
    lastSeq_ = delivery.LastSeq();
    active_.reset();
}

} // namespace app

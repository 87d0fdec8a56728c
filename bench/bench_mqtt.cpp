// Records to an MQTT broker on loopback (Debian's mosquitto, started here on
// a free port with a configuration of its own): how many records per second
// the broker link publishes at QoS 0 and 1 (through its queue on disk, until
// a subscriber has every one), next to mosquitto_pub publishing the same
// payloads in the same run; and the latency from a delivered record to the
// subscriber (p50, p99), next to the broker's own round trip measured with a
// bare libmosquitto client. Goals: 5,000 records/s at QoS 1, and a p99 within
// 5 ms of the broker's own.

#include "engine/PosixClock.h"
#include "output/BrokerDelivery.h"
#include "output/MqttLink.h"
#include "output/PosixQueueStorage.h"

#include <QCoreApplication>
#include <QTimer>

#include <benchmark/benchmark.h>
#include <mosquitto.h>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <netinet/in.h>
#include <pwd.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr int Records = 20000;
constexpr int LatencySamples = 2000;
const std::string Topic = "corvane/COM1/record";

int FreePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t n = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &n);
    ::close(fd);
    return ntohs(a.sin_port);
}

bool Listening(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<std::uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    ::close(fd);
    return ok;
}

// The broker of the whole run, and the folder of the queue.
struct Broker {
    fs::path dir = fs::temp_directory_path() / ("corvane-bench-mqtt-" + std::to_string(getpid()));
    int port = FreePort();
    pid_t pid = -1;
    Broker() {
        fs::create_directories(dir);
        const passwd* user = ::getpwuid(::getuid());
        std::ofstream(dir / "mosquitto.conf")
            << "user " << (user ? user->pw_name : "root") << "\nlistener " << port
            << " 127.0.0.1\nallow_anonymous true\nmax_queued_messages 0\n";
        pid = ::fork();
        if (pid == 0) {
            ::freopen("/dev/null", "w", stderr);
            ::execl("/usr/sbin/mosquitto", "mosquitto", "-c", (dir / "mosquitto.conf").c_str(),
                    nullptr);
            ::_exit(127);
        }
        for (int i = 0; i < 250 && !Listening(port); ++i)
            std::this_thread::sleep_for(20ms);
        ::setenv("XDG_STATE_HOME", (dir / "state").c_str(), 1);
    }
    ~Broker() {
        ::kill(pid, SIGTERM);
        ::waitpid(pid, nullptr, 0);
        fs::remove_all(dir);
    }
};

Broker& TheBroker() {
    static Broker broker;
    return broker;
}

// A subscriber that notes when each seq arrives.
class Subscriber {
public:
    explicit Subscriber(int port) : arrived_(Records + 1) {
        client_ = mosquitto_new(nullptr, true, this);
        mosquitto_message_callback_set(
            client_, [](mosquitto*, void* self, const mosquitto_message* m) {
                auto* s = static_cast<Subscriber*>(self);
                if (m->retain)
                    return; // the last record of an earlier benchmark
                const std::string_view payload(static_cast<const char*>(m->payload),
                                               static_cast<std::size_t>(m->payloadlen));
                const std::size_t at = payload.find("\"seq\": ");
                if (at == std::string_view::npos)
                    return;
                const int seq = std::atoi(payload.data() + at + 7);
                if (seq > 0 && seq <= Records) {
                    std::lock_guard lock(s->mutex_);
                    if (s->arrived_[static_cast<std::size_t>(seq)] == Clock::time_point{}) {
                        s->arrived_[static_cast<std::size_t>(seq)] = Clock::now();
                        ++s->count_;
                    }
                }
            });
        mosquitto_subscribe_callback_set(client_, [](mosquitto*, void* self, int, int, const int*) {
            static_cast<Subscriber*>(self)->subscribed_ = true;
        });
        mosquitto_connect(client_, "127.0.0.1", port, 30);
        mosquitto_subscribe(client_, nullptr, Topic.c_str(), 1);
        mosquitto_loop_start(client_);
        while (!subscribed_)
            std::this_thread::sleep_for(1ms);
    }
    ~Subscriber() {
        mosquitto_disconnect(client_);
        mosquitto_loop_stop(client_, false);
        mosquitto_destroy(client_);
    }
    int Count() {
        std::lock_guard lock(mutex_);
        return count_;
    }
    Clock::time_point Arrived(int seq) {
        std::lock_guard lock(mutex_);
        return arrived_[static_cast<std::size_t>(seq)];
    }

private:
    mosquitto* client_;
    std::atomic<bool> subscribed_{false};
    std::mutex mutex_;
    std::vector<Clock::time_point> arrived_;
    int count_ = 0;
};

// The broker link as a runtime has it: libmosquitto, the queue on disk, the
// delivery, ticked every 50 ms.
struct Link {
    output::MqttLink link;
    output::PosixQueueStorage storage;
    output::RecordQueue queue;
    engine::PosixClock clock;
    config::SilentMessageSink messages;
    output::BrokerDelivery delivery;
    QTimer ticker;

    Link(int port, int qos, const std::string& name)
        : storage(output::QueueRoot() + "/" + name), queue(storage, 256ull << 20),
          delivery({link, queue, clock, messages, Connection(port, qos),
                    output::TopicsFor("corvane", "COM1"), "bench", "corvane-bench-" + name,
                    "virtual"}) {
        QObject::connect(&ticker, &QTimer::timeout, [this] { delivery.Tick(); });
        ticker.start(50);
        delivery.Start();
        while (!delivery.Connected())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    }
    static output::BrokerConnection Connection(int port, int qos) {
        output::BrokerConnection c;
        c.address.host = "127.0.0.1";
        c.address.port = port;
        c.qos = qos;
        return c;
    }
};

const output::DeliveredRecord Sample{"1", {"12.345", "g", "S", "2026-11-24 14:05:09"}};

std::string Payload(int seq) {
    return output::RecordPayload({"bench", static_cast<std::uint64_t>(seq), "1",
                                  "2026-11-24T14:05:09.120+00:00", "virtual", Sample.fields});
}

void CorvaneRate(benchmark::State& state, int qos) {
    const int port = TheBroker().port;
    for (auto _ : state) {
        Subscriber sub(port);
        Link l(port, qos, "rate" + std::to_string(qos) + "-" + std::to_string(state.iterations()));
        const auto start = Clock::now();
        // Records come in a tick's worth at a time, as from a fast instrument.
        for (int n = 0; n < Records; ++n) {
            l.delivery.Deliver(Sample, "2026-11-24T14:05:09.120+00:00");
            if (n % 500 == 499)
                QCoreApplication::processEvents();
        }
        while (sub.Count() < Records && Clock::now() - start < 120s)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["records_per_s"] = sub.Count() / seconds;
        state.counters["lost"] = Records - sub.Count();
    }
}

void MosquittoPubRate(benchmark::State& state, int qos) {
    const int port = TheBroker().port;
    const fs::path lines = TheBroker().dir / "payloads.txt";
    {
        std::ofstream out(lines);
        for (int seq = 1; seq <= Records; ++seq)
            out << Payload(seq) << '\n';
    }
    for (auto _ : state) {
        Subscriber sub(port);
        const auto start = Clock::now();
        const std::string command = "/usr/bin/mosquitto_pub -h 127.0.0.1 -p " +
                                    std::to_string(port) + " -q " + std::to_string(qos) + " -t " +
                                    Topic + " -l < " + lines.string();
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("mosquitto_pub failed");
        while (sub.Count() < Records && Clock::now() - start < 120s)
            std::this_thread::sleep_for(1ms);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["records_per_s"] = sub.Count() / seconds;
        state.counters["lost"] = Records - sub.Count();
    }
}

void Percentiles(benchmark::State& state, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    state.counters["p50_ms"] = ms[ms.size() / 2];
    state.counters["p99_ms"] = ms[ms.size() * 99 / 100];
    state.counters["max_ms"] = ms.back();
}

// One record at a time: from its delivery until the subscriber has it.
void CorvaneLatency(benchmark::State& state) {
    const int port = TheBroker().port;
    for (auto _ : state) {
        Subscriber sub(port);
        Link l(port, 1, "latency-" + std::to_string(state.iterations()));
        std::vector<double> ms;
        for (int seq = 1; seq <= LatencySamples; ++seq) {
            const auto sent = Clock::now();
            l.delivery.Deliver(Sample, "2026-11-24T14:05:09.120+00:00");
            while (sub.Arrived(seq) == Clock::time_point{} && Clock::now() - sent < 5s)
                QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            ms.push_back(
                std::chrono::duration<double, std::milli>(sub.Arrived(seq) - sent).count());
        }
        Percentiles(state, ms);
    }
}

// The broker's own round trip: a bare client publishes the same payload.
void BrokerRoundTrip(benchmark::State& state) {
    const int port = TheBroker().port;
    for (auto _ : state) {
        Subscriber sub(port);
        mosquitto* pub = mosquitto_new(nullptr, true, nullptr);
        mosquitto_connect(pub, "127.0.0.1", port, 30);
        mosquitto_loop_start(pub);
        std::vector<double> ms;
        for (int seq = 1; seq <= LatencySamples; ++seq) {
            const std::string payload = Payload(seq);
            const auto sent = Clock::now();
            mosquitto_publish(pub, nullptr, Topic.c_str(), static_cast<int>(payload.size()),
                              payload.data(), 1, true);
            while (sub.Arrived(seq) == Clock::time_point{} && Clock::now() - sent < 5s)
                std::this_thread::yield();
            ms.push_back(
                std::chrono::duration<double, std::milli>(sub.Arrived(seq) - sent).count());
        }
        mosquitto_disconnect(pub);
        mosquitto_loop_stop(pub, false);
        mosquitto_destroy(pub);
        Percentiles(state, ms);
    }
}

} // namespace

BENCHMARK_CAPTURE(CorvaneRate, Qos0, 0)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MosquittoPubRate, Qos0, 0)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(CorvaneRate, Qos1, 1)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MosquittoPubRate, Qos1, 1)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(CorvaneLatency)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BrokerRoundTrip)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    mosquitto_lib_init();
    TheBroker();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

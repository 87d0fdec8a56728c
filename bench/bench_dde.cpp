// DDE Server mode on a private session bus: how many records per second a
// runtime publishes through a pseudo-terminal with a Changed signal for every
// item (4 fields and the record counter), all of them received by a follower
// in this process; and the round trip of one Execute from this process while
// records flow at 2,000 per second. The bus must never be the reason a record
// is late: at least 2,000 records/s, and the 99th percentile Execute within
// one tick (50 ms).

#include "RuntimeProcess.h"
#include "control/DbusClient.h"
#include "control/DdeNames.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QObject>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

const std::string BusName = "org.corvane.Corvane.COM1";

// A headless runtime in DDE Server mode on a pseudo-terminal: four
// comma-delimited fields per line.
struct Runtime : benchrig::RuntimeProcess {
    explicit Runtime(const std::string& busAddress)
        : RuntimeProcess(
              [](const fs::path&) {
                  return R"({"TransferMode": 1, "RecordStructure": 1, "NumFields": 4,
                             "StartOfRecordEvent": 1})";
              },
              busAddress) {}
    // Writes count records at most perSecond a second (0: as fast as the
    // terminal takes them), until stop is set.
    void Write(std::size_t count, std::size_t perSecond, const std::atomic<bool>& stop) const {
        const std::string record = "1.234,5.678,9.012,3.456\r\n";
        const std::size_t batch = perSecond ? std::max<std::size_t>(perSecond / 20, 1) : 200;
        std::string data;
        for (std::size_t i = 0; i < batch; ++i)
            data += record;
        auto next = Clock::now();
        for (std::size_t written = 0; written < count && !stop; written += batch) {
            const std::size_t n = std::min(batch, count - written) * record.size();
            for (std::size_t sent = 0; sent < n;) {
                const ssize_t w = ::write(master, data.data() + sent, n - sent);
                if (w > 0)
                    sent += static_cast<std::size_t>(w);
            }
            if (perSecond) {
                next += std::chrono::milliseconds(50);
                std::this_thread::sleep_until(next);
            }
        }
    }
};

// Follows every Changed signal of the runtime.
class Follower : public QObject {
    Q_OBJECT
public:
    std::size_t received = 0;
    QString recordNumber;
public slots:
    void OnChanged(const QString& item, const QString& text) {
        ++received;
        if (item == QLatin1String("RecordNumber"))
            recordNumber = text;
    }
};

// A runtime on a bus of its own, followed from this process, and a thread
// that writes records to its port.
struct Rig {
    benchrig::PrivateBus bus;
    Runtime runtime{bus.address};
    QString connectionName;
    QDBusConnection connection;
    Follower follower;
    std::atomic<bool> stop{false};
    std::thread writer;

    // Connects and waits until the runtime serves its name.
    explicit Rig(const char* name)
        : connectionName(name),
          connection(QDBusConnection::connectToBus(QString::fromStdString(bus.address), name)) {
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (Clock::now() < deadline &&
               control::CallDde(connection, BusName, "Request", {"RecordNumber"}, 1000).kind !=
                   control::DdeAnswer::Ok)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        connection.connect(QString::fromStdString(BusName), control::DdeObjectPath,
                           control::DdeInterface, "Changed", &follower,
                           SLOT(OnChanged(QString, QString)));
    }
    ~Rig() {
        stop = true;
        if (writer.joinable())
            writer.join();
        QDBusConnection::disconnectFromBus(connectionName);
    }
    void StartWriting(std::size_t records, std::size_t perSecond) {
        writer =
            std::thread([this, records, perSecond] { runtime.Write(records, perSecond, stop); });
    }
};

void DdeServerRecords(benchmark::State& st) {
    const std::size_t records = static_cast<std::size_t>(st.range(0));
    for (auto _ : st) {
        Rig rig("records");
        const double cpuBefore = rig.runtime.CpuSeconds();
        const double busCpuBefore = benchrig::ProcessCpuSeconds(rig.bus.pid);
        const auto start = Clock::now();
        rig.StartWriting(records, 0);
        const QString last = QString::number(records);
        const auto deadline = start + std::chrono::seconds(120);
        while (rig.follower.recordNumber != last && Clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        st.counters["records/s"] = static_cast<double>(records) / seconds;
        st.counters["runtime CPU %"] = (rig.runtime.CpuSeconds() - cpuBefore) / seconds * 100;
        st.counters["dbus-daemon CPU %"] =
            (benchrig::ProcessCpuSeconds(rig.bus.pid) - busCpuBefore) / seconds * 100;
        st.counters["signals lost"] =
            static_cast<double>(records * 5) - static_cast<double>(rig.follower.received);
    }
}

void ExecuteRoundTrip(benchmark::State& st) {
    const std::size_t calls = static_cast<std::size_t>(st.range(0));
    for (auto _ : st) {
        Rig rig("roundtrip");
        rig.StartWriting(SIZE_MAX, 2000);
        std::vector<double> ms;
        std::size_t failed = 0;
        const auto start = Clock::now();
        for (std::size_t i = 0; i < calls; ++i) {
            const auto t0 = Clock::now();
            const auto answer =
                control::CallDde(rig.connection, BusName, "Execute", {"{STRIPCRLF-ON}"}, 1000);
            ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - t0).count());
            failed += answer.kind != control::DdeAnswer::Ok;
            // Let the follower keep up, and spread the calls over the ticks.
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(7));
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        std::sort(ms.begin(), ms.end());
        st.counters["median ms"] = ms[ms.size() / 2];
        st.counters["p99 ms"] = ms[ms.size() * 99 / 100];
        st.counters["max ms"] = ms.back();
        st.counters["failed"] = static_cast<double>(failed);
        st.counters["records/s meanwhile"] = rig.follower.recordNumber.toDouble() / seconds;
    }
}

} // namespace

BENCHMARK(DdeServerRecords)->Arg(20000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(ExecuteRoundTrip)->Arg(1000)->Iterations(1)->Unit(benchmark::kSecond);

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

#include "bench_dde.moc"

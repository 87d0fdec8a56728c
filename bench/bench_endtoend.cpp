// The program end to end through a pseudo-terminal: the sustained byte rate
// with every record accounted for, CPU seconds per MB, the time from a
// record's last byte written to the terminal until the record is in the log
// file, and the CPU use of an idle running instance.

#include "RuntimeProcess.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <random>
#include <sstream>
#include <string>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

// A logging runtime: one line per record in its folder's bench.log.
struct Instance : benchrig::RuntimeProcess {
    fs::path log;

    Instance()
        : RuntimeProcess([](const fs::path& dir) {
              return R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" +
                     (dir / "bench.log").string() + "\"}";
          }),
          log(dir / "bench.log") {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    std::size_t LogLines() const {
        std::ifstream in(log, std::ios::binary);
        std::size_t n = 0;
        std::string line;
        while (std::getline(in, line))
            ++n;
        return n;
    }
};

void PseudoTerminalThroughput(benchmark::State& st) {
    const std::size_t records = static_cast<std::size_t>(st.range(0));
    const std::string record = "  12.345 g\r\n";
    for (auto _ : st) {
        Instance instance;
        std::string data;
        for (std::size_t i = 0; i < records; ++i)
            data += record;
        double cpuBefore = instance.CpuSeconds();
        auto start = std::chrono::steady_clock::now();
        std::size_t sent = 0;
        fcntl(instance.master, F_SETFL, O_NONBLOCK);
        while (sent < data.size()) {
            ssize_t n = ::write(instance.master, data.data() + sent, data.size() - sent);
            if (n > 0)
                sent += static_cast<std::size_t>(n);
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        auto deadline = start + std::chrono::seconds(120);
        while (instance.LogLines() < records && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        double cpu = instance.CpuSeconds() - cpuBefore;
        double mb = static_cast<double>(data.size()) / 1e6;
        st.counters["KB/s"] = static_cast<double>(data.size()) / 1e3 / seconds;
        st.counters["records lost"] = static_cast<double>(records - instance.LogLines());
        st.counters["CPU s/MB"] = cpu / mb;
    }
}

// From the write of a record's last byte to the log file closed with the
// record in it, for records written at random moments (so that they fall
// anywhere between two ticks): the median and the 95th and 99th percentiles.
void RecordLatency(benchmark::State& st) {
    const std::size_t records = static_cast<std::size_t>(st.range(0));
    for (auto _ : st) {
        Instance instance;
        const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        inotify_add_watch(watch, instance.dir.c_str(), IN_CLOSE_WRITE);
        std::mt19937 random(42);
        std::vector<double> ms;
        for (std::size_t i = 0; i < records; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
            const auto start = std::chrono::steady_clock::now();
            if (::write(instance.master, "12.345\r", 7) != 7)
                break;
            // Wait until the log holds this record; events of earlier records
            // are drained on the way.
            const auto deadline = start + std::chrono::seconds(5);
            while (instance.LogLines() < i + 1 && std::chrono::steady_clock::now() < deadline) {
                pollfd p{watch, POLLIN, 0};
                ::poll(&p, 1, 20);
                char events[4096];
                while (::read(watch, events, sizeof events) > 0) {
                }
            }
            ms.push_back(std::chrono::duration<double, std::milli>(
                             std::chrono::steady_clock::now() - start)
                             .count());
        }
        ::close(watch);
        std::sort(ms.begin(), ms.end());
        auto percentile = [&](double p) {
            return ms.empty() ? 0.0 : ms[std::min(ms.size() - 1, static_cast<std::size_t>(p * static_cast<double>(ms.size())))];
        };
        st.counters["median ms"] = percentile(0.5);
        st.counters["p95 ms"] = percentile(0.95);
        st.counters["p99 ms"] = percentile(0.99);
        st.counters["max ms"] = ms.empty() ? 0.0 : ms.back();
        st.counters["records lost"] = static_cast<double>(records - instance.LogLines());
    }
}

void IdleCpu(benchmark::State& st) {
    for (auto _ : st) {
        Instance instance;
        double before = instance.CpuSeconds();
        std::this_thread::sleep_for(std::chrono::seconds(10));
        st.counters["idle CPU %"] = (instance.CpuSeconds() - before) / 10.0 * 100.0;
    }
}

} // namespace

BENCHMARK(PseudoTerminalThroughput)->Arg(100000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(RecordLatency)->Arg(500)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(IdleCpu)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

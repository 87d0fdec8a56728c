// The runtime with its window shown (a private Xvfb and session bus): it
// keeps up with balance records arriving at 115,200 baud on a
// pseudo-terminal, and its idle CPU. Each record is logged, so the log shows
// what has been processed.

#include "RuntimeProcess.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

struct WindowedInstance : benchrig::RuntimeProcess {
    fs::path log;
    WindowedInstance(const std::string& bus, const std::string& display)
        : RuntimeProcess(
              [](const fs::path& dir) {
                  return R"({"TransferMode": 2, "StartOfRecordEvent": 2, "ShowDateTime": -1,
                             "LogFileName": ")" +
                         (dir / "bench.log").string() + "\"}";
              },
              bus, display),
          log(dir / "bench.log") {
        std::this_thread::sleep_for(std::chrono::seconds(2)); // the window comes up
    }
    std::size_t LogLines() const {
        std::ifstream in(log, std::ios::binary);
        return static_cast<std::size_t>(
            std::count(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>(), '\n'));
    }
};

// Records written at the pace of a 115,200-baud line (11,520 bytes/s) for
// the given seconds. Every 100 ms the backlog (records written, not yet
// logged) is sampled; at the end, how long the last record took to be logged.
void WindowKeepsUpAt115200Baud(benchmark::State& st) {
    benchrig::PrivateDisplay x;
    benchrig::PrivateBus bus;
    if (x.display.empty()) {
        st.SkipWithError("no Xvfb");
        return;
    }
    const std::string record = "  12.345 g\r\n"; // 12 bytes
    const double recordsPerSecond = 11520.0 / static_cast<double>(record.size());
    const auto seconds = std::chrono::seconds(st.range(0));
    for (auto _ : st) {
        WindowedInstance runtime(bus.address, x.display);
        const double cpuBefore = runtime.CpuSeconds();
        const auto start = Clock::now();
        std::size_t written = 0, maxBacklog = 0;
        auto nextSample = start;
        while (Clock::now() - start < seconds) {
            const double due = std::chrono::duration<double>(Clock::now() - start).count() *
                               recordsPerSecond;
            std::string burst;
            for (; static_cast<double>(written) < due; ++written)
                burst += record;
            if (!burst.empty() && ::write(runtime.master, burst.data(), burst.size()) < 0)
                break;
            if (Clock::now() >= nextSample) {
                maxBacklog = std::max(maxBacklog, written - std::min(written, runtime.LogLines()));
                nextSample += std::chrono::milliseconds(100);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        const auto lastWrite = Clock::now();
        while (runtime.LogLines() < written && Clock::now() - lastWrite < std::chrono::seconds(10))
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const double cpu = runtime.CpuSeconds() - cpuBefore;
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        st.counters["records"] = static_cast<double>(written);
        st.counters["records lost"] = static_cast<double>(written - runtime.LogLines());
        st.counters["max backlog records"] = static_cast<double>(maxBacklog);
        st.counters["catch-up ms"] =
            std::chrono::duration<double, std::milli>(Clock::now() - lastWrite).count();
        st.counters["CPU %"] = cpu / elapsed * 100.0;
    }
}

void WindowIdleCpu(benchmark::State& st) {
    benchrig::PrivateDisplay x;
    benchrig::PrivateBus bus;
    if (x.display.empty()) {
        st.SkipWithError("no Xvfb");
        return;
    }
    for (auto _ : st) {
        WindowedInstance runtime(bus.address, x.display);
        const double before = runtime.CpuSeconds();
        std::this_thread::sleep_for(std::chrono::seconds(10));
        st.counters["idle CPU %"] = (runtime.CpuSeconds() - before) / 10.0 * 100.0;
    }
}

} // namespace

BENCHMARK(WindowKeepsUpAt115200Baud)->Arg(20)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(WindowIdleCpu)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

// The trend window's cost to acquisition: records per second through a
// runtime with its window (a private Xvfb and session bus) that logs every
// record, with the trend window open and showing "All" once a million
// records are in it, beside the same runtime without the trend window (the
// anchor), in the same run, alternately. Also the memory of each runtime
// after a million records: the difference is what the trend window takes.

#include "RuntimeProcess.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t Prefill = 1'000'000; // records in the trend before the measure
constexpr std::size_t Measured = 300'000;  // records whose rate is measured

// Resident memory of a process, in kB (VmRSS of /proc/PID/status).
double ResidentKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stod(line.substr(6));
    return 0;
}

struct LoggingRuntime : benchrig::RuntimeProcess {
    fs::path log;
    std::ifstream in;
    std::size_t lines = 0;

    LoggingRuntime(const std::string& bus, const std::string& display, bool trend)
        : RuntimeProcess(
              [trend](const fs::path& dir) {
                  // The trend window shows "All" (kept in the settings the
                  // runtime reads: its XDG_CONFIG_HOME is this folder).
                  if (trend) {
                      fs::create_directories(dir / "Corvane");
                      std::ofstream(dir / "Corvane" / "Corvane.ini") << "[Trend]\nSpan=3\n";
                  }
                  return R"({"TransferMode": 2, "StartOfRecordEvent": 2, "RecordStructure": 1,
                             "NumFields": 3, "DelimiterChar": ",", "LogFileName": ")" +
                         (dir / "trend.log").string() + "\"}";
              },
              bus, display, trend ? "--trend" : ""),
          log(dir / "trend.log") {
        std::this_thread::sleep_for(std::chrono::seconds(2)); // the windows come up
    }
    // Lines logged so far, read on from where the last call stopped.
    std::size_t Logged() {
        if (!in.is_open()) {
            in.open(log, std::ios::binary);
            if (!in.is_open())
                return 0;
        }
        in.clear();
        char buffer[1 << 16];
        while (in.read(buffer, sizeof buffer) || in.gcount() > 0)
            lines += static_cast<std::size_t>(std::count(buffer, buffer + in.gcount(), '\n'));
        return lines;
    }
    bool WaitLogged(std::size_t count) {
        auto last = Clock::now();
        std::size_t seen = Logged();
        while (seen < count) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            const std::size_t now = Logged();
            if (now != seen)
                last = Clock::now();
            else if (Clock::now() - last > std::chrono::seconds(20))
                return false; // stuck
            seen = now;
        }
        return true;
    }
};

// Three fields as a climate meter sends them, a thousand different records
// (so every batch has new extremes to draw), repeated.
std::string RecordBlock() {
    std::string block;
    for (int i = 0; i < 1000; ++i)
        block += std::to_string(20 + i % 37 * 0.1).substr(0, 5) + "," +
                 std::to_string(40 + i % 53 * 0.2).substr(0, 4) + "," +
                 std::to_string(1000 + i % 29 * 0.5).substr(0, 6) + "\r\n";
    return block;
}

// Writes count records as fast as the port takes them.
bool Feed(int master, const std::string& block, std::size_t count) {
    for (std::size_t sent = 0; sent < count; sent += 1000) {
        for (std::size_t at = 0; at < block.size();) {
            const ssize_t n = ::write(master, block.data() + at, block.size() - at);
            if (n < 0)
                return false;
            at += static_cast<std::size_t>(n);
        }
    }
    return true;
}

struct Result {
    double recordsPerSecond = 0;
    double residentKb = 0;
};

// One runtime: a million records in, then the rate of the next ones.
Result Measure(const std::string& bus, const std::string& display, bool trend,
               const std::string& block, benchmark::State& st) {
    LoggingRuntime runtime(bus, display, trend);
    Result result;
    std::thread prefill([&] { Feed(runtime.master, block, Prefill); });
    const bool filled = runtime.WaitLogged(Prefill);
    prefill.join();
    if (!filled) {
        st.SkipWithError("the runtime stopped logging");
        return result;
    }
    std::this_thread::sleep_for(std::chrono::seconds(2)); // a few batches drawn at a million
    result.residentKb = ResidentKb(runtime.pid);
    const auto start = Clock::now();
    std::thread measured([&] { Feed(runtime.master, block, Measured); });
    const bool done = runtime.WaitLogged(Prefill + Measured);
    measured.join();
    if (!done) {
        st.SkipWithError("the runtime stopped logging");
        return result;
    }
    result.recordsPerSecond =
        static_cast<double>(Measured) / std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

void TrendWindowAfterAMillionRecords(benchmark::State& st) {
    benchrig::PrivateDisplay x;
    benchrig::PrivateBus bus;
    if (x.display.empty()) {
        st.SkipWithError("no Xvfb");
        return;
    }
    const std::string block = RecordBlock();
    for (auto _ : st) {
        // Alternately, twice each, so that a change in the machine's load
        // falls on both.
        std::vector<double> without, with;
        Result last[2];
        for (int round = 0; round < 4; ++round) {
            const bool trend = round % 2 == 1;
            last[trend] = Measure(bus.address, x.display, trend, block, st);
            (trend ? with : without).push_back(last[trend].recordsPerSecond);
        }
        const double anchor = *std::max_element(without.begin(), without.end());
        const double rate = *std::max_element(with.begin(), with.end());
        st.counters["records/s without trend (best of 2)"] = anchor;
        st.counters["records/s with trend, All (best of 2)"] = rate;
        st.counters["ratio %"] = rate / anchor * 100.0;
        st.counters["RSS without trend MiB"] = last[0].residentKb / 1024.0;
        st.counters["RSS with trend MiB"] = last[1].residentKb / 1024.0;
        st.counters["trend MiB"] = (last[1].residentKb - last[0].residentKb) / 1024.0;
    }
}

} // namespace

BENCHMARK(TrendWindowAfterAMillionRecords)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

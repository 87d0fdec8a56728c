// The program end to end through a pseudo-terminal: the sustained byte rate
// with every record accounted for, CPU seconds per MB, the time from a
// record's last byte written to the terminal until the record is in the log
// file and until a follower on the session bus has its new record number
// (beside a minimal reader of the same terminal as the floor), and the CPU
// use of an idle running instance.

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

// Counts the lines of a file.
std::size_t Lines(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::size_t n = 0;
    std::string line;
    while (std::getline(in, line))
        ++n;
    return n;
}

// A logging runtime: one line per record in its folder's bench.log.
struct Instance : benchrig::RuntimeProcess {
    fs::path log;

    explicit Instance(const std::string& busAddress = "")
        : RuntimeProcess(
              [](const fs::path& dir) {
                  return R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" +
                         (dir / "bench.log").string() + "\"}";
              },
              busAddress),
          log(dir / "bench.log") {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    std::size_t LogLines() const { return Lines(log); }
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

// What a record's latency is measured from and to.
using Clock = std::chrono::steady_clock;

// The 99th percentile and the rest of a set of times in milliseconds.
void Report(benchmark::State& st, const std::string& what, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    auto percentile = [&](double p) {
        return ms.empty()
                   ? 0.0
                   : ms[std::min(ms.size() - 1,
                                 static_cast<std::size_t>(p * static_cast<double>(ms.size())))];
    };
    st.counters[what + " median ms"] = percentile(0.5);
    st.counters[what + " p95 ms"] = percentile(0.95);
    st.counters[what + " p99 ms"] = percentile(0.99);
    st.counters[what + " max ms"] = ms.empty() ? 0.0 : ms.back();
}

// Writes "12.345" CR at the pace of 115,200 baud (87 us a byte): the first
// six bytes, the time the line takes for them, then the last; returns the
// moment the last byte was written.
Clock::time_point WriteRecordAt115200(int master) {
    const auto first = Clock::now();
    if (::write(master, "12.345", 6) != 6)
        return Clock::now();
    while (Clock::now() - first < std::chrono::microseconds(6 * 87)) {
    }
    const auto last = Clock::now();
    [[maybe_unused]] ssize_t n = ::write(master, "\r", 1);
    return last;
}

// The floor: a loop that reads the pseudo-terminal as bytes arrive and
// appends each line to a file, opening and closing it per line as the log
// does.
pid_t StartMinimalReader(const std::string& slaveName, const fs::path& out) {
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    const int fd = ::open(slaveName.c_str(), O_RDONLY | O_NOCTTY);
    termios raw{};
    tcgetattr(fd, &raw);
    cfmakeraw(&raw);
    tcsetattr(fd, TCSANOW, &raw);
    std::string line;
    char buffer[4096];
    while (true) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, -1) < 0)
            continue;
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
            _exit(0);
        for (ssize_t i = 0; i < n; ++i) {
            line += buffer[i];
            if (buffer[i] != '\r')
                continue;
            const int log = ::open(out.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
            line += "\r\n";
            [[maybe_unused]] ssize_t w = ::write(log, line.data(), line.size());
            ::close(log);
            line.clear();
        }
    }
}

// The record numbers a follower on the bus prints: `corvane dde watch`.
struct Follower {
    pid_t pid = -1;
    int out = -1;
    std::string pending;
    explicit Follower(const std::string& busAddress) {
        int pipeFds[2];
        if (pipe(pipeFds) != 0)
            return;
        pid = fork();
        if (pid == 0) {
            dup2(pipeFds[1], 1);
            setenv("DBUS_SESSION_BUS_ADDRESS", busAddress.c_str(), 1);
            execl(CORVANE_BINARY, CORVANE_BINARY, "dde", "watch", "Corvane", "COM1", "RecordNumber",
                  nullptr);
            _exit(127);
        }
        ::close(pipeFds[1]);
        out = pipeFds[0];
        fcntl(out, F_SETFL, O_NONBLOCK);
    }
    ~Follower() {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
        ::close(out);
    }
    // Takes what the follower printed; true once a line that says number
    // has come (the lines before it are passed over).
    bool Seen(const std::string& number) {
        char buffer[4096];
        for (ssize_t n; (n = ::read(out, buffer, sizeof buffer)) > 0;)
            pending.append(buffer, static_cast<std::size_t>(n));
        for (std::size_t end; (end = pending.find('\n')) != std::string::npos;) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (line == number)
                return true;
        }
        return false;
    }
};

// Waits until the log holds want lines and (with a follower) the follower
// has printed want, timing each from start as it comes; false when either
// did not come within 5 s.
bool WaitAndTime(int watch, const fs::path& log, std::size_t want, Follower* follower,
                 Clock::time_point start, std::vector<double>& logMs, std::vector<double>& busMs) {
    bool logged = false, followed = follower == nullptr;
    auto since = [&] {
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    };
    while (!(logged && followed)) {
        if (!logged && Lines(log) >= want) {
            logged = true;
            logMs.push_back(since());
        }
        if (!followed && follower->Seen(std::to_string(want))) {
            followed = true;
            busMs.push_back(since());
        }
        if (logged && followed)
            break;
        if (Clock::now() - start > std::chrono::seconds(5))
            return false;
        pollfd p[2] = {{watch, POLLIN, 0}, {follower ? follower->out : -1, POLLIN, 0}};
        ::poll(p, 2, 20);
        char events[4096];
        while (::read(watch, events, sizeof events) > 0) {
        }
    }
    return true;
}

// From the write of a record's last byte to the record in the log file, and
// to a follower on the session bus seeing its record number, for records of
// 7 bytes at 115,200 baud written at random moments (so that they fall
// anywhere between two of the runtime's ticks); beside the same records
// read by a minimal reader of a second terminal, the floor.
void RecordLatency(benchmark::State& st) {
    const std::size_t records = static_cast<std::size_t>(st.range(0));
    for (auto _ : st) {
        benchrig::PrivateBus bus;
        Instance instance(bus.address);
        Follower follower(bus.address);
        // The follower prints the number as it is before it follows it.
        const auto started = Clock::now();
        while (!follower.Seen("") && Clock::now() - started < std::chrono::seconds(10))
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        int master = -1, slave = -1;
        char name[256];
        termios raw{};
        cfmakeraw(&raw);
        openpty(&master, &slave, name, &raw, nullptr);
        const fs::path floorLog = instance.dir / "floor" / "lines.log";
        fs::create_directory(floorLog.parent_path());
        const pid_t reader = StartMinimalReader(name, floorLog);
        ::close(slave);
        const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        inotify_add_watch(watch, instance.dir.c_str(), IN_CLOSE_WRITE);
        inotify_add_watch(watch, floorLog.parent_path().c_str(), IN_CLOSE_WRITE);
        std::mt19937 random(42);
        std::vector<double> logMs, busMs, floorMs, unused;
        std::size_t lost = 0;
        for (std::size_t i = 0; i < records; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
            if (!WaitAndTime(watch, instance.log, i + 1, &follower,
                             WriteRecordAt115200(instance.master), logMs, busMs))
                ++lost;
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
            WaitAndTime(watch, floorLog, i + 1, nullptr, WriteRecordAt115200(master), floorMs,
                        unused);
        }
        kill(reader, SIGTERM);
        waitpid(reader, nullptr, 0);
        ::close(master);
        ::close(watch);
        Report(st, "log", logMs);
        Report(st, "bus", busMs);
        Report(st, "reader", floorMs);
        st.counters["records lost"] = static_cast<double>(lost);
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
BENCHMARK(RecordLatency)->Arg(1000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(IdleCpu)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

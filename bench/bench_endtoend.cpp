// The program end to end through a pseudo-terminal: the sustained byte rate
// with every record accounted for, CPU seconds per MB, and the CPU use of an
// idle running instance.

#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct Instance {
    fs::path dir, log;
    int master = -1;
    pid_t pid = -1;

    Instance() {
        char tmpl[] = "/tmp/corvane-bench-XXXXXX";
        dir = mkdtemp(tmpl);
        log = dir / "bench.log";
        std::ofstream(dir / "cfg.json")
            << R"({"TransferMode": 2, "StartOfRecordEvent": 2, "LogFileName": ")" << log.string()
            << "\"}";
        std::string build = std::string(CORVANE_BINARY) + " config build " +
                            (dir / "cfg.json").string() + " " + (dir / "b.QX3").string();
        if (std::system(build.c_str()) != 0)
            return;
        int slave = -1;
        char name[256];
        termios raw{};
        cfmakeraw(&raw);
        openpty(&master, &slave, name, &raw, nullptr);
        ::close(slave);
        pid = fork();
        if (pid == 0) {
            execl(CORVANE_BINARY, CORVANE_BINARY, "run", "--headless", "--port", name,
                  (dir / "b.QX3").c_str(), nullptr);
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    ~Instance() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            int status;
            waitpid(pid, &status, 0);
        }
        ::close(master);
        fs::remove_all(dir);
    }
    // User plus system CPU seconds of the instance so far.
    double CpuSeconds() const {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string text((std::istreambuf_iterator<char>(stat)), {});
        std::istringstream fields(text.substr(text.rfind(')') + 2));
        std::string skip;
        for (int i = 0; i < 11; ++i)
            fields >> skip;
        long utime = 0, stime = 0;
        fields >> utime >> stime;
        return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
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

void IdleCpu(benchmark::State& st) {
    for (auto _ : st) {
        Instance instance;
        double before = instance.CpuSeconds();
        std::this_thread::sleep_for(std::chrono::seconds(10));
        st.counters["idle CPU %"] = (instance.CpuSeconds() - before) / 10.0 * 100.0;
    }
}

} // namespace

BENCHMARK(PseudoTerminalThroughput)->Arg(20000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(IdleCpu)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

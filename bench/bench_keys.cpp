// Characters per second typed into a real X client (a private Xvfb and the
// recording client of the tests, in its strict mode that drops a press
// sharing a server millisecond with an earlier event of its key), with
// InterCharDelay 0 and 1, checking that nothing is lost or reordered; beside
// `xdotool type --delay 0` on the same texts in the same run. Two texts:
// letters and digits without doubles, and balance values full of doubled
// digits ("100.00 11.11 ..."), where presses must wait for the server's clock.

#include "PrivateDisplay.h"
#include "engine/PosixClock.h"
#include "output/KeySender.h"
#include "output/X11Keyboard.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

pid_t Spawn(std::vector<std::string> argv) {
    pid_t pid = fork();
    if (pid == 0) {
        std::vector<char*> args;
        for (auto& a : argv)
            args.push_back(a.data());
        args.push_back(nullptr);
        execvp(args[0], args.data());
        _exit(127);
    }
    return pid;
}

std::string Slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool WaitUntil(const std::function<bool()>& pred, std::chrono::seconds limit) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (!pred()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// A private X server with one recording client.
struct Session {
    benchrig::PrivateDisplay x; // first in, last out: the client goes before its server
    pid_t recorder = -1;
    fs::path file;
    bool ok = false;

    Session() {
        if (x.display.empty())
            return;
        setenv("DISPLAY", x.display.c_str(), 1);
        char tmpl[] = "/tmp/corvane-keys-XXXXXX";
        file = fs::path(mkdtemp(tmpl)) / "typed.txt";
        recorder = Spawn({KEY_RECORDER, "Bench Recorder", file.string(), "--strict"});
        ok = WaitUntil([&] { return Slurp(file) == "<ready>"; }, 10s);
    }
    ~Session() {
        if (recorder > 0) {
            kill(recorder, SIGTERM);
            waitpid(recorder, nullptr, 0);
        }
        if (!file.empty())
            fs::remove_all(file.parent_path());
    }
    std::string Typed() const { return Slurp(file).substr(7); }
    void Clear() const { std::ofstream(file, std::ios::trunc) << "<ready>"; }
};

// kind 0: letters and digits, no key twice in a row; 1: balance values.
std::string Text(std::size_t n, long kind) {
    const std::string alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const std::string values = "100.00 11.11 22.50 1000.0 ";
    std::string s;
    for (std::size_t i = 0; i < n; ++i)
        s += kind == 0 ? alphabet[(i * 7) % alphabet.size()] : values[i % values.size()];
    return s;
}

void Report(benchmark::State& st, const Session& session, const std::string& text, double seconds) {
    bool exact = WaitUntil([&] { return session.Typed() == text; }, 30s);
    st.counters["chars/s"] = static_cast<double>(text.size()) / seconds;
    st.counters["lost or reordered"] = exact ? 0 : 1;
}

void CorvaneTyping(benchmark::State& st) {
    Session session;
    if (!session.ok) {
        st.SkipWithError("no Xvfb");
        return;
    }
    auto keyboard = output::X11Keyboard::Open();
    engine::PosixClock clock;
    output::KeySender sender(*keyboard, clock, nullptr);
    const std::string text = Text(static_cast<std::size_t>(st.range(1)), st.range(2));
    for (auto _ : st) {
        session.Clear();
        auto start = std::chrono::steady_clock::now();
        sender.SimSendKeys(text, st.range(0));
        bool done = WaitUntil([&] { return session.Typed().size() >= text.size(); }, 30s);
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (!done)
            st.SkipWithError("text did not arrive");
        Report(st, session, text, seconds);
    }
}

void XdotoolTyping(benchmark::State& st) {
    Session session;
    if (!session.ok) {
        st.SkipWithError("no Xvfb");
        return;
    }
    const std::string text = Text(static_cast<std::size_t>(st.range(0)), st.range(1));
    for (auto _ : st) {
        session.Clear();
        auto start = std::chrono::steady_clock::now();
        pid_t p = Spawn({"xdotool", "type", "--delay", "0", text});
        int status;
        waitpid(p, &status, 0);
        WaitUntil([&] { return session.Typed().size() >= text.size(); }, 30s);
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Report(st, session, text, seconds);
    }
}

} // namespace

// Arguments: InterCharDelay, characters, text kind.
BENCHMARK(CorvaneTyping)
    ->Args({0, 2000, 0})
    ->Args({0, 2000, 1})
    ->Args({1, 500, 0})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK(XdotoolTyping)->Args({2000, 0})->Args({2000, 1})->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

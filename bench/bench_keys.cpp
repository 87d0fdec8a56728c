// Characters per second typed into a real X client (a private Xvfb and the
// recording client of the tests, in its strict mode that drops a press
// sharing a server millisecond with an earlier event of its key), with
// InterCharDelay 0 and 1, checking that nothing is lost or reordered; beside
// `xdotool type --delay 0` on the same texts in the same run. Two texts:
// letters and digits without doubles, and balance values full of doubled
// digits ("100.00 11.11 ..."), where presses must wait for the server's clock.
//
// The same texts typed on Wayland into a headless sway: Corvane's wlroots
// backend (a virtual keyboard that stamps its own events) into the strict
// Qt recorder of the tests, beside `wtype` on the same texts in the same run,
// with the characters each loses counted.

#include "PrivateDisplay.h"
#include "engine/PosixClock.h"
#include "output/KeySender.h"
#include "output/WlrootsConnection.h"
#include "output/WlrootsKeyboard.h"
#include "output/X11Keyboard.h"
#include "support/PrivateCompositor.h"

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
#include <vector>

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

// The characters of expected that did not arrive in typed: the length of
// expected less that of the longest sequence both share.
long Lost(const std::string& expected, const std::string& typed) {
    std::vector<long> row(typed.size() + 1, 0), next(typed.size() + 1, 0);
    for (std::size_t i = 1; i <= expected.size(); ++i) {
        for (std::size_t j = 1; j <= typed.size(); ++j)
            next[j] =
                expected[i - 1] == typed[j - 1] ? row[j - 1] + 1 : std::max(row[j], next[j - 1]);
        std::swap(row, next);
    }
    return static_cast<long>(expected.size()) - row[typed.size()];
}

// A headless sway with the strict recorder, and a virtual keyboard on its
// seat from the start, as a desktop has its real keyboard: a program asks
// for a seat's keys only once the seat has a keyboard.
struct WaylandSession {
    testsupport::PrivateCompositor compositor;
    std::unique_ptr<output::WlrootsConnection> connection;
    std::unique_ptr<output::WlrootsKeyboard> keyboard;
    pid_t recorder = -1;
    fs::path file;
    bool ok = false;

    explicit WaylandSession(bool strict) {
        if (!compositor.started())
            return;
        std::string why;
        connection = output::WlrootsConnection::Open(why);
        if (connection)
            keyboard = output::WlrootsKeyboard::Open(*connection, why);
        if (!keyboard)
            return;
        char tmpl[] = "/tmp/corvane-keys-XXXXXX";
        file = fs::path(mkdtemp(tmpl)) / "typed.txt";
        std::vector<std::string> argv{WAYLAND_KEY_RECORDER, "Bench Recorder", file.string()};
        if (strict)
            argv.push_back("--strict");
        recorder = Spawn(argv);
        ok = WaitUntil([&] { return Slurp(file) == "<ready>"; }, 10s);
        // The first key waits until programs have asked for the new keyboard.
        engine::PosixClock clock;
        output::KeySender(*keyboard, clock, nullptr).SimSendKeys("x", 0);
        ok = ok && WaitUntil([&] { return Slurp(file) == "<ready>x"; }, 10s);
    }
    ~WaylandSession() {
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

void Arrived(benchmark::State& st, const WaylandSession& session, const std::string& text,
             std::chrono::steady_clock::time_point start) {
    // Done when everything came, or nothing more came for a second.
    std::size_t seen = 0;
    auto lastChange = std::chrono::steady_clock::now();
    while (session.Typed().size() < text.size() &&
           std::chrono::steady_clock::now() - lastChange < 1s) {
        if (session.Typed().size() != seen) {
            seen = session.Typed().size();
            lastChange = std::chrono::steady_clock::now();
        }
        std::this_thread::sleep_for(1ms);
    }
    const auto end =
        session.Typed().size() >= text.size() ? std::chrono::steady_clock::now() : lastChange;
    const double seconds = std::chrono::duration<double>(end - start).count();
    const std::string typed = session.Typed();
    std::string received;
    for (std::size_t at = 0; at < typed.size();) {
        // A press the strict client refused is one character lost.
        if (typed.compare(at, 9, "<same-ms>") == 0)
            at += 9;
        else
            received += typed[at++];
    }
    st.counters["chars/s"] = static_cast<double>(text.size()) / seconds;
    st.counters["lost"] = static_cast<double>(Lost(text, received));
}

void CorvaneWlrootsTyping(benchmark::State& st) {
    WaylandSession session(true);
    if (!session.ok) {
        st.SkipWithError("no headless sway with the Wayland recorder");
        return;
    }
    engine::PosixClock clock;
    output::KeySender sender(*session.keyboard, clock, nullptr);
    const std::string text = Text(static_cast<std::size_t>(st.range(0)), st.range(1));
    for (auto _ : st) {
        session.Clear();
        const auto start = std::chrono::steady_clock::now();
        sender.SimSendKeys(text, 0);
        Arrived(st, session, text, start);
    }
}

// Arguments: characters, text kind, strict client (1) or one that takes
// every press (0).
void WtypeTyping(benchmark::State& st) {
    WaylandSession session(st.range(2) != 0);
    if (!session.ok) {
        st.SkipWithError("no headless sway with the Wayland recorder");
        return;
    }
    const std::string text = Text(static_cast<std::size_t>(st.range(0)), st.range(1));
    for (auto _ : st) {
        session.Clear();
        const auto start = std::chrono::steady_clock::now();
        pid_t p = Spawn({"wtype", text});
        int status;
        waitpid(p, &status, 0);
        Arrived(st, session, text, start);
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
// Arguments: characters, text kind (InterCharDelay 0).
BENCHMARK(CorvaneWlrootsTyping)
    ->Args({2000, 0})
    ->Args({2000, 1})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK(WtypeTyping)
    ->Args({2000, 0, 1})
    ->Args({2000, 1, 1})
    ->Args({2000, 1, 0})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_MAIN();

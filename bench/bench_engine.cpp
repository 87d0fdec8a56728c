// Engine throughput without I/O: a balance stream through framing, the input
// filter, an expression, a format and the log translation, delivered to an
// in-memory log.

#include "engine/Acquisition.h"

#include <benchmark/benchmark.h>

#include <deque>

namespace {

// Serves the same prepared stream over and over.
class StreamPort : public serial::Port {
public:
    std::string data;
    std::size_t pos = 0, limit = 0;
    int ReadOneByte(std::uint8_t& byte) override {
        if (pos >= limit)
            return 0;
        byte = static_cast<std::uint8_t>(data[pos++ % data.size()]);
        return 1;
    }
    void FlushPendingOutput(std::string& p) override { p.clear(); }
    void PurgePort() override {}
    void SetDTR(bool) override {}
    void SetRTS(bool) override {}
    void PulseDTR() override {}
    void SetCommBreak() override {}
    void ClearCommBreak() override {}
    void ClosePort() override {}
};

class CountingLog : public output::LogWriter {
public:
    std::size_t lines = 0, bytes = 0;
    std::string Append(const std::string&, const std::string& line) override {
        ++lines;
        bytes += line.size();
        return "";
    }
};

void Run(benchmark::State& st, const std::string& record, bool fullChain) {
    config::Config cfg;
    cfg.TransferMode = config::LogToDisk;
    if (fullChain) {
        cfg.FieldFilter[1] = "N";
        cfg.FieldExpression[1] = "field(1)*1000";
        cfg.FieldFormat[1] = "0.0";
    }
    engine::RuntimeState state;
    StreamPort port;
    port.data = record;
    engine::ManualClock clock;
    config::RecordingMessageSink messages;
    engine::Locale locale;
    CountingLog log;
    output::RecordDispatch dispatch(cfg, state, clock, messages, locale, log, "/tmp");
    engine::Acquisition loop(cfg, state, port, clock, messages, locale, dispatch);
    loop.Activate();
    const std::size_t perTick = record.size() * 1000;
    for (auto _ : st) {
        port.limit += perTick;
        loop.Timer1_Timer();
    }
    st.counters["records/s"] =
        benchmark::Counter(static_cast<double>(log.lines), benchmark::Counter::kIsRate);
    st.counters["input MB/s"] =
        benchmark::Counter(static_cast<double>(port.pos) / 1e6, benchmark::Counter::kIsRate);
}

void SimpleRecords(benchmark::State& st) {
    Run(st, "12.345\r", false);
}
void BalanceChain(benchmark::State& st) {
    Run(st, "  12.345 g\r\n", true);
}

} // namespace

BENCHMARK(SimpleRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(BalanceChain)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

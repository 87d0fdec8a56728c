// Engine throughput without I/O: a balance stream through framing, the input
// filter, an expression, a format and the log translation, delivered to an
// in-memory log.

#include "EngineRig.h"

#include <benchmark/benchmark.h>


namespace {

void Run(benchmark::State& st, benchrig::Workload workload) {
    benchrig::EngineRig rig(workload);
    const std::size_t perTick = std::string(benchrig::RecordOf(workload)).size() * 1000;
    for (auto _ : st)
        rig.Tick(perTick);
    st.counters["records/s"] =
        benchmark::Counter(static_cast<double>(rig.log.lines), benchmark::Counter::kIsRate);
    st.counters["input MB/s"] =
        benchmark::Counter(static_cast<double>(rig.port.pos) / 1e6, benchmark::Counter::kIsRate);
}

void SimpleRecords(benchmark::State& st) {
    Run(st, benchrig::Workload::SimpleRecords);
}
void BalanceLines(benchmark::State& st) {
    Run(st, benchrig::Workload::BalanceLines);
}
void BalanceChain(benchmark::State& st) {
    Run(st, benchrig::Workload::BalanceChain);
}

} // namespace

BENCHMARK(SimpleRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(BalanceLines)->Unit(benchmark::kMillisecond);
BENCHMARK(BalanceChain)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

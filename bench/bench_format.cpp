// Formats per second for common display formats, prepared once as a
// field's format is, then applied value after value.

#include "engine/Format.h"

#include <benchmark/benchmark.h>

namespace {

void FormatNumber(benchmark::State& st, const char* format) {
    engine::Locale locale;
    engine::Value v = engine::Value::Double(1234.5678);
    const engine::PreparedFormat prepared(format, locale);
    for (auto _ : st)
        benchmark::DoNotOptimize(prepared.Apply(v, locale));
    st.counters["formats/s"] =
        benchmark::Counter(static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
}

void FormatDate(benchmark::State& st) {
    engine::Locale locale;
    engine::DateTime t{2026, 11, 15, 14, 5, 9};
    for (auto _ : st)
        benchmark::DoNotOptimize(engine::FormatDateTime(t, "yyyy-mm-dd hh:nn:ss", locale));
    st.counters["formats/s"] =
        benchmark::Counter(static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK_CAPTURE(FormatNumber, Fixed2, "0.00");
BENCHMARK_CAPTURE(FormatNumber, Standard, "Standard");
BENCHMARK(FormatDate);
BENCHMARK_MAIN();

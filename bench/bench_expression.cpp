// Evaluations per second of typical field expressions.

#include "engine/Expression.h"

#include <benchmark/benchmark.h>

namespace {

void Evaluate(benchmark::State& st, const char* expression, const char* field1,
              const char* field2) {
    engine::Locale locale;
    engine::Evaluator evaluator(locale);
    std::array<engine::Value, 42> fields{};
    fields[1] = engine::Value::Text(field1);
    fields[2] = engine::Value::Text(field2);
    engine::Value out;
    for (auto _ : st) {
        evaluator.EvaluateExpression(expression, out, fields);
        benchmark::DoNotOptimize(out);
    }
    st.counters["evaluations/s"] =
        benchmark::Counter(static_cast<double>(st.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK_CAPTURE(Evaluate, GramsToMilligrams, "field(1)*1000", "12.345", "");
BENCHMARK_CAPTURE(Evaluate, FahrenheitToCelsius, "(field(1)-32)*5/9", "98.6", "");
BENCHMARK_CAPTURE(Evaluate, HexCount, "&h field(2)", "", "1F3A");
BENCHMARK_MAIN();

// The field math evaluator: random values in the fields, then an expression
// text, evaluated twice as a field's expression runs record after record (the
// second run uses the kept tokens and must agree with the first unless the
// expression draws random numbers), and the result shown in the general form.

#include "FuzzSupport.h"
#include "engine/Expression.h"
#include "engine/Format.h"

#include <array>
#include <cctype>
#include <cmath>
#include <string>

namespace {

// NaN never equals itself, so two NaN results agree without comparing equal.
bool IsNaN(const engine::Value& v) {
    return (v.kind() == engine::Value::Kind::Double && std::isnan(v.AsDouble())) ||
           (v.kind() == engine::Value::Kind::Single && std::isnan(v.AsSingle()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const engine::Locale locale = fuzz::PickLocale(in.ConsumeBool());
    std::array<engine::Value, 42> fields;
    const int filled = in.ConsumeIntegralInRange<int>(0, 6);
    for (int i = 0; i < filled; ++i) {
        const int index = in.ConsumeIntegralInRange<int>(0, 41);
        fields[static_cast<std::size_t>(index)] = fuzz::ConsumeValue(in);
    }
    const std::string text = in.ConsumeRemainingBytesAsString();

    engine::Evaluator evaluator(locale);
    engine::Value first, second;
    const bool ok1 = evaluator.EvaluateExpression(text, first, fields);
    const bool ok2 = evaluator.EvaluateExpression(text, second, fields);
    std::string lower = text;
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (lower.find("rnd") == std::string::npos) {
        fuzz::Require(ok1 == ok2, "a second evaluation flags the same error");
        fuzz::Require(IsNaN(first) || first == second, "a second evaluation gives the same value");
    }
    first.ToText(locale);
    engine::FormatValue(first, "", locale);
    return 0;
}

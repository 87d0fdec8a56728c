// Date/time tokens in macro text ("{YEAR}", "{HOUR}", ...) and the runtime's
// date/time display with a format from the input, at any date a clock can
// report.

#include "FuzzSupport.h"
#include "engine/DateTimeTokens.h"
#include "support/ManualClock.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    engine::ManualClock clock;
    clock.now.Year = in.ConsumeIntegralInRange<int>(1, 9999);
    clock.now.Month = in.ConsumeIntegralInRange<int>(1, 12);
    clock.now.Day = in.ConsumeIntegralInRange<int>(1, 31);
    clock.now.Hour = in.ConsumeIntegralInRange<int>(0, 23);
    clock.now.Minute = in.ConsumeIntegralInRange<int>(0, 59);
    clock.now.Second = in.ConsumeIntegralInRange<int>(0, 59);
    const engine::Locale locale = fuzz::PickLocale(in.ConsumeBool());
    const std::string text = in.ConsumeRemainingBytesAsString();

    const std::string expanded = engine::ExpandDateTimeTokens(text, clock);
    // Each of the seven tokens is replaced at most once, by two digits.
    fuzz::Require(expanded.size() <= text.size(), "expansion never lengthens the text");

    config::Config cfg;
    cfg.ShowDateTime = config::True;
    cfg.DateTimeFormat = text;
    engine::RuntimeState state;
    engine::RefreshDateTimeDisplay(state, cfg, clock, locale);
    return 0;
}

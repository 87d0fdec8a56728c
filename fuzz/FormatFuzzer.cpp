// The display format function on number, text and date/time values: a value
// of any kind (or a date serial, or a date and time), then the format text.

#include "FuzzSupport.h"
#include "engine/Format.h"

#include <bit>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const engine::Locale locale = fuzz::PickLocale(in.ConsumeBool());
    switch (in.ConsumeIntegralInRange<int>(0, 2)) {
    case 0: {
        const engine::Value value = fuzz::ConsumeValue(in);
        engine::FormatValue(value, in.ConsumeRemainingBytesAsString(), locale);
        break;
    }
    case 1: {
        // A date serial: days since 30 December 1899 over the whole double range.
        const double serial = std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>());
        const std::string format = in.ConsumeRemainingBytesAsString();
        engine::FormatValue(engine::Value::Double(serial), format, locale);
        const engine::DateTime when = engine::DateFromSerial(serial);
        engine::FormatDateTime(when, format, locale);
        engine::SerialFromDate(when);
        break;
    }
    default: {
        engine::DateTime when;
        when.Year = in.ConsumeIntegralInRange<int>(-30000, 30000);
        when.Month = in.ConsumeIntegralInRange<int>(1, 12);
        when.Day = in.ConsumeIntegralInRange<int>(1, 31);
        when.Hour = in.ConsumeIntegralInRange<int>(0, 23);
        when.Minute = in.ConsumeIntegralInRange<int>(0, 59);
        when.Second = in.ConsumeIntegralInRange<int>(0, 59);
        engine::FormatDateTime(when, in.ConsumeRemainingBytesAsString(), locale);
        break;
    }
    }
    return 0;
}

#pragma once
// What reads as a number in a delivered field, for the trend: the field's
// text (as its box shows it) begins, after blanks, with a number in the
// engine's reading (sign, digits, the locale's decimal separator, an
// optional exponent as meters send it), optionally grouped by the locale's
// thousands separator as a "#,##0.00" format writes it. A unit may follow
// ("12.345 g", "45.2%RH", "1.5E-03 V"), but the word the number stands in
// holds no other digit: a date ("2026-11-24"), a time ("12:30:05"), a
// version ("1.2.3") or a hex text ("0x1F") is not a number.

#include "engine/Locale.h"

#include <optional>
#include <string_view>

namespace trend {

struct FieldNumber {
    double value = 0;
    int decimals = 0;        // digits after the decimal separator, as sent
    bool scientific = false; // written with an exponent
};

std::optional<FieldNumber> ReadFieldNumber(std::string_view text, const engine::Locale& locale);

} // namespace trend

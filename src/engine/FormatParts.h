#pragma once
// Pieces shared by the numeric, text and date parts of the format function.

#include "engine/Locale.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

// A format text cut into codes (characters with a meaning) and literals
// (quoted text, backslash escapes, any other character).
struct FormatToken {
    enum Kind { Code, Literal } kind;
    std::string text;
};

// Numeric and text tokens: "0", "#", ".", ",", "%", "E+", "E-", "e+", "e-",
// "@", "&", "<", ">", "!"; everything else is literal.
std::vector<FormatToken> TokenizeFormat(std::string_view format);

// Splits at ";" outside quotes and escapes.
std::vector<std::string_view> SplitSections(std::string_view format);

// A user-defined numeric format analysed into its sections, once for as
// many numbers as it formats.
struct NumericPlan;
std::shared_ptr<const NumericPlan> PlanNumericFormat(std::string_view format);
std::string FormatNumberUser(double v, const NumericPlan& plan, bool isEmpty, const Locale& locale);

// The decimal digits of |v| rounded half away from zero at `decimals`
// places, working on the number's 15-significant-digit decimal value (so
// 2.345 rounds to 2.35): integer digits without leading zeros ("" for zero)
// and exactly `decimals` fraction digits. RoundDecimal takes an exact
// integer shortcut where it can; RoundDecimalByLibrary always reads the 15
// digits from the library's correctly rounded conversion.
void RoundDecimal(double v, int decimals, std::string& intDigits, std::string& fracDigits);
void RoundDecimalByLibrary(double v, int decimals, std::string& intDigits, std::string& fracDigits);
std::string FormatText(const std::string& text, std::string_view format);
// Named numeric formats; matched is false when name is none of them.
std::string FormatNamedNumber(std::string_view name, double v, const Locale& locale, bool& matched);

// True when the format holds date/time codes and no digit placeholders.
bool LooksLikeDateFormat(std::string_view format);
bool IsNamedDateFormat(std::string_view format);

} // namespace engine

#include "trend/FieldNumber.h"

#include "engine/Value.h"

#include <string>

namespace trend {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// The text without the thousands separators of its leading number, when it
// is grouped as a format groups it ("1,234,567.5": one to three digits, then
// groups of exactly three); nullopt when it has no such grouping.
std::optional<std::string> Ungrouped(std::string_view text, const engine::Locale& locale) {
    const char group = locale.ThousandsSeparator;
    if (group == '\0' || group == locale.DecimalSeparator)
        return std::nullopt;
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i]))
        ++i;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        ++i;
    const std::size_t digitsStart = i;
    while (i < text.size() && IsDigit(text[i]))
        ++i;
    const std::size_t lead = i - digitsStart;
    if (lead == 0 || lead > 3 || i >= text.size() || text[i] != group)
        return std::nullopt;
    std::string out(text.substr(0, i));
    int groups = 0;
    while (i + 3 < text.size() && text[i] == group && IsDigit(text[i + 1]) &&
           IsDigit(text[i + 2]) && IsDigit(text[i + 3]) &&
           (i + 4 == text.size() || !IsDigit(text[i + 4]))) {
        out.append(text.substr(i + 1, 3));
        i += 4;
        ++groups;
    }
    // A separator that is not followed by a group of three is no grouping:
    // the text is read as it is (and the digit rule refuses it).
    if (groups == 0 || (i < text.size() && text[i] == group))
        return std::nullopt;
    out.append(text.substr(i));
    return out;
}

} // namespace

std::optional<FieldNumber> ReadFieldNumber(std::string_view text, const engine::Locale& locale) {
    const std::optional<std::string> ungrouped = Ungrouped(text, locale);
    const std::string_view number = ungrouped ? std::string_view(*ungrouped) : text;
    std::size_t used = 0;
    const double value = engine::LeadingScientificNumber(number, locale.DecimalSeparator, &used);
    if (used == 0)
        return std::nullopt;
    // The rest of the word the number stands in: no digit there.
    for (std::size_t i = used; i < number.size() && !IsBlank(number[i]); ++i)
        if (IsDigit(number[i]))
            return std::nullopt;
    FieldNumber out;
    out.value = value;
    const std::string_view read = number.substr(0, used);
    const std::size_t exponent = read.find_first_of("Ee");
    out.scientific = exponent != std::string_view::npos;
    const std::string_view mantissa = read.substr(0, exponent);
    if (const std::size_t point = mantissa.find(locale.DecimalSeparator);
        point != std::string_view::npos)
        out.decimals = static_cast<int>(mantissa.size() - point - 1);
    return out;
}

} // namespace trend

#include "engine/Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace engine {

bool Value::IsNumeric() const {
    switch (kind()) {
    case Kind::Boolean:
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Single:
    case Kind::Double:
        return true;
    default:
        return false;
    }
}

std::string Value::ToText(const Locale& locale) const {
    switch (kind()) {
    case Kind::Empty:
        return "";
    case Kind::Boolean:
        return AsBool() ? "True" : "False";
    case Kind::Int16:
        return std::to_string(AsInt16());
    case Kind::Int32:
        return std::to_string(AsInt32());
    case Kind::Single:
        return GeneralNumber(AsSingle(), true, locale);
    case Kind::Double:
        return GeneralNumber(AsDouble(), false, locale);
    case Kind::Text:
        return AsText();
    }
    return "";
}

std::optional<double> Value::ToNumber(const Locale& locale) const {
    switch (kind()) {
    case Kind::Empty:
        return 0.0;
    case Kind::Boolean:
        return AsBool() ? -1.0 : 0.0;
    case Kind::Int16:
        return AsInt16();
    case Kind::Int32:
        return AsInt32();
    case Kind::Single:
        return AsSingle();
    case Kind::Double:
        return AsDouble();
    case Kind::Text: {
        std::size_t used = 0;
        double v = LeadingNumber(AsText(), locale.DecimalSeparator, &used);
        if (used == 0)
            return std::nullopt;
        return v;
    }
    }
    return std::nullopt;
}

namespace {

constexpr double ExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

} // namespace

double LeadingNumber(std::string_view text, char decimalSeparator, std::size_t* consumed) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    const std::size_t start = i;
    // The digits as an integer and the number of fraction digits. With at
    // most 15 significant digits and 22 fraction digits both are exact
    // doubles, and one division gives the correctly rounded value.
    std::uint64_t mantissa = 0;
    int significant = 0, fraction = 0;
    bool sawDigit = false, sawPoint = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c >= '0' && c <= '9') {
            sawDigit = true;
            if (significant <= 15) {
                mantissa = mantissa * 10 + static_cast<unsigned>(c - '0');
                significant += mantissa != 0;
                fraction += sawPoint;
            }
        } else if (c == decimalSeparator && !sawPoint) {
            sawPoint = true;
        } else {
            break;
        }
    }
    if (consumed)
        *consumed = sawDigit ? i : 0;
    if (!sawDigit)
        return 0.0;
    if (significant <= 15 && fraction <= 22) {
        const double v = static_cast<double>(mantissa) / ExactPowersOfTen[fraction];
        return negative ? -v : v;
    }
    // Longer numbers: copied with "." as their separator for the library's
    // correctly rounded reading. Digits beyond what a double can tell apart
    // do not change its value, so a bounded copy is enough.
    char digits[72];
    std::size_t n = 0;
    if (negative)
        digits[n++] = '-';
    int exponentShift = 0; // integer digits dropped beyond the copy
    bool point = false;
    for (std::size_t k = start; k < i; ++k) {
        const char c = text[k];
        if (c == decimalSeparator) {
            point = true;
            if (n < sizeof digits - 1)
                digits[n++] = '.';
        } else if (n < sizeof digits - 1) {
            digits[n++] = c;
        } else if (!point) {
            ++exponentShift;
        }
    }
    double v = 0;
    std::from_chars(digits, digits + n, v);
    return exponentShift ? v * std::pow(10.0, exponentShift) : v;
}

double LeadingScientificNumber(std::string_view text, char decimalSeparator,
                               std::size_t* consumed) {
    std::size_t used = 0;
    const double plain = LeadingNumber(text, decimalSeparator, &used);
    if (consumed)
        *consumed = used;
    if (used == 0 || used >= text.size() || (text[used] != 'E' && text[used] != 'e'))
        return plain;
    std::size_t end = used + 1;
    bool negativeExponent = false;
    if (end < text.size() && (text[end] == '+' || text[end] == '-'))
        negativeExponent = text[end++] == '-';
    const std::size_t exponentDigits = end;
    long long exponent = 0; // saturated: only its sign and rough size matter below
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') {
        exponent = std::min(exponent * 10 + (text[end] - '0'), 1'000'000'000LL);
        ++end;
    }
    if (end == exponentDigits)
        return plain;
    if (consumed)
        *consumed = end;

    // The whole number, with "." as its separator and without a "+" before
    // the mantissa, for the library's correctly rounded reading. Where the
    // first significant digit stands tells an overflow from an underflow.
    std::string copy;
    copy.reserve(end);
    std::size_t k = 0;
    while (text[k] == ' ' || text[k] == '\t')
        ++k;
    bool negative = false;
    if (text[k] == '-' || text[k] == '+')
        negative = text[k++] == '-';
    if (negative)
        copy += '-';
    long long magnitude = 0; // decimal position of the first significant digit
    bool point = false, significant = false;
    for (; k < used; ++k) {
        const char c = text[k];
        if (c == decimalSeparator) {
            point = true;
            copy += '.';
            continue;
        }
        copy += c;
        if (c != '0')
            significant = true;
        if (!point && significant)
            ++magnitude;
        else if (point && !significant)
            --magnitude;
    }
    copy.append(text.substr(used, end - used));
    double v = 0;
    const auto result = std::from_chars(copy.data(), copy.data() + copy.size(), v);
    if (result.ec == std::errc::result_out_of_range) {
        magnitude += negativeExponent ? -exponent : exponent;
        v = magnitude > 0 ? HUGE_VAL : 0.0;
        return negative ? -v : v;
    }
    return v;
}

namespace {

// Removes trailing zeros of a fraction, and the decimal point they leave.
void TrimFraction(std::string& s) {
    if (s.find('.') == std::string::npos)
        return;
    while (!s.empty() && s.back() == '0')
        s.pop_back();
    if (!s.empty() && s.back() == '.')
        s.pop_back();
}

} // namespace

std::string GeneralNumber(double v, bool single, const Locale& locale) {
    if (std::isnan(v))
        return "NaN";
    if (std::isinf(v))
        return v < 0 ? "-Infinity" : "Infinity";
    if (v == 0)
        return "0";
    const int precision = single ? 7 : 15;
    // Round to the significant digits first: the exponent is that of the
    // rounded value (9.999999999999999 shows as 10).
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", precision - 1, v);
    std::string mantissa = buf;
    std::size_t ePos = mantissa.find('e');
    int exponent = std::atoi(mantissa.c_str() + ePos + 1);
    mantissa.resize(ePos);
    std::string out;
    if (exponent >= precision || exponent < -4) {
        TrimFraction(mantissa);
        char exp[16];
        std::snprintf(exp, sizeof exp, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
        out = mantissa + exp;
    } else {
        std::snprintf(buf, sizeof buf, "%.*f", std::max(0, precision - 1 - exponent), v);
        out = buf;
        TrimFraction(out);
    }
    if (locale.DecimalSeparator != '.')
        for (char& c : out)
            if (c == '.')
                c = locale.DecimalSeparator;
    return out;
}

} // namespace engine

// Numeric and text display formats.

#include "engine/Format.h"
#include "engine/FormatParts.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace engine {

namespace {

std::string Lowered(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

} // namespace

void RoundDecimalByLibrary(double v, int decimals, std::string& intDigits,
                           std::string& fracDigits) {
    v = std::fabs(v);
    intDigits.clear();
    fracDigits.assign(static_cast<std::size_t>(decimals), '0');
    if (v == 0 || !std::isfinite(v))
        return;
    char buf[64];
    auto end = std::to_chars(buf, buf + sizeof buf - 1, v, std::chars_format::scientific, 14).ptr;
    *end = '\0';
    std::string mantissa;
    for (const char* p = buf; *p && *p != 'e'; ++p)
        if (std::isdigit(static_cast<unsigned char>(*p)))
            mantissa.push_back(*p);
    int exponent = std::atoi(std::strchr(buf, 'e') + 1);
    // digits[i] has place value 10^(exponent - i).
    int keep = exponent + 1 + decimals; // digits that survive
    std::string digits = mantissa;
    if (keep < 0) {
        return;
    }
    bool carry = false;
    if (keep < static_cast<int>(digits.size())) {
        carry = digits[static_cast<std::size_t>(keep)] >= '5';
        digits.resize(static_cast<std::size_t>(keep));
    } else {
        digits.append(static_cast<std::size_t>(keep) - digits.size(), '0');
    }
    for (int i = keep - 1; carry && i >= 0; --i) {
        if (digits[static_cast<std::size_t>(i)] == '9') {
            digits[static_cast<std::size_t>(i)] = '0';
        } else {
            ++digits[static_cast<std::size_t>(i)];
            carry = false;
        }
    }
    if (carry) {
        digits.insert(digits.begin(), '1');
        ++exponent;
    }
    int intCount = exponent + 1;
    if (intCount > 0) {
        intDigits = digits.substr(0, static_cast<std::size_t>(intCount));
        fracDigits = digits.substr(static_cast<std::size_t>(intCount));
    } else {
        fracDigits = std::string(static_cast<std::size_t>(-intCount), '0') + digits;
    }
    fracDigits.resize(static_cast<std::size_t>(decimals), '0');
    std::size_t nz = intDigits.find_first_not_of('0');
    intDigits = nz == std::string::npos ? "" : intDigits.substr(nz);
}

namespace {

constexpr double ExactPowerOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t PowerOfTen[] = {1ull,
                                        10ull,
                                        100ull,
                                        1000ull,
                                        10000ull,
                                        100000ull,
                                        1000000ull,
                                        10000000ull,
                                        100000000ull,
                                        1000000000ull,
                                        10000000000ull,
                                        100000000000ull,
                                        1000000000000ull,
                                        10000000000000ull,
                                        100000000000000ull,
                                        1000000000000000ull};

// Writes the decimal digits of n to the end of buf and returns where they
// begin; none for 0.
char* DigitsOf(std::uint64_t n, char* end) {
    while (n) {
        *--end = static_cast<char>('0' + n % 10);
        n /= 10;
    }
    return end;
}

// The 15 significant digits of v (as M, 10^14 <= M < 10^15, with v about
// M * 10^(e - 14)), computed exactly from one product with an exact power
// of ten. The product is off the exact one by at most 1/16, so the rounding
// to an integer is certain unless its fraction is near one half: then, and
// outside the range the powers cover, it gives up.
bool FifteenDigits(double v, std::uint64_t& mantissa, int& e) {
    if (!(v >= 1e-8 && v < 1e15))
        return false;
    // log10(v) from the binary exponent, off by at most one; each attempt
    // below corrects it by one.
    std::uint64_t bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    const int binaryExponent = static_cast<int>((bits >> 52) & 0x7FF) - 1023; // v is normal here
    e = static_cast<int>(std::floor((binaryExponent + 0.5) * 0.30102999566398120));
    for (int attempt = 0; attempt < 3; ++attempt) {
        const int k = 14 - e;
        if (k < 0 || k > 22)
            return false;
        const double y = v * ExactPowerOfTen[k];
        if (y >= 1e15) {
            ++e;
            continue;
        }
        if (y < 1e14) {
            --e;
            continue;
        }
        const double whole = std::floor(y);
        const double fraction = y - whole;
        if (std::fabs(fraction - 0.5) <= 0.125)
            return false;
        mantissa = static_cast<std::uint64_t>(whole) + (fraction > 0.5);
        if (mantissa == PowerOfTen[15]) {
            mantissa = PowerOfTen[14];
            ++e;
        }
        return true;
    }
    return false;
}

} // namespace

void RoundDecimal(double v, int decimals, std::string& intDigits, std::string& fracDigits) {
    v = std::fabs(v);
    std::uint64_t m = 0;
    int e = 0;
    if (v == 0 || !std::isfinite(v) || decimals > 22 || !FifteenDigits(v, m, e)) {
        RoundDecimalByLibrary(v, decimals, intDigits, fracDigits);
        return;
    }
    // The lowest digit of m has the place value 10^(e - 14); drop those
    // below 10^-decimals, rounding half away from zero.
    const int drop = 14 - e - decimals;
    const std::size_t d = static_cast<std::size_t>(decimals);
    char buf[48];
    char* const end = buf + sizeof buf;
    if (drop > 0) {
        std::uint64_t q = 0;
        if (drop <= 15) {
            const std::uint64_t unit = PowerOfTen[drop];
            q = m / unit + (m % unit * 2 >= unit);
        }
        // q counts units of 10^-decimals: its last d digits are the fraction.
        char* begin = DigitsOf(q, end);
        while (static_cast<std::size_t>(end - begin) < d)
            *--begin = '0';
        intDigits.assign(begin, static_cast<std::size_t>(end - begin) - d);
        fracDigits.assign(end - d, d);
        return;
    }
    // Nothing to round: m's digits, then zeros down to 10^-decimals.
    const char* digits = DigitsOf(m, end);
    const int intCount = e + 1;
    if (intCount > 15) {
        // Rounded up to 10^15: m's digits and zeros.
        intDigits.assign(digits, 15);
        intDigits.append(static_cast<std::size_t>(intCount - 15), '0');
        fracDigits.clear();
    } else if (intCount > 0) {
        intDigits.assign(digits, static_cast<std::size_t>(intCount));
        fracDigits.assign(digits + intCount, static_cast<std::size_t>(end - digits - intCount));
    } else {
        intDigits.clear();
        fracDigits.assign(static_cast<std::size_t>(-intCount), '0');
        fracDigits.append(digits, static_cast<std::size_t>(end - digits));
    }
    fracDigits.resize(d, '0');
}

// One section of a user-defined numeric format, split into its parts.
struct NumericSection {
    std::vector<FormatToken> tokens;
    int intPlaceholders = 0;
    int decimals = 0;
    bool hasPoint = false;
    bool thousands = false;
    int scale = 0; // commas right before the point: divide by 1000 each
    bool percent = false;
    bool scientific = false;
    bool expAlwaysSign = false;
    bool expUpper = true;
    int expDigits = 0;
    // Per digit placeholder, left to right: true for "0" (shows a zero where
    // no digit falls), false for "#".
    std::vector<bool> intZero, fracZero;
};

namespace {

NumericSection Analyse(std::string_view section) {
    NumericSection s;
    s.tokens = TokenizeFormat(section);
    bool afterPoint = false, inExponent = false;
    int pendingCommas = 0;
    for (const auto& t : s.tokens) {
        if (t.kind != FormatToken::Code)
            continue;
        char c = t.text[0];
        if (inExponent) {
            // After the exponent only its digits and a percent sign count.
            if (c == '0' || c == '#')
                ++s.expDigits;
            else if (c == '%')
                s.percent = true;
            continue;
        }
        if (c == '0' || c == '#') {
            if (pendingCommas && !afterPoint && s.intPlaceholders > 0)
                s.thousands = true;
            pendingCommas = 0;
            (afterPoint ? s.decimals : s.intPlaceholders)++;
        } else if (c == '.') {
            if (!afterPoint) {
                s.scale = pendingCommas;
                pendingCommas = 0;
                afterPoint = s.hasPoint = true;
            }
        } else if (c == ',') {
            if (!afterPoint)
                ++pendingCommas;
        } else if (c == '%') {
            s.percent = true;
        } else if (c == 'E' || c == 'e') {
            s.scientific = inExponent = true;
            s.expUpper = c == 'E';
            s.expAlwaysSign = t.text[1] == '+';
        }
    }
    if (!afterPoint && pendingCommas && s.intPlaceholders > 0)
        s.scale = pendingCommas;
    afterPoint = inExponent = false;
    for (const auto& t : s.tokens) {
        if (t.kind != FormatToken::Code)
            continue;
        const char c = t.text[0];
        if (c == 'E' || c == 'e')
            inExponent = true;
        else if (c == '.')
            afterPoint = true;
        else if (!inExponent && (c == '0' || c == '#'))
            (afterPoint ? s.fracZero : s.intZero).push_back(c == '0');
    }
    return s;
}

// |v| / 10^exponent. Below 1E-300 the power of ten would itself be subnormal
// or zero (subnormal numbers reach down to 4.9E-324), so the division is done
// in two steps there.
double MagnitudeOver(double v, int exponent) {
    if (exponent < -300)
        return std::fabs(v) * 1e300 / std::pow(10.0, exponent + 300);
    return std::fabs(v) / std::pow(10.0, exponent);
}

std::string Render(const NumericSection& s, double v, const Locale& locale) {
    if (s.percent)
        v *= 100;
    for (int i = 0; i < s.scale; ++i)
        v /= 1000;
    int exponent = 0;
    if (s.scientific && v != 0) {
        int lead = std::max(1, s.intPlaceholders);
        exponent = static_cast<int>(std::floor(std::log10(std::fabs(v)))) - (lead - 1);
        double m = MagnitudeOver(v, exponent);
        std::string i, f;
        RoundDecimal(m, s.decimals, i, f);
        if (static_cast<int>(i.size()) > lead)
            ++exponent; // the mantissa rounded up to the next power of ten
        v = MagnitudeOver(v, exponent);
    }
    std::string intDigits, fracDigits;
    RoundDecimal(v, s.decimals, intDigits, fracDigits);

    // "#" fraction placeholders drop their trailing zeros.
    std::size_t fracShown = fracDigits.size();
    while (fracShown > 0 && !s.fracZero[fracShown - 1] && fracDigits[fracShown - 1] == '0')
        --fracShown;

    // Integer digits fill the placeholders from the right; digits beyond the
    // placeholders go to the first one. A placeholder left without a digit
    // shows "0" for "0" and nothing for "#".
    const int placeholders = static_cast<int>(s.intZero.size());
    const int digits = static_cast<int>(intDigits.size());
    const int extra = std::max(0, digits - placeholders);
    int totalIntDigits = extra;
    for (int p = 0; p < placeholders; ++p)
        if (placeholders - 1 - p < digits || s.intZero[static_cast<std::size_t>(p)])
            ++totalIntDigits;

    std::string out;
    out.reserve(static_cast<std::size_t>(totalIntDigits + s.decimals) + 8);
    int emittedInt = 0, intSlot = 0, fracSlot = 0;
    bool afterPoint = false, inExp = false;
    auto emitDigit = [&](char c) {
        out.push_back(c);
        ++emittedInt;
        int remaining = totalIntDigits - emittedInt;
        if (s.thousands && remaining > 0 && remaining % 3 == 0)
            out.push_back(locale.ThousandsSeparator);
    };
    for (const auto& t : s.tokens) {
        if (t.kind == FormatToken::Literal) {
            out += t.text;
            continue;
        }
        char c = t.text[0];
        if (inExp) {
            if (c == '%')
                out.push_back('%');
            continue; // exponent digits are written with the marker
        }
        if (c == '0' || c == '#') {
            if (!afterPoint) {
                const int p = intSlot++;
                if (p == 0)
                    for (int k = 0; k < extra; ++k)
                        emitDigit(intDigits[static_cast<std::size_t>(k)]);
                const int fromRight = placeholders - 1 - p;
                if (fromRight < digits)
                    emitDigit(intDigits[static_cast<std::size_t>(digits - 1 - fromRight)]);
                else if (s.intZero[static_cast<std::size_t>(p)])
                    emitDigit('0');
            } else if (static_cast<std::size_t>(fracSlot) < fracShown) {
                out.push_back(fracDigits[static_cast<std::size_t>(fracSlot++)]);
            }
        } else if (c == '.') {
            if (!afterPoint)
                out.push_back(locale.DecimalSeparator);
            afterPoint = true;
        } else if (c == '%') {
            out.push_back('%');
        } else if (c == 'E' || c == 'e') {
            inExp = true;
            out.push_back(s.expUpper ? 'E' : 'e');
            if (exponent < 0)
                out.push_back('-');
            else if (s.expAlwaysSign)
                out.push_back('+');
            std::string expDigits = std::to_string(std::abs(exponent));
            if (static_cast<int>(expDigits.size()) < s.expDigits)
                expDigits.insert(0, static_cast<std::size_t>(s.expDigits) - expDigits.size(), '0');
            out += expDigits;
        }
        // ',' produces nothing by itself.
    }
    return out;
}

bool IsZeroAfterRounding(const NumericSection& s, double v) {
    std::string i, f;
    RoundDecimal(s.percent ? v * 100 : v, s.decimals, i, f);
    return s.scientific ? v == 0 : i.empty() && f.find_first_not_of('0') == std::string::npos;
}

} // namespace

struct NumericPlan {
    std::vector<NumericSection> sections;
    std::vector<bool> empty;
};

std::shared_ptr<const NumericPlan> PlanNumericFormat(std::string_view format) {
    auto plan = std::make_shared<NumericPlan>();
    for (std::string_view section : SplitSections(format)) {
        plan->sections.push_back(Analyse(section));
        plan->empty.push_back(section.empty());
    }
    return plan;
}

std::string FormatNumberUser(double v, const NumericPlan& plan, bool isEmpty,
                             const Locale& locale) {
    const std::size_t count = plan.sections.size();
    if (isEmpty && count >= 4)
        return Render(plan.sections[3], 0, locale);
    if (v == 0 && count >= 3 && !plan.empty[2])
        return Render(plan.sections[2], 0, locale);
    const bool negativeSection = v < 0 && count >= 2 && !plan.empty[1];
    const NumericSection& section = plan.sections[negativeSection ? 1 : 0];
    // Digits are placed for finite numbers only. Infinity, and a number that
    // "%" takes beyond the largest double, are shown as they are without a
    // format ("Infinity", "1E+307"), as a value that a format cannot take.
    if (!std::isfinite(section.percent ? v * 100 : v))
        return GeneralNumber(v, false, locale);
    if (negativeSection)
        return Render(section, -v, locale);
    std::string body = Render(section, v, locale);
    if (v < 0 && !IsZeroAfterRounding(section, -v))
        return "-" + body;
    return body;
}

std::string FormatText(const std::string& text, std::string_view format) {
    std::vector<std::string_view> sections = SplitSections(format);
    std::vector<FormatToken> tokens = TokenizeFormat(sections.empty() ? format : sections[0]);
    int placeholders = 0;
    bool lower = false, upper = false, leftToRight = false;
    for (const auto& t : tokens) {
        if (t.kind != FormatToken::Code)
            continue;
        if (t.text == "@" || t.text == "&")
            ++placeholders;
        else if (t.text == "<")
            lower = true;
        else if (t.text == ">")
            upper = true;
        else if (t.text == "!")
            leftToRight = true;
    }
    std::string src = text;
    for (char& c : src)
        c = static_cast<char>(lower   ? std::tolower(static_cast<unsigned char>(c))
                              : upper ? std::toupper(static_cast<unsigned char>(c))
                                      : c);
    if (placeholders == 0) {
        std::string out;
        for (const auto& t : tokens)
            if (t.kind == FormatToken::Literal)
                out += t.text;
        return out + src;
    }
    // Placeholders take characters from the right (from the left with "!");
    // characters beyond them go with the first (or last) placeholder.
    std::vector<std::string> slot(static_cast<std::size_t>(placeholders));
    std::vector<bool> isAt;
    for (const auto& t : tokens)
        if (t.kind == FormatToken::Code && (t.text == "@" || t.text == "&"))
            isAt.push_back(t.text == "@");
    if (!leftToRight) {
        int ci = static_cast<int>(src.size()) - 1;
        for (int p = placeholders - 1; p >= 0; --p) {
            if (ci >= 0)
                slot[static_cast<std::size_t>(p)] =
                    std::string(1, src[static_cast<std::size_t>(ci--)]);
            else if (isAt[static_cast<std::size_t>(p)])
                slot[static_cast<std::size_t>(p)] = " ";
        }
        if (ci >= 0)
            slot[0] = src.substr(0, static_cast<std::size_t>(ci + 1)) + slot[0];
    } else {
        std::size_t ci = 0;
        for (int p = 0; p < placeholders; ++p) {
            if (ci < src.size())
                slot[static_cast<std::size_t>(p)] = std::string(1, src[ci++]);
            else if (isAt[static_cast<std::size_t>(p)])
                slot[static_cast<std::size_t>(p)] = " ";
        }
        if (ci < src.size())
            slot.back() += src.substr(ci);
    }
    std::string out;
    int p = 0;
    for (const auto& t : tokens) {
        if (t.kind == FormatToken::Literal)
            out += t.text;
        else if (t.text == "@" || t.text == "&")
            out += slot[static_cast<std::size_t>(p++)];
    }
    return out;
}

std::string FormatNamedNumber(std::string_view name, double v, const Locale& locale,
                              bool& matched) {
    matched = true;
    std::string n = Lowered(name);
    if (n == "general number")
        return GeneralNumber(v, false, locale);
    if (n == "fixed") {
        static const auto plan = PlanNumericFormat("0.00");
        return FormatNumberUser(v, *plan, false, locale);
    }
    if (n == "standard") {
        static const auto plan = PlanNumericFormat("#,##0.00");
        return FormatNumberUser(v, *plan, false, locale);
    }
    if (n == "percent") {
        static const auto plan = PlanNumericFormat("0.00%");
        return FormatNumberUser(v, *plan, false, locale);
    }
    if (n == "scientific") {
        static const auto plan = PlanNumericFormat("0.00E+00");
        return FormatNumberUser(v, *plan, false, locale);
    }
    if (n == "yes/no")
        return v != 0 ? "Yes" : "No";
    if (n == "true/false")
        return v != 0 ? "True" : "False";
    if (n == "on/off")
        return v != 0 ? "On" : "Off";
    if (n == "currency") {
        if (!std::isfinite(v))
            return GeneralNumber(v, false, locale);
        std::string digits = "#,##0";
        if (locale.CurrencyDigits > 0)
            digits += "." + std::string(static_cast<std::size_t>(locale.CurrencyDigits), '0');
        std::string amount =
            FormatNumberUser(std::fabs(v), *PlanNumericFormat(digits), false, locale);
        const std::string& sym = locale.CurrencySymbol;
        std::string gap = locale.CurrencySpaceSeparated ? " " : "";
        if (v >= 0 || amount.find_first_of("123456789") == std::string::npos)
            return locale.CurrencySymbolFirst ? sym + gap + amount : amount + gap + sym;
        switch (locale.NegativeCurrencyForm) {
        case 1:
            return "-" + sym + gap + amount;
        case 2:
            return sym + gap + "-" + amount;
        case 3:
            return sym + gap + amount + "-";
        case 4:
            return "(" + amount + gap + sym + ")";
        case 5:
            return "-" + amount + gap + sym;
        case 6:
            return amount + "-" + gap + sym;
        case 7:
            return amount + gap + sym + "-";
        default:
            return "(" + sym + gap + amount + ")";
        }
    }
    matched = false;
    return "";
}

} // namespace engine

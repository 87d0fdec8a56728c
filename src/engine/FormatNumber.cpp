// Numeric and text display formats.

#include "engine/Format.h"
#include "engine/FormatParts.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace engine {

namespace {

std::string Lowered(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// The decimal digits of |v| rounded half away from zero at `decimals` places,
// working on the number's 15-digit decimal value (so 2.345 rounds to 2.35).
// Returns integer digits (no leading zeros, "" for zero) and exactly
// `decimals` fraction digits.
void RoundDecimal(double v, int decimals, std::string& intDigits, std::string& fracDigits) {
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
};

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
            if (c == '0' || c == '#')
                ++s.expDigits;
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
    return s;
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
        double m = std::fabs(v) / std::pow(10.0, exponent);
        std::string i, f;
        RoundDecimal(m, s.decimals, i, f);
        if (static_cast<int>(i.size()) > lead)
            ++exponent; // the mantissa rounded up to the next power of ten
        v = std::fabs(v) / std::pow(10.0, exponent);
    }
    std::string intDigits, fracDigits;
    RoundDecimal(v, s.decimals, intDigits, fracDigits);

    // Which '#' fraction placeholders drop their trailing zeros.
    std::vector<bool> fracIsZeroPlaceholder;
    std::vector<bool> intIsZeroPlaceholder;
    {
        bool afterPoint = false, inExp = false;
        for (const auto& t : s.tokens) {
            if (t.kind != FormatToken::Code)
                continue;
            char c = t.text[0];
            if (c == 'E' || c == 'e')
                inExp = true;
            else if (c == '.')
                afterPoint = true;
            else if (!inExp && (c == '0' || c == '#'))
                (afterPoint ? fracIsZeroPlaceholder : intIsZeroPlaceholder).push_back(c == '0');
        }
    }
    std::size_t fracShown = fracDigits.size();
    while (fracShown > 0 && !fracIsZeroPlaceholder[fracShown - 1] &&
           fracDigits[fracShown - 1] == '0')
        --fracShown;

    // Integer digits fill the placeholders from the right; digits beyond the
    // placeholders go to the first one.
    int placeholders = static_cast<int>(intIsZeroPlaceholder.size());
    std::vector<std::string> slot(static_cast<std::size_t>(placeholders));
    int d = static_cast<int>(intDigits.size()) - 1;
    for (int p = placeholders - 1; p >= 0; --p) {
        if (d >= 0)
            slot[static_cast<std::size_t>(p)] =
                std::string(1, intDigits[static_cast<std::size_t>(d--)]);
        else if (intIsZeroPlaceholder[static_cast<std::size_t>(p)])
            slot[static_cast<std::size_t>(p)] = "0";
    }
    if (placeholders > 0 && d >= 0)
        slot[0] = intDigits.substr(0, static_cast<std::size_t>(d + 1)) + slot[0];
    int totalIntDigits = 0;
    for (const auto& sl : slot)
        totalIntDigits += static_cast<int>(sl.size());

    std::string out;
    int emittedInt = 0, intSlot = 0, fracSlot = 0;
    bool afterPoint = false, inExp = false;
    auto emitDigits = [&](const std::string& digits) {
        for (char c : digits) {
            out.push_back(c);
            ++emittedInt;
            int remaining = totalIntDigits - emittedInt;
            if (s.thousands && remaining > 0 && remaining % 3 == 0)
                out.push_back(locale.ThousandsSeparator);
        }
    };
    for (const auto& t : s.tokens) {
        if (t.kind == FormatToken::Literal) {
            out += t.text;
            continue;
        }
        char c = t.text[0];
        if (inExp)
            continue; // exponent digits are written with the marker
        if (c == '0' || c == '#') {
            if (!afterPoint)
                emitDigits(slot[static_cast<std::size_t>(intSlot++)]);
            else if (static_cast<std::size_t>(fracSlot) < fracShown)
                out.push_back(fracDigits[static_cast<std::size_t>(fracSlot++)]);
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
            std::string digits = std::to_string(std::abs(exponent));
            if (static_cast<int>(digits.size()) < s.expDigits)
                digits.insert(0, static_cast<std::size_t>(s.expDigits) - digits.size(), '0');
            out += digits;
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

namespace {

// A format analysed once: fields are formatted with the same format record
// after record, so the last one is kept.
struct NumericPlan {
    std::vector<NumericSection> sections;
    std::vector<bool> empty;
};

const NumericPlan& PlanFor(std::string_view format) {
    thread_local std::string key;
    thread_local NumericPlan plan;
    thread_local bool valid = false;
    if (!valid || key != format) {
        plan = NumericPlan{};
        for (std::string_view section : SplitSections(format)) {
            plan.sections.push_back(Analyse(section));
            plan.empty.push_back(section.empty());
        }
        key.assign(format);
        valid = true;
    }
    return plan;
}

} // namespace

std::string FormatNumberUser(double v, std::string_view format, bool isEmpty,
                             const Locale& locale) {
    const NumericPlan& plan = PlanFor(format);
    const std::size_t count = plan.sections.size();
    if (isEmpty && count >= 4)
        return Render(plan.sections[3], 0, locale);
    if (v == 0 && count >= 3 && !plan.empty[2])
        return Render(plan.sections[2], 0, locale);
    if (v < 0 && count >= 2 && !plan.empty[1])
        return Render(plan.sections[1], -v, locale);
    const NumericSection& first = plan.sections[0];
    std::string body = Render(first, v, locale);
    if (v < 0 && !IsZeroAfterRounding(first, -v))
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
    if (n == "fixed")
        return FormatNumberUser(v, "0.00", false, locale);
    if (n == "standard")
        return FormatNumberUser(v, "#,##0.00", false, locale);
    if (n == "percent")
        return FormatNumberUser(v, "0.00%", false, locale);
    if (n == "scientific")
        return FormatNumberUser(v, "0.00E+00", false, locale);
    if (n == "yes/no")
        return v != 0 ? "Yes" : "No";
    if (n == "true/false")
        return v != 0 ? "True" : "False";
    if (n == "on/off")
        return v != 0 ? "On" : "Off";
    if (n == "currency") {
        std::string digits = "#,##0";
        if (locale.CurrencyDigits > 0)
            digits += "." + std::string(static_cast<std::size_t>(locale.CurrencyDigits), '0');
        std::string amount = FormatNumberUser(std::fabs(v), digits, false, locale);
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

// The format function: picks the numeric, text or date part by the value and
// the format, and renders date/time formats.

#include "engine/Format.h"
#include "engine/FormatParts.h"

#include <cctype>
#include <cmath>
#include <cstdio>

namespace engine {

namespace {

char Lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

std::string Lowered(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = Lower(c);
    return out;
}

bool StartsWithNoCase(std::string_view s, std::size_t at, std::string_view word) {
    if (at + word.size() > s.size())
        return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (Lower(s[at + i]) != Lower(word[i]))
            return false;
    return true;
}

std::string Two(int v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%02d", v);
    return buf;
}

// A text that is a number as a whole (blanks around it allowed), in plain or
// scientific notation.
bool WholeNumber(const std::string& text, const Locale& locale, double& v) {
    std::size_t used = 0;
    v = LeadingScientificNumber(text, locale.DecimalSeparator, &used);
    if (used == 0)
        return false;
    return text.find_first_not_of(" \t", used) == std::string::npos;
}

} // namespace

std::vector<FormatToken> TokenizeFormat(std::string_view f) {
    std::vector<FormatToken> out;
    auto literal = [&out](std::string text) {
        if (!out.empty() && out.back().kind == FormatToken::Literal)
            out.back().text += text;
        else
            out.push_back({FormatToken::Literal, std::move(text)});
    };
    for (std::size_t i = 0; i < f.size(); ++i) {
        char c = f[i];
        if (c == '\\' && i + 1 < f.size()) {
            literal(std::string(1, f[++i]));
        } else if (c == '"') {
            std::size_t end = f.find('"', i + 1);
            if (end == std::string_view::npos)
                end = f.size();
            literal(std::string(f.substr(i + 1, end - i - 1)));
            i = end;
        } else if ((c == 'E' || c == 'e') && i + 1 < f.size() &&
                   (f[i + 1] == '+' || f[i + 1] == '-')) {
            out.push_back({FormatToken::Code, std::string(f.substr(i, 2))});
            ++i;
        } else if (std::string_view("0#.,%@&<>!").find(c) != std::string_view::npos) {
            out.push_back({FormatToken::Code, std::string(1, c)});
        } else {
            literal(std::string(1, c));
        }
    }
    return out;
}

std::vector<std::string_view> SplitSections(std::string_view f) {
    std::vector<std::string_view> out;
    std::size_t start = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < f.size(); ++i) {
        if (f[i] == '"')
            quoted = !quoted;
        else if (f[i] == '\\' && !quoted)
            ++i;
        else if (f[i] == ';' && !quoted) {
            out.push_back(f.substr(start, i - start));
            start = i + 1;
        }
    }
    out.push_back(f.substr(start));
    return out;
}

bool IsNamedDateFormat(std::string_view format) {
    std::string n = Lowered(format);
    return n == "general date" || n == "long date" || n == "medium date" || n == "short date" ||
           n == "long time" || n == "medium time" || n == "short time";
}

bool LooksLikeDateFormat(std::string_view format) {
    if (IsNamedDateFormat(format))
        return true;
    bool date = false;
    bool quoted = false;
    for (std::size_t i = 0; i < format.size(); ++i) {
        char c = Lower(format[i]);
        if (c == '"') {
            quoted = !quoted;
            continue;
        }
        if (quoted)
            continue;
        if (c == '\\') {
            ++i;
            continue;
        }
        if (c == '0' || c == '#' || c == '@' || c == '&')
            return false;
        if (std::string_view("dwmqyhnst").find(c) != std::string_view::npos ||
            StartsWithNoCase(format, i, "am/pm") || StartsWithNoCase(format, i, "a/p"))
            date = true;
    }
    return date;
}

namespace {
bool Leap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// Days from 1970-01-01 to a civil date and back (proleptic Gregorian).
long DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    long era = (y >= 0 ? y : y - 399) / 400;
    long yoe = y - era * 400;
    long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(long z, int& y, int& m, int& d) {
    z += 719468;
    long era = (z >= 0 ? z : z - 146096) / 146097;
    long doe = z - era * 146097;
    long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    long mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

const long SerialEpoch = DaysFromCivil(1899, 12, 30);
} // namespace

int DayOfWeek(int y, int m, int d) {
    // 1970-01-01 was a Thursday. The remainder is floored, so that dates
    // before that day (year 0 and earlier too) still give 0..6.
    long r = (DaysFromCivil(y, m, d) + 4) % 7;
    return static_cast<int>(r < 0 ? r + 7 : r);
}

int DayOfYear(int y, int m, int d) {
    static const int before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    return before[(m - 1) % 12] + d + (m > 2 && Leap(y) ? 1 : 0);
}

DateTime DateFromSerial(double serial) {
    DateTime t;
    if (!std::isfinite(serial) || std::fabs(serial) > 3e6)
        return t;
    double days = std::floor(serial);
    long seconds = std::lround((serial - days) * 86400.0);
    if (seconds >= 86400) {
        days += 1;
        seconds -= 86400;
    }
    CivilFromDays(SerialEpoch + static_cast<long>(days), t.Year, t.Month, t.Day);
    t.Hour = static_cast<int>(seconds / 3600);
    t.Minute = static_cast<int>(seconds / 60 % 60);
    t.Second = static_cast<int>(seconds % 60);
    return t;
}

double SerialFromDate(const DateTime& t) {
    return static_cast<double>(DaysFromCivil(t.Year, t.Month, t.Day) - SerialEpoch) +
           (t.Hour * 3600 + t.Minute * 60 + t.Second) / 86400.0;
}

namespace {

std::string RenderDate(const DateTime& t, std::string_view f, const Locale& locale, int depth);

std::string NamedDate(const DateTime& t, std::string_view name, const Locale& locale, int depth) {
    std::string n = Lowered(name);
    if (n == "general date" || n.empty())
        return RenderDate(t, locale.ShortDatePattern, locale, depth) + " " +
               RenderDate(t, locale.LongTimePattern, locale, depth);
    if (n == "long date")
        return RenderDate(t, locale.LongDatePattern, locale, depth);
    if (n == "medium date")
        return RenderDate(t, "dd-mmm-yy", locale, depth);
    if (n == "short date")
        return RenderDate(t, locale.ShortDatePattern, locale, depth);
    if (n == "long time")
        return RenderDate(t, locale.LongTimePattern, locale, depth);
    if (n == "medium time")
        return RenderDate(t, "hh:nn AM/PM", locale, depth);
    return RenderDate(t, "hh:nn", locale, depth); // short time
}

std::string RenderDate(const DateTime& t, std::string_view f, const Locale& locale, int depth) {
    if (depth > 3)
        return std::string(f);
    bool twelveHour = false;
    for (std::size_t i = 0; i < f.size(); ++i)
        if (StartsWithNoCase(f, i, "am/pm") || StartsWithNoCase(f, i, "a/p"))
            twelveHour = true;
    int hour12 = t.Hour % 12 == 0 ? 12 : t.Hour % 12;
    std::string out;
    bool lastWasHour = false;
    for (std::size_t i = 0; i < f.size();) {
        char c = f[i];
        char lc = Lower(c);
        auto run = [&](char ch) {
            std::size_t n = 0;
            while (i + n < f.size() && Lower(f[i + n]) == ch)
                ++n;
            return n;
        };
        if (c == '\\' && i + 1 < f.size()) {
            out.push_back(f[i + 1]);
            i += 2;
            continue;
        }
        if (c == '"') {
            std::size_t end = f.find('"', i + 1);
            if (end == std::string_view::npos)
                end = f.size();
            out += f.substr(i + 1, end - i - 1);
            i = end + 1;
            continue;
        }
        if (StartsWithNoCase(f, i, "am/pm")) {
            std::string marker =
                t.Hour < 12 ? std::string(f.substr(i, 2)) : std::string(f.substr(i + 3, 2));
            out += marker;
            i += 5;
            continue;
        }
        if (StartsWithNoCase(f, i, "a/p")) {
            out.push_back(t.Hour < 12 ? f[i] : f[i + 2]);
            i += 3;
            continue;
        }
        std::size_t n = 0;
        bool isHour = false;
        switch (lc) {
        case 'd':
            n = std::min<std::size_t>(run('d'), 6);
            if (n == 1)
                out += std::to_string(t.Day);
            else if (n == 2)
                out += Two(t.Day);
            else if (n == 3)
                out += locale.AbbrevDayNames[static_cast<std::size_t>(
                    DayOfWeek(t.Year, t.Month, t.Day))];
            else if (n == 4)
                out += locale.DayNames[static_cast<std::size_t>(DayOfWeek(t.Year, t.Month, t.Day))];
            else if (n == 5)
                out += RenderDate(t, locale.ShortDatePattern, locale, depth + 1);
            else
                out += RenderDate(t, locale.LongDatePattern, locale, depth + 1);
            break;
        case 'w':
            n = std::min<std::size_t>(run('w'), 2);
            if (n == 1) {
                out += std::to_string(DayOfWeek(t.Year, t.Month, t.Day) + 1);
            } else {
                int jan1 = DayOfWeek(t.Year, 1, 1);
                out += std::to_string((DayOfYear(t.Year, t.Month, t.Day) - 1 + jan1) / 7 + 1);
            }
            break;
        case 'm':
            n = std::min<std::size_t>(run('m'), 4);
            if (lastWasHour && n <= 2) {
                out += n == 1 ? std::to_string(t.Minute) : Two(t.Minute);
            } else if (n == 1) {
                out += std::to_string(t.Month);
            } else if (n == 2) {
                out += Two(t.Month);
            } else {
                const auto& names = n == 3 ? locale.AbbrevMonthNames : locale.MonthNames;
                out += names[static_cast<std::size_t>((t.Month + 11) % 12)];
            }
            break;
        case 'q':
            n = 1;
            out += std::to_string((t.Month - 1) / 3 + 1);
            break;
        case 'y':
            n = run('y');
            if (n >= 4) {
                n = 4;
                out += std::to_string(t.Year);
            } else if (n >= 2) {
                n = 2;
                out += Two(t.Year % 100);
            } else {
                out += std::to_string(DayOfYear(t.Year, t.Month, t.Day));
            }
            break;
        case 'h':
            n = std::min<std::size_t>(run('h'), 2);
            isHour = true;
            {
                int h = twelveHour ? hour12 : t.Hour;
                out += n == 1 ? std::to_string(h) : Two(h);
            }
            break;
        case 'n':
            n = std::min<std::size_t>(run('n'), 2);
            out += n == 1 ? std::to_string(t.Minute) : Two(t.Minute);
            break;
        case 's':
            n = std::min<std::size_t>(run('s'), 2);
            out += n == 1 ? std::to_string(t.Second) : Two(t.Second);
            break;
        case 't':
            if (run('t') >= 5) {
                n = 5;
                out += RenderDate(t, locale.LongTimePattern, locale, depth + 1);
                break;
            }
            n = 1;
            out.push_back(c);
            break;
        case ':':
            n = 1;
            out.push_back(locale.TimeSeparator);
            break;
        case '/':
            n = 1;
            out.push_back(locale.DateSeparator);
            break;
        default:
            n = 1;
            out.push_back(c);
            i += n;
            continue; // literals do not break an hour-minute pair
        }
        if (lc != ':')
            lastWasHour = isHour;
        i += n;
    }
    return out;
}

} // namespace

std::string FormatDateTime(const DateTime& when, std::string_view format, const Locale& locale) {
    if (format.empty() || IsNamedDateFormat(format))
        return NamedDate(when, format, locale, 0);
    return RenderDate(when, format, locale, 0);
}

PreparedFormat::PreparedFormat(std::string_view format, const Locale& locale) : text_(format) {
    bool named = false;
    FormatNamedNumber(format, 0, locale, named);
    if (format.empty() || named) {
        kind_ = Kind::Named;
    } else if (LooksLikeDateFormat(format)) {
        kind_ = Kind::Date;
    } else {
        bool textCode = false, digitCode = false;
        for (const auto& t : TokenizeFormat(format)) {
            if (t.kind != FormatToken::Code)
                continue;
            if (t.text == "@" || t.text == "&" || t.text == "<" || t.text == ">" || t.text == "!")
                textCode = true;
            else
                digitCode = true;
        }
        kind_ = textCode && !digitCode ? Kind::Text : Kind::Numeric;
    }
    if (kind_ == Kind::Numeric)
        numeric_ = PlanNumericFormat(format);
}

std::string PreparedFormat::Apply(const Value& value, const Locale& locale) const {
    if (text_.empty())
        return value.ToText(locale);
    double number = 0;
    bool numeric = false;
    if (value.IsNumeric() || value.IsEmpty()) {
        number = *value.ToNumber(locale);
        numeric = true;
    } else {
        numeric = WholeNumber(value.AsText(), locale, number);
    }
    switch (kind_) {
    case Kind::Named: {
        bool matched = false;
        return numeric ? FormatNamedNumber(text_, number, locale, matched) : value.ToText(locale);
    }
    case Kind::Date:
        return numeric ? FormatDateTime(DateFromSerial(number), text_, locale)
                       : value.ToText(locale);
    case Kind::Text:
        return FormatText(value.ToText(locale), text_);
    case Kind::Numeric:
        break;
    }
    // A text that is no number passes numeric formats unchanged.
    if (!numeric)
        return value.ToText(locale);
    return FormatNumberUser(number, *numeric_, value.IsEmpty(), locale);
}

std::string FormatValue(const Value& value, std::string_view format, const Locale& locale) {
    if (format.empty())
        return value.ToText(locale);
    return PreparedFormat(format, locale).Apply(value, locale);
}

} // namespace engine

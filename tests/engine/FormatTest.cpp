#include "engine/Format.h"
#include "engine/DateTimeTokens.h"
#include "engine/FormatParts.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>

using namespace engine;

namespace {

Locale German() {
    Locale de;
    de.DecimalSeparator = ',';
    de.ThousandsSeparator = '.';
    de.CurrencySymbol = "€";
    de.CurrencySymbolFirst = false;
    de.CurrencySpaceSeparated = true;
    de.NegativeCurrencyForm = 5;
    de.DateSeparator = '.';
    de.ShortDatePattern = "dd/mm/yyyy";
    de.LongTimePattern = "hh:nn:ss";
    de.DayNames = {"Sonntag", "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag"};
    return de;
}

std::string F(const char* value, const char* format, const Locale& l = Locale{}) {
    return FormatValue(Value::Text(value), format, l);
}

} // namespace

TEST(Format, NamedNumericFormats) {
    struct Case {
        const char* value;
        const char* format;
        const char* result;
    } cases[] = {
        {"1234.5", "General Number", "1234.5"},
        {"1234.5", "Currency", "$1,234.50"},
        {"-1234.5", "Currency", "($1,234.50)"},
        {"1234.5", "Fixed", "1234.50"},
        {"0.5", "Fixed", "0.50"},
        {"1234.5", "Standard", "1,234.50"},
        {"0.125", "Percent", "12.50%"},
        {"1234.5", "Percent", "123450.00%"},
        {"1234.5", "Scientific", "1.23E+03"},
        {"0.000123", "Scientific", "1.23E-04"},
        {"1234.5", "Yes/No", "Yes"},
        {"0", "Yes/No", "No"},
        {"0", "On/Off", "Off"},
        {"-1", "True/False", "True"},
        {"abc", "Standard", "abc"},
        {"12abc", "Fixed", "12abc"},
        {"1E-05", "", "1E-05"},
        {"999.995", "Fixed", "1000.00"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(F(c.value, c.format), c.result) << c.value << " / " << c.format;
    EXPECT_EQ(FormatValue(Value::Boolean(true), "Yes/No", Locale{}), "Yes");
    EXPECT_EQ(FormatValue(Value::Boolean(true), "", Locale{}), "True");
}

TEST(Format, UserDefinedNumericFormats) {
    struct Case {
        const char* value;
        const char* format;
        const char* result;
    } cases[] = {
        {"2.345", "0.00", "2.35"},
        {"0.125", "0%", "13%"},
        {"5", "000", "005"},
        {"5", "###", "5"},
        {"0.5", "#.##", ".5"},
        {"1234567", "#,##0", "1,234,567"},
        {"1234567", "#,##0,", "1,235"},
        {"123456", "000-000", "123-456"},
        {"-5", "0.0;(0.0)", "(5.0)"},
        {"-5", "0.0", "-5.0"},
        {"0", "0.0;(0.0);\"zero\"", "zero"},
        {"5", "0.0;;", "5.0"},
        {"12", "\"N=\"0", "N=12"},
        {"5", "\\$0", "$5"},
        {"12345", "0.00E+00", "1.23E+04"},
        {"0.00012", "0.0e-0", "1.2e-4"},
        {"0.5", "0E+0%", "5E+1%"},
        {"0.5", "0.0E+00 %", "5.0E+01 %"},
        {"99.96", "0.0", "100.0"},
        {"-0.001", "0.00", "0.00"},
        {"7", "abc", "abc"},
        {"1.5", "0.###", "1.5"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(F(c.value, c.format), c.result) << c.value << " / " << c.format;
    EXPECT_EQ(FormatValue(Value(), "0;0;0;\"none\"", Locale{}), "none");
}

TEST(Format, NumbersWithoutDigitsToPlaceAreShownAsWithoutAFormat) {
    // Infinity, and finite numbers that "%" takes beyond the largest double,
    // in every numeric format; a number that stays finite is formatted.
    const std::string overflows = "1" + std::string(309, '0');
    const std::string e307 = "1" + std::string(307, '0');
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        Value value;
        const char* format;
        const char* result;
    } cases[] = {
        {Value::Text(overflows), "0E+0", "Infinity"},
        {Value::Text(overflows), "0.00", "Infinity"},
        {Value::Text("-" + overflows), "0.00E+00;(0.00E+00)", "-Infinity"},
        {Value::Text(overflows), "Scientific", "Infinity"},
        {Value::Text("-" + overflows), "Currency", "-Infinity"},
        {Value::Text(overflows), "Yes/No", "Yes"},
        {Value::Double(inf), "#,##0", "Infinity"},
        {Value::Double(-inf), "Percent", "-Infinity"},
        {Value::Text(e307), "%0E+0", "1E+307"},
        {Value::Text(e307), "0%", "1E+307"},
        {Value::Text("-" + e307), "0.0%E+0", "-1E+307"},
        {Value::Text(e307), "0E+0%", "1E+307"},
        {Value::Text(e307), "0E+0", "1E+307"},
        {Value::Double(1e306), "%0E+0", "%1E+308"},
        {Value::Double(std::numeric_limits<double>::max()), "0.00E+00", "1.80E+308"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormatValue(c.value, c.format, Locale{}), c.result)
            << c.value.ToText(Locale{}).substr(0, 12) << " / " << c.format;
}

TEST(Format, TextInScientificNotationIsFormattedAsItsNumber) {
    // As meters send readings; the default filter keeps the "E".
    struct Case {
        const char* value;
        const char* format;
        const char* result;
    } cases[] = {
        {"+1.2345E-03", "0.0000000", "0.0012345"},
        {"1.5e+3", "#,##0.0", "1,500.0"},
        {" 3E4 ", "General Number", "30000"},
        {"-2.5E2", "0.0;(0.0)", "(250.0)"},
        {"4.9E-324", "0.00E+00", "4.94E-324"},
        {"2.5E-308", "Scientific", "2.50E-308"},
        {"1E-400", "0.00", "0.00"},
        {"1E400", "0.00", "Infinity"},
        {"-1e+99999999999999999999", "Scientific", "-Infinity"},
        {"0.0001E999999", "0E+0", "Infinity"},
        {"1000E-999999", "0.0", "0.0"},
        {"4.5E4", "yyyy-mm-dd", "2023-03-15"},
        // Not a number as a whole: passes unchanged.
        {"12E", "0.00", "12E"},
        {"12E+", "0.00", "12E+"},
        {"1E5x", "0.00", "1E5x"},
        {"E5", "0.00", "E5"},
        {"1.2.3E4", "0.00", "1.2.3E4"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(F(c.value, c.format), c.result) << c.value << " / " << c.format;
    EXPECT_EQ(F("1,5E-3", "0.0000", German()), "0,0015");
    EXPECT_EQ(F("1.5E-3", "0.0000", German()), "1.5E-3");
}

TEST(Format, TextFormats) {
    EXPECT_EQ(F("abc", ">"), "ABC");
    EXPECT_EQ(F("AbC", "<"), "abc");
    EXPECT_EQ(F("ab", "@@@@"), "  ab");
    EXPECT_EQ(F("ab", "&&&&"), "ab");
    EXPECT_EQ(F("abcdef", "@@-@@"), "abcd-ef");
    EXPECT_EQ(F("ab", "!@@@@"), "ab  ");
}

TEST(Format, DateCodesAtYearBoundaries) {
    Locale us;
    DateTime t{2026, 11, 15, 14, 5, 9};
    EXPECT_EQ(FormatDateTime(t, "yyyy-mm-dd hh:nn:ss", us), "2026-11-15 14:05:09");
    EXPECT_EQ(FormatDateTime(t, "d/m/yy h:n:s", us), "15/11/26 14:5:9");
    EXPECT_EQ(FormatDateTime(t, "ddd dddd mmm mmmm", us), "Sun Sunday Nov November");
    EXPECT_EQ(FormatDateTime(t, "hh:mm", us), "14:05"); // m after h is the minute
    EXPECT_EQ(FormatDateTime(t, "h AM/PM a/p", us), "2 PM p");
    EXPECT_EQ(FormatDateTime(t, "w ww y q", us), "1 47 319 4");
    EXPECT_EQ(FormatDateTime(t, "", us), "11/15/2026 2:05:09 PM");
    EXPECT_EQ(FormatDateTime(t, "ddddd ttttt", us), "11/15/2026 2:05:09 PM");
    EXPECT_EQ(FormatDateTime(t, "Long Date", us), "Sunday, November 15, 2026");
    EXPECT_EQ(FormatDateTime(t, "Medium Date", us), "15-Nov-26");
    EXPECT_EQ(FormatDateTime(t, "Short Time", us), "14:05");
    EXPECT_EQ(FormatDateTime(t, "Medium Time", us), "02:05 PM");
    // 2022-01-01 is a Saturday: its week is week 1, and the Sunday after starts week 2.
    EXPECT_EQ(FormatDateTime({2022, 1, 1}, "ww w y", us), "1 7 1");
    EXPECT_EQ(FormatDateTime({2022, 1, 2}, "ww w y", us), "2 1 2");
    EXPECT_EQ(FormatDateTime({2024, 12, 31}, "ww y", us), "53 366");
    EXPECT_EQ(FormatDateTime({2026, 1, 1, 0, 0, 0}, "h:nn AM/PM", us), "12:00 AM");
    EXPECT_EQ(F("45000.5", "yyyy-mm-dd hh:nn"), "2023-03-15 12:00");
}

namespace {

// A date serial's day in the standard library's proleptic Gregorian calendar,
// an independent reference for the date codes.
struct CivilDay {
    int year;
    unsigned month, day, weekday, dayOfYear, week;
};

CivilDay Reference(long serial) {
    using namespace std::chrono;
    const sys_days date = sys_days{year{1899} / December / 30} + days{serial};
    const year_month_day ymd{date};
    const sys_days jan1{ymd.year() / January / 1};
    const unsigned dayOfYear = static_cast<unsigned>((date - jan1).count()) + 1;
    return {static_cast<int>(ymd.year()),
            static_cast<unsigned>(ymd.month()),
            static_cast<unsigned>(ymd.day()),
            weekday{date}.c_encoding(),
            dayOfYear,
            (dayOfYear - 1 + weekday{jan1}.c_encoding()) / 7 + 1};
}

} // namespace

TEST(Format, DayNamesAndWeeksOfEarlyDatesFollowTheProlepticCalendar) {
    // Serials down to year 0 and before: 0 is Saturday 30 December 1899.
    std::vector<long> serials = {1, 0, -1, -6, -7, -8, -693594, -695785, -695786, -3000000};
    std::mt19937 random(14);
    std::uniform_int_distribution<long> negative(-3000000, -1);
    for (int i = 0; i < 300; ++i)
        serials.push_back(negative(random));
    Locale us;
    for (long serial : serials) {
        const CivilDay ref = Reference(serial);
        auto shown = [&](const char* format) {
            return FormatValue(Value::Text(std::to_string(serial)), format, us);
        };
        SCOPED_TRACE(serial);
        EXPECT_EQ(shown("dddd"), us.DayNames[ref.weekday]);
        EXPECT_EQ(shown("ddd"), us.AbbrevDayNames[ref.weekday]);
        EXPECT_EQ(shown("Long Date"),
                  us.DayNames[ref.weekday] + ", " + us.MonthNames[ref.month - 1] + " " +
                      std::to_string(ref.day) + ", " + std::to_string(ref.year));
        EXPECT_EQ(shown("w ww y"), std::to_string(ref.weekday + 1) + " " +
                                       std::to_string(ref.week) + " " +
                                       std::to_string(ref.dayOfYear));
    }
}

TEST(Format, OtherLocales) {
    Locale de = German();
    EXPECT_EQ(F("1234,5", "Standard", de), "1.234,50");
    EXPECT_EQ(F("1234,5", "Currency", de), "1.234,50 €");
    EXPECT_EQ(F("-1234,5", "Currency", de), "-1.234,50 €");
    EXPECT_EQ(F("1234.5", "Fixed", de), "1234.5"); // a point is no number here
    EXPECT_EQ(FormatDateTime({2026, 11, 15, 14, 5, 9}, "", de), "15.11.2026 14:05:09");
    EXPECT_EQ(FormatDateTime({2026, 11, 15}, "dddd", de), "Sonntag");
}

TEST(DateTimeTokens, FirstOccurrenceOfEachTokenInAnyCase) {
    ManualClock clock;
    clock.now = {2026, 11, 15, 14, 5, 9};
    EXPECT_EQ(ExpandDateTimeTokens("{Year}{YEAR}", clock), "26{YEAR}");
    EXPECT_EQ(
        ExpandDateTimeTokens("LOT-{MONTH}{DAY}{CENTURY}{YEAR} {HOUR}:{MINUTE}:{SECOND}", clock),
        "LOT-11152026 14:05:09");
    EXPECT_EQ(ExpandDateTimeTokens("{ENTER}{tab}", clock), "{ENTER}{tab}");
    EXPECT_EQ(ExpandDateTimeTokens("", clock), "");
}

TEST(DateTimeDisplay, RefreshesOnlyWhenTheSecondChanges) {
    ManualClock clock;
    config::Config cfg;
    RuntimeState state;
    Locale us;
    EXPECT_FALSE(RefreshDateTimeDisplay(state, cfg, clock, us)); // display off
    cfg.ShowDateTime = config::True;
    cfg.DateTimeFormat = "hh:nn:ss";
    EXPECT_TRUE(RefreshDateTimeDisplay(state, cfg, clock, us));
    EXPECT_EQ(state.DateTimeText, "14:05:09");
    EXPECT_FALSE(RefreshDateTimeDisplay(state, cfg, clock, us));
    clock.now.Second = 10;
    EXPECT_TRUE(RefreshDateTimeDisplay(state, cfg, clock, us));
    EXPECT_EQ(state.DateTimeText, "14:05:10");
}

TEST(DateTimeDisplay, SetupCommandAsksOnlyWhenTurningOn) {
    config::Config cfg;
    cfg.DateTimeFormat = "hh:nn";
    int asked = 0;
    std::optional<std::string> answer = "";
    auto ask = [&](const std::string& title, const std::string& prompt, const std::string& pre) {
        ++asked;
        EXPECT_EQ(title, "Date/Time Format");
        EXPECT_EQ(prompt, "Enter Format Expression for Date/Time Display");
        EXPECT_EQ(pre, "hh:nn");
        return answer;
    };
    ToggleDateTimeDisplay(cfg, ask);
    EXPECT_EQ(cfg.ShowDateTime, config::True);
    EXPECT_EQ(cfg.DateTimeFormat, "hh:nn"); // an empty answer keeps the format
    EXPECT_EQ(cfg.ConfigChanged, config::True);
    ToggleDateTimeDisplay(cfg, ask);
    EXPECT_EQ(cfg.ShowDateTime, config::False);
    EXPECT_EQ(asked, 1);
    answer = "yyyy";
    ToggleDateTimeDisplay(cfg, ask);
    EXPECT_EQ(cfg.DateTimeFormat, "yyyy");
}

TEST(Format, FastRoundingAgreesWithTheLibrarysFifteenDigits) {
    // Rounding takes an integer shortcut where it is certain; it must give
    // exactly the digits that reading the library's 15 significant digits
    // gives, ties at the 15th digit and powers of ten included.
    std::vector<double> values = {2.345,  1.005,   0.125,    12.345 * 1000, 999999999999999.9,
                                  9.9999999999999995, 0.5, 1e-8,    1e-9,    99999999999999.95,
                                  123456789012345.6, 1e15, 0.0000123, 7.0,   1234.5};
    std::mt19937_64 random(11);
    for (int i = 0; i < 30000; ++i) {
        const double mantissa = static_cast<double>(random() % 100000000) / 1000.0;
        const int scale = static_cast<int>(random() % 24) - 12;
        values.push_back(mantissa * std::pow(10.0, scale));
        // Decimal ties such as 0.0125 at every scale.
        values.push_back((static_cast<double>(random() % 100000) + 0.5) * std::pow(10.0, scale));
    }
    for (double v : values)
        for (int decimals : {0, 1, 2, 3, 6, 17}) {
            std::string fastInt, fastFrac, libInt, libFrac;
            RoundDecimal(v, decimals, fastInt, fastFrac);
            RoundDecimalByLibrary(v, decimals, libInt, libFrac);
            ASSERT_EQ(fastInt + "." + fastFrac, libInt + "." + libFrac) << v << " at " << decimals;
        }
}

#include "engine/Value.h"

#include <gtest/gtest.h>

#include <charconv>
#include <random>

using engine::GeneralNumber;
using engine::LeadingNumber;
using engine::Locale;
using engine::Value;

TEST(GeneralNumber, ShowsAtMostFifteenDigitsAndSwitchesToScientificAtTheEdges) {
    Locale us;
    struct Case {
        double v;
        bool single;
        const char* text;
    } cases[] = {
        {0.1 + 0.2, false, "0.3"},
        {1.0 / 3.0, false, "0.333333333333333"},
        {0.0001, false, "0.0001"},
        {0.00001, false, "1E-05"},
        {1e15, false, "1E+15"},
        {999999999999999.0, false, "999999999999999"},
        {12345678.0f, true, "1.234568E+07"},
        {1234567.0f, true, "1234567"},
        {-2.5, false, "-2.5"},
        {0.0, false, "0"},
        {1234.5, false, "1234.5"},
        {-1.5e-7, false, "-1.5E-07"},
        {1.5e100, false, "1.5E+100"},
        {9.9999999999999999, false, "10"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(GeneralNumber(c.v, c.single, us), c.text) << c.v;
}

TEST(GeneralNumber, UsesTheLocaleDecimalSeparator) {
    Locale de;
    de.DecimalSeparator = ',';
    EXPECT_EQ(GeneralNumber(1234.5, false, de), "1234,5");
    EXPECT_EQ(GeneralNumber(1.5e-7, false, de), "1,5E-07");
}

TEST(LeadingNumber, ReadsBlanksSignDigitsAndOneSeparator) {
    struct Case {
        const char* text;
        char sep;
        double v;
        std::size_t used;
    } cases[] = {
        {"  -12.5 kg", '.', -12.5, 7}, {"1.5.5", '.', 1.5, 3}, {"abc", '.', 0, 0}, {"", '.', 0, 0},
        {"12,5", ',', 12.5, 4},        {"12,5", '.', 12, 2},   {"+7x", '.', 7, 2}, {".", '.', 0, 0},
        {".5", '.', 0.5, 2},
    };
    for (const auto& c : cases) {
        std::size_t used = 99;
        EXPECT_DOUBLE_EQ(LeadingNumber(c.text, c.sep, &used), c.v) << c.text;
        EXPECT_EQ(used, c.used) << c.text;
    }
}

TEST(LeadingNumber, IsCorrectlyRoundedForShortAndLongNumbers) {
    // Short numbers take an exact shortcut, long ones the library's reading;
    // both must give the double nearest to the decimal value, bit for bit.
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string text = random() % 2 ? "-" : "";
        const int intDigits = static_cast<int>(random() % 12);
        const int fracDigits = static_cast<int>(random() % 26);
        for (int d = 0; d < intDigits; ++d)
            text += static_cast<char>('0' + random() % 10);
        if (intDigits == 0 || fracDigits > 0) {
            text += '.';
            for (int d = 0; d < std::max(fracDigits, intDigits == 0 ? 1 : 0); ++d)
                text += static_cast<char>('0' + random() % 10);
        }
        double expected = 0;
        std::from_chars(text.data(), text.data() + text.size(), expected);
        std::size_t used = 0;
        ASSERT_EQ(LeadingNumber(text, '.', &used), expected) << text;
        ASSERT_EQ(used, text.size()) << text;
    }
    EXPECT_EQ(LeadingNumber("0.1", '.'), 0.1);
    EXPECT_EQ(LeadingNumber("9007199254740993", '.'), 9007199254740992.0); // nearest double
    EXPECT_EQ(LeadingNumber("123456789012345678901234567890", '.'), 1.2345678901234568e29);
}

TEST(Value, ConvertsToTextAndNumberAsFieldsShowThem) {
    Locale us;
    EXPECT_EQ(Value::Boolean(true).ToText(us), "True");
    EXPECT_EQ(Value::Boolean(false).ToText(us), "False");
    EXPECT_EQ(*Value::Boolean(true).ToNumber(us), -1.0);
    EXPECT_EQ(Value().ToText(us), "");
    EXPECT_EQ(*Value().ToNumber(us), 0.0);
    EXPECT_EQ(Value::Int16(-32768).ToText(us), "-32768");
    EXPECT_EQ(Value::Single(0.1f).ToText(us), "0.1");
    EXPECT_EQ(*Value::Text(" 42 g").ToNumber(us), 42.0);
    EXPECT_FALSE(Value::Text("g").ToNumber(us).has_value());
}

#include "trend/FieldNumber.h"

#include <gtest/gtest.h>

using trend::ReadFieldNumber;

TEST(FieldNumber, ReadsNumbersWithUnitsGroupingAndExponentsAndRefusesOtherText) {
    engine::Locale us;
    struct Case {
        const char* text;
        double value;
        int decimals;
        bool scientific;
    } numbers[] = {
        {"12.345", 12.345, 3, false},       {"  12.345 g", 12.345, 3, false},
        {"+00012.34 g\r", 12.34, 2, false}, {"-0.5", -0.5, 1, false},
        {"45.2%RH", 45.2, 1, false},        {"17", 17, 0, false},
        {"1.5E-03 V", 0.0015, 1, true},     {"-2e+5", -200000, 0, true},
        {"1,234.50", 1234.5, 2, false},     {"12,345,678 counts", 12345678, 0, false},
        {"12.3 g/cm3", 12.3, 1, false}, // a unit with a digit, apart from the number
    };
    for (const Case& c : numbers) {
        const auto read = ReadFieldNumber(c.text, us);
        ASSERT_TRUE(read) << c.text;
        EXPECT_DOUBLE_EQ(read->value, c.value) << c.text;
        EXPECT_EQ(read->decimals, c.decimals) << c.text;
        EXPECT_EQ(read->scientific, c.scientific) << c.text;
    }
    for (const char* text :
         {"", "   ", "ST", "OL", "-", ".", "True", "2026-11-24", "12:30:05", "1/2/2026", "1.2.3",
          "0x1F", "12,5", "1,23,456", "1234,567", "ID12", "12,345,67"})
        EXPECT_FALSE(ReadFieldNumber(text, us)) << '"' << text << '"';
}

TEST(FieldNumber, FollowsTheLocaleSeparators) {
    engine::Locale de;
    de.DecimalSeparator = ',';
    de.ThousandsSeparator = '.';
    ASSERT_TRUE(ReadFieldNumber("1.234,5 kg", de));
    EXPECT_DOUBLE_EQ(ReadFieldNumber("1.234,5 kg", de)->value, 1234.5);
    EXPECT_DOUBLE_EQ(ReadFieldNumber("12,5", de)->value, 12.5);
    EXPECT_EQ(ReadFieldNumber("12,5", de)->decimals, 1);
    // "12.5" is no number where "." groups thousands.
    EXPECT_FALSE(ReadFieldNumber("12.5", de));
}

#pragma once
// The locale record: the separators, currency form and date/time names that
// number and date display use. Read once at start from the process locale
// (engine/PosixLocale.cpp); tests fill it by hand. The default is US English,
// which is also what the C/POSIX locale reads as.

#include <array>
#include <string>

namespace engine {

struct Locale {
    char DecimalSeparator = '.';
    char ThousandsSeparator = ',';
    std::string CurrencySymbol = "$";
    bool CurrencySymbolFirst = true;     // "$1.00" rather than "1.00 $"
    bool CurrencySpaceSeparated = false; // a blank between symbol and amount
    // Negative currency form: 0 = "($1.00)", 1 = "-$1.00", 2 = "$-1.00",
    // 3 = "$1.00-", 4 = "(1.00$)", 5 = "-1.00$", 6 = "1.00-$", 7 = "1.00$-".
    int NegativeCurrencyForm = 0;
    int CurrencyDigits = 2;
    char DateSeparator = '/';
    char TimeSeparator = ':';
    // Date order of the short date: 0 = month-day-year, 1 = day-month-year,
    // 2 = year-month-day.
    int DateOrder = 0;
    std::string ShortDatePattern = "m/d/yyyy";
    std::string LongDatePattern = "dddd, mmmm d, yyyy";
    std::string LongTimePattern = "h:nn:ss AM/PM";
    std::string AmDesignator = "AM";
    std::string PmDesignator = "PM";
    std::array<std::string, 7> DayNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                        "Thursday", "Friday", "Saturday"};
    std::array<std::string, 7> AbbrevDayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    std::array<std::string, 12> MonthNames{"January",   "February", "March",    "April",
                                           "May",       "June",     "July",     "August",
                                           "September", "October",  "November", "December"};
    std::array<std::string, 12> AbbrevMonthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
};

} // namespace engine

// The locale record from the process locale: setlocale(LC_ALL, ""),
// localeconv() and nl_langinfo(). The C and POSIX locales keep the US English
// defaults of the record.

#include "engine/ProcessLocale.h"

#include <climits>
#include <clocale>
#include <cstring>
#include <langinfo.h>
#include <string>

namespace engine {

namespace {

// A strftime pattern ("%d.%m.%Y", "%I:%M:%S %p") in the format codes of the
// display formats ("dd/mm/yyyy" with the separator taken out, "hh:nn:ss AM/PM").
std::string FromStrftime(const char* pattern, char& separator, bool date) {
    std::string out;
    for (const char* p = pattern; *p; ++p) {
        if (*p != '%') {
            if (date && (*p == '.' || *p == '/' || *p == '-')) {
                separator = *p;
                out.push_back('/');
            } else if (!date && *p == ':') {
                separator = ':';
                out.push_back(':');
            } else {
                out.push_back(*p);
            }
            continue;
        }
        switch (*++p) {
        case 'd':
            out += "dd";
            break;
        case 'e':
            out += "d";
            break;
        case 'm':
            out += "mm";
            break;
        case 'y':
            out += "yy";
            break;
        case 'Y':
            out += "yyyy";
            break;
        case 'H':
            out += "hh";
            break;
        case 'k':
            out += "h";
            break;
        case 'I':
            out += "hh";
            break;
        case 'l':
            out += "h";
            break;
        case 'M':
            out += "nn";
            break;
        case 'S':
            out += "ss";
            break;
        case 'p':
            out += "AM/PM";
            break;
        case 'A':
            out += "dddd";
            break;
        case 'a':
            out += "ddd";
            break;
        case 'B':
            out += "mmmm";
            break;
        case 'b':
        case 'h':
            out += "mmm";
            break;
        case 'T':
            out += "hh:nn:ss";
            break;
        case 'R':
            out += "hh:nn";
            break;
        case 'r':
            out += "hh:nn:ss AM/PM";
            break;
        case 'D':
            out += "mm/dd/yy";
            break;
        case 'F':
            out += "yyyy/mm/dd";
            separator = '-';
            break;
        case '\0':
            return out;
        default:
            break;
        }
    }
    return out;
}

} // namespace

Locale ReadProcessLocale() {
    Locale locale;
    const char* name = std::setlocale(LC_ALL, "");
    if (!name || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0 ||
        std::strncmp(name, "C.", 2) == 0) {
        std::setlocale(LC_ALL, "C");
        return locale;
    }
    const lconv* lc = std::localeconv();
    if (lc->decimal_point && *lc->decimal_point)
        locale.DecimalSeparator = *lc->decimal_point;
    if (lc->thousands_sep && *lc->thousands_sep &&
        static_cast<unsigned char>(*lc->thousands_sep) < 128)
        locale.ThousandsSeparator = *lc->thousands_sep;
    else
        locale.ThousandsSeparator = locale.DecimalSeparator == ',' ? '.' : ',';
    if (lc->currency_symbol && *lc->currency_symbol)
        locale.CurrencySymbol = lc->currency_symbol;
    if (lc->p_cs_precedes != CHAR_MAX)
        locale.CurrencySymbolFirst = lc->p_cs_precedes == 1;
    if (lc->p_sep_by_space != CHAR_MAX)
        locale.CurrencySpaceSeparated = lc->p_sep_by_space == 1;
    if (lc->frac_digits != CHAR_MAX)
        locale.CurrencyDigits = lc->frac_digits;
    locale.NegativeCurrencyForm = locale.CurrencySymbolFirst ? 1 : 5;
    locale.ShortDatePattern = FromStrftime(nl_langinfo(D_FMT), locale.DateSeparator, true);
    char timeSeparator = ':';
    locale.LongTimePattern = FromStrftime(nl_langinfo(T_FMT), timeSeparator, false);
    locale.TimeSeparator = timeSeparator;
    locale.DateOrder = locale.ShortDatePattern.rfind("d", 0) == 0   ? 1
                       : locale.ShortDatePattern.rfind("y", 0) == 0 ? 2
                                                                    : 0;
    const char* am = nl_langinfo(AM_STR);
    const char* pm = nl_langinfo(PM_STR);
    if (am && *am)
        locale.AmDesignator = am;
    if (pm && *pm)
        locale.PmDesignator = pm;
    static const nl_item days[] = {DAY_1, DAY_2, DAY_3, DAY_4, DAY_5, DAY_6, DAY_7};
    static const nl_item abdays[] = {ABDAY_1, ABDAY_2, ABDAY_3, ABDAY_4, ABDAY_5, ABDAY_6, ABDAY_7};
    static const nl_item months[] = {MON_1, MON_2, MON_3, MON_4,  MON_5,  MON_6,
                                     MON_7, MON_8, MON_9, MON_10, MON_11, MON_12};
    static const nl_item abmonths[] = {ABMON_1, ABMON_2, ABMON_3, ABMON_4,  ABMON_5,  ABMON_6,
                                       ABMON_7, ABMON_8, ABMON_9, ABMON_10, ABMON_11, ABMON_12};
    for (int i = 0; i < 7; ++i) {
        locale.DayNames[i] = nl_langinfo(days[i]);
        locale.AbbrevDayNames[i] = nl_langinfo(abdays[i]);
    }
    for (int i = 0; i < 12; ++i) {
        locale.MonthNames[i] = nl_langinfo(months[i]);
        locale.AbbrevMonthNames[i] = nl_langinfo(abmonths[i]);
    }
    // Number conversions of the C library stay in the C locale: the program
    // formats numbers itself with the record above.
    std::setlocale(LC_NUMERIC, "C");
    return locale;
}

} // namespace engine

#pragma once
// Display formats: named formats ("Fixed", "Currency", "Yes/No", ...),
// user-defined numeric, text and date/time formats, and the general number
// and date forms. Formatting never fails: a value a format cannot take comes
// back unchanged, and characters a format does not know are shown as they are.
// Weeks start on Sunday; week 1 is the week that holds January 1.

#include "engine/Clock.h"
#include "engine/Locale.h"
#include "engine/Value.h"

#include <memory>
#include <string>
#include <string_view>

namespace engine {

std::string FormatValue(const Value& value, std::string_view format, const Locale& locale);

struct NumericPlan;

// A format analysed once (what kind it is, and a numeric format's sections),
// for formatting value after value with it: a field's format, record after
// record. Apply gives what FormatValue gives.
class PreparedFormat {
public:
    PreparedFormat(std::string_view format, const Locale& locale);
    std::string Apply(const Value& value, const Locale& locale) const;
    const std::string& Text() const { return text_; }

private:
    enum class Kind { Named, Date, Text, Numeric };
    std::string text_;
    Kind kind_ = Kind::Named;
    std::shared_ptr<const NumericPlan> numeric_; // a Numeric format's sections
};

// An empty format gives the general date and time: the short date followed by
// the long time.
std::string FormatDateTime(const DateTime& when, std::string_view format, const Locale& locale);

// A number as a date serial (days since 30 December 1899, the fraction being
// the time of day) and back.
DateTime DateFromSerial(double serial);
double SerialFromDate(const DateTime& when);

// 0 = Sunday ... 6 = Saturday; day of the year 1..366.
int DayOfWeek(int year, int month, int day);
int DayOfYear(int year, int month, int day);

} // namespace engine

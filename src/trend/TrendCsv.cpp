#include "trend/TrendCsv.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace trend {

namespace {

std::string Quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string out = "\"";
    for (char c : text) {
        if (c == '"')
            out += '"';
        out += c;
    }
    return out + '"';
}

void PutNumber(std::string& line, double value) {
    if (std::isnan(value))
        return;
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    line.append(buffer, result.ptr);
}

} // namespace

std::string LocalTimeText(std::int64_t timeMs, const WallClock& clock) {
    using namespace std::chrono;
    const sys_time<milliseconds> local{milliseconds(timeMs) +
                                       seconds(clock.UtcOffsetSeconds(timeMs))};
    const sys_days day = floor<days>(local);
    const year_month_day date(day);
    const hh_mm_ss<milliseconds> time(local - day);
    char text[40];
    std::snprintf(
        text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d.%03d", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
        static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

bool WriteTrendCsv(std::ostream& out, const TrendSnapshot& data,
                   const std::vector<std::string>& labels, const WallClock& clock) {
    std::string line = "time,record";
    for (std::size_t k = 0; k < data.fields.size(); ++k)
        line += "," + Quoted(k < labels.size() ? labels[k] : std::to_string(data.fields[k]));
    line += '\n';
    out << line;
    for (std::size_t row = 0; row < data.times.size() && out; ++row) {
        line = LocalTimeText(data.times[row], clock);
        line += ',';
        PutNumber(line, data.recordNumbers[row]);
        for (const std::vector<double>& values : data.values) {
            line += ',';
            PutNumber(line, values[row]);
        }
        line += '\n';
        out << line;
    }
    out.flush();
    return static_cast<bool>(out);
}

} // namespace trend

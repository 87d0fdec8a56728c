#include "output/BrokerPayload.h"

#include <chrono>
#include <cstdio>

namespace output {

std::string JsonString(std::string_view latin1) {
    std::string out = "\"";
    for (char c : latin1) {
        const auto b = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (b < 0x20 || b == 0x7f) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", b);
                out += escape;
            } else if (b < 0x80) {
                out += c;
            } else {
                out += static_cast<char>(0xc0 | (b >> 6));
                out += static_cast<char>(0x80 | (b & 0x3f));
            }
        }
    }
    return out + '"';
}

std::string RecordPayload(const RecordMessage& m) {
    std::string out = "{\"run\": " + JsonString(m.run) + ", \"seq\": " + std::to_string(m.seq) +
                      ", \"record\": " + JsonString(m.record) +
                      ", \"time\": " + JsonString(m.time) + ", \"port\": " + JsonString(m.port) +
                      ", \"fields\": [";
    for (std::size_t i = 0; i < m.fields.size(); ++i)
        out += (i ? ", " : "") + JsonString(m.fields[i]);
    return out + "]}";
}

std::string ResultPayload(bool ok, std::string_view message) {
    return std::string("{\"ok\": ") + (ok ? "true" : "false") +
           ", \"message\": " + JsonString(message) + "}";
}

std::string Latin1FromUtf8(std::string_view utf8) {
    std::string out;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto b = static_cast<unsigned char>(utf8[i]);
        if (b < 0x80) {
            out += static_cast<char>(b);
            ++i;
            continue;
        }
        // The length of the sequence from its lead byte; its code point.
        const int length = b >= 0xf0 ? 4 : b >= 0xe0 ? 3 : b >= 0xc0 ? 2 : 1;
        std::uint32_t code = length == 4 ? b & 7u : length == 3 ? b & 15u : b & 31u;
        bool broken = length == 1 || i + static_cast<std::size_t>(length) > utf8.size();
        for (int k = 1; !broken && k < length; ++k) {
            const auto next = static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]);
            broken = (next & 0xc0) != 0x80;
            code = (code << 6) | (next & 0x3fu);
        }
        out += !broken && code <= 0xff ? static_cast<char>(code) : '?';
        i += broken ? 1 : static_cast<std::size_t>(length);
    }
    return out;
}

std::string IsoTime(std::int64_t unixMs, int offsetMinutes) {
    using namespace std::chrono;
    const std::int64_t localMs = unixMs + std::int64_t{offsetMinutes} * 60000;
    const sys_days day = floor<days>(sys_time<milliseconds>(milliseconds(localMs)));
    const year_month_day date(day);
    const std::int64_t inDay =
        localMs - duration_cast<milliseconds>(day.time_since_epoch()).count();
    const int offset = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03d%c%02d:%02d",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(inDay / 3600000),
                  static_cast<int>(inDay / 60000 % 60), static_cast<int>(inDay / 1000 % 60),
                  static_cast<int>(inDay % 1000), offsetMinutes < 0 ? '-' : '+', offset / 60,
                  offset % 60);
    return text;
}

} // namespace output

#pragma once
// The JSON texts a runtime publishes to its broker: one object per delivered
// record and one per command's outcome. Device data are bytes; in JSON byte n
// is the character U+00nn (as on D-Bus), written as UTF-8.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace output {

// A record as it is published on PREFIX/TOPIC/record.
struct RecordMessage {
    std::string run;       // the id of this run
    std::uint64_t seq = 0; // 1, 2, ... within the run
    std::string record;    // the RecordNumber text
    std::string time;      // ISO 8601 with milliseconds and the UTC offset
    std::string port;      // the device path, or "virtual"
    std::vector<std::string> fields;
};

// {"run": ..., "seq": ..., "record": ..., "time": ..., "port": ..., "fields": [...]}
std::string RecordPayload(const RecordMessage& message);
// {"ok": true|false, "message": ...}
std::string ResultPayload(bool ok, std::string_view message);

// text as a JSON string, quotes included.
std::string JsonString(std::string_view latin1);

// The UTF-8 text of an MQTT payload as the bytes a command is made of: code
// point n becomes byte n; characters beyond U+00FF and broken sequences
// become "?".
std::string Latin1FromUtf8(std::string_view utf8);

// 2026-11-15T14:05:09.123+01:00 for a time in milliseconds since 1970 (UTC)
// seen from a zone offsetMinutes east of UTC.
std::string IsoTime(std::int64_t unixMs, int offsetMinutes);

} // namespace output

#pragma once
// The trend's data as CSV, for a spreadsheet: a header line "time,record,"
// and one label per plotted field, then one line per kept record with its
// local delivery time ("2026-11-24 10:42:03.125"), its record number and
// each field's number, empty where the record had none. Numbers are written
// in their shortest form that reads back exactly, always with "." as the
// decimal point (the comma separates the columns); a label with a comma or a
// quote is quoted.

#include "trend/TrendData.h"
#include "trend/WallClock.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace trend {

// labels[k] names data.fields[k]. False when the stream failed.
bool WriteTrendCsv(std::ostream& out, const TrendSnapshot& data,
                   const std::vector<std::string>& labels, const WallClock& clock);

// "2026-11-24 10:42:03.125": the local time of timeMs.
std::string LocalTimeText(std::int64_t timeMs, const WallClock& clock);

} // namespace trend

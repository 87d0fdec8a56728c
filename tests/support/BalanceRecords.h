#pragma once
// Balance readings full of doubled digits ("001 11.11 100.00 11"), the text
// on which a typing client that drops a second press within one millisecond
// loses characters: as the instrument sends them (each ended by a carriage
// return) and as the target receives them typed (each ended by Enter).

#include <cstdio>
#include <string>

namespace testsupport {

struct BalanceRecords {
    std::string sent, typed;
};

inline BalanceRecords DoubledDigitRecords(int count) {
    BalanceRecords records;
    for (int i = 1; i <= count; ++i) {
        char record[64];
        std::snprintf(record, sizeof record, "%03d 11.11 100.00 %d%d", i, i % 10, i % 10);
        records.sent += std::string(record) + "\r";
        records.typed += std::string(record) + "\n";
    }
    return records;
}

} // namespace testsupport

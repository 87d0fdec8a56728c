#pragma once
// Helpers the fuzz targets share: an in-memory file for readers that take a
// path, field values and locales drawn from the input, and a check that
// stops the run with a message when a property of the code does not hold.

#include "engine/Locale.h"
#include "engine/Value.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

// A property that must hold for every input: a failure is a finding, and
// abort() makes libFuzzer keep the input that shows it.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "property violated: %s\n", what);
        std::abort();
    }
}

// A file in memory (memfd) reachable by path, rewritten for every input so
// that readers which open a path see exactly the fuzzer's bytes without
// touching the disk.
class MemoryFile {
public:
    MemoryFile() : fd_(memfd_create("corvane-fuzz", MFD_CLOEXEC)) {
        if (fd_ < 0)
            std::abort();
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void Write(std::string_view bytes) {
        if (ftruncate(fd_, 0) != 0 ||
            pwrite(fd_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
            std::abort();
    }
    const std::string& path() const { return path_; }

private:
    int fd_;
    std::string path_;
};

// The default US English locale, or one that reads and writes numbers and
// dates the other way round (comma decimals, day-month-year, 24-hour time).
inline engine::Locale PickLocale(bool other) {
    engine::Locale l;
    if (other) {
        l.DecimalSeparator = ',';
        l.ThousandsSeparator = '.';
        l.CurrencySymbol = "EUR";
        l.CurrencySymbolFirst = false;
        l.CurrencySpaceSeparated = true;
        l.NegativeCurrencyForm = 5;
        l.DateSeparator = '.';
        l.DateOrder = 1;
        l.ShortDatePattern = "dd.mm.yyyy";
        l.LongDatePattern = "dddd, d. mmmm yyyy";
        l.LongTimePattern = "hh:nn:ss";
    }
    return l;
}

// A field value of any kind; numbers take any bit pattern, infinities and
// NaN included.
inline engine::Value ConsumeValue(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 6)) {
    case 0:
        return {};
    case 1:
        return engine::Value::Boolean(in.ConsumeBool());
    case 2:
        return engine::Value::Int16(in.ConsumeIntegral<std::int16_t>());
    case 3:
        return engine::Value::Int32(in.ConsumeIntegral<std::int32_t>());
    case 4:
        return engine::Value::Single(std::bit_cast<float>(in.ConsumeIntegral<std::uint32_t>()));
    case 5:
        return engine::Value::Double(std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>()));
    default:
        return engine::Value::Text(in.ConsumeRandomLengthString(64));
    }
}

} // namespace fuzz
